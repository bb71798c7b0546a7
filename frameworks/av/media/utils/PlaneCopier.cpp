// SPDX-License-Identifier: Apache-2.0
#include "PlaneCopier.h"

#include <stddef.h>
#include <string.h>

namespace android {

namespace {

struct Plane {
    unsigned char* data;
    ptrdiff_t pitch;
};

struct ConstPlane {
    const unsigned char* data;
    ptrdiff_t pitch;
};

void copyPlane(Plane dst, ConstPlane src, ptrdiff_t rowBytes, ptrdiff_t rows) {
    if (rowBytes == 0) return;  // a picture one pixel wide may come without chroma planes
    if (src.pitch == rowBytes && dst.pitch == rowBytes) {
        memcpy(dst.data, src.data, static_cast<size_t>(rowBytes * rows));
        return;
    }
    for (ptrdiff_t row = 0; row < rows; ++row) {
        memcpy(dst.data + row * dst.pitch, src.data + row * src.pitch, static_cast<size_t>(rowBytes));
    }
}

}  // namespace

void copyDataYUV420(unsigned char* dst, unsigned char** src, int stride, int width, int height) {
    if (width < 1 || height < 1) return;
    const ptrdiff_t lumaPitch = (static_cast<ptrdiff_t>(width) + 15) & ~static_cast<ptrdiff_t>(15);
    copyPlane({dst, lumaPitch}, {src[0], stride}, lumaPitch, height);

    const ptrdiff_t chromaRows = height / 2;
    if (chromaRows == 0) return;
    const ptrdiff_t chromaPitch = lumaPitch / 2;
    unsigned char* chroma = dst + lumaPitch * height;
    for (int plane = 1; plane <= 2; ++plane) {
        copyPlane({chroma, chromaPitch}, {src[plane], stride >> 1}, width / 2, chromaRows);
        chroma += chromaPitch * chromaRows;
    }
}

}  // namespace android
