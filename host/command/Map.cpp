// SPDX-License-Identifier: Apache-2.0
#include <CLI/CLI.hpp>

#include "command/Command.h"
#include "command/Options.h"
#include "inspect/MapPicture.h"
#include "source/OpenSource.h"
#include "support/Terminal.h"
#include "writer/AtomicFile.h"

namespace orvel {
namespace {

constexpr char kDescription[] =
        "Draws one picture of a file: data rate, key frames, index, interleaving, damage.\n"
        "  orvel-flv map clip.flv -o map.svg\n"
        "  orvel-flv map clip.flv -o - | rsvg-convert -o map.png";

class MapCommand : public Command {
  public:
    CLI::App* addTo(CLI::App& program) override;
    ExitCode run(Session& session) override;

  private:
    std::string mLocation;
    std::string mOutput;
    bool mForce = false;
};

CLI::App* MapCommand::addTo(CLI::App& program) {
    CLI::App* app = program.add_subcommand("map", kDescription);
    app->add_option("FILE", mLocation, "A file, an http(s) URL, or - for standard input")->required();
    app->add_option("-o,--output", mOutput, "The picture, an SVG file, or - for standard output")
            ->required()
            ->type_name("FILE");
    app->add_flag("--force", mForce, "Replace a file that exists");
    return app;
}

ExitCode MapCommand::run(Session& session) {
    session.refuseFolders("map");
    bool toStandardOutput = mOutput == "-";
    RequireOtherFile(mOutput, mLocation);
    std::unique_ptr<AtomicFile> file;
    auto existing = mForce ? AtomicFile::Existing::kReplace : AtomicFile::Existing::kKeep;
    if (!toStandardOutput) file = std::make_unique<AtomicFile>(mOutput, existing);
    Inspection report = InspectLocation(mLocation);
    std::string name = ShownLocation(mLocation);
    if (!report.isFlv) throw Failure(ExitCode::kDamaged, name + ": " + report.findings.shown().front().text);
    std::string picture = DrawMap(name, report);
    if (toStandardOutput) {
        WriteOut(picture);
        return ExitCode::kDone;
    }
    file->write(ByteSpan(reinterpret_cast<const uint8_t*>(picture.data()), picture.size()));
    file->commit();
    return ExitCode::kDone;
}

}  // namespace

std::unique_ptr<Command> MakeMapCommand() {
    return std::make_unique<MapCommand>();
}

}  // namespace orvel
