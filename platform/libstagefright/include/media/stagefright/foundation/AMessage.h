// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include <vector>

#include <utils/RefBase.h>
#include <utils/String8.h>

namespace android {

// Named values handed from one component to another. A name, compared with regard to case, has one value of
// one type; setting it again replaces both. find... return false, and leave the result alone, when the name
// is absent or its value has the other type. Not synchronised; concurrent find... are safe.
class AMessage : public RefBase {
  public:
    AMessage();

    void setInt32(const char* name, int32_t value);
    void setInt64(const char* name, int64_t value);

    bool findInt32(const char* name, int32_t* value) const;
    bool findInt64(const char* name, int64_t* value) const;

  protected:
    ~AMessage() override;

  private:
    enum Type { kTypeInt32, kTypeInt64 };

    struct Item {
        String8 name;
        Type type;
        int64_t value;
    };

    void set(const char* name, Type type, int64_t value);
    const Item* find(const char* name, Type type) const;

    std::vector<Item> mItems;
};

}  // namespace android
