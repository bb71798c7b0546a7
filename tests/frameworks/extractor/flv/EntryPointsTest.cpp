// SPDX-License-Identifier: Apache-2.0
#include "FlvExtractor.h"
#include "support/FormatText.h"
#include "support/OpenedReader.h"

using namespace orvel;
using namespace android;

TEST(EntryPoints, NameWhatThePlugInHandles) {
    SortedVector<String8> extensions;
    extensions.add(String8(".g"));
    extensions.add(String8(".flv"));
    EXPECT_TRUE(getSupportExtension(extensions) && extensions.size() == 3);
    EXPECT_TRUE(extensions[0] == ".f4v" && extensions[1] == ".flv" && extensions[2] == ".g");
    String8 mime("old");
    EXPECT_TRUE(getMimeString(&mime) && mime == "video/flv");
}

TEST(EntryPoints, OutputsAreOnlyForFlv) {
    for (const bool isFlv : {true, false}) {
        const sp<MemorySource> source = new MemorySource(Hex(isFlv ? "464C56010500000009" : "52494646"));
        String8 mime("old");
        float confidence = 0.25f;
        sp<AMessage> meta;
        EXPECT_EQ(Sniffer(source, &mime, &confidence, &meta), isFlv);
        EXPECT_EQ(mime, isFlv ? "video/flv" : "old");
        EXPECT_EQ(confidence, isFlv ? 0.9f : 0.25f);
        EXPECT_TRUE(meta == nullptr && source->getStrongCount() == 1);
        const sp<MediaExtractor> extractor = createInstance(source, nullptr);
        EXPECT_EQ(extractor->countTracks(), 0u);
        EXPECT_TRUE(extractor->getTrackMetaData(0, 1) == nullptr && extractor->getTrack(0) == nullptr);
        EXPECT_EQ(Describe(extractor->getMetaData()), "video/flv");
    }
}
