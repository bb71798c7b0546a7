// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdarg.h>
#include <stddef.h>

#include <string>

#include <utils/Errors.h>

namespace android {

// A string of bytes, by convention UTF-8, always followed by a zero byte. Lengths are in bytes. A null
// const char* counts as the empty string. The pointers that string() and the conversion give hold until the
// string is changed. Comparisons are bytewise (unsigned). Not synchronised.
class String8 {
  public:
    String8() = default;
    String8(const String8&) = default;
    String8(String8&&) noexcept = default;
    // Implicit, as the platform's: any function that takes a String8 takes a literal.
    String8(const char* text);
    // The first length bytes, zero bytes included; there must be that many.
    String8(const char* text, size_t length);
    ~String8() = default;

    String8& operator=(const String8&) = default;
    String8& operator=(String8&&) noexcept = default;
    String8& operator=(const char* text);

    // A string made as by printf.
    static String8 format(const char* fmt, ...) __attribute__((__format__(printf, 1, 2)));

    const char* string() const { return mText.c_str(); }
    operator const char*() const { return mText.c_str(); }

    // The length, under the three names that it has.
    size_t length() const { return mText.size(); }
    size_t size() const { return mText.size(); }
    size_t bytes() const { return mText.size(); }
    bool isEmpty() const { return mText.empty(); }

    void clear() { mText.clear(); }

    // Replace or extend the text. The source may be part of this string's own text. Result: NO_ERROR.
    void setTo(const String8& other) { mText = other.mText; }
    status_t setTo(const char* text);
    status_t setTo(const char* text, size_t length);
    status_t append(const String8& other);
    status_t append(const char* text);
    status_t append(const char* text, size_t length);

    // Appends a text formatted as by printf; an argument may be this string's own text. Result: NO_ERROR, or
    // UNKNOWN_ERROR with the string unchanged when the format cannot be carried out.
    status_t appendFormat(const char* fmt, ...) __attribute__((__format__(printf, 2, 3)));
    status_t appendFormatV(const char* fmt, va_list args) __attribute__((__format__(printf, 2, 0)));

    bool operator==(const String8& other) const { return mText == other.mText; }
    bool operator!=(const String8& other) const { return mText != other.mText; }
    bool operator<(const String8& other) const { return mText < other.mText; }
    bool operator==(const char* text) const { return *this == String8(text); }
    bool operator!=(const char* text) const { return *this != String8(text); }
    bool operator<(const char* text) const { return *this < String8(text); }

  private:
    std::string mText;
};

}  // namespace android
