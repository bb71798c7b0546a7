// SPDX-License-Identifier: Apache-2.0
#include <media/stagefright/DataSource.h>

#include <media/stagefright/MediaErrors.h>

namespace android {

DataSource::DataSource() = default;

DataSource::~DataSource() = default;

status_t DataSource::getSize(off64_t* size) {
    *size = 0;
    return ERROR_UNSUPPORTED;
}

uint32_t DataSource::flags() {
    return 0;
}

String8 DataSource::toString() {
    return String8("<unspecified>");
}

}  // namespace android
