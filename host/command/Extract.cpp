// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <system_error>

#include "command/Command.h"
#include "command/Completeness.h"
#include "command/ExtractedTrack.h"
#include "command/InputList.h"
#include "command/Options.h"
#include "command/SpanReader.h"
#include "command/WrittenFiles.h"
#include "source/FileSource.h"
#include "support/Terminal.h"
#include "support/TimeText.h"

namespace orvel {
namespace {

namespace fs = std::filesystem;

constexpr char kDescription[] =
        "Writes each track's elementary stream, named after the input, with the codec's extension.\n"
        "  orvel-flv extract clip.flv\n"
        "  orvel-flv extract clip.flv -o parts --timestamps\n"
        "  orvel-flv extract clip.flv --track audio --from 0:01:00 --to 0:02:30.5\n"
        "  orvel-flv extract - --track audio -o - < clip.flv | mpv -\n"
        "  orvel-flv extract --recover broken.flv\n"
        "AVC becomes .h264, HEVC .h265, AAC .aac, MP3 .mp3, PCM and ADPCM .wav, H.263 and VP6 .ivf.\n"
        "A track that ends well before the duration is named in a warning; when every track does, the\n"
        "exit code is 1.";

// Some containers want their head changed at the end, so the file is written first.
void SendToStandardOutput(const std::string& path) {
    std::string error;
    android::sp<FileSource> file = FileSource::Open(path, &error);
    unlink(path.c_str());
    if (file == nullptr) throw Failure(ExitCode::kInputOutput, path + ": " + error);
    std::vector<char> chunk(256 * 1024);
    off64_t offset = 0;
    ssize_t count;
    while ((count = file->readAt(offset, chunk.data(), chunk.size())) > 0) {
        WriteOut(std::string_view(chunk.data(), static_cast<size_t>(count)));
        offset += count;
    }
    if (count < 0) throw Failure(ExitCode::kInputOutput, path + ": " + file->lastError());
}

void MakeFolder(const std::string& folder) {
    std::error_code error;
    fs::create_directories(folder, error);
    if (error) throw Failure(ExitCode::kInputOutput, fmt::format("{}: {}", folder, error.message()));
}

class ExtractCommand : public Command {
  public:
    CLI::App* addTo(CLI::App& program) override;
    ExitCode run(Session& session) override;

  private:
    using Tracks = std::vector<std::unique_ptr<ExtractedTrack>>;

    ExitCode extract(const Plugin& plugin, const std::string& location);
    Tracks openTracks(const Input& input, const std::string& stem);
    Taken copySamples(const Input& input, const Tracks& tracks) const;
    bool warn(const Input& input, const ExtractedTrack& track) const;
    bool toStandardOutput() const { return mFolder == "-"; }

    std::vector<std::string> mLocations;
    std::string mFolder = ".";
    std::string mTrack;
    Span mSpan;
    bool mWithTimestamps = false;
    bool mForce = false;
    bool mAllowsMissing = false;
    WrittenFiles mWritten;
};

CLI::App* ExtractCommand::addTo(CLI::App& program) {
    CLI::App* app = program.add_subcommand("extract", kDescription);
    app->add_option("FILE", mLocations, "Files, http(s) URLs, or - for standard input")->required();
    app->add_option("-o,--output", mFolder,
                    "Folder for the files, made when missing (default: the current one); - for a track on "
                    "standard "
                    "output")
            ->type_name("DIR");
    app->add_option("--track", mTrack, "Only this track")->check(CLI::IsMember({"video", "audio"}));
    AddSpanOptions(app, &mSpan);
    app->add_flag("--timestamps", mWithTimestamps,
                  "Also a timestamp file beside each (format v2, as mkvmerge takes it)");
    app->add_flag("--force", mForce, "Replace files that exist");
    AddMissingOption(app, &mAllowsMissing);
    return app;
}

ExitCode ExtractCommand::run(Session& session) {
    CheckSpan(mSpan);
    InputList inputs(mLocations, session.isRecursive());
    if (toStandardOutput() && (mTrack.empty() || inputs.size() > 1 || mWithTimestamps)) {
        throw Failure(ExitCode::kUsage, "-o -: takes one input and one --track, without --timestamps");
    }
    if (mFolder.empty()) throw Failure(ExitCode::kUsage, "-o: names no folder");
    const Plugin& plugin = session.plugin();
    mWritten.spare(inputs.locations());
    return inputs.forEach([&](const std::string& location) { return extract(plugin, location); });
}

ExitCode ExtractCommand::extract(const Plugin& plugin, const std::string& location) {
    Input input(plugin, location, mSpan.recovery());
    // Not before: an input that does not open leaves no empty folder. And none is taken away again, since
    // another job may just be about to write there.
    if (!toStandardOutput()) MakeFolder(mFolder);
    std::string stem = (fs::path(mFolder) / StemOf(location, plugin.extensions())).lexically_normal();
    if (toStandardOutput()) stem = fs::temp_directory_path() / fmt::format("orvel-flv-{}", getpid());
    Tracks tracks = openTracks(input, stem);
    Taken taken = copySamples(input, tracks);
    input.throwIfReadsFailed();
    bool isEmpty = std::all_of(tracks.begin(), tracks.end(),
                               [](const auto& track) { return track->span().count() == 0; });
    if (isEmpty) {
        throw Failure(ExitCode::kDamaged, fmt::format("{}: no samples{}", input.name(),
                                                      mSpan.fromUs || mSpan.toUs ? " in that span" : ""));
    }
    size_t cutShort = 0;
    for (const auto& track : tracks) {
        std::string report = track->commit();
        if (toStandardOutput() && !report.empty()) {
            SendToStandardOutput(track->path());
        } else if (!report.empty()) {
            PrintOut("{}\n", EscapeControls(report));
        }
        if (!report.empty()) mWritten.add(track->path());
        if (warn(input, *track)) ++cutShort;
    }
    ExitCode result = TellMissing(input, taken, mAllowsMissing);
    return cutShort == tracks.size() ? Worse(ExitCode::kDamaged, result) : result;
}

ExtractCommand::Tracks ExtractCommand::openTracks(const Input& input, const std::string& stem) {
    Tracks tracks;
    for (size_t i = 0; i < input.tracks().size(); ++i) {
        const TrackFormat& format = input.tracks()[i];
        if (!mTrack.empty() && mTrack != format.kindName()) continue;
        try {
            auto existing = mForce ? AtomicFile::Existing::kReplace : AtomicFile::Existing::kKeep;
            std::string path = PathOfTrack(stem, format);
            RequireOtherFile(path, input.location());
            mWritten.requireNew(path, input.name());
            tracks.push_back(std::make_unique<ExtractedTrack>(input, i, path, existing, mWithTimestamps));
        } catch (const Failure& failure) {
            if (failure.code() != ExitCode::kDamaged) throw;
            throw Failure(failure.code(),
                          fmt::format("{}: {} track: {}", input.name(), format.kindName(), failure.what()));
        }
    }
    if (tracks.empty()) {
        throw Failure(ExitCode::kDamaged, fmt::format("{}: no {} track", input.name(), mTrack));
    }
    return tracks;
}

Taken ExtractCommand::copySamples(const Input& input, const Tracks& tracks) const {
    std::vector<size_t> indices;
    for (const auto& track : tracks)
        indices.push_back(track->track());
    SpanReader samples(input, indices, mSpan);
    while (auto turn = samples.next())
        tracks[turn->track]->write(*turn->sample);
    Taken taken;
    taken.isPart = mSpan.fromUs || mSpan.toUs;
    for (size_t i = 0; i < tracks.size(); ++i)
        taken.tracks.push_back({indices[i], tracks[i]->span().count() + samples.leftOut(i)});
    return taken;
}

// Result: whether the track is cut short.
bool ExtractCommand::warn(const Input& input, const ExtractedTrack& track) const {
    const char* kind = input.tracks()[track.track()].kindName();
    std::string remark = track.remark();
    if (!remark.empty()) Complain(fmt::format("{}: {} track: {}", input.name(), kind, remark));
    int64_t endUs = mSpan.toUs ? std::min(*mSpan.toUs, input.durationUs()) : input.durationUs();
    if (track.span().count() == 0) {
        Complain(fmt::format("{}: the {} track has no samples{}", input.name(), kind,
                             mSpan.fromUs || mSpan.toUs ? " in that span" : ""));
        return true;
    }
    if (!track.span().endsWellBefore(endUs)) return false;
    Complain(fmt::format("{}: the {} track ends at {} s, well before {} s, the {}", input.name(), kind,
                         FormatSeconds(track.span().lastUs()), FormatSeconds(endUs),
                         endUs == input.durationUs() ? "duration" : "time asked for"));
    return true;
}

}  // namespace

std::unique_ptr<Command> MakeExtractCommand() {
    return std::make_unique<ExtractCommand>();
}

}  // namespace orvel
