// SPDX-License-Identifier: Apache-2.0
#include "EsDescriptor.h"

#include "TestSupport.h"

using namespace android;

TEST(AddESDSFromSpecificInfo, WrapsInfoOfEverySize) {
    // Size of the info; tag and length of the descriptors, the second with its objectTypeIndication.
    const std::tuple<size_t, const char*, const char*, const char*> cases[] = {
            {2, "03 16", "04 11 40", "05 02"},
            {113, "03 81 06", "04 81 00 40", "05 71"},
            {127, "03 81 14", "04 81 0E 40", "05 7F"},
            {128, "03 81 16", "04 81 10 01", "05 81 00"},
            {16383, "03 81 80 16", "04 81 80 0F 01", "05 FF 7F"},
            {16384, "03 81 80 18", "04 81 80 11 01", "05 81 80 00"},
            {2097152, "03 81 80 80 1A", "04 81 80 80 12 01", "05 81 80 80 00"}};
    for (const auto& [n, es, decoderConfig, specificInfo] : cases) {
        const Bytes info = Bytes(n - 1, 0x12) + hex("10");
        const sp<MetaData> format = new MetaData;
        AddESDSFromSpecificInfo(format, info.data(), n);
        uint32_t type = 77;
        const void* data = nullptr;
        size_t size = 0;
        EXPECT_TRUE(format->findData(kKeyESDS, &type, &data, &size) && type == 0);
        const auto* bytes = static_cast<const uint8_t*>(data);
        const Bytes expected = hex(es) + Bytes(3) + hex(decoderConfig) + Bytes(12) + hex(specificInfo) + info;
        EXPECT_TRUE(Bytes(bytes, bytes + size) == expected) << n;
    }
}

TEST(AddESDSFromSpecificInfo, StoresNothingWithoutInfoOrWithTooMuch) {
    const sp<MetaData> format = new MetaData;
    const uint8_t info = 0x12;
    AddESDSFromSpecificInfo(format, nullptr, 5);
    for (unsigned long size : {0UL, 0xFFFFFFEUL, ~0UL})
        AddESDSFromSpecificInfo(format, &info, size);
    EXPECT_FALSE(format->hasData(kKeyESDS));
}
