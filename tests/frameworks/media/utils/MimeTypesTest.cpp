// SPDX-License-Identifier: Apache-2.0
#include "MimeTypes.h"

#include "TestSupport.h"

using namespace android;

TEST(MimeTypes, TellApartWhatLooksAlike) {
    EXPECT_STREQ(ORVEL_MEDIA_MIMETYPE_CONTAINER_FLV, "video/flv");
    EXPECT_STREQ(ORVEL_MEDIA_MIMETYPE_VIDEO_FLV1, "video/x-flv");
    EXPECT_STREQ(ORVEL_MEDIA_MIMETYPE_AUDIO_AAC_OV, "audio/mp4a-latm-ov");
    EXPECT_STREQ(ORVEL_MEDIA_MIMETYPE_AUDIO_MPEG_LAYER_I, "audio/mpeg-L1");
    EXPECT_STREQ(ORVEL_MEDIA_MIMETYPE_CONTAINER_DTS, "audio/vnd.dts");
    EXPECT_STREQ(ORVEL_MEDIA_MIMETYPE_CONTAINER_TS, "video/mp2t");
    EXPECT_STREQ(ORVEL_MEDIA_MIMETYPE_CONTAINER_REALVIDEO, "video/vnd.rn-realmedia");
    EXPECT_STREQ(ORVEL_MEDIA_MIMETYPE_CONTAINER_MATROSKA_EXT, "video/x-matroska_ext");
    EXPECT_STREQ(ORVEL_MEDIA_MIMETYPE_DATA_TIMED_ID3, "application/x-id3v4");
}
