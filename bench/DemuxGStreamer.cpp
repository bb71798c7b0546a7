// SPDX-License-Identifier: Apache-2.0
// demux_gstreamer: the pipeline filesrc ! flvdemux ! fakesink, with a sink for each track, as fast as it
// runs.
#include <fmt/format.h>
#include <gst/gst.h>
#include <string.h>

#include "Measurement.h"

namespace {

using namespace orvel;

struct Pipeline {
    GstElement* bin = nullptr;
    Tally tally;
};

struct Branch {
    Pipeline* pipeline;
    TrackKind kind;
};

// The two branches run on the demultiplexer's one thread: there is no queue between.
void Count(GstElement* /*sink*/, GstBuffer* buffer, GstPad* /*pad*/, gpointer data) {
    const auto* branch = static_cast<const Branch*>(data);
    GstMapInfo map;
    if (gst_buffer_map(buffer, &map, GST_MAP_READ) == FALSE) return;
    if (branch->kind == kVideo) {
        branch->pipeline->tally.addLengthPrefixed(kVideo, map.data, map.size);
    } else {
        branch->pipeline->tally.add(kAudio, map.data, map.size);
    }
    gst_buffer_unmap(buffer, &map);
}

void AddBranch(GstElement* /*demuxer*/, GstPad* pad, gpointer data) {
    auto* pipeline = static_cast<Pipeline*>(data);
    GstCaps* caps = gst_pad_get_current_caps(pad);
    const char* name = gst_structure_get_name(gst_caps_get_structure(caps, 0));
    auto* branch = new Branch{pipeline, strncmp(name, "video/", 6) == 0 ? kVideo : kAudio};
    gst_caps_unref(caps);
    GstElement* sink = gst_element_factory_make("fakesink", nullptr);
    g_object_set(sink, "sync", FALSE, "async", FALSE, "signal-handoffs", TRUE, nullptr);
    g_signal_connect_data(
            sink, "handoff", G_CALLBACK(Count), branch,
            [](gpointer closed, GClosure*) { delete static_cast<Branch*>(closed); }, GConnectFlags{});
    gst_bin_add(GST_BIN(pipeline->bin), sink);
    gst_element_sync_state_with_parent(sink);
    GstPad* sinkPad = gst_element_get_static_pad(sink, "sink");
    gst_pad_link(pad, sinkPad);
    gst_object_unref(sinkPad);
}

std::string Play(const char* path, bool withChecksums) {
    Pipeline pipeline{gst_pipeline_new(nullptr), Tally(withChecksums)};
    GstElement* source = gst_element_factory_make("filesrc", nullptr);
    GstElement* demuxer = gst_element_factory_make("flvdemux", nullptr);
    if (source == nullptr || demuxer == nullptr) Fail(path, "GStreamer lacks filesrc or flvdemux");
    g_object_set(source, "location", path, nullptr);
    gst_bin_add_many(GST_BIN(pipeline.bin), source, demuxer, nullptr);
    gst_element_link(source, demuxer);
    g_signal_connect(demuxer, "pad-added", G_CALLBACK(AddBranch), &pipeline);

    const double begin = Now();
    gst_element_set_state(pipeline.bin, GST_STATE_PLAYING);
    GstBus* bus = gst_element_get_bus(pipeline.bin);
    const auto types = static_cast<GstMessageType>(GST_MESSAGE_EOS | GST_MESSAGE_ERROR);
    GstMessage* message = gst_bus_timed_pop_filtered(bus, GST_CLOCK_TIME_NONE, types);
    const double end = Now();
    if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR) Fail(path, "GStreamer's pipeline failed");
    gst_message_unref(message);
    gst_object_unref(bus);
    gst_element_set_state(pipeline.bin, GST_STATE_NULL);
    gst_object_unref(pipeline.bin);
    return fmt::format(R"("open": 0, "read": {:.4g}, {})", end - begin, pipeline.tally.json());
}

}  // namespace

int main(int argc, char** argv) {
    gst_init(nullptr, nullptr);
    return RunMeasurement(argc, argv, {Play});
}
