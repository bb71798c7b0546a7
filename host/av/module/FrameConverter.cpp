// SPDX-License-Identifier: Apache-2.0
#include "FrameConverter.h"

#include <math.h>
#include <string.h>

#include <algorithm>

#include "Errors.h"

namespace orvel {
namespace {

// As the ffmpeg program converts unless told otherwise, so that its picture of a frame and this one are the
// same.
constexpr int kScaling = SWS_BICUBIC;

// A shape beyond this is damage, not a picture.
constexpr double kMostAspect = 16;

PictureSize ShownSize(const AVFrame& frame, std::optional<PictureSize> box) {
    AVRational aspect = frame.sample_aspect_ratio;
    double stretch = aspect.num > 0 && aspect.den > 0 ? av_q2d(aspect) : 1;
    if (stretch > kMostAspect || stretch < 1 / kMostAspect) stretch = 1;
    double width = frame.width * stretch;
    if (box) return FitInto(*box, width, frame.height);
    return {std::max(1, static_cast<int>(lround(width))), frame.height};
}

bool IsFullRange(const AVFrame& frame) {
    return frame.color_range == AVCOL_RANGE_JPEG || frame.format == AV_PIX_FMT_YUVJ420P;
}

ScalerPointer MakeScaler(PictureSize from, AVPixelFormat fromFormat, PictureSize to, AVPixelFormat toFormat) {
    SwsContext* scaler = sws_getContext(from.width, from.height, fromFormat, to.width, to.height, toFormat,
                                        kScaling, nullptr, nullptr, nullptr);
    if (scaler == nullptr)
        throw Failure(ExitCode::kInputOutput, "the scaler cannot convert this picture's format");
    return ScalerPointer(scaler);
}

// Where the stream names no matrix the library takes BT.601, whatever the size, and so does this program: it
// is what encoders that say nothing have used.
void SetColours(const AVFrame& frame, SwsContext* scaler) {
    constexpr int kUnity = 1 << 16;
    sws_setColorspaceDetails(scaler, sws_getCoefficients(frame.colorspace), IsFullRange(frame),
                             sws_getCoefficients(SWS_CS_DEFAULT), 1, 0, kUnity, kUnity);
}

// The scaler writes and reads whole vectors at the ends of rows, so both its sides are frames with padded
// rows.
FramePointer MakeEmptyFrame(PictureSize size, AVPixelFormat format) {
    FramePointer frame(CheckAllocated(av_frame_alloc()));
    frame->width = size.width;
    frame->height = size.height;
    frame->format = format;
    CheckAv(av_frame_get_buffer(frame.get(), 0), "picture");
    return frame;
}

void Scale(SwsContext* scaler, const AVFrame& from, AVFrame* to) {
    CheckAv(sws_scale(scaler, from.data, from.linesize, 0, from.height, to->data, to->linesize), "scaler");
}

// Between a picture's rows and those of a frame of the same size.
template <typename Copy>
void ForEachRow(const AVFrame& frame, Copy copy) {
    size_t size = static_cast<size_t>(frame.width) * 3;
    for (size_t y = 0; y < static_cast<size_t>(frame.height); ++y)
        copy(y * size, frame.data[0] + y * static_cast<size_t>(frame.linesize[0]), size);
}

}  // namespace

Picture ConvertFrame(const AVFrame& frame, std::optional<PictureSize> box) {
    PictureSize size = ShownSize(frame, box);
    ScalerPointer scaler = MakeScaler({frame.width, frame.height}, static_cast<AVPixelFormat>(frame.format),
                                      size, AV_PIX_FMT_RGB24);
    SetColours(frame, scaler.get());
    FramePointer shown = MakeEmptyFrame(size, AV_PIX_FMT_RGB24);
    Scale(scaler.get(), frame, shown.get());
    Picture picture(size, 0);
    ForEachRow(*shown, [&](size_t at, const uint8_t* row, size_t n) { memcpy(&picture.rgb[at], row, n); });
    return picture;
}

FramePointer MakeFrame(const Picture& picture, AVPixelFormat format) {
    FramePointer shown = MakeEmptyFrame(picture.size, AV_PIX_FMT_RGB24);
    // Chroma is averaged over pairs of pixels: one of an odd width wants a second.
    ForEachRow(*shown, [&](size_t at, uint8_t* row, size_t n) {
        memcpy(row, &picture.rgb[at], n);
        if (picture.size.width % 2 != 0) memcpy(row + n, row + n - 3, 3);
    });
    if (format == AV_PIX_FMT_RGB24) return shown;
    FramePointer frame = MakeEmptyFrame(picture.size, format);
    Scale(MakeScaler(picture.size, AV_PIX_FMT_RGB24, picture.size, format).get(), *shown, frame.get());
    return frame;
}

}  // namespace orvel
