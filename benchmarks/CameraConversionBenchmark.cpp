// One 1080p picture of a camera to luma and chroma of Rec. 709 in video range, in two planes: the program's own
// conversion from each layout, beside libswscale for the same job, and the decoding of a JPEG beside libavcodec's. For each layout the
// time of the program's fastest variant over libswscale's is printed at the end.

#include "Vintra/platform/linux/camera/CameraPictureConverter.h"
#include "Vintra/platform/linux/camera/CompressedPictureDecoder.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cmath>
#include <cstdio>
#include <map>
#include <random>
#include <string>
#include <vector>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libswscale/swscale.h>
}

namespace vintra {
namespace {

constexpr int kWidth = 1920;
constexpr int kHeight = 1080;
constexpr CameraColour kRec601{CameraColour::Matrix::rec601, false};

/// Something like what a camera sees: soft shapes under grain.
std::vector<uint8_t> cameraBytes() {
    std::vector<uint8_t> bytes(static_cast<size_t>(kWidth) * kHeight * 2);
    std::mt19937 random(1);
    for (size_t i = 0; i < bytes.size(); ++i) {
        const double shape = 128 + 60 * std::sin(static_cast<double>(i % 3840) / 300);
        bytes[i] = static_cast<uint8_t>(shape + static_cast<double>(random() % 12));
    }
    return bytes;
}

CameraPicture pictureOf(const std::vector<uint8_t>& bytes, CameraPixelLayout layout, CameraColour colour) {
    CameraPicture picture{
        .layout = layout, .width = kWidth, .height = kHeight, .planes = {}, .colour = colour};
    const CameraMemory memory{.bytes = bytes.data(), .size = bytes.size(), .row = 0};
    layOut(picture, {&memory, 1});
    return picture;
}

void vintra(benchmark::State& state, CameraPixelLayout layout, CameraColour colour, bool isPortable) {
    const auto bytes = cameraBytes();
    const CameraPicture picture = pictureOf(bytes, layout, colour);
    const auto to = CVPixelBuffer::make(kCVPixelFormatType_420YpCbCr8BiPlanarVideoRange, kWidth, kHeight);
    CameraPictureConverter converter(isPortable ? CameraRows::portable() : CameraRows::fastest());
    for (auto _ : state) {
        converter.convert(picture, *to);
        benchmark::ClobberMemory();
    }
}

void libswscale(benchmark::State& state, CameraPixelLayout layout, AVPixelFormat format,
                CameraColour colour) {
    const auto bytes = cameraBytes();
    const CameraPicture picture = pictureOf(bytes, layout, colour);
    std::vector<uint8_t> luma(kWidth * kHeight);
    std::vector<uint8_t> chroma(kWidth * kHeight / 2);
    SwsContext* const context = sws_getContext(kWidth, kHeight, format, kWidth, kHeight, AV_PIX_FMT_NV12,
                                               SWS_FAST_BILINEAR, nullptr, nullptr, nullptr);
    const bool isRec601 = colour.matrix == CameraColour::Matrix::rec601;
    sws_setColorspaceDetails(context, sws_getCoefficients(isRec601 ? SWS_CS_ITU601 : SWS_CS_ITU709), 0,
                             sws_getCoefficients(SWS_CS_ITU709), 0, 0, 1 << 16, 1 << 16);
    const uint8_t* const from[4] = {picture.planes[0].bytes, picture.planes[1].bytes,
                                    picture.planes[2].bytes};
    const int fromRow[4] = {static_cast<int>(picture.planes[0].row), static_cast<int>(picture.planes[1].row),
                            static_cast<int>(picture.planes[2].row)};
    uint8_t* const to[4] = {luma.data(), chroma.data()};
    const int toRow[4] = {kWidth, kWidth};
    for (auto _ : state) {
        sws_scale(context, from, fromRow, 0, kHeight, to, toRow);
        benchmark::ClobberMemory();
    }
    sws_freeContext(context);
}

std::vector<uint8_t> jpeg() {
    const auto bytes = cameraBytes();
    AVCodecContext* context = avcodec_alloc_context3(avcodec_find_encoder(AV_CODEC_ID_MJPEG));
    context->width = kWidth;
    context->height = kHeight;
    context->pix_fmt = AV_PIX_FMT_YUVJ422P;
    context->time_base = {1, 30};
    context->flags |= AV_CODEC_FLAG_QSCALE;
    context->global_quality = 4 * FF_QP2LAMBDA;
    avcodec_open2(context, context->codec, nullptr);
    AVFrame* frame = av_frame_alloc();
    frame->format = context->pix_fmt;
    frame->width = kWidth;
    frame->height = kHeight;
    frame->quality = context->global_quality;
    av_frame_get_buffer(frame, 0);
    for (int y = 0; y < kHeight; ++y) {
        for (int plane = 0; plane < 3; ++plane) {
            const int width = plane == 0 ? kWidth : kWidth / 2;
            std::copy_n(bytes.begin() + y * 3840, width, frame->data[plane] + y * frame->linesize[plane]);
        }
    }
    AVPacket* packet = av_packet_alloc();
    avcodec_send_frame(context, frame);
    avcodec_receive_packet(context, packet);
    std::vector<uint8_t> result(packet->data, packet->data + packet->size);
    av_packet_free(&packet);
    av_frame_free(&frame);
    avcodec_free_context(&context);
    return result;
}

void decoded(benchmark::State& state) {
    const auto bytes = jpeg();
    const auto to = CVPixelBuffer::make(kCVPixelFormatType_420YpCbCr8BiPlanarVideoRange, kWidth, kHeight);
    const auto decoder = CompressedPictureDecoder::make(CameraPixelLayout::mjpeg, CameraColour::jpeg());
    CameraPictureConverter converter;
    for (auto _ : state) {
        decoder->decode(bytes, 1,
                        [&](const CameraPicture& picture, int64_t) { converter.convert(picture, *to); });
        benchmark::ClobberMemory();
    }
    state.SetLabel(std::to_string(bytes.size() / 1000) + " kB a picture");
}

/// The decoding alone.
void decodedByVintra(benchmark::State& state) {
    const auto bytes = jpeg();
    const auto decoder = CompressedPictureDecoder::make(CameraPixelLayout::mjpeg, CameraColour::jpeg());
    for (auto _ : state)
        decoder->decode(bytes, 1, [](const CameraPicture&, int64_t) { benchmark::ClobberMemory(); });
}

void decodedByLibavcodec(benchmark::State& state) {
    auto bytes = jpeg();
    const size_t size = bytes.size();
    bytes.resize(size + AV_INPUT_BUFFER_PADDING_SIZE, 0);
    AVCodecContext* context = avcodec_alloc_context3(avcodec_find_decoder(AV_CODEC_ID_MJPEG));
    context->thread_count = 1;
    avcodec_open2(context, context->codec, nullptr);
    AVPacket* packet = av_packet_alloc();
    AVFrame* frame = av_frame_alloc();
    for (auto _ : state) {
        packet->data = bytes.data();
        packet->size = static_cast<int>(size);
        avcodec_send_packet(context, packet);
        avcodec_receive_frame(context, frame);
        benchmark::ClobberMemory();
    }
    av_frame_free(&frame);
    av_packet_free(&packet);
    avcodec_free_context(&context);
}

void addAll(const char* name, CameraPixelLayout layout, AVPixelFormat format) {
    for (const CameraColour colour : {CameraColour{}, kRec601}) {
        const std::string what = std::string(name) + (colour == kRec601 ? " Rec. 601" : " Rec. 709");
        const auto add = [](const std::string& title, auto run) {
            benchmark::RegisterBenchmark(title.c_str(), run)->Unit(benchmark::kMillisecond);
        };
        add("vintra/" + what, [=](benchmark::State& state) { vintra(state, layout, colour, false); });
        add("portable/" + what, [=](benchmark::State& state) { vintra(state, layout, colour, true); });
        add("libswscale/" + what,
            [=](benchmark::State& state) { libswscale(state, layout, format, colour); });
    }
}

/// Notes the times by what is converted, for the ratios.
class Reporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            const std::string name = run.benchmark_name();
            const size_t slash = name.find('/');
            if (slash != std::string::npos)
                times[name.substr(slash + 1)][name.substr(0, slash)] = run.GetAdjustedCPUTime();
        }
    }
    std::map<std::string, std::map<std::string, double>> times;
};

} // namespace
} // namespace vintra

int main(int argc, char** argv) {
    using namespace vintra;
    addAll("YUYV", CameraPixelLayout::yuyv, AV_PIX_FMT_YUYV422);
    addAll("UYVY", CameraPixelLayout::uyvy, AV_PIX_FMT_UYVY422);
    addAll("NV12", CameraPixelLayout::nv12, AV_PIX_FMT_NV12);
    addAll("I420", CameraPixelLayout::i420, AV_PIX_FMT_YUV420P);
    benchmark::RegisterBenchmark("vintra/JPEG decoded", decodedByVintra)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("libavcodec/JPEG decoded", decodedByLibavcodec)
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("JPEG decoded and converted", decoded)->Unit(benchmark::kMillisecond);
    benchmark::Initialize(&argc, argv);
    Reporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    for (const auto& [what, times] : reporter.times) {
        for (const char* const peer : {"libswscale", "libavcodec"}) {
            if (!times.contains(peer)) continue;
            std::printf("%s: vintra / %s, processor time a 1080p picture: %.3f\n", what.c_str(), peer,
                        times.at("vintra") / times.at(peer));
        }
    }
}
