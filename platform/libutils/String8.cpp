// SPDX-License-Identifier: Apache-2.0
#include <utils/String8.h>

#include <stdio.h>

namespace android {

String8::String8(const char* text) : mText(text != nullptr ? text : "") {}

String8::String8(const char* text, size_t length) {
    if (text != nullptr) mText.assign(text, length);
}

String8& String8::operator=(const char* text) {
    setTo(text);
    return *this;
}

String8 String8::format(const char* fmt, ...) {
    String8 result;
    va_list args;
    va_start(args, fmt);
    result.appendFormatV(fmt, args);
    va_end(args);
    return result;
}

status_t String8::setTo(const char* text) {
    mText.assign(text != nullptr ? text : "");
    return NO_ERROR;
}

status_t String8::setTo(const char* text, size_t length) {
    if (text != nullptr) {
        mText.assign(text, length);
    } else {
        mText.clear();
    }
    return NO_ERROR;
}

status_t String8::append(const String8& other) {
    mText.append(other.mText);
    return NO_ERROR;
}

status_t String8::append(const char* text) {
    if (text != nullptr) mText.append(text);
    return NO_ERROR;
}

status_t String8::append(const char* text, size_t length) {
    if (text != nullptr) mText.append(text, length);
    return NO_ERROR;
}

status_t String8::appendFormat(const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    const status_t result = appendFormatV(fmt, args);
    va_end(args);
    return result;
}

// Formats beside the string and appends afterwards: an argument may point into the string itself.
status_t String8::appendFormatV(const char* fmt, va_list args) {
    va_list again;
    va_copy(again, args);
    const int length = vsnprintf(nullptr, 0, fmt, args);
    std::string added;
    if (length > 0) {
        added.resize(static_cast<size_t>(length));
        vsnprintf(&added[0], added.size() + 1, fmt, again);
    }
    va_end(again);
    if (length < 0) return UNKNOWN_ERROR;
    mText.append(added);
    return NO_ERROR;
}

}  // namespace android
