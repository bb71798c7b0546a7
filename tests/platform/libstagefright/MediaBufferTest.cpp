// SPDX-License-Identifier: Apache-2.0
#include <media/stagefright/MediaBuffer.h>

#include <gtest/gtest.h>

using namespace android;

TEST(MediaBuffer, LivesUntilItsLastRelease) {
    MediaBuffer* const buffer = new MediaBuffer(10);
    buffer->add_ref();
    const sp<MetaData> meta = buffer->meta_data();
    EXPECT_TRUE(buffer->meta_data() == meta);
    buffer->release();
    EXPECT_TRUE(meta->getStrongCount() == 2 && buffer->refcount() == 0);
    buffer->release();
    EXPECT_EQ(1, meta->getStrongCount());
}

TEST(MediaBufferDeathTest, ChecksRangesAndMemory) {
    uint8_t bytes[8];
    MediaBuffer* const buffer = new MediaBuffer(bytes, sizeof(bytes));
    for (const auto& [offset, length] : {std::pair<size_t, size_t>{9, 0}, {3, 6}, {2, SIZE_MAX}}) {
        EXPECT_DEATH(buffer->set_range(offset, length), "F/MediaBuffer: .*CHECK_LE");
    }
    buffer->set_range(8, 0);
    buffer->set_range(3, 5);
    EXPECT_TRUE(buffer->range_offset() == 3 && buffer->range_length() == 5 && buffer->size() == 8);
    buffer->release();
    EXPECT_DEATH(new MediaBuffer(SIZE_MAX / 2), "F/MediaBuffer: out of memory|allocation-size-too-big");
}
