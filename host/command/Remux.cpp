// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <numeric>

#include "av/LoadAvModule.h"
#include "command/Command.h"
#include "command/Completeness.h"
#include "command/Options.h"
#include "command/SpanReader.h"
#include "remux/Container.h"
#include "remux/Remuxer.h"
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
        "OUT ends in .mkv, .mp4, .mov or .ts; - is standard output, as Matroska. Matroska takes every "
        "codec,\n"
        ".mov AVC, HEVC, AAC, MP3 and PCM, .mp4 and .ts these without PCM; other pairs are refused (exit "
        "code 2).\n"
        "Times are exact to the millisecond, and count from the earliest sample unless --keep-times keeps "
        "them.";

class RemuxCommand : public Command {
  public:
    CLI::App* addTo(CLI::App& program) override;
    ExitCode run(Session& session) override;

  private:
    const Container& chooseContainer() const;
    void copy(const Input& input, const Container& container, Remuxer* remuxer);
    void runInto(const Input& input, const Container& container, Remuxer* remuxer, ByteSink& sink);
    void report(const Input& input, const Container& container, const Remuxer& remuxer, uint64_t size) const;
    ExitCode warn(const Input& input, const Remuxer& remuxer) const;

    std::string mLocation;
    std::string mOutput;
    Span mSpan;
    bool mForce = false;
    bool mKeepsTimes = false;
    bool mAllowsMissing = false;
    std::vector<uint64_t> mLeftOut;  // pictures of each track that recovery left out
};

CLI::App* RemuxCommand::addTo(CLI::App& program) {
    CLI::App* app = program.add_subcommand("remux", kDescription);
    app->add_option("FILE", mLocation, "A file, an http(s) URL, or - for standard input")->required();
    app->add_option("OUT", mOutput, "The file to write, or - for standard output")->required();
    AddSpanOptions(app, &mSpan);
    app->add_flag("--keep-times", mKeepsTimes, "Keep the input's times instead of counting from 0");
    app->add_flag("--force", mForce, "Replace a file that exists");
    AddMissingOption(app, &mAllowsMissing);
    return app;
}

ExitCode RemuxCommand::run(Session& session) {
    session.refuseFolders("remux");
    CheckSpan(mSpan);
    const Container& container = chooseContainer();
    RequireOtherFile(mOutput, mLocation);
    const Plugin& plugin = session.plugin();
    Input input(plugin, mLocation, mSpan.recovery());
    RequireTaken(container, input.tracks(), input.name());
    Remuxer remuxer(input, LoadAvModule());
    copy(input, container, &remuxer);
    return warn(input, remuxer);
}

const Container& RemuxCommand::chooseContainer() const {
    if (mOutput == "-") {
        if (isatty(STDOUT_FILENO) != 0) throw Failure(ExitCode::kUsage, "-: standard output is a terminal");
        return Containers()[0];
    }
    const Container* container = FindContainer(mOutput);
    if (container == nullptr)
        throw Failure(ExitCode::kUsage, mOutput + ": ends in none of .mkv, .mp4, .mov and .ts");
    return *container;
}

void RemuxCommand::copy(const Input& input, const Container& container, Remuxer* remuxer) {
    if (mOutput == "-") {
        StandardOutputSink sink;
        runInto(input, container, remuxer, sink);
        return;
    }
    AtomicFile file(mOutput, mForce ? AtomicFile::Existing::kReplace : AtomicFile::Existing::kKeep);
    FileSink sink(file);
    runInto(input, container, remuxer, sink);
    file.commit();
    report(input, container, *remuxer, file.size());
}

void RemuxCommand::runInto(const Input& input, const Container& container, Remuxer* remuxer, ByteSink& sink) {
    std::vector<size_t> tracks(input.tracks().size());
    std::iota(tracks.begin(), tracks.end(), size_t{0});
    SpanReader samples(input, tracks, mSpan);
    try {
        remuxer->run([&]() { return samples.next(); }, container.format, !mKeepsTimes, sink);
    } catch (const Failure& failure) {
        input.throwIfReadsFailed();
        throw Failure(failure.code(), fmt::format("{}: {}", input.name(), failure.what()));
    }
    input.throwIfReadsFailed();
    for (size_t track : tracks)
        mLeftOut.push_back(samples.leftOut(track));
}

void RemuxCommand::report(const Input& input, const Container& container, const Remuxer& remuxer,
                          uint64_t size) const {
    PrintOut("{}: {}, {} bytes", EscapeControls(mOutput), container.title, size);
    for (size_t i = 0; i < input.tracks().size(); ++i) {
        const TrackFormat& format = input.tracks()[i];
        const TrackSpan& span = remuxer.span(i);
        PrintOut("; {} {}, {}, {} s to {} s", format.kindName(), TraitsOf(format.codec).title,
                 CountText(remuxer.written(i), "sample"), FormatSeconds(span.firstUs()),
                 FormatSeconds(span.lastUs()));
    }
    if (remuxer.shiftUs() != 0) PrintOut("; written {} s earlier", FormatSeconds(remuxer.shiftUs()));
    PrintOut("\n");
}

ExitCode RemuxCommand::warn(const Input& input, const Remuxer& remuxer) const {
    int64_t endUs = mSpan.toUs ? std::min(*mSpan.toUs, input.durationUs()) : input.durationUs();
    size_t cutShort = 0;
    ExitCode result = ExitCode::kDone;
    Taken taken;
    taken.isPart = mSpan.fromUs || mSpan.toUs;
    for (size_t i = 0; i < input.tracks().size(); ++i) {
        const TrackSpan& span = remuxer.span(i);
        std::string remark = remuxer.remark(i);
        if (!remark.empty())
            Complain(fmt::format("{}: the {} track: {}", input.name(), input.tracks()[i].kindName(), remark));
        if (remuxer.written(i) < span.count()) result = ExitCode::kDamaged;
        taken.tracks.push_back({i, span.count() + mLeftOut[i]});
        if (span.count() > 0 && !span.endsWellBefore(endUs)) continue;
        ++cutShort;
        std::string what = span.count() == 0
                                   ? std::string("has no samples")
                                   : fmt::format("ends at {} s, well before {} s",
                                                 FormatSeconds(span.lastUs()), FormatSeconds(endUs));
        Complain(fmt::format("{}: the {} track {}", input.name(), input.tracks()[i].kindName(), what));
    }
    result = Worse(result, TellMissing(input, taken, mAllowsMissing));
    return cutShort == input.tracks().size() ? Worse(result, ExitCode::kDamaged) : result;
}

}  // namespace

std::unique_ptr<Command> MakeRemuxCommand() {
    return std::make_unique<RemuxCommand>();
}

}  // namespace orvel
