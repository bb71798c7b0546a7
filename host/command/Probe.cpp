// SPDX-License-Identifier: Apache-2.0
#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "command/Command.h"
#include "command/Completeness.h"
#include "command/Description.h"
#include "command/InputList.h"
#include "command/IoProbe.h"
#include "command/Options.h"
#include "command/SeekProbe.h"
#include "command/SpanReader.h"
#include "command/WalkDescription.h"
#include "source/OpenSource.h"
#include "support/CountText.h"
#include "support/Progress.h"
#include "support/Terminal.h"
#include "support/TimeText.h"

namespace orvel {
namespace {

using Json = nlohmann::ordered_json;

constexpr char kDescription[] =
        "Shows what a file holds.\n"
        "  orvel-flv probe clip.flv\n"
        "  orvel-flv probe --json *.flv | jq .format.duration\n"
        "  orvel-flv probe --packets clip.flv\n"
        "  orvel-flv probe --seek 2.5,0:01:00 clip.flv";

std::string SampleLine(const TrackFormat& format, const AccessUnit& sample) {
    return fmt::format("  {} {:>10} {:>8} {} {:08x}\n", format.kindName(), FormatSeconds(sample.timeUs),
                       sample.bytes.size, sample.isSync ? "sync" : "-   ", SampleCrc(sample));
}

std::string SeekLine(const TrackFormat& format, int64_t timeUs, const SeekLanding& landing) {
    std::string where = landing.isEndOfStream ? "end of stream"
                                              : fmt::format("{} s, {}, {}", FormatSeconds(landing.timeUs),
                                                            CountText(landing.size, "byte"),
                                                            landing.isSync ? "sync" : "not sync");
    return fmt::format("  seek to {} s, {}: {}; {}, {}, {} read\n", FormatSeconds(timeUs), format.kindName(),
                       where, NameOf(landing.route), CountText(landing.cost.calls, "read"),
                       CountText(landing.cost.bytes, "byte"));
}

Json SeekJson(const TrackFormat& format, size_t track, int64_t timeUs, const SeekLanding& landing) {
    Json json = {{"codec_type", format.kindName()},
                 {"stream_index", track},
                 {"seek_time", Seconds(timeUs)},
                 {"end_of_stream", landing.isEndOfStream}};
    if (!landing.isEndOfStream) {
        json["pts"] = landing.timeUs / 1000;
        json["pts_time"] = Seconds(landing.timeUs);
        json["size"] = landing.size;
        json["flags"] = landing.isSync ? "K_" : "__";
    }
    json["route"] = NameOf(landing.route);
    json["nb_reads"] = landing.cost.calls;
    json["bytes_read"] = landing.cost.bytes;
    return json;
}

std::string IoLine(const IoPhase& phase) {
    return fmt::format(
            "  io of {}: {} ({} below 4096 bytes, {} of 4096, {} above), {} bytes read, {} of them "
            "again,"
            " {} bytes of samples\n",
            phase.name, CountText(phase.reads, "read"), phase.below4096, phase.of4096, phase.above4096,
            phase.bytes, phase.bytesAgain, phase.sampleBytes);
}

Json IoJson(const IoPhase& phase) {
    return {{"phase", phase.name},
            {"nb_reads", phase.reads},
            {"nb_below_4096", phase.below4096},
            {"nb_of_4096", phase.of4096},
            {"nb_above_4096", phase.above4096},
            {"bytes_read", phase.bytes},
            {"bytes_read_again", phase.bytesAgain},
            {"sample_bytes", phase.sampleBytes}};
}

// What a file holds that gives no track at all; empty when it cannot be read a second time.
Json StreamsWithoutTrack(const std::string& location) {
    Json streams = Json::array();
    try {
        for (const StreamSeen& stream : InspectLocation(location).streams)
            streams.push_back(LeftOutJson(stream, streams.size()));
    } catch (const Failure&) {
        return Json::array();
    }
    return streams;
}

class ProbeCommand : public Command {
  public:
    CLI::App* addTo(CLI::App& program) override;
    ExitCode run(Session& session) override;

  private:
    std::unique_ptr<Input> open(const Plugin& plugin, const std::string& location) const;
    void probe(const Plugin& plugin, const Input& input);
    void tellPlace(const Input& input) const;
    void forEachSample(const Input& input, std::vector<TrackFindings>* findings,
                       const std::function<void(size_t, const AccessUnit&)>& show);
    void showText(const Plugin& plugin, const Input& input, std::vector<TrackFindings>* findings);
    void showJson(const Plugin& plugin, const Input& input, std::vector<TrackFindings>* findings);

    bool walks(const Input& input) const { return mCounts || input.isNear(); }

    std::vector<std::string> mLocations;
    std::vector<int64_t> mSeeks;
    bool mAsJson = false;
    bool mWithPackets = false;
    bool mWithIo = false;
    bool mCounts = false;
};

CLI::App* ProbeCommand::addTo(CLI::App& program) {
    CLI::App* app = program.add_subcommand("probe", kDescription);
    app->add_option("FILE", mLocations, "Files, http(s) URLs, or - for standard input")->required();
    app->add_flag("--json", mAsJson,
                  "For programs: a JSON document a line, one for each input, as ffprobe's");
    app->add_flag("--packets", mWithPackets, "Also every sample: time, size, sync flag, CRC-32");
    app->add_option_function<std::vector<std::string>>(
               "--seek",
               [this](const std::vector<std::string>& times) {
                   for (const std::string& text : times) {
                       std::optional<int64_t> timeUs = ParseTime(text);
                       if (!timeUs) throw CLI::ValidationError("--seek", "not a time: " + text);
                       mSeeks.push_back(*timeUs);
                   }
               },
               "Also where a seek of each track lands, how, and what it reads; seconds or [h:]mm:ss.mmm")
            ->delimiter(',')
            ->allow_extra_args(false)
            ->type_name("T[,T...]");
    app->add_flag("--count", mCounts, "With --json, also each track's samples and bytes; reads all of a URL");
    app->add_flag("--io", mWithIo,
                  "Also what a session reads of the source: sniffing, opening, playing, seeking");
    return app;
}

ExitCode ProbeCommand::run(Session& session) {
    const Plugin& plugin = session.plugin();
    InputList inputs(mLocations, session.isRecursive());
    return inputs.forEach([&](const std::string& location) {
        std::unique_ptr<Input> input = open(plugin, location);
        probe(plugin, *input);
        if (walks(*input)) TellLeftOut(*input);
        input->throwIfReadsFailed();
        tellPlace(*input);
        return ExitCode::kDone;
    });
}

std::unique_ptr<Input> ProbeCommand::open(const Plugin& plugin, const std::string& location) const {
    try {
        return std::make_unique<Input>(plugin, location);
    } catch (const Failure& failure) {
        if (!mAsJson) throw;
        Json json = ErrorJson(location, failure.what());
        json["streams"] =
                failure.code() == ExitCode::kDamaged ? StreamsWithoutTrack(location) : Json::array();
        json["format"]["filename"] = json["filename"];
        WriteOut(Dump(json) + "\n");
        throw;
    }
}

// One input takes milliseconds, a folder of them may not.
void ProbeCommand::tellPlace(const Input& input) const {
    if (mWithPackets) return;
    Progress progress(input.name(), input.size());
    progress.update(0);
    progress.finish();
}

void ProbeCommand::probe(const Plugin& plugin, const Input& input) {
    std::vector<TrackFindings> findings(input.tracks().size());
    for (size_t i = 0; i < findings.size(); ++i)
        findings[i].pcmBits = GuessPcmBits(input, i);
    if (mAsJson) {
        showJson(plugin, input, &findings);
    } else {
        showText(plugin, input, &findings);
    }
}

void ProbeCommand::forEachSample(const Input& input, std::vector<TrackFindings>* findings,
                                 const std::function<void(size_t, const AccessUnit&)>& show) {
    std::vector<size_t> tracks;
    for (size_t i = 0; i < input.tracks().size(); ++i) {
        (*findings)[i].packets = 0;
        tracks.push_back(i);
    }
    SpanReader samples(input, tracks, Span());
    while (auto turn = samples.next()) {
        ++*(*findings)[turn->track].packets;
        show(turn->track, *turn->sample);
    }
}

void ProbeCommand::showText(const Plugin& plugin, const Input& input, std::vector<TrackFindings>* findings) {
    WriteOut(EscapeControls(DescribeContainer(input)) + "\n");
    for (size_t i = 0; i < findings->size(); ++i) {
        WriteOut(DescribeTrack(input, i, (*findings)[i]) + "\n");
    }
    if (walks(input)) {
        for (const StreamSeen& stream : input.inspection().streams) {
            if (!input.hasTrackOf(stream))
                WriteOut(fmt::format("  {} {}: not supported, {}, {}\n", stream.kindName(),
                                     CodecName(stream.header), CountText(stream.tags, "tag"),
                                     CountText(stream.bytes, "byte")));
        }
    }
    if (mWithPackets) {
        forEachSample(input, findings, [&](size_t track, const AccessUnit& sample) {
            WriteOut(SampleLine(input.tracks()[track], sample));
        });
    }
    for (int64_t timeUs : mSeeks) {
        for (size_t i = 0; i < findings->size(); ++i) {
            WriteOut(SeekLine(input.tracks()[i], timeUs, ProbeSeek(input, i, timeUs)));
        }
    }
    if (!mWithIo) return;
    for (const IoPhase& phase : ProbeIo(plugin, input))
        WriteOut(IoLine(phase));
}

// Packets come first, as in ffprobe's documents, so that none has to be kept and the streams can tell their
// number.
void ProbeCommand::showJson(const Plugin& plugin, const Input& input, std::vector<TrackFindings>* findings) {
    WriteOut("{");
    if (mWithPackets) {
        const char* separator = "\"packets\":[";
        forEachSample(input, findings, [&](size_t track, const AccessUnit& sample) {
            WriteOut(separator + Dump(SampleJson(input.tracks()[track], track, sample)));
            separator = ",";
        });
        WriteOut(*separator == ',' ? "]," : "\"packets\":[],");
    }
    Json rest;
    for (size_t i = 0; i < findings->size(); ++i) {
        rest["streams"].push_back(TrackJson(input, i, (*findings)[i]));
        if (walks(input)) AddWalked(input, i, mCounts, &rest["streams"].back());
    }
    rest["format"] = ContainerJson(input);
    rest["format"]["walked"] = walks(input);
    if (walks(input)) {
        for (const StreamSeen& stream : input.inspection().streams) {
            if (!input.hasTrackOf(stream))
                rest["streams"].push_back(LeftOutJson(stream, rest["streams"].size()));
        }
        AddScripts(input, &rest["format"], &rest);
    }
    for (int64_t timeUs : mSeeks) {
        for (size_t i = 0; i < findings->size(); ++i) {
            rest["seeks"].push_back(SeekJson(input.tracks()[i], i, timeUs, ProbeSeek(input, i, timeUs)));
        }
    }
    if (mWithIo) {
        for (const IoPhase& phase : ProbeIo(plugin, input))
            rest["io"].push_back(IoJson(phase));
    }
    if (input.source().hasFailed()) rest["error"] = LastReadError(input.source().inner(), input.name());
    const char* separator = "";
    for (const auto& [name, value] : rest.items())
        WriteOut(std::exchange(separator, ",") + Dump(name) + ":" + Dump(value));
    WriteOut("}\n");
}

}  // namespace

std::unique_ptr<Command> MakeProbeCommand() {
    return std::make_unique<ProbeCommand>();
}

}  // namespace orvel
