// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>
#include <stdio.h>

#include <CLI/CLI.hpp>

#include "av/LoadAvModule.h"
#include "command/Command.h"
#include "command/Completeness.h"
#include "command/InputList.h"
#include "command/Options.h"
#include "command/WrittenFiles.h"
#include "picture/ContactSheet.h"
#include "support/CountText.h"
#include "support/Progress.h"
#include "support/Terminal.h"
#include "support/TimeText.h"
#include "writer/AtomicFile.h"

namespace orvel {
namespace {

constexpr char kDescription[] =
        "Writes a picture of the video: the key frame at the thumbnail time, a quarter of the duration.\n"
        "  orvel-flv thumbnail clip.flv\n"
        "  orvel-flv thumbnail clip.flv --at 1:30 --size 320x240 -o clip.jpg\n"
        "  orvel-flv thumbnail clip.flv --grid 4x3 -o sheet.png\n"
        "The picture is named after the input, .png, unless -o names it; - is standard output, as PNG.\n"
        "A key frame that does not decode is passed over for the next one, up to 8 of them.";

constexpr int kLongestSide = 16384;
constexpr int kMostCells = 400;
constexpr int kSheetWidth = 1280;

// "320x240". Nothing for other texts, and for numbers that are 0 or above most.
std::optional<PictureSize> ParsePair(const std::string& text, int most) {
    PictureSize pair;
    int length = 0;
    bool isPair = sscanf(text.c_str(), "%5d%*1[xX]%5d%n", &pair.width, &pair.height, &length) == 2 &&
                  static_cast<size_t>(length) == text.size();
    if (!isPair || pair.width < 1 || pair.height < 1 || pair.width > most || pair.height > most)
        return std::nullopt;
    return pair;
}

// How far a picture or a sheet is. Seeks without an index take time, and take place in the plug-in, so it
// looks at the clock at every read of the input.
class PictureProgress {
  public:
    // share: what is done so far, from 0 to 1.
    PictureProgress(const Input& input, std::function<double()> share)
        : mSource(input.source()), mProgress(input.name(), input.size()) {
        mSource.setObserver([this, share, size = static_cast<double>(input.size())] {
            mProgress.update(static_cast<int64_t>(std::min(share(), 1.0) * size));
        });
    }
    ~PictureProgress() { mSource.setObserver(nullptr); }
    PictureProgress(const PictureProgress&) = delete;
    PictureProgress& operator=(const PictureProgress&) = delete;

    void finish() { mProgress.finish(); }

  private:
    CountingSource& mSource;
    Progress mProgress;
};

class ThumbnailCommand : public Command {
  public:
    CLI::App* addTo(CLI::App& program) override;
    ExitCode run(Session& session) override;

  private:
    static void addPair(CLI::App* app, const char* name, const char* type, std::optional<PictureSize>* pair,
                        int most, const char* description);
    ExitCode makePicture(const Plugin& plugin, const std::string& location);
    KeyPicture findOne(KeyPictures* pictures, const Input& input, const TrackFormat& format) const;
    std::vector<KeyPicture> findMany(KeyPictures* pictures, const Input& input) const;
    std::optional<int64_t> fillCells(KeyPictures* pictures, const Input& input, int64_t durationUs,
                                     std::vector<KeyPicture>* found) const;
    void save(const std::string& path, const Picture& picture, const std::string& what) const;

    std::vector<std::string> mLocations;
    std::string mOutput;
    std::optional<int64_t> mAtUs;
    std::optional<PictureSize> mSize;
    std::optional<PictureSize> mGrid;
    bool mForce = false;
    WrittenFiles mWritten;
};

void ThumbnailCommand::addPair(CLI::App* app, const char* name, const char* type,
                               std::optional<PictureSize>* pair, int most, const char* description) {
    auto parse = [name, type, pair, most](const std::string& text) {
        *pair = ParsePair(text, most);
        if (!*pair)
            throw CLI::ValidationError(name, fmt::format("not {} with 1 to {} each: {}", type, most, text));
    };
    app->add_option_function<std::string>(name, parse, description)->type_name(type);
}

CLI::App* ThumbnailCommand::addTo(CLI::App& program) {
    CLI::App* app = program.add_subcommand("thumbnail", kDescription);
    app->add_option("FILE", mLocations, "Files, http(s) URLs, or - for standard input")->required();
    app->add_option("-o,--output", mOutput, "The picture, .png or .jpg")->type_name("OUT");
    AddTimeOption(app, "--at", &mAtUs,
                  "The key frame that a seek to this time lands on; seconds or [h:]mm:ss.mmm");
    addPair(app, "--size", "WxH", &mSize, kLongestSide,
            "Scale to fit into this size, its shape kept; with --grid, each");
    addPair(app, "--grid", "CxR", &mGrid, 100, "A sheet of pictures from the whole file, with their times");
    app->add_flag("--force", mForce, "Replace a file that exists");
    return app;
}

ExitCode ThumbnailCommand::run(Session& session) {
    InputList inputs(mLocations, session.isRecursive());
    if (inputs.size() > 1 && !mOutput.empty()) {
        throw Failure(ExitCode::kUsage, "-o: names one picture, and there are several inputs");
    }
    if (mGrid && mAtUs)
        throw Failure(ExitCode::kUsage, "--grid: takes pictures from the whole file, not --at a time");
    if (mGrid && mGrid->width * mGrid->height > kMostCells) {
        throw Failure(ExitCode::kUsage, fmt::format("--grid: more than {} pictures", kMostCells));
    }
    bool isKnown = mOutput.empty() || mOutput == "-" || HasExtension(mOutput, ".png") ||
                   HasExtension(mOutput, ".jpg") || HasExtension(mOutput, ".jpeg");
    if (!isKnown) throw Failure(ExitCode::kUsage, mOutput + ": neither .png nor .jpg");
    const Plugin& plugin = session.plugin();
    mWritten.spare(inputs.locations());
    return inputs.forEach([&](const std::string& location) { return makePicture(plugin, location); });
}

ExitCode ThumbnailCommand::makePicture(const Plugin& plugin, const std::string& location) {
    std::string path = mOutput.empty() ? StemOf(location, plugin.extensions()) + ".png" : mOutput;
    RequireOtherFile(path, location);
    Input input(plugin, location);
    mWritten.requireNew(path, input.name());
    const TrackFormat& format = input.tracks()[0];
    if (format.kind != TrackKind::kVideo && input.isNear()) TellLeftOut(input);
    if (format.kind != TrackKind::kVideo)
        throw Failure(ExitCode::kDamaged, input.name() + ": no video track");
    std::optional<PictureSize> box = mSize;
    if (mGrid && !box) box = PictureSize{std::max(16, kSheetWidth / mGrid->width), kLongestSide};
    KeyPictures pictures(input, 0, LoadAvModule(), box);
    if (mGrid) {
        std::vector<KeyPicture> found = findMany(&pictures, input);
        save(path, MakeContactSheet(found, mGrid->width), CountText(found.size(), "key frame"));
    } else {
        KeyPicture found = findOne(&pictures, input, format);
        save(path, found.picture, fmt::format("key frame at {} s", FormatSeconds(found.timeUs)));
    }
    if (input.isNear()) TellLeftOut(input);
    mWritten.add(path);
    return ExitCode::kDone;
}

KeyPicture ThumbnailCommand::findOne(KeyPictures* pictures, const Input& input,
                                     const TrackFormat& format) const {
    constexpr int64_t kBeforeAll = -1;
    int64_t timeUs = mAtUs.value_or(format.thumbnailTimeUs.value_or(0));
    // At worst the plug-in reads on up to the place.
    double most = static_cast<double>(input.size());
    if (timeUs < input.durationUs())
        most *= static_cast<double>(timeUs) / static_cast<double>(input.durationUs());
    PictureProgress progress(
            input, [&] { return static_cast<double>(input.source().count().bytes) / std::max(most, 1.0); });
    bool isBehindLast;
    auto found = pictures->find(timeUs, kBeforeAll, &isBehindLast);
    // The thumbnail time comes of the duration, which may lie.
    if (!found && !mAtUs) found = pictures->find(0, kBeforeAll, &isBehindLast);
    input.throwIfReadsFailed();
    if (!found) {
        std::string where = mAtUs ? fmt::format(" from {} s on", FormatSeconds(*mAtUs)) : "";
        throw Failure(ExitCode::kDamaged,
                      fmt::format("{}: no key frame{} that decodes", input.name(), where));
    }
    progress.finish();
    if (found->isDoubtful) Complain(fmt::format("{}: the key frame is damaged in part", input.name()));
    return *std::move(found);
}

// Pictures from evenly spaced times, none twice: where a seek lands on the one before again, the next key
// frame is taken, and where there is none, there is one picture less.
std::vector<KeyPicture> ThumbnailCommand::findMany(KeyPictures* pictures, const Input& input) const {
    constexpr int kMostPasses = 16;
    std::vector<KeyPicture> found;
    std::optional<int64_t> emptyUs = input.durationUs();
    for (int pass = 0; emptyUs && pass < kMostPasses; ++pass)
        emptyUs = fillCells(pictures, input, *emptyUs, &found);
    input.throwIfReadsFailed();
    if (found.empty()) throw Failure(ExitCode::kDamaged, input.name() + ": no key frame that decodes");
    return found;
}

// Result: a time behind the last key frame, where the duration that was gone by must lie in fact. That of the
// metadata may be wrong, or the file be cut.
std::optional<int64_t> ThumbnailCommand::fillCells(KeyPictures* pictures, const Input& input,
                                                   int64_t durationUs, std::vector<KeyPicture>* found) const {
    found->clear();
    int i = 0, cells = mGrid->width * mGrid->height;
    PictureProgress progress(input, [&] { return static_cast<double>(i) / cells; });
    for (; i < cells; ++i) {
        int64_t timeUs = durationUs / cells * i;
        int64_t afterUs = found->empty() ? -1 : found->back().timeUs;
        bool isBehindLast;
        auto picture = pictures->find(timeUs, afterUs, &isBehindLast);
        if (picture) found->push_back(*std::move(picture));
        if (isBehindLast && !found->empty() && timeUs > afterUs) return timeUs;
    }
    progress.finish();
    return std::nullopt;
}

void ThumbnailCommand::save(const std::string& path, const Picture& picture, const std::string& what) const {
    bool isJpeg = HasExtension(path, ".jpg") || HasExtension(path, ".jpeg");
    std::vector<uint8_t> bytes =
            LoadAvModule().encode(picture, isJpeg ? ImageFormat::kJpeg : ImageFormat::kPng);
    if (path == "-") {
        WriteOut(std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
        return;
    }
    AtomicFile file(path, mForce ? AtomicFile::Existing::kReplace : AtomicFile::Existing::kKeep);
    file.write(bytes);
    file.commit();
    PrintOut("{}: {}x{}, {}\n", EscapeControls(path), picture.size.width, picture.size.height, what);
}

}  // namespace

std::unique_ptr<Command> MakeThumbnailCommand() {
    return std::make_unique<ThumbnailCommand>();
}

}  // namespace orvel
