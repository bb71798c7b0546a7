// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <random>
#include <set>
#include <sstream>

#include "HostFixture.h"

namespace orvel {
namespace {

using testing::HasSubstr;

struct TagAt {
    size_t begin, end;  // of the tag
    bool isVideo, isKeyFrame, hasPacket;
    uint32_t timeMs;
};

std::vector<TagAt> Samples(const std::string& pathInProject) {
    std::vector<TagAt> samples;
    size_t begin = 13;
    EditTags(pathInProject, [&](const uint8_t* tag, uint32_t timeMs) {
        size_t end = begin + static_cast<size_t>(11 + (tag[1] << 16 | tag[2] << 8 | tag[3]));
        bool isVideo = tag[0] == 9, hasPacket = isVideo ? (tag[11] & 15) >= 7 : tag[11] >> 4 == 10;
        if (isVideo && hasPacket) timeMs += static_cast<uint32_t>(tag[14] << 8 | tag[15]);
        if (tag[0] != 18 && (!hasPacket || tag[12] == 1)) {
            samples.push_back({begin, end, isVideo, isVideo && tag[11] >> 4 == 1, hasPacket, timeMs});
        }
        begin = end + 4;
    });
    return samples;
}

// A sample as its elementary stream has it: AVC's with start codes rather than lengths.
Bytes Payload(const Bytes& file, const TagAt& tag) {
    const size_t headerSize = 12 + (tag.hasPacket ? (tag.isVideo ? 4u : 1u) : 0u);
    Bytes bytes(&file[tag.begin + headerSize], &file[tag.end - 1] + 1);
    for (size_t at = 0; tag.isVideo && tag.hasPacket && at < bytes.size();) {
        const size_t length = static_cast<size_t>(bytes[at] << 24 | bytes[at + 1] << 16 | bytes[at + 2] << 8 |
                                                  bytes[at + 3]);
        std::copy_n(Bytes{0, 0, 0, 1}.begin(), 4, &bytes[at]);
        at += 4 + length;
    }
    return bytes;
}

// Whether the bytes stand in a stream behind its cursor, which then moves behind them.
bool Follows(const Bytes& stream, const Bytes& bytes, size_t* cursor) {
    auto from = stream.begin() + static_cast<std::ptrdiff_t>(*cursor);
    auto at = std::search(from, stream.end(), bytes.begin(), bytes.end());
    if (at == stream.end()) return false;
    *cursor = static_cast<size_t>(at - stream.begin()) + bytes.size();
    return true;
}

// What a fault makes of a file, and which of the file's own bytes it has cost.
struct Damage {
    Bytes file;
    size_t from, to;
};
Damage MakeDamage(const std::string& kind, const Bytes& file, const std::vector<TagAt>& tags, size_t at) {
    const size_t end = at + 65536;
    Bytes noise(65536), empty = file;
    std::generate(noise.begin(), noise.end(),
                  [random = std::mt19937(20)]() mutable { return random() & 0xff; });
    auto part = [&](size_t from, size_t to) { return Bytes(&file[from], &file[to - 1] + 1); };
    if (kind == "overwritten") return {part(0, at) + noise + part(end, file.size()), at, end};
    if (kind == "inserted") return {part(0, at) + noise + part(at, file.size()), at, at};
    if (kind == "missing") return {part(0, at) + part(end, file.size()), at, end};
    const TagAt& tag =
            *std::find_if(tags.begin(), tags.end(), [at](const TagAt& t) { return t.begin >= at; });
    std::fill_n(&empty[tag.begin] + 1, 3, uint8_t{0});
    return {empty, tag.begin, tag.end};
}

class RecoverTest : public HostTest {
  protected:
    std::multiset<int> times(const std::string& path) const {
        std::istringstream lines(shell("grep -v '^#' " + path).out);
        std::multiset<int> times;
        for (double ms; lines >> ms;)
            times.insert(static_cast<int>(ms));
        return times;
    }
};

TEST_F(RecoverTest, AllButDamageAndOneGroupOfPicturesComesBack) {
    const std::tuple<std::string, std::string, std::string> cases[] = {{"avc_aac_index", ".h264", ".aac"},
                                                                       {"h263_mp3", ".ivf", ".mp3"}};
    for (const auto& [name, video, audio] : cases) {
        const Bytes file = ReadProjectFile("samples/" + name + ".flv");
        const std::vector<TagAt> tags = Samples("samples/" + name + ".flv");
        for (const char* kind : {"overwritten", "inserted", "missing", "empty tag"}) {
            for (size_t percent : {30u, 60u}) {
                Damage damage = MakeDamage(kind, file, tags, file.size() * percent / 100);
                write(name + ".flv", damage.file);
                Outcome outcome = run("extract --recover --force --timestamps " + name + ".flv");
                EXPECT_EQ(0, outcome.code) << outcome.err;
                std::multiset<int> found[] = {times(name + audio + ".timestamps.txt"),
                                              times(name + video + ".timestamps.txt")};
                const Bytes streams[] = {read(name + audio), read(name + video)};
                size_t cursors[] = {0, 0};
                bool hasKeyFrame = false;
                size_t lost = 0;
                bool hasHole[] = {false, false};
                for (const TagAt& tag : tags) {
                    hasHole[tag.isVideo] |= found[tag.isVideo].count(static_cast<int>(tag.timeMs)) == 0;
                    hasKeyFrame = hasKeyFrame || (tag.begin >= damage.to && tag.isKeyFrame);
                    bool isOutside = tag.end <= damage.from ||
                                     (tag.begin >= damage.to && (!tag.isVideo || hasKeyFrame));
                    if (!isOutside) continue;
                    bool isFound = found[tag.isVideo].count(static_cast<int>(tag.timeMs)) == 1;
                    if (!isFound || !Follows(streams[tag.isVideo], Payload(file, tag), &cursors[tag.isVideo]))
                        ++lost;
                }
                EXPECT_LE(lost, 1u) << name << " " << kind << " at " << percent << " %";
                for (size_t i : {0u, 1u}) {
                    const std::string track = i == 1 ? "the video track " : "the audio track ";
                    EXPECT_THAT(outcome.err,
                                HasSubstr(track + (hasHole[i] ? "has nothing between" : "goes on at")))
                            << name << " " << kind << " at " << percent << " %";
                }
            }
        }
    }
}

TEST_F(RecoverTest, SaysWhatIsMissingAtTheEndAndNeverIntoItsOutput) {
    Bytes file = ReadProjectFile("samples/avc_aac_index.flv");
    std::fill_n(&file[306064], 3, uint8_t{0});  // the size of an audio tag in the last group of pictures
    write("end.flv", file);
    EXPECT_THAT(run("extract --recover end.flv").err,
                HasSubstr("the video track has nothing behind 13.080 s"));
    const Bytes video = read("end.h264");
    run("extract --recover --force end.flv <&- 2>&-");
    EXPECT_EQ(video, read("end.h264"));
}

TEST_F(RecoverTest, ChangesNothingWhereNothingIsDamaged) {
    for (std::string file : {"samples/avc_aac_index", "samples/h263_mp3", "samples/hevc_aac",
                             "tests/data/live_cut", "tests/data/ts_cross_24bit", "tests/data/aac_only"}) {
        std::string input = ORVEL_SOURCE_DIR "/" + file + ".flv";
        Outcome plain = run("extract --force -o plain " + input),
                recovered = run("extract --force --recover -o other " + input);
        EXPECT_EQ(plain.code, recovered.code);
        EXPECT_EQ(plain.err, recovered.err) << file;
    }
    EXPECT_EQ("", shell("diff -r plain other").out);
}

}  // namespace
}  // namespace orvel
