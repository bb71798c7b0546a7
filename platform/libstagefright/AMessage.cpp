// SPDX-License-Identifier: Apache-2.0
#include <media/stagefright/foundation/AMessage.h>

namespace android {

AMessage::AMessage() = default;

AMessage::~AMessage() = default;

void AMessage::setInt32(const char* name, int32_t value) {
    set(name, kTypeInt32, value);
}

void AMessage::setInt64(const char* name, int64_t value) {
    set(name, kTypeInt64, value);
}

bool AMessage::findInt32(const char* name, int32_t* value) const {
    const Item* const item = find(name, kTypeInt32);
    if (item == nullptr) return false;
    *value = static_cast<int32_t>(item->value);
    return true;
}

bool AMessage::findInt64(const char* name, int64_t* value) const {
    const Item* const item = find(name, kTypeInt64);
    if (item == nullptr) return false;
    *value = item->value;
    return true;
}

void AMessage::set(const char* name, Type type, int64_t value) {
    for (Item& item : mItems) {
        if (item.name == name) {
            item.type = type;
            item.value = value;
            return;
        }
    }
    mItems.push_back(Item{String8(name), type, value});
}

const AMessage::Item* AMessage::find(const char* name, Type type) const {
    for (const Item& item : mItems) {
        if (item.name == name) return item.type == type ? &item : nullptr;
    }
    return nullptr;
}

}  // namespace android
