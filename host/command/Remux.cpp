// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <filesystem>

#include "av/LoadAvModule.h"
#include "command/Command.h"
#include "command/Completeness.h"
#include "command/InputList.h"
#include "command/Options.h"
#include "command/SpanReader.h"
#include "command/WrittenFiles.h"
#include "remux/Container.h"
#include "remux/Details.h"
#include "remux/Remuxer.h"
#include "remux/Requirements.h"
#include "remux/Sinks.h"
#include "support/CountText.h"
#include "support/Terminal.h"
#include "support/TimeText.h"

namespace orvel {
namespace {

constexpr char kDescription[] =
        "Puts the tracks into another container as they are, without encoding anything anew.\n"
        "  orvel-flv remux clip.flv clip.mkv\n"
        "  orvel-flv remux clip.flv part.mp4 --from 0:01:00 --to 0:02:30.5\n"
        "  orvel-flv remux clip.flv - | ffplay -\n"
        "  orvel-flv remux *.flv -o out --to mkv\n"
        "OUT ends in .mkv, .mka, .mp4, .m4v, .m4a, .mov, .ts or .m2ts; - is standard output, as Matroska, "
        "which takes "
        "every "
        "codec,\n"
        ".mov AVC, HEVC, AAC, MP3 and PCM, the others these without PCM; other pairs are refused (exit "
        "code 2).\n"
        "Times are exact to the millisecond, and count from the earliest sample unless --keep-times keeps "
        "them.";

class RemuxCommand : public Command {
  public:
    CLI::App* addTo(CLI::App& program) override;
    ExitCode run(Session& session) override;

  private:
    ExitCode runInFolder(Session& session);
    const Container& chooseContainer(const std::string& output) const;
    ExitCode remux(const Plugin& plugin, const std::string& location, const std::string& output,
                   const Container& container);
    void write(const Container& container);
    void runInto(const Container& container, ByteSink& sink);
    void report(const Container& container, uint64_t size) const;
    MuxDetails details() const;
    ExitCode warn(const Container& container) const;

    std::vector<std::string> mLocations;
    std::string mFolder;
    std::string mTarget;
    Span mSpan;
    bool mForce = false;
    bool mKeepsTimes = false;
    bool mAllowsMissing = false;
    WrittenFiles mWritten;

    // Of the file at hand.
    std::unique_ptr<Input> mInput;
    std::unique_ptr<Remuxer> mRemuxer;
    std::string mOutput;
    std::vector<size_t> mTracks;     // the input's that are written
    std::vector<uint64_t> mLeftOut;  // pictures of each that recovery left out
};

CLI::App* RemuxCommand::addTo(CLI::App& program) {
    CLI::App* app = program.add_subcommand("remux", kDescription);
    app->add_option("FILE", mLocations,
                    "A file, an http(s) URL, or - for standard input, then the file to write, or - for "
                    "standard output; "
                    "with -o, files only")
            ->required();
    app->add_option("-o,--output", mFolder, "Folder for the files, made when missing; with --to CONTAINER")
            ->type_name("DIR");
    AddSpanOptions(app, &mSpan, &mTarget);
    app->add_flag("--keep-times", mKeepsTimes, "Keep the input's times instead of counting from 0");
    app->add_flag("--force", mForce, "Replace files that exist");
    AddMissingOption(app, &mAllowsMissing);
    return app;
}

ExitCode RemuxCommand::run(Session& session) {
    CheckSpan(mSpan);
    if (!mFolder.empty()) return runInFolder(session);
    session.refuseFolders("remux without -o");
    if (!mTarget.empty())
        throw Failure(ExitCode::kUsage, "--to " + mTarget + ": a container goes with -o DIR");
    if (mLocations.size() != 2)
        throw Failure(ExitCode::kUsage,
                      "remux: takes FILE and OUT, or any number of files with -o DIR --to mkv");
    const Container& container = chooseContainer(mLocations[1]);
    return remux(session.plugin(), mLocations[0], mLocations[1], container);
}

ExitCode RemuxCommand::runInFolder(Session& session) {
    const Container* container = mTarget.empty() ? nullptr : FindContainer(mTarget);
    if (container == nullptr)
        throw Failure(ExitCode::kUsage, "-o: wants --to with one of " + AllExtensions() +
                                                (mTarget.empty() ? "" : ", not " + mTarget));
    InputList inputs(mLocations, session.isRecursive());
    const Plugin& plugin = session.plugin();
    mWritten.spare(inputs.locations());
    size_t done = 0;
    ExitCode result = inputs.forEach([&](const std::string& location) {
        std::error_code error;
        std::filesystem::create_directories(mFolder, error);
        if (error) throw Failure(ExitCode::kInputOutput, mFolder + ": " + error.message());
        std::filesystem::path path = std::filesystem::path(mFolder) /
                                     (StemOf(location, plugin.extensions()) + container->extension);
        ExitCode code = remux(plugin, location, path.lexically_normal(), *container);
        ++done;
        return code;
    });
    if (inputs.size() > 1) PrintOut("{} of {} written\n", done, CountText(inputs.size(), "file"));
    return result;
}

const Container& RemuxCommand::chooseContainer(const std::string& output) const {
    if (output == "-") {
        if (isatty(STDOUT_FILENO) != 0) throw Failure(ExitCode::kUsage, "-: standard output is a terminal");
        return Containers()[0];
    }
    const Container* container = output.find('.') == std::string::npos ? nullptr : FindContainer(output);
    if (container == nullptr)
        throw Failure(ExitCode::kUsage, output + ": ends in none of " + AllExtensions());
    return *container;
}

ExitCode RemuxCommand::remux(const Plugin& plugin, const std::string& location, const std::string& output,
                             const Container& container) {
    RequireOtherFile(output, location);
    mOutput = output;
    mRemuxer.reset();
    mInput = std::make_unique<Input>(plugin, location, mSpan.recovery());
    mWritten.requireNew(output, mInput->name());
    mTracks = TracksFor(container, mInput->tracks(), mInput->name());
    RequireDescribed(*mInput, mTracks, container);
    mRemuxer = std::make_unique<Remuxer>(*mInput, mTracks, LoadAvModule());
    write(container);
    if (output != "-") mWritten.add(output);
    return warn(container);
}

void RemuxCommand::write(const Container& container) {
    if (mOutput == "-") {
        StandardOutputSink sink;
        return runInto(container, sink);
    }
    AtomicFile file(mOutput, mForce ? AtomicFile::Existing::kReplace : AtomicFile::Existing::kKeep);
    FileSink sink(file);
    runInto(container, sink);
    file.commit();
    report(container, file.size());
}

void RemuxCommand::runInto(const Container& container, ByteSink& sink) {
    SpanReader samples(*mInput, mTracks, mSpan);
    try {
        mRemuxer->run([&]() { return samples.next(); }, container.format, details(), !mKeepsTimes, sink);
    } catch (const Failure& failure) {
        mInput->throwIfReadsFailed();
        throw Failure(failure.code(), fmt::format("{}: {}", mInput->name(), failure.what()));
    }
    mInput->throwIfReadsFailed();
    mLeftOut.clear();
    for (size_t i = 0; i < mTracks.size(); ++i)
        mLeftOut.push_back(samples.leftOut(i));
}

void RemuxCommand::report(const Container& container, uint64_t size) const {
    PrintOut("{}: {}, {} bytes", EscapeControls(mOutput), container.title, size);
    for (size_t i = 0; i < mTracks.size(); ++i) {
        const TrackFormat& format = mInput->tracks()[mTracks[i]];
        const TrackSpan& span = mRemuxer->span(i);
        PrintOut("; {} {}, {}, {} s to {} s", format.kindName(), TraitsOf(format.codec).title,
                 CountText(mRemuxer->written(i), "sample"), FormatSeconds(span.firstUs()),
                 FormatSeconds(span.lastUs()));
    }
    if (mRemuxer->shiftUs() != 0) PrintOut("; written {} s earlier", FormatSeconds(mRemuxer->shiftUs()));
    PrintOut("\n");
}

MuxDetails RemuxCommand::details() const {
    const StreamSeen* video = nullptr;
    for (size_t track : mTracks) {
        if (mInput->tracks()[track].kind == TrackKind::kVideo) video = mInput->streamOf(track);
    }
    return DetailsOf(mInput->inspection(), video, mSpan.toUs.value_or(INT64_MAX));
}

ExitCode RemuxCommand::warn(const Container& container) const {
    int64_t endUs = mSpan.toUs ? std::min(*mSpan.toUs, mInput->durationUs()) : mInput->durationUs();
    size_t cutShort = 0;
    ExitCode result = ExitCode::kDone;
    Taken taken;
    taken.isPart = mSpan.fromUs || mSpan.toUs;
    taken.hasScripts = true;
    for (size_t i = 0; i < mTracks.size(); ++i) {
        const TrackSpan& span = mRemuxer->span(i);
        const std::string track =
                fmt::format("{}: the {} track", mInput->name(), mInput->tracks()[mTracks[i]].kindName());
        std::string remark = mRemuxer->remark(i);
        if (!remark.empty()) Complain(track + ": " + remark);
        if (mRemuxer->written(i) < span.count()) result = ExitCode::kDamaged;
        taken.tracks.push_back({mTracks[i], span.count() + mLeftOut[i]});
        if (span.count() > 0 && !span.endsWellBefore(endUs)) continue;
        ++cutShort;
        Complain(track + (span.count() == 0
                                  ? std::string(" has no samples")
                                  : fmt::format(" ends at {} s, well before {} s",
                                                FormatSeconds(span.lastUs()), FormatSeconds(endUs))));
    }
    result = Worse(result, TellMissing(*mInput, taken, mAllowsMissing));
    std::string dropped = DroppedScripts(mInput->inspection(), container.hasChapters);
    if (!dropped.empty()) {
        Complain(fmt::format("{}: left out: script data: {}", mInput->name(), dropped));
        result = Worse(result, mAllowsMissing ? ExitCode::kDone : ExitCode::kIncomplete);
    }
    if (mTracks.size() < mInput->tracks().size()) {
        Complain(fmt::format("{}: left out: the video track, which {} is not for", mInput->name(), mOutput));
        result = Worse(result, mAllowsMissing ? ExitCode::kDone : ExitCode::kIncomplete);
    }
    return cutShort == mTracks.size() ? Worse(result, ExitCode::kDamaged) : result;
}

}  // namespace

std::unique_ptr<Command> MakeRemuxCommand() {
    return std::make_unique<RemuxCommand>();
}

}  // namespace orvel
