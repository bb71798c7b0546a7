// SPDX-License-Identifier: Apache-2.0
#include "support/Dump.h"

#include <zlib.h>

#include <filesystem>

#include "TrackFormatKeys.h"
#include "support/Session.h"

namespace orvel {

using namespace android;
using std::to_string;

static std::string Summary(const void* data, size_t size) {
    char text[60];
    snprintf(text, sizeof(text), "%zu bytes %08lx", size,
             crc32(0, static_cast<const Bytef*>(data), static_cast<uInt>(size)));
    return text;
}

static std::string DescribeFormat(const MetaData& format) {
    std::string lines;
    constexpr uint32_t kKeys[] = {kKeyMIMEType,     kKeyWidth,    kKeyHeight,       kKeyAVCC,
                                  kKeyHVCC,         kKeyCodecId,  kKeyESDS,         kKeySampleRate,
                                  kKeyChannelCount, kKeyDuration, kKeyThumbnailTime};
    for (uint32_t key : kKeys) {
        uint32_t type;
        const void* data;
        size_t size;
        if (!format.findData(key, &type, &data, &size)) continue;
        std::string value = Summary(data, size);
        if (type == MetaData::TYPE_C_STRING) value = static_cast<const char*>(data);
        if (type == MetaData::TYPE_INT32) value = to_string(*static_cast<const int32_t*>(data));
        if (type == MetaData::TYPE_INT64) value = to_string(*static_cast<const int64_t*>(data));
        const char name[] = {char(key >> 24), char(key >> 16), char(key >> 8), char(key), 0};
        lines += std::string("  ") + name + " " + value + "\n";
    }
    return lines;
}

// All of up to 60 samples, or the ends of a longer list, below a line that sums up all.
static std::string DescribeSamples(const std::vector<Sample>& samples) {
    std::string all, listed;
    size_t bytes = 0;
    for (size_t i = 0; i < samples.size(); ++i) {
        const std::string line = "    " + Describe(samples[i]) + "\n";
        all += line;
        bytes += samples[i].data.size();
        if (samples.size() <= 60 || i < 12 || i + 4 >= samples.size()) listed += line;
    }
    return "  " + to_string(samples.size()) + " samples of " + to_string(bytes) + " bytes, listed in " +
           Summary(all.data(), all.size()) + "\n" + listed;
}

static std::string DescribeSeeks(const Session& session) {
    std::string lines;
    for (size_t i = 0; i < session.sources.size(); ++i) {
        int64_t duration = 0;
        session.sources[i]->getFormat()->findInt64(kKeyDuration, &duration);
        for (int64_t time : {duration / 3, duration * 3 / 4, int64_t{0}, duration - 1, duration + 20000000}) {
            lines += "  track " + to_string(i) + " to " + to_string(time) + ":";
            for (auto sample : {Read(session.sources[i].get(), time), Read(session.sources[i].get())})
                lines += " " + (sample ? Describe(*sample) : "end") + ";";
            lines += "\n";
        }
    }
    return lines;
}

std::vector<std::string> ProjectFlvFiles() {
    std::vector<std::string> files;
    for (const std::string folder : {"samples/", "tests/data/"}) {
        for (const auto& entry : std::filesystem::directory_iterator(ORVEL_SOURCE_DIR "/" + folder)) {
            if (entry.path().extension() == ".flv")
                files.push_back(folder + entry.path().filename().string());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

std::string Dump(const Bytes& bytes, size_t chunk) {
    std::string lines;
    for (uint32_t flags : {0u, uint32_t{DataSource::kIsCachingDataSource}}) {
        sp<MemorySource> source = new MemorySource(bytes, flags);
        source->chunk = chunk;
        Session session(source);
        for (size_t i = 0; i < session.sources.size() && flags == 0; ++i) {
            const auto format =
                    session.extractor->getTrackMetaData(i, IMediaExtractor::kIncludeExtensiveMetaData);
            lines += "track " + to_string(i) + "\n" + DescribeFormat(*format) +
                     DescribeSamples(ReadAll(session.sources[i].get()));
        }
        lines += (flags == 0 ? "seeks, local\n" : "seeks, caching\n") + DescribeSeeks(session);
    }
    return lines;
}

}  // namespace orvel
