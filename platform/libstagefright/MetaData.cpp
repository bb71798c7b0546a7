// SPDX-License-Identifier: Apache-2.0
#include <media/stagefright/MetaData.h>

#include <stdlib.h>
#include <string.h>

#define LOG_TAG "MetaData"
#include <log/log.h>

namespace android {

namespace {

void* allocate(size_t size) {
    void* const block = malloc(size);
    LOG_ALWAYS_FATAL_IF(block == nullptr, "out of memory: %zu bytes", size);
    return block;
}

}  // namespace

MetaData::Item MetaData::Item::copyOf(uint32_t key, uint32_t type, const void* data, size_t size) {
    Item item;
    item.key = key;
    item.type = type;
    item.size = data != nullptr ? size : 0;
    if (item.size > kInlineBytes) {
        item.heapData = memcpy(allocate(size), data, size);
    } else if (item.size > 0) {
        memcpy(item.inlineData, data, size);
    }
    return item;
}

void MetaData::Item::release() {
    if (size > kInlineBytes) free(heapData);
}

MetaData::MetaData() : mItems(mInline), mCount(0), mCapacity(kInlineItems), mHasHeapData(false) {}

MetaData::MetaData(const MetaData& other) : MetaData() {
    for (size_t i = 0; i < other.mCount; ++i) {
        const Item& item = other.mItems[i];
        setData(item.key, item.type, item.bytes(), item.size);
    }
}

MetaData::~MetaData() {
    clear();
    if (mItems != mInline) free(mItems);
}

void MetaData::clear() {
    if (mHasHeapData) freeHeapData();
    mCount = 0;
}

void MetaData::freeHeapData() {
    for (size_t i = 0; i < mCount; ++i)
        mItems[i].release();
    mHasHeapData = false;
}

bool MetaData::remove(uint32_t key) {
    Item* const item = find(key);
    if (item == nullptr) return false;
    item->release();
    *item = mItems[--mCount];
    return true;
}

MetaData::Item* MetaData::find(uint32_t key) const {
    for (size_t i = 0; i < mCount; ++i) {
        if (mItems[i].key == key) return &mItems[i];
    }
    return nullptr;
}

// setData for a value that lies in the item itself.
template <typename Value>
bool MetaData::setFixed(uint32_t key, uint32_t type, Value value) {
    static_assert(sizeof(value) <= kInlineBytes, "needs the heap");
    Item* item = find(key);
    const bool isKnown = item != nullptr;
    if (isKnown) {
        item->release();
    } else {
        item = room();
        item->key = key;
    }
    item->type = type;
    item->size = sizeof(value);
    memcpy(item->inlineData, &value, sizeof(value));
    return isKnown;
}

template <typename Value>
bool MetaData::findFixed(uint32_t key, uint32_t type, Value* value) const {
    const Item* const item = find(key);
    if (item == nullptr || item->type != type || item->size != sizeof(*value)) return false;
    memcpy(value, item->inlineData, sizeof(*value));
    return true;
}

bool MetaData::setCString(uint32_t key, const char* value) {
    return setData(key, TYPE_C_STRING, value, strlen(value) + 1);
}

bool MetaData::setInt32(uint32_t key, int32_t value) {
    return setFixed(key, TYPE_INT32, value);
}

bool MetaData::setInt64(uint32_t key, int64_t value) {
    return setFixed(key, TYPE_INT64, value);
}

bool MetaData::setFloat(uint32_t key, float value) {
    return setFixed(key, TYPE_FLOAT, value);
}

bool MetaData::setPointer(uint32_t key, void* value) {
    return setFixed(key, TYPE_POINTER, value);
}

// A text put in by setData may lack its end.
bool MetaData::findCString(uint32_t key, const char** value) const {
    const Item* const item = find(key);
    if (item == nullptr || item->type != TYPE_C_STRING || item->size == 0) return false;
    const char* const text = static_cast<const char*>(item->bytes());
    if (text[item->size - 1] != '\0') return false;
    *value = text;
    return true;
}

bool MetaData::findInt32(uint32_t key, int32_t* value) const {
    return findFixed(key, TYPE_INT32, value);
}

bool MetaData::findInt64(uint32_t key, int64_t* value) const {
    return findFixed(key, TYPE_INT64, value);
}

bool MetaData::findFloat(uint32_t key, float* value) const {
    return findFixed(key, TYPE_FLOAT, value);
}

bool MetaData::findPointer(uint32_t key, void** value) const {
    return findFixed(key, TYPE_POINTER, value);
}

// The new value is complete before the old one goes: its bytes may come from there.
bool MetaData::setData(uint32_t key, uint32_t type, const void* data, size_t size) {
    const Item fresh = Item::copyOf(key, type, data, size);
    if (fresh.size > kInlineBytes) mHasHeapData = true;
    Item* const item = find(key);
    if (item == nullptr) {
        *room() = fresh;
        return false;
    }
    item->release();
    *item = fresh;
    return true;
}

bool MetaData::findData(uint32_t key, uint32_t* type, const void** data, size_t* size) const {
    const Item* const item = find(key);
    if (item == nullptr) return false;
    *type = item->type;
    *data = item->bytes();
    *size = item->size;
    return true;
}

bool MetaData::hasData(uint32_t key) const {
    return find(key) != nullptr;
}

// A new last item.
MetaData::Item* MetaData::room() {
    if (mCount == mCapacity) grow();
    return &mItems[mCount++];
}

void MetaData::grow() {
    Item* const larger = static_cast<Item*>(allocate(2 * mCapacity * sizeof(Item)));
    memcpy(larger, mItems, mCount * sizeof(Item));
    if (mItems != mInline) free(mItems);
    mItems = larger;
    mCapacity *= 2;
}

}  // namespace android
