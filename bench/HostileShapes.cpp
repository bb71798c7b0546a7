// SPDX-License-Identifier: Apache-2.0
#include "HostileShapes.h"

#include <random>

namespace orvel {

namespace {

using Bytes = std::vector<uint8_t>;

constexpr uint8_t kAudio = 8, kVideo = 9, kScript = 18;
constexpr uint8_t kKeyFrame = 0x12, kInterFrame = 0x22;  // Sorenson H.263
constexpr uint8_t kMp3 = 0x2F;

// Writes tags as cheaply as a large file needs.
class Writer {
  public:
    explicit Writer(size_t size) : mSize(size) {
        mBytes.reserve(size + 64);
        mBytes = {'F', 'L', 'V', 1, 5, 0, 0, 0, 9};
    }

    size_t left() const { return mSize > mBytes.size() ? mSize - mBytes.size() : 0; }
    size_t size() const { return mBytes.size(); }
    void integer(uint64_t value, int bytes) {
        for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8)
            mBytes.push_back(static_cast<uint8_t>(value >> shift));
    }
    void text(const char* text) { mBytes.insert(mBytes.end(), text, text + strlen(text)); }
    void name(const char* name) {
        integer(strlen(name), 2);
        text(name);
    }
    void fill(size_t count, uint8_t value) { mBytes.insert(mBytes.end(), count, value); }
    void previousSize(uint32_t size) { mPrevious = size; }
    void head(uint8_t type, size_t dataSize, uint32_t timestampMs = 0) {
        integer(mPrevious, 4);
        integer(type, 1);
        integer(dataSize, 3);
        integer(timestampMs & 0xFFFFFF, 3);
        integer(timestampMs >> 24, 1);
        integer(0, 3);
        mPrevious = static_cast<uint32_t>(dataSize) + 11;
    }
    void audio(uint32_t timestampMs, size_t payload = 1) {
        head(kAudio, 1 + payload, timestampMs);
        integer(kMp3, 1);
        fill(payload, 0x55);
    }
    void interFrame(uint32_t timestampMs, size_t payload = 1) {
        head(kVideo, 1 + payload, timestampMs);
        integer(kInterFrame, 1);
        fill(payload, 0x55);
    }
    // 320 x 240
    void keyFrame(uint32_t timestampMs) {
        head(kVideo, 8, timestampMs);
        integer(kKeyFrame, 1);
        integer(0x00008002800000, 7);
    }
    // A script tag up to the end of the file, open for the value of onMetaData.
    void metadata() { metadata(left() > 40 ? std::min<size_t>(left() - 40, 0xFFFFFF) : 0); }
    void metadata(size_t dataSize) {
        head(kScript, dataSize);
        integer(2, 1);
        name("onMetaData");
    }
    // onMetaData as an ECMA array, and in it the object of the key-frame index.
    void indexObject() {
        integer(8, 1);
        integer(1, 4);
        name("keyframes");
        integer(3, 1);
    }
    void array(const char* key, uint64_t count) {
        name(key);
        integer(10, 1);
        integer(count, 4);
    }
    void number(double value) {
        uint64_t pattern;
        memcpy(&pattern, &value, sizeof(pattern));
        integer(0, 1);
        integer(pattern, 8);
    }
    // Cut or filled to the size, as a script tag that went on to the end of the file needs it.
    Bytes cut() {
        mBytes.resize(mSize, 0);
        return std::move(mBytes);
    }
    Bytes finish() {
        integer(mPrevious, 4);
        return std::move(mBytes);
    }

  private:
    const size_t mSize;
    Bytes mBytes;
    uint32_t mPrevious = 0;
};

// Candidates for resynchronisation in nothing but these bytes, drawn at random.
Bytes Candidates(size_t size, std::initializer_list<uint8_t> alphabet) {
    Writer file(size);
    file.keyFrame(0);
    file.audio(0);
    std::minstd_rand random(1);
    while (file.left() > 0)
        file.integer(alphabet.begin()[random() % alphabet.size()], 1);
    return file.cut();
}

// Candidates whose tag ends within the next few hundred bytes, or has no data.
Bytes NearCandidates(size_t size) {
    Writer file(size);
    file.keyFrame(0);
    file.audio(0);
    for (uint32_t i = 0; file.left() > 0; ++i)
        file.integer(0x08000000 | (i % 2 == 0 ? 0 : i * 37 % 200), 4);
    return file.cut();
}

Bytes EmptyTags(size_t size, bool withTracks) {
    Writer file(size);
    if (withTracks) {
        file.keyFrame(0);
        file.audio(0);
    }
    while (file.left() > 0)
        file.head(file.size() % 2 == 0 ? kVideo : kAudio, 0);
    return file.finish();
}

Bytes TinyScriptTags(size_t size) {
    Writer file(size);
    while (file.left() > 60) {
        file.head(kScript, 1);
        file.integer(2, 1);
    }
    file.keyFrame(0);
    file.audio(1000);
    return file.finish();
}

// Each jumps beyond what is cached, with a name that does not end within the tag, and fails there.
Bytes JumpingScriptTags(size_t size) {
    Writer file(size);
    while (file.left() > 60) {
        file.metadata(19);
        file.integer(3, 1);
        file.integer(0x3FFF, 2);
        file.fill(3, 0);
    }
    return file.finish();
}

Bytes NestedArrays(size_t size) {
    Writer file(size);
    file.metadata();
    file.integer(10, 1);
    file.integer(UINT32_MAX, 4);
    while (file.left() > 0) {
        for (int depth = 0; depth < 62; ++depth)
            file.integer(0x0A00000001, 5);
        file.integer(5, 1);
    }
    return file.cut();
}

Bytes EndlessArrays(size_t size) {
    Writer file(size);
    file.metadata();
    for (int depth = 0; depth < 60; ++depth)
        file.integer(0x0AFFFFFFFF, 5);
    file.fill(file.left(), 5);
    return file.cut();
}

Bytes Names(size_t size, uint16_t length) {
    Writer file(size);
    file.metadata();
    file.integer(3, 1);
    while (file.left() > 0) {
        file.integer(length, 2);
        file.fill(length, 't');
        file.integer(5, 1);
    }
    return file.cut();
}

// A byte of the file each for an entry of eight.
Bytes EmptyEntries(size_t size) {
    Writer file(size);
    file.metadata();
    file.indexObject();
    file.array("times", file.left() / 2);
    file.fill(file.left() / 2, 5);
    file.array("filepositions", UINT32_MAX);
    file.fill(file.left(), 5);
    return file.cut();
}

Bytes ManyTimes(size_t size) {
    Writer file(size);
    file.metadata();
    file.indexObject();
    while (file.left() > 0) {
        for (const char* key : {"times", "filepositions"}) {
            file.array(key, 1);
            file.number(7);
        }
    }
    return file.cut();
}

// Every entry of the index points at the file's first key frame, behind which there is no audio up to the
// end, and its times go down.
Bytes BackwardIndex(size_t size) {
    Writer file(size);
    const size_t entries = size / 1024;
    const size_t end = file.size() + entries * 18 + 100;
    file.metadata(end - file.size() - 15);
    file.indexObject();
    for (const char* key : {"filepositions", "times"}) {
        file.array(key, entries);
        for (size_t i = 0; i < entries; ++i)
            file.number(*key == 't' ? static_cast<double>(1000000 - i) : static_cast<double>(end + 21));
    }
    file.fill(end - file.size(), 0);
    file.audio(0);
    file.keyFrame(0);
    for (uint32_t time = 0; file.left() > 60; ++time)
        file.interFrame(time);
    file.audio(1);
    return file.finish();
}

// Sound until the tracks are known; then every other PreviousTagSize leads into the tag in front, to the
// field itself or over many tags, where the bytes look like a tag as well.
Bytes LoopingChain(size_t size) {
    constexpr uint32_t kLies[] = {0, 7, 33990};
    Writer file(size);
    file.keyFrame(0);
    for (uint32_t time = 0; file.left() > 0; ++time) {
        file.interFrame(time);
        file.audio(time);
        if (time > 4) file.previousSize(kLies[time % 3]);
    }
    return file.finish();
}

// onMetaData with the duration that is the longest time of a seek.
void WriteDuration(Writer* file) {
    file->metadata(40);
    file->integer(8, 1);
    file->integer(1, 4);
    file->name("duration");
    file->number(1048.576);
    file->integer(9, 3);
}

// Nothing that a seek in the video could land on, up to the last tag.
Bytes LateVideo(size_t size) {
    Writer file(size);
    WriteDuration(&file);
    file.keyFrame(0);
    for (uint32_t time = 0; file.left() > 60; ++time)
        file.audio(time);
    file.keyFrame(0x7FFFFFFF);
    return file.finish();
}

// The same, but for a few frames that are none, and on which passes that go back begin.
Bytes LateKeyFrame(size_t size) {
    Writer file(size);
    WriteDuration(&file);
    file.keyFrame(0);
    for (uint32_t time = 0; file.left() > 60; ++time) {
        file.audio(time);
        if (time % 512 == 0 && file.left() > size / 2) file.interFrame(1);
    }
    file.keyFrame(0x7FFFFFFF);
    return file.finish();
}

// One key frame and then none, so that the way back from any sample is the way to the file's head.
Bytes OneKeyFrame(size_t size) {
    Writer file(size);
    file.keyFrame(0);
    for (uint32_t time = 0; file.left() > 0; ++time) {
        file.interFrame(time);
        if (time % 64 == 0) file.audio(time);
    }
    return file.finish();
}

// The latest times first: every pass of a seek lands too late.
Bytes FallingTimes(size_t size) {
    Writer file(size);
    for (uint32_t left = static_cast<uint32_t>(file.left() / 50); file.left() > 0; --left) {
        file.keyFrame(left + 0x100000);
        file.audio(left + 0x100000);
    }
    return file.finish();
}

// Half the file video, half audio, each sample small: players read the two by turns.
Bytes ApartTracks(size_t size) {
    Writer file(size);
    for (uint32_t time = 0; file.left() > size / 2; ++time)
        file.keyFrame(time);
    for (uint32_t time = 0; file.left() > 0; ++time)
        file.audio(time);
    return file.finish();
}

// Two chains of tags that each go on inside the other's data, so that passes land on either.
Bytes WovenChains(size_t size) {
    Writer file(size);
    file.keyFrame(0);
    file.audio(0);
    while (file.left() > 100) {
        file.head(kAudio, 16, 5);
        file.integer(kMp3, 1);
        file.integer(0x001B08000010, 6);
        file.fill(9, 0);
    }
    file.keyFrame(0x7FFFFFFF);
    return file.finish();
}

// Each tag holds another that ends with it. A pass of a seek lands on one of the inner ones, and the next
// pass comes past it on the outer ones. Sizes that do not fit leave only times to confirm a tag by.
Bytes HiddenTags(size_t size) {
    Writer file(size);
    WriteDuration(&file);
    file.keyFrame(0);
    file.previousSize(5);
    for (uint32_t time = 0; file.left() > 200; ++time) {
        file.head(kAudio, 113, time);
        file.integer(kMp3, 1);
        file.fill(40, 0x55);
        file.head(kAudio, 57, time);
        file.integer(kMp3, 1);
        file.fill(56, 0x55);
    }
    file.keyFrame(0x7FFFFFFF);
    return file.finish();
}

}  // namespace

const std::vector<HostileShape>& HostileShapes() {
    static const std::vector<HostileShape> shapes = {
            {"candidates 08 09",
             [](size_t size) {
                 return Candidates(size, {8, 9});
             }},
            {"candidates 08 09 00",
             [](size_t size) {
                 return Candidates(size, {8, 9, 0, 0, 0, 0});
             }},
            {"candidates near by", NearCandidates},
            {"empty tags", [](size_t size) { return EmptyTags(size, false); }},
            {"empty tags behind tracks", [](size_t size) { return EmptyTags(size, true); }},
            {"tiny script tags", TinyScriptTags},
            {"jumping script tags", JumpingScriptTags},
            {"nested arrays", NestedArrays},
            {"endless arrays", EndlessArrays},
            {"names of 255", [](size_t size) { return Names(size, 255); }},
            {"names of 256", [](size_t size) { return Names(size, 256); }},
            {"entries of a byte", EmptyEntries},
            {"many times", ManyTimes},
            {"index backwards", BackwardIndex},
            {"looping chain", LoopingChain},
            {"late video", LateVideo},
            {"late key frame", LateKeyFrame},
            {"one key frame", OneKeyFrame},
            {"falling times", FallingTimes},
            {"tracks apart", ApartTracks},
            {"woven chains", WovenChains},
            {"hidden tags", HiddenTags},
    };
    return shapes;
}

}  // namespace orvel
