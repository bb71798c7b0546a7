// SPDX-License-Identifier: Apache-2.0
#include "picture/KeyPictures.h"

namespace orvel {

KeyPictures::KeyPictures(const Input& input, size_t track, const AvModule& module,
                         std::optional<PictureSize> box)
    : mReader(input.openTrack(track)),
      mForm(input.tracks()[track], 0),
      mDecoder(module.openDecoder(mForm.setup())),
      mBox(box) {}

std::optional<KeyPicture> KeyPictures::find(int64_t timeUs, int64_t afterUs, bool* isBehindLast) {
    std::optional<KeyPicture> doubtful;
    int tries = 0;
    *isBehindLast = true;
    for (bool more = mReader.seekOrRead(timeUs); more && tries < kMostTries; more = mReader.next()) {
        const AccessUnit& sample = mReader.sample();
        if (!sample.isSync || sample.timeUs <= afterUs) continue;
        ++tries;
        *isBehindLast = false;
        PictureDecoder::Result result = mDecoder->decode(mForm.convert(sample.bytes));
        bool isWhole = result == PictureDecoder::Result::kPicture;
        if (result == PictureDecoder::Result::kNothing || (!isWhole && doubtful)) continue;
        KeyPicture found{sample.timeUs, !isWhole, mDecoder->picture(mBox)};
        if (isWhole) return found;
        doubtful = std::move(found);
    }
    return doubtful;
}

}  // namespace orvel
