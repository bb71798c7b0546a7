// SPDX-License-Identifier: Apache-2.0
#include "support/Session.h"

#include <gtest/gtest.h>
#include <media/stagefright/MediaBuffer.h>
#include <media/stagefright/MediaErrors.h>
#include <zlib.h>

#include <cstdio>

#include "FlvExtractor.h"

namespace orvel {

using namespace android;

std::string Describe(const Sample& sample) {
    const unsigned long crc = crc32(0, sample.data.data(), static_cast<unsigned>(sample.data.size()));
    char line[80];
    snprintf(line, sizeof(line), "%lld %c %zu %08lx", static_cast<long long>(sample.timeUs),
             sample.sync ? 'K' : '-', sample.data.size(), crc);
    return line;
}

std::optional<Sample> Read(IMediaSource* source, std::optional<int64_t> seekUs) {
    IMediaSource::ReadOptions options;
    if (seekUs) options.setSeekTo(*seekUs);
    MediaBuffer* buffer = nullptr;
    const status_t status = source->read(&buffer, &options);
    if (status != OK) {
        EXPECT_EQ(status, ERROR_END_OF_STREAM);
        EXPECT_EQ(buffer, nullptr);
        return {};
    }
    Sample sample{};
    int32_t sync = -1;
    EXPECT_TRUE(buffer->meta_data()->findInt64(kKeyTime, &sample.timeUs));
    EXPECT_TRUE(buffer->meta_data()->findInt32(kKeyIsSyncFrame, &sync));
    sample.sync = sync == 1;
    const auto* data = static_cast<const uint8_t*>(buffer->data()) + buffer->range_offset();
    sample.data.assign(data, data + buffer->range_length());
    buffer->release();
    return sample;
}

std::vector<Sample> ReadAll(IMediaSource* source) {
    std::vector<Sample> samples;
    while (auto sample = Read(source))
        samples.push_back(std::move(*sample));
    return samples;
}

Session::Session(const sp<DataSource>& dataSource) : extractor(createInstance(dataSource, nullptr)) {
    for (size_t i = 0; i < extractor->countTracks(); ++i) {
        sources.push_back(extractor->getTrack(i));
        sources.back()->start();
    }
}

Session::Session(Bytes bytes, uint32_t flags) : Session(new MemorySource(std::move(bytes), flags)) {}

IMediaSource* Session::WithMime(const char* prefix) {
    for (auto& source : sources) {
        const char* mime = nullptr;
        if (source->getFormat()->findCString(kKeyMIMEType, &mime) && strncmp(mime, prefix, 6) == 0) {
            return source.get();
        }
    }
    return nullptr;
}

IMediaSource* Session::video() {
    return WithMime("video/");
}
IMediaSource* Session::audio() {
    return WithMime("audio/");
}

}  // namespace orvel
