// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <media/stagefright/DataSource.h>
#include <media/stagefright/MediaExtractor.h>
#include <media/stagefright/foundation/AMessage.h>
#include <utils/SortedVector.h>
#include <utils/String8.h>

#include <string>
#include <vector>

namespace orvel {

// The extractor plug-in behind its four entry points, which are looked up by the names that the platform's
// ABI gives their signatures, as the device's loader does. The library stays loaded until the process ends:
// extractors and sources made by it may live as long.
class Plugin {
  public:
    // Loads the library at path. An empty path looks for libflvextractor.so beside the program, then in the
    // library folder of an installation. Throws Failure (kInputOutput) when there is none, or it is not such
    // a plug-in.
    static Plugin Load(const std::string& path);

    // The extensions that it serves, each with its dot and in lower case, and its container's MIME type.
    const std::vector<std::string>& extensions() const { return mExtensions; }
    const std::string& mimeType() const { return mMimeType; }

    // Whether the plug-in claims the source with a confidence above 0. It opens the source as a whole to
    // tell.
    bool sniff(const android::sp<android::DataSource>& source) const;

    // Never null. An extractor of a source that was not claimed has no tracks.
    android::sp<android::MediaExtractor> createExtractor(
            const android::sp<android::DataSource>& source) const;

  private:
    using GetSupportExtension = bool (*)(android::SortedVector<android::String8>&);
    using GetMimeString = bool (*)(android::String8*);
    using Sniffer = bool (*)(const android::sp<android::DataSource>&, android::String8*, float*,
                             android::sp<android::AMessage>*);
    using CreateInstance = android::MediaExtractor* (*)(const android::sp<android::DataSource>&,
                                                        const android::sp<android::AMessage>&);

    Plugin() = default;
    void describe();

    GetSupportExtension mGetSupportExtension = nullptr;
    GetMimeString mGetMimeString = nullptr;
    Sniffer mSniffer = nullptr;
    CreateInstance mCreateInstance = nullptr;
    std::vector<std::string> mExtensions;
    std::string mMimeType;
};

}  // namespace orvel
