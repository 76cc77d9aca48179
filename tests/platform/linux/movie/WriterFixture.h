#pragma once

#include "Vintra/platform/linux/movie/LinuxAssetWriters.h"
#include "tests/support/TemporaryFolder.h"

#include <chrono>
#include <cstring>
#include <future>
#include <gtest/gtest.h>
#include <thread>

namespace vintra {

/// Files of a test's own and the samples to fill them with.
class WriterFixture : public ::testing::Test {
protected:
    TemporaryFolder folder;
    LinuxAssetWriters makers;
    /// As arbitrary as the host clock's readings are.
    const CMTime start = CMTimeMake(987'654'321'987, 7'200'000);

    static AVVideoSettings pictures(int32_t width, int32_t height, int64_t bitRate = 1'000'000) {
        AVVideoSettings settings;
        settings.width = width;
        settings.height = height;
        settings.averageBitRate = bitRate;
        return settings;
    }
    static AVAudioSettings aac(uint32_t channels) {
        AVAudioSettings settings;
        settings.formatID = kAudioFormatMPEG4AAC;
        settings.numberOfChannels = channels;
        settings.encoderBitRate = channels == 1 ? 128'000 : 192'000;
        return settings;
    }
    static AVAudioSettings pcm(uint32_t channels) {
        AVAudioSettings settings;
        settings.numberOfChannels = channels;
        return settings;
    }

    struct Open {
        std::shared_ptr<AVAssetWriter> writer;
        std::vector<std::shared_ptr<AVAssetWriterInput>> inputs;
    };
    Open begin(AssetWriters& from, const URL& url, AVFileType type,
               const std::vector<AVOutputSettings>& tracks) {
        Open open{from.makeWriter(url, type), {}};
        for (const auto& settings : tracks) {
            open.inputs.push_back(from.makeInput(settings, true));
            open.writer->add(open.inputs.back());
        }
        EXPECT_TRUE(open.writer->startWriting());
        open.writer->startSession(start);
        return open;
    }
    Open beginMovie(const std::string& name, const std::vector<AVOutputSettings>& tracks) {
        return begin(makers, folder.file(name), AVFileType::quickTimeMovie, tracks);
    }
    Open beginWave(const std::string& name, uint32_t channels) {
        return begin(makers, folder.file(name), AVFileType::wave, {pcm(channels)});
    }

    static AVAssetWriterStatus finish(AVAssetWriter& writer) {
        std::promise<void> done;
        writer.finishWriting([&done] { done.set_value(); });
        done.get_future().wait();
        return writer.status();
    }

    /// Waits for room, as the writer works on.
    static bool appendWhenReady(AVAssetWriterInput& input, const AVAssetWriter& writer,
                                const CMSampleBuffer& sample) {
        while (!input.isReadyForMoreMediaData() && writer.status() == AVAssetWriterStatus::writing)
            std::this_thread::sleep_for(std::chrono::microseconds(200));
        return input.append(sample);
    }

    static std::shared_ptr<CVPixelBuffer> solid(size_t width, size_t height, uint8_t red, uint8_t green,
                                                uint8_t blue) {
        auto image = CVPixelBuffer::make(kCVPixelFormatType_32BGRA, width, height);
        const CVPixelBuffer::Plane& plane = image->plane(0);
        for (size_t y = 0; y < height; ++y) {
            for (size_t x = 0; x < width; ++x) {
                uint8_t* const pixel = plane.baseAddress + y * plane.bytesPerRow + 4 * x;
                pixel[0] = blue;
                pixel[1] = green;
                pixel[2] = red;
                pixel[3] = 255;
            }
        }
        return image;
    }
    static CMSampleBuffer picture(std::shared_ptr<CVPixelBuffer> image, CMTime time, int32_t rate) {
        return CMSampleBuffer::makeVideo(std::move(image), {CMTimeMake(1, rate), time, kCMTimeInvalid});
    }

    static CMSampleBuffer sound(const std::vector<float>& values, uint32_t channels, CMTime time,
                                int32_t rate = 48'000) {
        auto data = CMBlockBuffer::make(values.size() * sizeof(float));
        std::memcpy(data->contiguousBytes(), values.data(), data->dataLength());
        return CMSampleBuffer::makeAudio(
            std::move(data), CMAudioFormatDescriptionCreate(floatPCMDescription(rate, channels)),
            static_cast<int64_t>(values.size() / channels), {CMTimeMake(1, rate), time, kCMTimeInvalid});
    }
    static CMSampleBuffer sound16(const std::vector<int16_t>& values, uint32_t channels, CMTime time) {
        auto data = CMBlockBuffer::make(values.size() * sizeof(int16_t));
        std::memcpy(data->contiguousBytes(), values.data(), data->dataLength());
        AudioStreamBasicDescription format = floatPCMDescription(48'000, channels);
        format.mFormatFlags = kAudioFormatFlagIsSignedInteger | kAudioFormatFlagIsPacked;
        format.mBitsPerChannel = 16;
        format.mBytesPerFrame = format.mBytesPerPacket = 2 * channels;
        return CMSampleBuffer::makeAudio(std::move(data), CMAudioFormatDescriptionCreate(format),
                                         static_cast<int64_t>(values.size() / channels),
                                         {CMTimeMake(1, 48'000), time, kCMTimeInvalid});
    }
};

} // namespace vintra
