// SPDX-License-Identifier: Apache-2.0
#include <media/stagefright/MetaData.h>

#include <string>

#include <gtest/gtest.h>

using namespace android;

namespace {

struct Found {
    Found(const sp<MetaData>& meta, uint32_t key) { meta->findData(key, &type, &data, &size); }
    std::string text() const { return data ? std::string(static_cast<const char*>(data), size) : "absent"; }
    uint32_t type = 0;
    const void* data = nullptr;
    size_t size = 0;
};

}  // namespace

TEST(MetaData, FindsByTypeAndOverwrites) {
    const sp<MetaData> meta = new MetaData;
    EXPECT_FALSE(meta->setInt32('i', -3) || meta->setInt64('l', INT64_MIN) || meta->setFloat('f', 0.5f));
    EXPECT_FALSE(meta->setPointer('p', meta.get()) || meta->setCString(kKeyMIMEType, "video/avc"));
    int32_t i = 0;
    int64_t l = 0;
    float f = 0;
    void* p = nullptr;
    const char* s = nullptr;
    EXPECT_FALSE(meta->findInt64('i', &l) || meta->findPointer('l', &p) || meta->findInt32('f', &i) ||
                 meta->findCString('p', &s) || meta->findFloat('i', &f));
    EXPECT_TRUE(meta->findInt32('i', &i) && meta->findInt64('l', &l) && meta->findFloat('f', &f));
    EXPECT_TRUE(meta->findPointer('p', &p) && meta->findCString(kKeyMIMEType, &s));
    EXPECT_TRUE(i == -3 && l == INT64_MIN && f == 0.5f && p == meta.get() && s == std::string("video/avc"));
    EXPECT_TRUE(meta->setInt64('i', 1) && !meta->findInt32('i', &i));
    EXPECT_TRUE(meta->remove('i') && !meta->remove('i') && meta->findInt64('l', &l));
    meta->setData('s', MetaData::TYPE_C_STRING, "no end", 6);
    meta->setData('i', MetaData::TYPE_INT32, "abc", 3);
    EXPECT_FALSE(meta->findCString('s', &s) || meta->findInt32('i', &i));
}

TEST(MetaData, KeepsAndCopiesBytesOfAnySize) {
    const sp<MetaData> meta = new MetaData;
    const std::string bytes = "abcdefghijklmnopqrstuvwxyz";
    for (uint32_t key = 1; key <= 13; ++key)
        meta->setData(key, 0, bytes.data(), 14 - key);
    for (uint32_t key = 1; key <= 13; ++key)
        meta->setData(key, key + 100, &bytes[key], key);
    const sp<MetaData> copy = new MetaData(*meta);
    meta->clear();
    EXPECT_FALSE(meta->hasData(1) || meta->setInt32(9, 1));
    for (uint32_t key = 1; key <= 13; ++key) {
        EXPECT_EQ(bytes.substr(key, key), Found(copy, key).text());
        EXPECT_EQ(key + 100, Found(copy, key).type);
    }
    copy->setData(13, 7, nullptr, 12);
    copy->setData(12, 7, static_cast<const char*>(Found(copy, 12).data) + 2, 9);  // its own bytes
    EXPECT_TRUE(Found(copy, 13).text().empty() && Found(copy, 12).text() == "opqrstuvw");
    const sp<MetaData> small = new MetaData;
    small->setInt64(kKeyTime, 1);
    EXPECT_TRUE(Found(small, kKeyTime).data > small.get() && Found(small, kKeyTime).data < small.get() + 1);
}
