// SPDX-License-Identifier: Apache-2.0
#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "command/Command.h"
#include "command/Description.h"
#include "command/InputList.h"
#include "inspect/Inspection.h"
#include "source/OpenSource.h"
#include "support/CountText.h"
#include "support/Terminal.h"
#include "support/TimeText.h"

namespace orvel {
namespace {

using Json = nlohmann::ordered_json;

constexpr char kDescription[] =
        "Walks a file's chain of tags and says what is wrong with it, and where.\n"
        "  orvel-flv check clip.flv\n"
        "  orvel-flv check -r recordings\n"
        "  orvel-flv check --json clip.flv | jq '.findings[].code'\n"
        "Errors make the exit code 1; with --strict, warnings do, too.";

std::string Verdict(const Inspection& report) {
    auto part = [&](Severity severity, const char* name) {
        return CountText(report.findings.count(severity), name);
    };
    if (report.findings.counts().empty()) return "nothing found";
    return fmt::format("{}, {}, {}", part(Severity::kError, "error"), part(Severity::kWarning, "warning"),
                       part(Severity::kNote, "note"));
}

std::string StreamLine(const StreamSeen& stream) {
    std::string frames =
            stream.header.kind == TrackKind::kVideo ? ", " + CountText(stream.keyFrames, "key frame") : "";
    std::string span = stream.samples == 0
                               ? ""
                               : fmt::format(", {} s to {} s", FormatSeconds(stream.firstMs * 1000),
                                             FormatSeconds(stream.lastMs * 1000));
    std::string why = stream.whyNoTrack.empty() ? "" : "; no track: " + stream.whyNoTrack;
    return fmt::format("  {} {}: {}{}, {}{}{}\n", stream.kindName(), CodecName(stream.header),
                       CountText(stream.samples, "sample"), frames, CountText(stream.bytes, "byte"), span,
                       why);
}

const char* ColourOf(Severity severity) {
    return severity == Severity::kError     ? "\x1b[31m"
           : severity == Severity::kWarning ? "\x1b[33m"
                                            : "\x1b[36m";
}

std::string FindingLine(const Finding& finding) {
    const KindTraits& traits = TraitsOf(finding.kind);
    bool hasColours = HasColours();
    return fmt::format("  {}{}{} {} at byte {}: {} -> {}\n", hasColours ? ColourOf(traits.severity) : "",
                       NameOf(traits.severity), hasColours ? "\x1b[0m" : "", traits.code, finding.offset,
                       EscapeControls(finding.text), traits.advice);
}

Json StreamJson(const StreamSeen& stream) {
    Json json = {{"codec_type", stream.kindName()},       {"codec_name", ShortCodecName(stream.header)},
                 {"codec", CodecName(stream.header)},     {"offset", stream.firstOffset},
                 {"nb_packets", stream.samples},          {"size", stream.bytes},
                 {"has_track", stream.whyNoTrack.empty()}};
    if (stream.header.kind == TrackKind::kVideo) json["nb_key_frames"] = stream.keyFrames;
    if (stream.samples > 0) {
        json["start_time"] = Seconds(stream.firstMs * 1000);
        json["end_time"] = Seconds(stream.lastMs * 1000);
    }
    if (!stream.whyNoTrack.empty()) json["why_no_track"] = stream.whyNoTrack;
    return json;
}

Json FindingJson(const Finding& finding) {
    const KindTraits& traits = TraitsOf(finding.kind);
    return {{"code", traits.code},      {"severity", NameOf(traits.severity)},
            {"offset", finding.offset}, {"text", finding.text},
            {"count", finding.times},   {"advice", traits.advice}};
}

class CheckCommand : public Command {
  public:
    CLI::App* addTo(CLI::App& program) override;
    ExitCode run(Session& session) override;

  private:
    ExitCode check(const std::string& location);
    Inspection inspect(const std::string& location) const;
    void showText(const std::string& name, const Inspection& report) const;
    void showJson(const std::string& name, const Inspection& report) const;

    std::vector<std::string> mLocations;
    bool mAsJson = false;
    bool mIsStrict = false;
    bool mListsCodes = false;
};

CLI::App* CheckCommand::addTo(CLI::App& program) {
    CLI::App* app = program.add_subcommand("check", kDescription);
    app->add_option("FILE", mLocations, "Files, http(s) URLs, or - for standard input");
    app->add_flag("--json", mAsJson, "For programs: a JSON document a line, one for each input");
    app->add_flag("--strict", mIsStrict, "Warnings, too, make the exit code 1");
    app->add_flag("--codes", mListsCodes, "List the codes of all findings there are");
    return app;
}

ExitCode CheckCommand::run(Session& session) {
    if (mListsCodes) {
        for (const KindTraits& row : AllKinds())
            PrintOut("{:<20} {:<8} {} -> {}\n", row.code, NameOf(row.severity), row.meaning, row.advice);
        return ExitCode::kDone;
    }
    if (mLocations.empty()) throw Failure(ExitCode::kUsage, "check: FILE is required");
    InputList inputs(mLocations, session.isRecursive());
    return inputs.forEach([&](const std::string& location) { return check(location); });
}

ExitCode CheckCommand::check(const std::string& location) {
    std::string name = ShownLocation(location);
    Inspection report = inspect(location);
    if (mAsJson) {
        showJson(name, report);
    } else {
        showText(name, report);
    }
    bool isBad = report.findings.count(Severity::kError) > 0 ||
                 (mIsStrict && report.findings.count(Severity::kWarning) > 0);
    return isBad ? ExitCode::kDamaged : ExitCode::kDone;
}

Inspection CheckCommand::inspect(const std::string& location) const {
    try {
        return InspectLocation(location);
    } catch (const Failure& failure) {
        if (!mAsJson) throw;
        Json json = ErrorJson(location, failure.what());
        json["streams"] = Json::array();
        json["findings"] = Json::array();
        json["counts"] = Json::object();
        WriteOut(Dump(json) + "\n");
        throw;
    }
}

void CheckCommand::showText(const std::string& name, const Inspection& report) const {
    WriteOut(EscapeControls(fmt::format("{}: {}; {}, {}", name, Verdict(report),
                                        CountText(report.size, "byte"), CountText(report.tags, "tag"))) +
             "\n");
    for (const StreamSeen& stream : report.streams)
        WriteOut(StreamLine(stream));
    for (const Finding& finding : report.findings.shown())
        WriteOut(FindingLine(finding));
    for (const auto& [kind, count] : report.findings.counts()) {
        uint64_t shown = report.findings.shownOf(kind);
        if (count == shown) continue;
        PrintOut("  {} {}: {} more like these\n", NameOf(TraitsOf(kind).severity), TraitsOf(kind).code,
                 count - shown);
    }
}

void CheckCommand::showJson(const std::string& name, const Inspection& report) const {
    Json json = {{"filename", name}, {"size", report.size}, {"nb_tags", report.tags}};
    json["streams"] = Json::array();
    for (const StreamSeen& stream : report.streams)
        json["streams"].push_back(StreamJson(stream));
    json["findings"] = Json::array();
    for (const Finding& finding : report.findings.shown())
        json["findings"].push_back(FindingJson(finding));
    json["counts"] = Json::object();
    for (const auto& [kind, count] : report.findings.counts())
        json["counts"][TraitsOf(kind).code] = count;
    WriteOut(Dump(json) + "\n");
}

}  // namespace

std::unique_ptr<Command> MakeCheckCommand() {
    return std::make_unique<CheckCommand>();
}

}  // namespace orvel
