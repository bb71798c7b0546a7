// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <media/stagefright/DataSource.h>
#include <media/stagefright/MediaExtractor.h>
#include <media/stagefright/MetaData.h>
#include <media/stagefright/foundation/AMessage.h>
#include <utils/Mutex.h>
#include <utils/SortedVector.h>
#include <utils/String8.h>
#include <utils/StrongPointer.h>
#include <utils/Vector.h>

#include "Export.h"
#include "FlvReader.h"

namespace android {

// One opened FLV source: a table of at most two tracks, video first, with a complete format each.
//
// Owns the one container reader of its source and the mutex under which all track sources share that reader.
// The table's rows never change after construction but for the format of the video track, which is replaced
// once; see getTrackMetaData. All operations may be called from any thread. A source that is not FLV makes an
// extractor without tracks.
class FlvExtractor : public MediaExtractor {
  public:
    // Reads the head of the source (not null), and its end when the metadata gives no duration.
    explicit FlvExtractor(const sp<DataSource>& source);

    size_t countTracks() override;

    // A new source for a track, or null for an index out of range. Sources are independent of one another and
    // keep the extractor alive.
    sp<IMediaSource> getTrack(size_t index) override;

    // The track's format, or null for an index out of range. The object is shared, not copied, and never
    // changes. The first call with kIncludeExtensiveMetaData replaces the video track's format, here and for
    // the sources, by one that has kKeyThumbnailTime as well.
    sp<MetaData> getTrackMetaData(size_t index, uint32_t flags) override;

    // A new object that holds only the container's MIME type.
    sp<MetaData> getMetaData() override;

  protected:
    ~FlvExtractor() override;

  private:
    friend class FlvSource;

    struct TrackInfo {
        int64_t mStartPos;  // slot of the first tag to deliver
        uint32_t mType;     // FlvReader::TrackType
        sp<MetaData> mMeta;
    };

    void addTracks();
    void addTrack(FlvReader::TrackType type, int64_t startPos, const sp<MetaData>& format);
    sp<MetaData> makeVideoFormat();
    sp<MetaData> makeAudioFormat();
    void findThumbnails();
    sp<MetaData> format(size_t index);

    Mutex mLock;
    Vector<TrackInfo> mTracks;  // mMeta under mFormatLock
    FlvReader::CFlv* mFlv;      // owned, never null before destruction
    bool mFoundThumbnails;      // under mFormatLock
    Mutex mFormatLock;          // innermost, and never held across a read of the source
};

// The four functions that the framework's loader finds by their mangled names. They keep no state and may be
// called in any order from any thread.

// Adds ".flv" and ".f4v" to the set. Always true.
ORVEL_API bool getSupportExtension(SortedVector<String8>& extensions);

// Sets the container's MIME type. Always true.
ORVEL_API bool getMimeString(String8* mime);

// Opens the source as far as an extractor would. True, with the MIME type and a confidence of 0.9, when it is
// FLV; otherwise false, with both outputs untouched. meta is not used.
ORVEL_API bool Sniffer(const sp<DataSource>& source, String8* mime, float* confidence, sp<AMessage>* meta);

// A new extractor for the source, never null; the caller takes it into a strong pointer. meta is not used.
ORVEL_API MediaExtractor* createInstance(const sp<DataSource>& source, const sp<AMessage>& meta);

}  // namespace android
