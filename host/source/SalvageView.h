// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <media/stagefright/DataSource.h>

#include <vector>

#include "flv/TagChain.h"

namespace orvel {

// A damaged file whose chain of tags leads past the damage. Until mendNext() is called everything passes
// through, and afterwards everything outside the damage stays where it is. Used from one thread at a time.
class SalvageView : public android::DataSource {
  public:
    explicit SalvageView(const android::sp<android::DataSource>& source);

    android::status_t initCheck() const override { return mSource->initCheck(); }
    ssize_t readAt(off64_t offset, void* data, size_t size) override;
    android::status_t getSize(off64_t* size) override { return mSource->getSize(size); }
    uint32_t flags() override;
    android::String8 toString() override { return mSource->toString(); }

    // Looks for the next place where the chain breaks, and for the tag behind it with which the chain goes
    // on; what is between reads from now on as tags of a type that readers skip. False when there is none of
    // the two.
    //
    // From the first one on the key-frame index, whose positions may be wrong behind damage, and the duration
    // are without names, so that the plug-in takes neither from the metadata; and the source no longer says
    // that it is a caching one, for on those a tag is not believed as long as the picture's size is unknown.
    bool mendNext();

  protected:
    ~SalvageView() override = default;

  private:
    struct Patch {
        off64_t offset;
        std::vector<uint8_t> bytes;
        off64_t end() const { return offset + static_cast<off64_t>(bytes.size()); }
    };

    bool findDataOffset();
    bool findBreak();
    void bridge(off64_t to);
    void hideNames();

    const android::sp<android::DataSource> mSource;
    off64_t mSize = 0;
    std::vector<Patch> mPatches;
    off64_t mSlot = -1;      // up to here the chain is whole
    off64_t mLastSlot = -1;  // of the tag before; -1 when there is none that is the file's own
};

}  // namespace orvel
