// SPDX-License-Identifier: Apache-2.0
#include "inspect/MapPicture.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <utility>
#include <vector>

#include "inspect/Svg.h"
#include "support/CountText.h"
#include "support/TimeText.h"

namespace orvel {
namespace {

constexpr double kWidth = 1200, kLeft = 100, kRight = 1170, kPlot = kRight - kLeft;
constexpr double kRateTop = 112, kRateBottom = 262;
constexpr double kKeyRow = 284, kIndexRow = 318, kRowHeight = 22;
constexpr double kLeadTop = 376, kLeadBottom = 466;
constexpr double kStripTop = 560, kStripBottom = 604;
constexpr double kFindingsTop = 672, kFindingHeight = 20;
constexpr size_t kMostLines = 8;
constexpr int kLabelsAcross = 8;

constexpr char kVideoColour[] = "#2b6cb0", kAudioColour[] = "#ed8936", kScriptColour[] = "#a0aec0";
constexpr char kBadColour[] = "#e02424", kRightColour[] = "#2f855a", kWarnColour[] = "#b7791f";
constexpr char kLeadColour[] = "#6b46c1";
constexpr char kGridColour[] = "#e2e8f0", kFaintColour[] = "#718096", kPanelColour[] = "#f7fafc";

// 1, 2 or 5 times a power of ten, at least this much.
double RoundUp(double value) {
    double power = std::pow(10, std::floor(std::log10(std::max(value, 1e-3))));
    for (double step : {1., 2., 5., 10.}) {
        if (step * power >= value) return step * power;
    }
    return 10 * power;
}

std::string ByteText(double bytes) {
    if (bytes >= 1e9) return fmt::format("{:.4g} GB", bytes / 1e9);
    if (bytes >= 1e6) return fmt::format("{:.4g} MB", bytes / 1e6);
    if (bytes >= 1e3) return fmt::format("{:.4g} kB", bytes / 1e3);
    return fmt::format("{:.0f} B", bytes);
}

std::string ClockText(double seconds, double step) {
    if (seconds < 60 || step < 1) return fmt::format("{:g} s", std::round(seconds * 1000) / 1000);
    auto whole = static_cast<int64_t>(std::llround(seconds));
    if (whole < 3600) return fmt::format("{}:{:02}", whole / 60, whole % 60);
    return fmt::format("{}:{:02}:{:02}", whole / 3600, whole / 60 % 60, whole % 60);
}

// So much of a name, from both ends, as fits beside the verdict. What takes three bytes is mostly twice as
// wide.
std::string Shortened(const std::string& name) {
    constexpr size_t kWidest = 56;
    std::vector<std::string> characters;
    size_t width = 0;
    for (char c : name) {
        bool isInside = (static_cast<uint8_t>(c) & 0xc0) == 0x80 && !characters.empty();
        if (!isInside) characters.emplace_back();
        characters.back() += c;
    }
    auto widthOf = [](const std::string& character) { return character.size() < 3 ? 1u : 2u; };
    for (const std::string& character : characters)
        width += widthOf(character);
    if (width <= kWidest) return name;
    auto middle = characters.begin();
    for (; width > kWidest; characters.erase(middle)) {
        middle = characters.begin() + static_cast<ptrdiff_t>(characters.size() / 2);
        width -= widthOf(*middle);
    }
    characters.insert(characters.begin() + static_cast<ptrdiff_t>(characters.size() / 2), "\u2026");
    return fmt::format("{}", fmt::join(characters, ""));
}

// Texts side by side in one row, of which those are left out that would lie on the one before.
class LabelRow {
  public:
    LabelRow(Svg& svg, double y, double size) : mSvg(svg), mY(y), mSize(size) {}
    void add(double middle, const std::string& text) {
        double half = 0.35 * mSize * static_cast<double>(text.size());
        middle = std::clamp(middle, kLeft + half, kRight - half);
        if (middle - half < mEnd) return;
        mSvg.text(middle, mY, text, {mSize, kBadColour, "middle", true});
        mEnd = middle + half;
    }

  private:
    Svg& mSvg;
    const double mY, mSize;
    double mEnd = 0;
};

class MapPicture {
  public:
    MapPicture(const std::string& name, const Inspection& report);
    std::string draw();

  private:
    void drawTitle();
    void drawLegend();
    void drawTimeGrid();
    void drawRates();
    void drawKeyFrames();
    void drawIndex();
    void drawLead();
    bool isAcrossGap(double fromX, double toX) const;
    void drawGaps();
    void drawStrip();
    void drawFindings();
    void drawPanel(double top, double bottom, const std::string& label);
    double x(double ms) const {
        double share = (ms - static_cast<double>(mReport.timeline.firstMs())) / mSpanMs;
        return kLeft + kPlot * std::clamp(share, 0., 1.);
    }
    double momentX(size_t column) const {
        return x(static_cast<double>(mReport.timeline.firstMs()) +
                 static_cast<double>(column) * static_cast<double>(mReport.timeline.columnMs()));
    }

    const std::string mName;
    const Inspection& mReport;
    double mSpanMs;
    size_t mColumns;  // of the timeline that are in use
    Svg mSvg;
};

double HeightFor(const Inspection& report) {
    size_t lines = std::clamp<size_t>(report.findings.shown().size(), 1, kMostLines + 1);
    return kFindingsTop + kFindingHeight * static_cast<double>(lines) + 24;
}

MapPicture::MapPicture(const std::string& name, const Inspection& report)
    : mName(name),
      mReport(report),
      mSpanMs(std::max<double>(static_cast<double>(report.spanMs()), 1)),
      mColumns(std::min(static_cast<size_t>(report.spanMs() / report.timeline.columnMs()) + 1,
                        Timeline::kMoments)),
      mSvg(kWidth, HeightFor(report), "Map of " + name) {}

std::string MapPicture::draw() {
    drawTitle();
    drawLegend();
    drawPanel(kRateTop, kRateBottom, "Data rate");
    drawPanel(kKeyRow, kKeyRow + kRowHeight, "Key frames");
    drawPanel(kIndexRow, kIndexRow + kRowHeight, "Index");
    drawPanel(kLeadTop, kLeadBottom, "Interleaving");
    drawTimeGrid();
    drawRates();
    drawKeyFrames();
    drawIndex();
    drawLead();
    drawGaps();
    drawStrip();
    drawFindings();
    return mSvg.finish();
}

void MapPicture::drawPanel(double top, double bottom, const std::string& label) {
    mSvg.rect(kLeft, top, kPlot, bottom - top, kPanelColour);
    double middle = bottom - top <= kRowHeight ? (top + bottom) / 2 + 5 : top - 8;
    bool isRow = bottom - top <= kRowHeight;
    mSvg.text(isRow ? kLeft - 8 : kLeft, middle, label, {13, "#2d3748", isRow ? "end" : "start", true});
}

void MapPicture::drawTitle() {
    mSvg.text(24, 36, Shortened(std::filesystem::path(mName).filename().string()),
              {20, "#1a202c", "start", true});
    std::string facts = fmt::format("{} \u00b7 {} s", ByteText(static_cast<double>(mReport.size)),
                                    FormatSeconds(mReport.spanMs() * 1000));
    for (const StreamSeen& stream : mReport.streams) {
        facts += fmt::format(" \u00b7 {} {}, {}{}", stream.kindName(), CodecName(stream.header),
                             CountText(stream.samples, "sample"),
                             stream.whyNoTrack.empty() ? "" : " (no track)");
    }
    mSvg.text(24, 60, facts, {14, "#4a5568", "start", false});
    uint64_t errors = mReport.findings.count(Severity::kError),
             warnings = mReport.findings.count(Severity::kWarning);
    std::string verdict = errors > 0     ? "damaged: " + CountText(errors, "error")
                          : warnings > 0 ? "readable, " + CountText(warnings, "warning")
                                         : "clean";
    const char* colour = errors > 0 ? kBadColour : warnings > 0 ? kWarnColour : kRightColour;
    mSvg.text(kRight, 36, verdict, {20, colour, "end", true});
}

void MapPicture::drawLegend() {
    const std::pair<const char*, const char*> entries[] = {{kVideoColour, "video"},
                                                           {kAudioColour, "audio"},
                                                           {kScriptColour, "script data"},
                                                           {kBadColour, "damage"}};
    double at = kRight - 345;
    for (const auto& [colour, label] : entries) {
        mSvg.rect(at, 76, 12, 12, colour);
        mSvg.text(at + 18, 87, label, {13, "#2d3748", "start", false});
        at += 40 + 7.5 * static_cast<double>(std::string(label).size());
    }
}

void MapPicture::drawTimeGrid() {
    double step = RoundUp(mSpanMs / 1000 / kLabelsAcross),
           first = static_cast<double>(mReport.timeline.firstMs()) / 1000;
    for (double seconds = std::ceil(first / step) * step; seconds <= first + mSpanMs / 1000;
         seconds += step) {
        double at = x(seconds * 1000);
        mSvg.line(at, kRateTop, at, kLeadBottom + 4, kGridColour);
        mSvg.text(at, kLeadBottom + 20, ClockText(seconds, step), {12, kFaintColour, "middle", false});
    }
    mSvg.text(kLeft - 24, kLeadBottom + 20, "Time", {13, "#2d3748", "end", true});
}

// Bars of half a second, where there are enough of them to see something, and of 4 pixels at least.
void MapPicture::drawRates() {
    const auto& moments = mReport.timeline.moments();
    auto columnMs = static_cast<double>(mReport.timeline.columnMs());
    double barMs = std::max({mSpanMs / (kPlot / 4), std::min(500., mSpanMs / 24), columnMs});
    size_t perBar = std::max<size_t>(static_cast<size_t>(std::round(barMs / columnMs)), 1);
    struct Bar {
        double video = 0, audio = 0;
    };
    std::vector<Bar> bars((mColumns + perBar - 1) / perBar);
    double highest = 1;
    for (size_t i = 0; i < mColumns; ++i) {
        Bar& bar = bars[i / perBar];
        double seconds =
                static_cast<double>(std::min(perBar, mColumns - i / perBar * perBar)) * columnMs / 1000;
        bar.video += static_cast<double>(moments[i].videoBytes) / std::max(seconds, barMs / 2000);
        bar.audio += static_cast<double>(moments[i].audioBytes) / std::max(seconds, barMs / 2000);
        highest = std::max(highest, bar.video + bar.audio);
    }
    double top = RoundUp(highest), scale = (kRateBottom - kRateTop) / top;
    for (double share : {0.5, 1.}) {
        double y = kRateBottom - share * top * scale;
        mSvg.line(kLeft, y, kRight, y, kGridColour);
        mSvg.text(kLeft - 8, y + 5, ByteText(share * top) + "/s", {12, kFaintColour, "end", false});
    }
    mSvg.text(kLeft - 8, kRateBottom + 2, "0", {12, kFaintColour, "end", false});
    for (size_t i = 0; i < bars.size(); ++i) {
        double from = momentX(i * perBar), to = momentX(std::min((i + 1) * perBar, mColumns));
        double width = std::max(to - from - 1, 1.), audio = bars[i].audio * scale,
               video = bars[i].video * scale;
        if (audio > 0) mSvg.rect(from, kRateBottom - audio, width, audio, kAudioColour);
        if (video > 0) mSvg.rect(from, kRateBottom - audio - video, width, video, kVideoColour);
    }
}

void MapPicture::drawKeyFrames() {
    double last = -1;
    for (size_t i = 0; i < mColumns; ++i) {
        double at = momentX(i);
        if (mReport.timeline.moments()[i].keyFrames == 0 || at < last + 1) continue;
        mSvg.rect(at, kKeyRow + 3, 2, kRowHeight - 6, kVideoColour);
        last = at;
    }
    if (last < 0) mSvg.text(kLeft + 8, kKeyRow + 16, "none", {12, kFaintColour, "start", false});
}

void MapPicture::drawIndex() {
    size_t right = 0;
    double last[2] = {-1, -1};
    for (const IndexEntry& entry : mReport.index) {
        right += entry.isRight;
        double at = x(entry.timeSeconds * 1000);
        if (!std::isfinite(at) || at < last[entry.isRight] + 1) continue;
        last[entry.isRight] = at;
        if (entry.isRight) {
            mSvg.rect(at, kIndexRow + 3, 2, kRowHeight - 6, kRightColour);
        } else {
            mSvg.line(at - 4, kIndexRow + 6, at + 5, kIndexRow + kRowHeight - 6, kBadColour, 2);
            mSvg.line(at - 4, kIndexRow + kRowHeight - 6, at + 5, kIndexRow + 6, kBadColour, 2);
        }
    }
    if (mReport.index.empty()) {
        mSvg.text(kLeft + 8, kIndexRow + 16, "none", {12, kFaintColour, "start", false});
        return;
    }
    std::string summary =
            fmt::format("{} of {} index entries point at a key frame", right, mReport.index.size());
    mSvg.text(kRight, kIndexRow + kRowHeight + 14, summary,
              {12, right == mReport.index.size() ? kRightColour : kBadColour, "end", false});
}

void MapPicture::drawLead() {
    std::vector<std::pair<double, double>> points;
    double farthest = 1;
    for (size_t i = 0; i < mColumns; ++i) {
        const Timeline::Moment& moment = mReport.timeline.moments()[i];
        if (!moment.hasLead) continue;
        farthest = std::max(farthest, std::abs(static_cast<double>(moment.leadMs)));
        points.emplace_back(momentX(i), static_cast<double>(moment.leadMs));
    }
    mSvg.text(kLeft + 110, kLeadTop - 8, "how far audio is ahead of video in the file",
              {12, kFaintColour, "start", false});
    double middle = (kLeadTop + kLeadBottom) / 2;
    mSvg.line(kLeft, middle, kRight, middle, "#a0aec0");
    if (points.empty()) {
        mSvg.text(kLeft + 8, middle - 6, "one kind of stream only", {12, kFaintColour, "start", false});
        return;
    }
    double top = RoundUp(farthest), scale = (kLeadBottom - kLeadTop) / 2 / top;
    for (double side : {1., -1.}) {
        std::string label =
                top >= 1000 ? fmt::format("{:+g} s", side * top / 1000) : fmt::format("{:+g} ms", side * top);
        mSvg.text(kLeft - 8, middle - side * top * scale + (side > 0 ? 10 : 2), label,
                  {12, kFaintColour, "end", false});
    }
    mSvg.text(kLeft - 8, middle + 5, "0", {12, kFaintColour, "end", false});
    std::vector<std::pair<double, double>> run;
    for (const auto& [at, value] : points) {
        if (!run.empty() && isAcrossGap(run.back().first, at))
            mSvg.polyline(std::exchange(run, {}), kLeadColour, 1.5);
        run.emplace_back(at, middle - value * scale);
    }
    mSvg.polyline(run, kLeadColour, 1.5);
}

bool MapPicture::isAcrossGap(double fromX, double toX) const {
    const auto& gaps = mReport.timeline.gaps();
    return std::any_of(gaps.begin(), gaps.end(), [&](const Timeline::Gap& gap) {
        double middle = x(static_cast<double>(gap.fromMs + gap.toMs) / 2);
        return fromX < middle && middle < toX;
    });
}

void MapPicture::drawGaps() {
    LabelRow labels(mSvg, kRateTop + 16, 13);
    for (const Timeline::Gap& gap : mReport.timeline.gaps()) {
        double from = x(static_cast<double>(gap.fromMs)), to = x(static_cast<double>(gap.toMs));
        double width = std::max(to - from, 3.);
        mSvg.rect(std::min(from, kRight - width), kRateTop, width, kLeadBottom - kRateTop, kBadColour, 0.18);
        labels.add((from + to) / 2, gap.toMs > gap.fromMs ? "lost" : "damage");
    }
}

void MapPicture::drawStrip() {
    mSvg.text(kLeft, kStripTop - 26, "From the first byte to the last", {13, "#2d3748", "start", true});
    mSvg.rect(kLeft, kStripTop, kPlot, kStripBottom - kStripTop, kPanelColour);
    const char* colours[] = {kVideoColour, kAudioColour, kScriptColour, kBadColour};
    const auto& places = mReport.timeline.places();
    double width = kPlot / static_cast<double>(Timeline::kPlaces);
    for (size_t i = 0; i < places.size(); ++i) {
        double all = 0, y = kStripBottom;
        for (uint64_t bytes : places[i])
            all += static_cast<double>(bytes);
        for (size_t content = 0; all > 0 && content < Timeline::kContents; ++content) {
            double height = (kStripBottom - kStripTop) * static_cast<double>(places[i][content]) / all;
            y -= height;
            if (height > 0)
                mSvg.rect(kLeft + static_cast<double>(i) * width, y, width + 0.3, height, colours[content]);
        }
    }
    auto size = static_cast<double>(std::max<int64_t>(mReport.size, 1));
    double step = RoundUp(size / kLabelsAcross);
    for (double at = 0; at <= size; at += step) {
        mSvg.line(kLeft + kPlot * at / size, kStripBottom, kLeft + kPlot * at / size, kStripBottom + 5,
                  kFaintColour);
        mSvg.text(kLeft + kPlot * at / size, kStripBottom + 20, ByteText(at),
                  {12, kFaintColour, "middle", false});
    }
    LabelRow labels(mSvg, kStripTop - 9, 12);
    for (const Timeline::Gap& gap : mReport.timeline.gaps()) {
        double at = kLeft + kPlot * static_cast<double>(gap.offset) / size;
        double end = std::min(kLeft + kPlot * static_cast<double>(gap.offset + gap.size) / size, kRight);
        mSvg.rect(at, kStripTop - 4, std::max(end - at, 3.), kStripBottom - kStripTop + 8, kBadColour);
        labels.add(at, fmt::format("{} at {}", ByteText(static_cast<double>(gap.size)), gap.offset));
    }
}

void MapPicture::drawFindings() {
    mSvg.text(24, kFindingsTop - 22, "Findings", {13, "#2d3748", "start", true});
    double y = kFindingsTop;
    const auto& shown = mReport.findings.shown();
    if (shown.empty())
        mSvg.text(24, y, "none: every tag is where it should be", {13, kRightColour, "start", false});
    // The worst first: a person reads three of them.
    std::vector<const Finding*> sorted;
    for (const Finding& finding : shown)
        sorted.push_back(&finding);
    std::stable_sort(sorted.begin(), sorted.end(), [](const Finding* left, const Finding* right) {
        return TraitsOf(left->kind).severity > TraitsOf(right->kind).severity;
    });
    uint64_t total = 0;
    for (const auto& [kind, count] : mReport.findings.counts())
        total += count;
    for (size_t i = 0; i < std::min(sorted.size(), kMostLines); ++i, y += kFindingHeight) {
        const KindTraits& traits = TraitsOf(sorted[i]->kind);
        const char* colour = traits.severity == Severity::kError     ? kBadColour
                             : traits.severity == Severity::kWarning ? kWarnColour
                                                                     : kFaintColour;
        mSvg.text(24, y, NameOf(traits.severity), {13, colour, "start", true});
        mSvg.text(kLeft, y, fmt::format("byte {}: {}", sorted[i]->offset, sorted[i]->text),
                  {13, "#2d3748", "start", false});
    }
    if (total > kMostLines) {
        mSvg.text(kLeft, y, fmt::format("and {} more", total - kMostLines),
                  {13, kFaintColour, "start", false});
    }
}

}  // namespace

std::string DrawMap(const std::string& name, const Inspection& report) {
    return MapPicture(name, report).draw();
}

}  // namespace orvel
