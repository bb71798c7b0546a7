// SPDX-License-Identifier: Apache-2.0
#include "PlaneCopier.h"

#include <algorithm>
#include <numeric>
#include <tuple>

#include "TestSupport.h"

using namespace android;

TEST(PlaneCopier, LaysThePlanesOutToTheByte) {
    struct Case {
        int stride, width, height;
        int pitch, uAt, vAt, total, chromaBytes, chromaRows, chromaStride;  // the layout, worked out by hand
    };
    const Case cases[] = {
            {16, 16, 2, 16, 32, 40, 48, 8, 1, 8},        {32, 20, 4, 32, 128, 160, 192, 10, 2, 16},
            {33, 17, 5, 32, 160, 192, 224, 8, 2, 16},    {70, 34, 3, 48, 144, 168, 192, 17, 1, 35},
            {-48, 33, 6, 48, 288, 360, 432, 16, 3, -24}, {-33, 32, 4, 32, 128, 160, 192, 16, 2, -17},
            {64, 64, 8, 64, 512, 640, 768, 32, 4, 32},   {16, 1, 7, 16, 112, 136, 160, 0, 3, 8},
            {16, 16, 1, 16, 16, 16, 16, 8, 0, 8},        {16, 16, 0, 16, 0, 0, 0, 8, 0, 8}};
    for (const Case& c : cases) {
        Bytes expected(static_cast<size_t>(c.total), 0xEE);
        Bytes copied = expected;
        Bytes planes[3];  // exactly the bytes that may be read
        unsigned char* sources[3];
        const int planeAt[] = {0, c.uAt, c.vAt};
        for (int p = 0; p < 3; ++p) {
            const auto [rows, rowBytes, stride, dstPitch] =
                    p == 0 ? std::make_tuple(c.height, c.pitch, c.stride, c.pitch)
                           : std::make_tuple(c.chromaRows, c.chromaBytes, c.chromaStride, c.pitch / 2);
            planes[p].resize(rows == 0 ? 0 : static_cast<size_t>((rows - 1) * std::abs(stride) + rowBytes));
            std::iota(planes[p].begin(), planes[p].end(), static_cast<uint8_t>(p * 70));
            sources[p] = planes[p].data() + (stride < 0 ? (1 - rows) * stride : 0);
            for (int row = 0; row < rows; ++row) {
                std::copy_n(sources[p] + row * stride, rowBytes,
                            expected.begin() + planeAt[p] + row * dstPitch);
            }
        }
        copyDataYUV420(copied.data(), sources, c.stride, c.width, c.height);
        EXPECT_EQ(copied, expected) << c.stride << ", " << c.width << " x " << c.height;
    }
    copyDataYUV420(nullptr, nullptr, 16, -16, 4);
}
