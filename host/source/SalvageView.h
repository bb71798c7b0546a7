// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <media/stagefright/DataSource.h>

#include <vector>

namespace orvel {

// A damaged file as its remainder is best looked for: what is behind the damage stays where it is, and what has been
// read already is out of the way. Until hide() is called everything passes through. Used from one thread at a time.
class SalvageView : public android::DataSource {
  public:
    explicit SalvageView(const android::sp<android::DataSource>& source);

    android::status_t initCheck() const override { return mSource->initCheck(); }
    ssize_t readAt(off64_t offset, void* data, size_t size) override;
    android::status_t getSize(off64_t* size) override { return mSource->getSize(size); }
    uint32_t flags() override;
    android::String8 toString() override { return mSource->toString(); }

    // From now on the bytes in [from, to) read as 0xff, which no tag's header begins with. The key-frame index, whose
    // positions may be wrong behind damage, loses its name; and the source no longer says that it is a caching one,
    // since on those no tag is believed as long as the picture's size is unknown.
    void hide(off64_t from, off64_t to);

    // Where the last read began and ended; 0 before the first.
    off64_t lastOffset() const { return mLastOffset; }
    off64_t lastEnd() const { return mLastEnd; }

  protected:
    ~SalvageView() override = default;

  private:
    void findIndexNames();

    const android::sp<android::DataSource> mSource;
    off64_t mFrom = 0;
    off64_t mTo = 0;
    bool mHides = false;
    std::vector<off64_t> mIndexNames;
    off64_t mLastOffset = 0;
    off64_t mLastEnd = 0;
};

}  // namespace orvel
