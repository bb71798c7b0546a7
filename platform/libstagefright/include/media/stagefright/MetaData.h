// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <utils/RefBase.h>

namespace android {

// A four-character code as a number: the first character in the highest byte.
constexpr uint32_t metaDataCode(char a, char b, char c, char d) {
    return static_cast<uint32_t>(static_cast<uint8_t>(a)) << 24 |
           static_cast<uint32_t>(static_cast<uint8_t>(b)) << 16 |
           static_cast<uint32_t>(static_cast<uint8_t>(c)) << 8 | static_cast<uint8_t>(d);
}

// Keys, with the type that each value has. Times and durations are in microseconds.
enum : uint32_t {
    // Of a track or a container.
    kKeyMIMEType = metaDataCode('m', 'i', 'm', 'e'),       // C string
    kKeyWidth = metaDataCode('w', 'i', 'd', 't'),          // int32, pixels
    kKeyHeight = metaDataCode('h', 'e', 'i', 'g'),         // int32, pixels
    kKeyAVCC = metaDataCode('a', 'v', 'c', 'c'),           // data: AVCDecoderConfigurationRecord
    kKeyHVCC = metaDataCode('h', 'v', 'c', 'c'),           // data: HEVCDecoderConfigurationRecord
    kKeyESDS = metaDataCode('e', 's', 'd', 's'),           // data: ES_Descriptor (ISO/IEC 14496-1)
    kKeySampleRate = metaDataCode('s', 'r', 't', 'e'),     // int32, Hz
    kKeyChannelCount = metaDataCode('#', 'c', 'h', 'n'),   // int32
    kKeyDuration = metaDataCode('d', 'u', 'r', 'a'),       // int64
    kKeyThumbnailTime = metaDataCode('t', 'h', 'b', 'T'),  // int64

    // Of a sample.
    kKeyTime = metaDataCode('t', 'i', 'm', 'e'),         // int64, presentation time
    kKeyIsSyncFrame = metaDataCode('s', 'y', 'n', 'c'),  // int32, 1 when decoding can start here
};

// Type codes that setData may carry for codec configurations.
enum : uint32_t {
    kTypeESDS = metaDataCode('e', 's', 'd', 's'),
    kTypeAVCC = metaDataCode('a', 'v', 'c', 'c'),
    kTypeHVCC = metaDataCode('h', 'v', 'c', 'c'),
};

// A small dictionary: the description of a container, a track or a sample. A key has one value, which has a
// type; setting a key again replaces value and type.
//
// Made for a handful of items, one object per sample: up to six items and every value of up to eight bytes
// lie in the object itself, so that setting numbers on a new object allocates nothing. Look-up is linear.
//
// set... return true when the key had a value before. find... return false, and leave the result alone,
// when the key is absent or its value has another type. Running out of memory ends the process with a fatal
// log line. Not synchronised; concurrent find... are safe.
class MetaData : public RefBase {
  public:
    enum Type : uint32_t {
        TYPE_NONE = metaDataCode('n', 'o', 'n', 'e'),
        TYPE_C_STRING = metaDataCode('c', 's', 't', 'r'),
        TYPE_INT32 = metaDataCode('i', 'n', '3', '2'),
        TYPE_INT64 = metaDataCode('i', 'n', '6', '4'),
        TYPE_FLOAT = metaDataCode('f', 'l', 'o', 'a'),
        TYPE_POINTER = metaDataCode('p', 't', 'r', ' '),
    };

    MetaData();
    // A deep copy with its own reference count; pointers that are values are copied as pointers.
    MetaData(const MetaData& other);
    MetaData& operator=(const MetaData&) = delete;

    void clear();
    // False when the key had no value.
    bool remove(uint32_t key);

    // The text, never null, is copied.
    bool setCString(uint32_t key, const char* value);
    bool setInt32(uint32_t key, int32_t value);
    bool setInt64(uint32_t key, int64_t value);
    bool setFloat(uint32_t key, float value);
    // Only the pointer is stored: what it points to stays the caller's.
    bool setPointer(uint32_t key, void* value);

    // The text found belongs to this object and holds until this object is changed or destroyed.
    bool findCString(uint32_t key, const char** value) const;
    bool findInt32(uint32_t key, int32_t* value) const;
    bool findInt64(uint32_t key, int64_t* value) const;
    bool findFloat(uint32_t key, float* value) const;
    bool findPointer(uint32_t key, void** value) const;

    // Bytes with a type code of the caller's choice, copied; they may be this object's own. A size of 0, or
    // null data, stores a value without bytes.
    bool setData(uint32_t key, uint32_t type, const void* data, size_t size);
    // Finds a value of any type. The bytes belong to this object and hold until it is changed or destroyed;
    // *data is not null even when *size is 0.
    bool findData(uint32_t key, uint32_t* type, const void** data, size_t* size) const;
    bool hasData(uint32_t key) const;

  protected:
    ~MetaData() override;

  private:
    static constexpr size_t kInlineItems = 6;
    static constexpr size_t kInlineBytes = 8;

    // Trivially copyable, so that items move as bytes. heapData is in use when size exceeds kInlineBytes.
    struct Item {
        uint32_t key;
        uint32_t type;
        size_t size;
        union {
            alignas(8) uint8_t inlineData[kInlineBytes];
            void* heapData;
        };

        static Item copyOf(uint32_t key, uint32_t type, const void* data, size_t size);
        const void* bytes() const { return size <= kInlineBytes ? inlineData : heapData; }
        void release();
    };

    Item* find(uint32_t key) const;
    Item* room();
    // Out of the way of what happens with every sample.
    __attribute__((cold, noinline)) void grow();
    __attribute__((cold, noinline)) void freeHeapData();
    template <typename Value>
    bool setFixed(uint32_t key, uint32_t type, Value value);
    template <typename Value>
    bool findFixed(uint32_t key, uint32_t type, Value* value) const;

    Item* mItems;  // mInline, or a larger array on the heap
    uint32_t mCount;
    uint32_t mCapacity;
    bool mHasHeapData;  // some item had some since the last clear
    Item mInline[kInlineItems];
};

}  // namespace android
