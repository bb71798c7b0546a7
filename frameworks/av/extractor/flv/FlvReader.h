// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <media/stagefright/DataSource.h>
#include <stddef.h>
#include <stdint.h>
#include <utils/StrongPointer.h>
#include <utils/Vector.h>

#include <memory>

// The container reader: what stands in an FLV file, byte by byte. Field names and values follow Adobe's Video
// File Format Specification version 10 (annex E); file integers are big-endian.
//
// Nothing here locks. Position, cache and bit state of a reader form one cursor, which the sources of an
// extractor share under the extractor's mutex.
namespace FlvReader {

// Track types, as the accessors of CFlv and the extractor's track table number them.
enum TrackType : uint32_t { kTrackVideo = 1, kTrackAudio = 2 };

// TagType, all eight bits of the byte. Any other value is a tag that scans pass over.
enum TagType : uint8_t { kTagAudio = 8, kTagVideo = 9, kTagScriptData = 18 };

enum SoundFormat : uint8_t {
    kSoundPcmPlatformEndian = 0,
    kSoundAdpcm = 1,
    kSoundMp3 = 2,
    kSoundPcmLittleEndian = 3,
    kSoundNellymoser16kMono = 4,
    kSoundNellymoser8kMono = 5,
    kSoundNellymoser = 6,
    kSoundG711ALaw = 7,
    kSoundG711MuLaw = 8,
    kSoundAac = 10,
    kSoundSpeex = 11,
    kSoundMp3At8k = 14,
    kSoundDeviceSpecific = 15,
};

enum AacPacketType : uint8_t { kAacSequenceHeader = 0, kAacRaw = 1 };

enum FrameType : uint8_t {
    kFrameKey = 1,
    kFrameInter = 2,
    kFrameDisposableInter = 3,
    kFrameGeneratedKey = 4,
    kFrameVideoInfo = 5,
};

// CodecID. 9 is this system's assignment for HEVC; the others are the format's own.
enum CodecId : uint8_t {
    kCodecSorensonH263 = 2,
    kCodecScreenVideo = 3,
    kCodecVp6 = 4,
    kCodecVp6Alpha = 5,
    kCodecScreenVideo2 = 6,
    kCodecAvc = 7,
    kCodecHevc = 9,
};

// Whether a packet type and a composition time stand between a tag's video header and its payload.
inline bool HasPacketType(uint8_t codecId) {
    return codecId == kCodecAvc || codecId == kCodecHevc;
}

// AVCPacketType, also of HEVC tags.
enum AvcPacketType : uint8_t { kAvcSequenceHeader = 0, kAvcNalUnits = 1, kAvcEndOfSequence = 2 };

// A tag unit is the 4-byte PreviousTagSize field, the 11-byte tag header and DataSize bytes of data. Its file
// offset, that of the PreviousTagSize field, is called its slot.
constexpr int64_t kPreviousTagSizeBytes = 4;
constexpr int64_t kTagHeaderBytes = 11;
constexpr int64_t kTagUnitHeaderBytes = kPreviousTagSizeBytes + kTagHeaderBytes;

// The 15 bytes in front of a tag's data.
struct Tag {
    uint32_t mPreviousTagSize;  // size of the tag before: 11 + its DataSize; 0 in front of the first tag
    uint8_t mTagType;           // TagType, unmasked
    uint32_t mDataSize;         // bytes of tag data, 0 to 16777215
    uint32_t mTimestamp;        // milliseconds, TimestampExtended in the top byte
    uint32_t mStreamId;
};

// The first byte of audio tag data.
struct AudioTag {
    uint8_t mSoundFormat;  // SoundFormat, 4 bits
    uint8_t mSoundRate;    // 0 = 5.5 kHz, 1 = 11 kHz, 2 = 22 kHz, 3 = 44 kHz
    uint8_t mSoundSize;    // 0 = 8-bit samples, 1 = 16-bit
    uint8_t mSoundType;    // 0 = mono, 1 = stereo
};

// The first byte of video tag data.
struct VideoTag {
    uint8_t mFrameType;  // FrameType, 4 bits
    uint8_t mCodecId;    // CodecId, 4 bits
};

// The one gate through which every byte of the file passes: whole bytes, bit fields and absolute seeks over a
// DataSource, with one cache of 4096 bytes.
//
// The cache is refilled exactly at the position asked for; a read of 4096 bytes or more goes straight into
// the caller's memory and leaves the cache as it was. Byte reads and seeks drop the bits left of a byte that
// is being consumed bit by bit.
//
// Failures are values, never exceptions and never log lines: a read that delivers nothing leaves the position
// where it was, and Delivered() is false from then on until the next seek. So a field of several bytes cannot
// lose one to a passing fault and be taken for whole, and one track's failed read, since every access begins
// with a seek, is never held against the other's good bytes.
class FlvFile {
  public:
    static constexpr size_t kCacheBytes = 4096;

    // Asks the source (not null) for its size, reads nothing. A source that fails to tell, or tells a
    // negative size, counts as empty.
    explicit FlvFile(const android::sp<android::DataSource>& source);

    // Copies up to size bytes from the position and advances by what it delivered. Returns that count, or the
    // source's result (0 or negative) when nothing could be read. Delivers short at the end of the file and
    // whenever the source does.
    long ByteRead(unsigned char* destination, unsigned long size);

    // ByteRead, repeated until size bytes have arrived or the source delivers no more. Returns the bytes
    // delivered, 0 to size. A source may deliver any read in pieces without anything being lost.
    unsigned long ReadFully(unsigned char* destination, unsigned long size);

    // Moves the position, also beyond the end or before the start, where every read fails. No I/O.
    void ByteSeek(long position);

    // The next count bits (0 to 32), most significant first. A byte that cannot be read repeats the bits of
    // the byte before.
    unsigned int BitRead(int count);

    // Loads the byte at the position into the bit reader and advances past it, or leaves the position and the
    // byte of before when it cannot be read.
    void ReadForBit();

    // An unsigned big-endian field of 1 to 4 bytes. A field that does not arrive whole reads as 0, leaves the
    // position unchanged and returns false.
    bool ReadBigEndian(int bytes, uint32_t* value);

    // Moves past the 15 bytes in front of a tag's data and tells where they lie: in the cache, until it is
    // refilled, or in the caller's array. By the bit reader's rule for what cannot be read, the last byte
    // that arrived then fills the rest; asking the source stops at the first failure and *arrived is false.
    const uint8_t* ReadTagUnitHeader(uint8_t (&pieces)[kTagUnitHeaderBytes], bool* arrived);

    // Copies the 15 bytes at another offset without moving the position or displacing the cache. False when
    // they do not all arrive.
    bool PeekTagUnitHeader(int64_t offset, uint8_t (&header)[kTagUnitHeaderBytes]);

    // The bytes from the position on that lie in the cache, and how many; null and 0 when none do or a read
    // has failed. Consume moves past some of them as reads of them would. For values by the thousand; no I/O.
    const uint8_t* CachedRun(size_t* size) const;
    void Consume(size_t size);

    // False when a read since the last seek delivered nothing.
    bool Delivered() const { return mDelivered; }

    // Bytes from the position to the end of the file; 0 for a position outside it.
    int64_t Remaining() const;

    int64_t mLastReadSize;                     // result of the last read from the source, 0 before the first
    android::sp<android::DataSource> mSource;  // never null
    int64_t mOffset;                           // file offset of the next byte to be read
    int64_t mFileSize;                         // bytes, 0 or more

  private:
    const uint8_t* Cached(int64_t offset, size_t size) const;
    const uint8_t* NextCached(size_t size);
    bool Note(int64_t result);
    bool Refill();
    bool ReadInPieces(uint8_t* destination, size_t size);

    uint8_t mBuffer[kCacheBytes];
    int64_t mBufferOffset;  // file offset of mBuffer[0]
    int32_t mBufferPos;     // index of the last access in mBuffer
    int32_t mBufferLength;  // valid bytes of mBuffer
    int32_t mBitsLeft;      // unread bits of mBitByte, 0 to 8
    uint8_t mBitByte;
    bool mDelivered;  // see Delivered()
};

// What a file holds: whether it is FLV, its first video and first audio stream with their decoder
// configuration, picture size or sample rate, duration and key-frame index. Construction finds all of it in
// one pass over the tag chain; afterwards the stream fields are read-only and only the cursor moves.
class CFlv {
  public:
    // Opens the source (not null). ok tells whether it is an FLV file that could be read; a file without any
    // usable stream is one.
    CFlv(const android::sp<android::DataSource>& source, bool& ok);
    virtual ~CFlv();
    CFlv(const CFlv&) = delete;
    CFlv& operator=(const CFlv&) = delete;

    // The codec tag of a track type: a FourCC (first character in the low byte) for video, a WAVE format tag
    // or a FourCC for audio; 0 = no supported stream.
    uint32_t GetStreamFormatType(int trackType) const;

    // The decoder configuration: an avcC record, an hvcC record or a 40-byte BITMAPINFOHEADER for video, an
    // AudioSpecificConfig for any other track type. Owned by this object; null and 0 when there is none.
    const uint8_t* getTrackDecoderSpecificInfoContent(int trackType) const;
    uint32_t getTrackDecoderSpecificInfoSize(int trackType) const;

    // Reads the unit header at a slot, and leaves the position at the tag's data. False when fewer than 15
    // bytes are left (nothing is read), a byte cannot be read, or the data would run past the end of the
    // file.
    bool ReadTag(Tag& tag);
    // Read the one-byte codec header at the start of a tag's data. False when it cannot be read.
    bool ReadTag(AudioTag& tag);
    bool ReadTag(VideoTag& tag);

    // Searches at or after pos for an audio or video tag that the tag behind it confirms. On success pos is
    // its slot and the cursor stands there. False when there is none before the end of the file; pos then
    // holds the slot of the last candidate, if any. Passes over each byte once; a candidate costs its own
    // header and, where that is plausible, one read of the header that should follow it.
    bool Sync(long& pos);

    // Parses the AMF0 value at the position and takes "duration" and the key-frame arrays from it. key is the
    // name under which the value stands, or null; maximumPosition bounds the loops over members; depth is 0
    // for the value of "onMetaData". Returns 0, or -1 on malformed data, with what was recorded before kept.
    int amf_parse_object(const char* key, int64_t maximumPosition, int depth);

    int64_t mAudioStartPos;  // slot of the first audio tag to deliver; 0 = no audio tag was examined
    int64_t mVideoStartPos;  // slot of the first video tag to deliver; 0 = no usable key frame
    uint32_t mDuration;      // milliseconds; 0 = unknown
    int32_t mWidth;          // pixels; 0 = unknown
    int32_t mHeight;
    uint32_t mVideoFourCC;  // see GetStreamFormatType
    uint32_t mSampleRate;   // Hz
    uint32_t mAudioFourCC;
    bool mStereo;
    android::Vector<double> mKeyFramePositions;  // file offsets of tag headers, as stored
    android::Vector<double> mKeyFrameTimes;      // seconds, as stored
    uint8_t* mVideoSpecificInfo;                 // owned, array new
    uint32_t mVideoSpecificInfoSize;
    uint8_t* mAudioSpecificInfo;  // owned, array new
    uint32_t mAudioSpecificInfoSize;
    bool mIsCachingSource;      // set by the first Sync on a caching source
    int64_t mDataOffset;        // first slot, from the file header
    bool mPrevTagSizeMismatch;  // a PreviousTagSize field disagreed with the tag before it
    FlvFile* mFile;             // owned

  private:
    struct HevcParameterSets;
    enum class Configuration { kRead, kAbsent, kFailed };

    bool Init();
    bool IsFlvFile();
    void Reset();
    bool ScanTags(HevcParameterSets* parameterSets);
    bool ExamineTag(const Tag& tag, int64_t tagEnd, HevcParameterSets* parameterSets);
    void FindDurationAtEnd();
    Configuration ReadConfiguration(int64_t tagEnd, std::unique_ptr<uint8_t[]>* data, uint32_t* size);

    bool ExamineAudio(int64_t tagEnd);
    bool ReadAacConfiguration(int64_t tagEnd);
    bool ExamineScript(const Tag& tag);

    bool ExamineVideo(int64_t tagEnd, HevcParameterSets* parameterSets);
    bool ReadH263Header();
    bool ReadVp6Header(bool alpha);
    Configuration ReadAvcConfiguration(int64_t tagEnd);
    Configuration ReadHevcParameterSet(int64_t tagEnd, HevcParameterSets* parameterSets);
    void MakeHevcConfiguration(const HevcParameterSets& parameterSets);
    void MakeBitmapHeader(const char (&fourcc)[5]);

    uint32_t SyncDataSizeLimit() const;
    void SkipToCandidate(int64_t limit);
    bool ConfirmCandidate(const Tag& candidate, int64_t fileSize);
    bool PeekTag(int64_t slot, Tag* tag);

    bool ParseAmf0Number(double* number);
    bool ParseAmf0String();
    bool ParseAmf0Object(const char* key, int64_t maximumPosition, int depth);
    bool ParseAmf0EcmaArray(int64_t maximumPosition, int depth);
    uint32_t TakeCachedNumbers(uint32_t most, android::Vector<double>* index);
    bool ParseAmf0StrictArray(const char* key, int64_t maximumPosition, int depth);
    bool ReadAmf0EndMarker();
    android::Vector<double>* IndexOfKey(const char* key);
    void RecordAmf0(const char* key, int depth, bool isNumber, double number);
};

}  // namespace FlvReader
