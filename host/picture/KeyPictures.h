// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>

#include "av/StreamForm.h"
#include "command/Input.h"

namespace orvel {

struct KeyPicture {
    int64_t timeUs = 0;
    bool isDoubtful = false;  // parts of it are damaged and covered up
    Picture picture;
};

// A video track's pictures that decode on their own.
class KeyPictures {
  public:
    // The module and the input must outlive it.
    KeyPictures(const Input& input, size_t track, const AvModule& module, std::optional<PictureSize> box);

    // A seek's sync sample or, while that does not decode whole, the next one: at most kMostTries, from the
    // first on that is later than afterUs. When none decodes whole, the first that decodes at all. Nothing
    // when none does; *isBehindLast then tells whether there was no such sample to try.
    static constexpr int kMostTries = 8;
    std::optional<KeyPicture> find(int64_t timeUs, int64_t afterUs, bool* isBehindLast);

  private:
    TrackReader mReader;
    StreamForm mForm;
    std::unique_ptr<PictureDecoder> mDecoder;
    const std::optional<PictureSize> mBox;
};

}  // namespace orvel
