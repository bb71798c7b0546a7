// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Pointers.h"
#include "SinkStream.h"
#include "support/Failure.h"

namespace orvel {

class ContainerMuxer : public Muxer {
  public:
    ContainerMuxer(const std::string& format, const std::vector<MuxTrack>& tracks, const MuxDetails& details,
                   ByteSink& sink);
    void write(const MuxSample& sample) override;
    void finish() override;
    Losses losses(size_t track) const override { return mLosses[track]; }

  private:
    void addStream(const MuxTrack& track, const MuxDetails& details);
    void addChapters(const std::string& format, std::vector<MuxDetails::Chapter> chapters);
    void writeHeader(const std::string& format, const MuxDetails& details);
    void setTimes(const MuxSample& sample, AVPacket* packet);
    bool writeInterleaved(AVPacket* packet);
    void check(int result, ExitCode code, const char* what);

    SinkStream mStream;
    FormatPointer mContext;
    PacketPointer mPacket;
    std::vector<int64_t> mLastDecodingTimes;  // in each stream's own units
    std::vector<uint64_t> mGiven;             // samples of each track
    std::vector<Losses> mLosses;
};

}  // namespace orvel
