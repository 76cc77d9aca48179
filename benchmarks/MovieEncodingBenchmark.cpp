// Processor time that a movie writer takes for a 1080p picture at 30 a second, all its threads together:
// a still screen (the same picture again and again), a page of text being scrolled, and pictures that change
// everywhere. Beside it the bit rate that came out, at 9.3 Mbit/s asked for. The peer is what the ffmpeg
// command does with the same pictures: libswscale, then libx264 at the same preset and bit rate; each
// content's ratio to it is printed at the end.

#include "Vintra/platform/linux/movie/LinuxAssetWriters.h"

#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <future>
#include <map>
#include <random>
#include <string>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/opt.h>
#include <libswscale/swscale.h>
}

namespace vintra {
namespace {

constexpr size_t kWidth = 1920;
constexpr size_t kHeight = 1080;
constexpr int64_t kBitRate = 9'331'200; // 1920 × 1080 × 4.5
constexpr int kPictures = 300;

enum class Content { still, scrolling, noisy };

/// A column of dark marks on white, like a page of text in the middle of a screen, and far longer than it.
std::vector<uint32_t> page() {
    constexpr size_t height = kHeight * 4;
    std::vector<uint32_t> pixels(kWidth * height, 0xFFFFFFFF);
    std::mt19937 random(1);
    for (size_t line = 0; line + 20 < height; line += line % 60 == 20 ? 40 : 20)
        for (size_t letter = 560; letter < 1360; letter += 10)
            if (random() % 6 != 0)
                for (size_t stroke = 0; stroke < 4; ++stroke) {
                    const size_t x = letter + random() % 8;
                    const size_t y = line + random() % 10;
                    for (size_t i = 0; i < 4; ++i)
                        pixels[(y + i) * kWidth + x] = pixels[y * kWidth + x + i % 2] = 0xFF303030;
                }
    return pixels;
}

std::shared_ptr<CVPixelBuffer> view(const std::vector<uint32_t>& source, size_t firstRow) {
    auto picture = CVPixelBuffer::make(kCVPixelFormatType_32BGRA, kWidth, kHeight);
    const auto& plane = picture->plane(0);
    for (size_t y = 0; y < kHeight; ++y)
        std::memcpy(plane.baseAddress + y * plane.bytesPerRow, &source[(firstRow + y) * kWidth], 4 * kWidth);
    return picture;
}

/// Soft shapes that move everywhere, like a film.
std::shared_ptr<CVPixelBuffer> film(int n) {
    auto picture = CVPixelBuffer::make(kCVPixelFormatType_32BGRA, kWidth, kHeight);
    const auto& plane = picture->plane(0);
    std::mt19937 random(static_cast<unsigned>(n));
    uint32_t grain = random();
    for (size_t y = 0; y < kHeight; ++y) {
        auto* row = reinterpret_cast<uint32_t*>(plane.baseAddress + y * plane.bytesPerRow);
        for (size_t x = 0; x < kWidth; ++x) {
            grain = grain * 1664525u + 1013904223u;
            const uint32_t u = static_cast<uint32_t>(x + static_cast<size_t>(7 * n));
            const uint32_t v = static_cast<uint32_t>(y + static_cast<size_t>(3 * n));
            const uint32_t shape = ((u * u >> 9) ^ (v * v >> 8)) & 0x7F;
            row[x] = (shape + (grain >> 28)) * 0x010101 | 0xFF000000;
        }
    }
    return picture;
}

double processorSeconds() {
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

std::vector<std::shared_ptr<CVPixelBuffer>> pictures(Content content) {
    std::vector<std::shared_ptr<CVPixelBuffer>> made;
    const auto text = page();
    switch (content) {
    case Content::still:
        made.push_back(view(text, 0));
        break;
    case Content::scrolling:
        for (size_t i = 0; i < 60; ++i)
            made.push_back(view(text, 6 * i));
        break;
    case Content::noisy:
        for (int i = 0; i < 60; ++i)
            made.push_back(film(i));
        break;
    }
    return made;
}

size_t pictureIndex(int i, size_t count) {
    // Forth and back, so that no picture is followed by one far from it.
    const size_t n = static_cast<size_t>(i) % (2 * count);
    return n < count ? n : 2 * count - 1 - n;
}

void encode(benchmark::State& state, Content content, AVVideoCodecType codec) {
    LinuxAssetWriters makers;
    AVVideoSettings settings;
    settings.codec = codec;
    settings.width = kWidth;
    settings.height = kHeight;
    settings.averageBitRate = kBitRate;
    const auto source = pictures(content);
    const std::string path =
        (std::filesystem::temp_directory_path() / ("vintra-benchmark-" + std::to_string(getpid()) + ".mov"))
            .string();
    double used = 0;
    double bits = 0;
    for (auto _ : state) {
        const auto writer = makers.makeWriter(URL::fileURL(path), AVFileType::quickTimeMovie);
        const auto input = makers.makeInput(settings, true);
        writer->add(input);
        if (!writer->startWriting()) {
            state.SkipWithError("the file can't be made");
            return;
        }
        writer->startSession(kCMTimeZero);
        const double before = processorSeconds();
        for (int i = 0; i < kPictures; ++i) {
            while (!input->isReadyForMoreMediaData())
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            const auto& image = source[pictureIndex(i, source.size())];
            input->append(
                CMSampleBuffer::makeVideo(image, {CMTimeMake(1, 30), CMTimeMake(i, 30), kCMTimeInvalid}));
        }
        std::promise<void> done;
        writer->finishWriting([&done] { done.set_value(); });
        done.get_future().wait();
        used += processorSeconds() - before;
        bits += 8.0 * static_cast<double>(std::filesystem::file_size(path));
        std::filesystem::remove(path);
    }
    const double count = static_cast<double>(state.iterations()) * kPictures;
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    state.counters["processor_ms_a_picture"] = used * 1000 / count;
    state.counters["Mbit_a_second"] = bits / count * 30 / 1e6;
    state.counters["peak_MB"] = static_cast<double>(usage.ru_maxrss) / 1024;
}

void peer(benchmark::State& state, Content content) {
    const auto source = pictures(content);
    AVCodecContext* encoder = avcodec_alloc_context3(avcodec_find_encoder_by_name("libx264"));
    encoder->width = kWidth;
    encoder->height = kHeight;
    encoder->pix_fmt = AV_PIX_FMT_YUV420P;
    encoder->time_base = {1, 30};
    encoder->framerate = {30, 1};
    encoder->bit_rate = kBitRate;
    encoder->thread_count = 0; // as the command does: as many as there are processors
    av_opt_set(encoder->priv_data, "preset", "superfast", 0);
    if (avcodec_open2(encoder, encoder->codec, nullptr) < 0) {
        state.SkipWithError("no libx264");
        return;
    }
    SwsContext* scaler = sws_getContext(kWidth, kHeight, AV_PIX_FMT_BGRA, kWidth, kHeight, AV_PIX_FMT_YUV420P,
                                        SWS_BICUBIC, nullptr, nullptr, nullptr);
    AVPacket* packet = av_packet_alloc();
    const double before = processorSeconds();
    double bits = 0;
    const auto receive = [&] {
        while (avcodec_receive_packet(encoder, packet) == 0) {
            bits += 8.0 * packet->size;
            av_packet_unref(packet);
        }
    };
    for (auto _ : state) {
        for (int i = 0; i < kPictures; ++i) {
            const auto& plane = source[pictureIndex(i, source.size())]->plane(0);
            AVFrame* frame = av_frame_alloc();
            frame->format = encoder->pix_fmt;
            frame->width = kWidth;
            frame->height = kHeight;
            frame->pts = i;
            av_frame_get_buffer(frame, 0);
            const uint8_t* from[4] = {plane.baseAddress};
            const int fromRow[4] = {static_cast<int>(plane.bytesPerRow)};
            sws_scale(scaler, from, fromRow, 0, kHeight, frame->data, frame->linesize);
            avcodec_send_frame(encoder, frame);
            av_frame_free(&frame);
            receive();
        }
        avcodec_send_frame(encoder, nullptr);
        receive();
    }
    state.counters["processor_ms_a_picture"] = (processorSeconds() - before) * 1000 / kPictures;
    state.counters["Mbit_a_second"] = bits / kPictures * 30 / 1e6;
    av_packet_free(&packet);
    sws_freeContext(scaler);
    avcodec_free_context(&encoder);
}

/// Notes what each benchmark took, for the ratios.
class Reporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            const auto found = run.counters.find("processor_ms_a_picture");
            if (found != run.counters.end()) times[run.run_name.function_name] = found->second;
        }
    }
    void printRatios() const {
        for (const char* content : {"still", "scrolling", "noisy"}) {
            const auto own = times.find("encode/h264_" + std::string(content));
            const auto other = times.find("peer/h264_" + std::string(content));
            if (own != times.end() && other != times.end())
                std::printf("vintra / peer, %s: %.2f\n", content, own->second / other->second);
        }
    }

private:
    std::map<std::string, double> times;
};

BENCHMARK_CAPTURE(encode, h264_still, Content::still, AVVideoCodecType::h264)->Iterations(1);
BENCHMARK_CAPTURE(encode, h264_scrolling, Content::scrolling, AVVideoCodecType::h264)->Iterations(1);
BENCHMARK_CAPTURE(encode, h264_noisy, Content::noisy, AVVideoCodecType::h264)->Iterations(1);
BENCHMARK_CAPTURE(peer, h264_still, Content::still)->Iterations(1);
BENCHMARK_CAPTURE(peer, h264_scrolling, Content::scrolling)->Iterations(1);
BENCHMARK_CAPTURE(peer, h264_noisy, Content::noisy)->Iterations(1);
BENCHMARK_CAPTURE(encode, hevc_still, Content::still, AVVideoCodecType::hevc)->Iterations(1);
BENCHMARK_CAPTURE(encode, hevc_scrolling, Content::scrolling, AVVideoCodecType::hevc)->Iterations(1);
BENCHMARK_CAPTURE(encode, hevc_noisy, Content::noisy, AVVideoCodecType::hevc)->Iterations(1);

} // namespace
} // namespace vintra

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    vintra::Reporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.printRatios();
}
