#pragma once

#include "Vintra/platform/AVAssetWriter.h"

#include <atomic>
#include <cstring>
#include <gtest/gtest.h>
#include <utility>

namespace vintra {

/// What every maker of asset writers owes, whatever it writes with. A backend's test names its own `Backend`,
/// made afresh for each test:
///
///     struct Backend {
///         AssetWriters& writers();
///         URL folder();                                       // exists, empty, may be written to
///         bool fileExists(const URL&);
///         void makeFile(const URL&, const std::string& text);
///         std::string contents(const URL&);
///         bool runUntil(const std::function<bool()>& done);   // lets the writers work; false: it never came
///     };
///     INSTANTIATE_TYPED_TEST_SUITE_P(Linux, AssetWriterConformance, Backend);
template <typename Backend>
class AssetWriterConformance : public ::testing::Test {
protected:
    Backend backend;
    const CMTime start = CMTimeMake(123'456'789, 7'200'000);

    URL url(const std::string& name) { return backend.folder().appendingPathComponent(name); }

    static AVVideoSettings pictures(int32_t width = 64, int32_t height = 32) {
        AVVideoSettings settings;
        settings.width = width;
        settings.height = height;
        settings.averageBitRate = 500'000;
        return settings;
    }
    static AVAudioSettings pcm(uint32_t channels = 1) {
        AVAudioSettings settings;
        settings.numberOfChannels = channels;
        return settings;
    }
    static AVAudioSettings aac(uint32_t channels = 1) {
        AVAudioSettings settings;
        settings.formatID = kAudioFormatMPEG4AAC;
        settings.numberOfChannels = channels;
        settings.encoderBitRate = 128'000;
        return settings;
    }

    std::shared_ptr<AVAssetWriterInput> input(const AVOutputSettings& settings) {
        return backend.writers().makeInput(settings, true);
    }

    CMSampleBuffer picture(CMTime time) {
        auto image = CVPixelBuffer::make(kCVPixelFormatType_32BGRA, 64, 32);
        std::memset(image->plane(0).baseAddress, 0x40, image->plane(0).bytesPerRow * 32);
        return CMSampleBuffer::makeVideo(std::move(image), {CMTimeMake(1, 30), time, kCMTimeInvalid});
    }
    CMSampleBuffer slot(int64_t n) { return picture(start + CMTimeMake(n, 30)); }

    CMSampleBuffer sound(CMTime time, int64_t frames = 480) {
        auto data = CMBlockBuffer::make(static_cast<size_t>(frames) * sizeof(float));
        data->fillDataBytes(0, 0, data->dataLength());
        return CMSampleBuffer::makeAudio(std::move(data),
                                         CMAudioFormatDescriptionCreate(floatPCMDescription(48'000, 1)),
                                         frames, {CMTimeMake(1, 48'000), time, kCMTimeInvalid});
    }

    struct Open {
        std::shared_ptr<AVAssetWriter> writer;
        std::shared_ptr<AVAssetWriterInput> input;
    };
    Open make(const std::string& name, AVFileType type, const AVOutputSettings& settings) {
        Open open{backend.writers().makeWriter(url(name), type), input(settings)};
        EXPECT_TRUE(open.writer->canAdd(*open.input));
        open.writer->add(open.input);
        return open;
    }
    Open begun(const std::string& name, AVFileType type, const AVOutputSettings& settings) {
        Open open = make(name, type, settings);
        EXPECT_TRUE(open.writer->startWriting());
        open.writer->startSession(start);
        return open;
    }
    Open begunMovie() { return begun("a.mov", AVFileType::quickTimeMovie, pictures()); }
    Open begunWave() { return begun("a.wav", AVFileType::wave, pcm()); }

    void finish(AVAssetWriter& writer) {
        std::atomic<int> calls{0};
        writer.finishWriting([&calls] { ++calls; });
        EXPECT_TRUE(backend.runUntil([&calls] { return calls > 0; }));
        EXPECT_EQ(calls, 1);
    }
    void expectFailedToStart(AVAssetWriter& writer) {
        EXPECT_FALSE(writer.startWriting());
        EXPECT_EQ(writer.status(), AVAssetWriterStatus::failed);
        ASSERT_TRUE(writer.error());
        EXPECT_FALSE(writer.error()->localizedDescription().empty());
    }
};

TYPED_TEST_SUITE_P(AssetWriterConformance);

TYPED_TEST_P(AssetWriterConformance, aNewWriterIsUnknownAndHasNoFile) {
    const auto open = this->make("a.mov", AVFileType::quickTimeMovie, this->pictures());
    EXPECT_EQ(open.writer->status(), AVAssetWriterStatus::unknown);
    EXPECT_FALSE(open.writer->error());
    EXPECT_EQ(open.writer->outputURL(), this->url("a.mov"));
    EXPECT_FALSE(this->backend.fileExists(this->url("a.mov")));
}

TYPED_TEST_P(AssetWriterConformance, anInputKeepsItsSettings) {
    const AVOutputSettings settings = this->aac(2);
    const auto input = this->backend.writers().makeInput(settings, true);
    EXPECT_EQ(input->mediaType(), AVMediaType::audio);
    EXPECT_EQ(input->outputSettings(), settings);
    EXPECT_TRUE(input->expectsMediaDataInRealTime());
    EXPECT_EQ(this->input(this->pictures())->mediaType(), AVMediaType::video);
}

TYPED_TEST_P(AssetWriterConformance, startingMakesTheFile) {
    const auto open = this->make("a.wav", AVFileType::wave, this->pcm());
    EXPECT_TRUE(open.writer->startWriting());
    EXPECT_EQ(open.writer->status(), AVAssetWriterStatus::writing);
    EXPECT_TRUE(this->backend.fileExists(this->url("a.wav")));
}

TYPED_TEST_P(AssetWriterConformance, preparingIsToldOnceAndMakesNoFile) {
    AVVideoSettings video = this->pictures();
    video.expectedSourceFrameRate = 30;
    for (const bool isMovie : {true, false}) {
        const auto open = isMovie ? this->make("p.mov", AVFileType::quickTimeMovie, video)
                                  : this->make("p.wav", AVFileType::wave, this->pcm());
        std::atomic<int> calls{0};
        open.writer->prepare([&calls] { ++calls; });
        ASSERT_TRUE(this->backend.runUntil([&calls] { return calls > 0; }));
        EXPECT_EQ(open.writer->status(), AVAssetWriterStatus::unknown);
        EXPECT_FALSE(this->backend.fileExists(open.writer->outputURL()));
        ASSERT_TRUE(open.writer->startWriting());
        open.writer->startSession(this->start);
        EXPECT_TRUE(open.input->append(isMovie ? this->slot(0) : this->sound(this->start)));
        this->finish(*open.writer);
        EXPECT_EQ(open.writer->status(), AVAssetWriterStatus::completed);
        EXPECT_TRUE(this->backend.fileExists(open.writer->outputURL()));
        EXPECT_EQ(calls, 1);
    }
}

TYPED_TEST_P(AssetWriterConformance, aFileOfTheNameIsNeverTouched) {
    this->backend.makeFile(this->url("a.mov"), "precious");
    const auto open = this->make("a.mov", AVFileType::quickTimeMovie, this->pictures());
    this->expectFailedToStart(*open.writer);
    EXPECT_EQ(this->backend.contents(this->url("a.mov")), "precious");
    open.writer->cancelWriting();
    EXPECT_EQ(this->backend.contents(this->url("a.mov")), "precious");
}

TYPED_TEST_P(AssetWriterConformance, aMissingFolderFailsTheStart) {
    const auto open = this->make("missing/a.wav", AVFileType::wave, this->pcm());
    this->expectFailedToStart(*open.writer);
}

TYPED_TEST_P(AssetWriterConformance, nothingIsTakenBeforeTheSession) {
    const auto open = this->make("a.mov", AVFileType::quickTimeMovie, this->pictures());
    EXPECT_FALSE(open.input->isReadyForMoreMediaData());
    EXPECT_FALSE(open.input->append(this->slot(0)));
    ASSERT_TRUE(open.writer->startWriting());
    EXPECT_FALSE(open.input->isReadyForMoreMediaData());
    EXPECT_FALSE(open.input->append(this->slot(0)));
    open.writer->startSession(this->start);
    EXPECT_TRUE(open.input->isReadyForMoreMediaData());
    EXPECT_TRUE(open.input->append(this->slot(0)));
}

TYPED_TEST_P(AssetWriterConformance, picturesMustGoForwardInTime) {
    const auto open = this->begunMovie();
    EXPECT_TRUE(open.input->append(this->slot(1)));
    EXPECT_FALSE(open.input->append(this->slot(1)));
    EXPECT_FALSE(open.input->append(this->slot(0)));
    EXPECT_TRUE(open.input->append(this->slot(2)));
    EXPECT_EQ(open.writer->status(), AVAssetWriterStatus::writing);
}

TYPED_TEST_P(AssetWriterConformance, unusableSamplesAreRefused) {
    const auto open = this->begunMovie();
    EXPECT_FALSE(open.input->append(CMSampleBuffer()));
    EXPECT_FALSE(open.input->append(this->picture(kCMTimeInvalid)));
    EXPECT_FALSE(open.input->append(this->picture(kCMTimePositiveInfinity)));
    EXPECT_FALSE(open.input->append(this->sound(this->start)));
    EXPECT_FALSE(open.input->append(
        CMSampleBuffer::makeVideo(nullptr, {CMTimeMake(1, 30), this->start, kCMTimeInvalid})));
    EXPECT_TRUE(open.input->append(this->slot(0)));
}

TYPED_TEST_P(AssetWriterConformance, samplesBeforeTheSessionAreLeftOutNotRefused) {
    const auto open = this->begunMovie();
    EXPECT_TRUE(open.input->append(this->slot(-2)));
    EXPECT_TRUE(open.input->append(this->slot(0)));
    this->finish(*open.writer);
    EXPECT_EQ(open.writer->status(), AVAssetWriterStatus::completed);
}

TYPED_TEST_P(AssetWriterConformance, aFinishedInputTakesNothingMore) {
    const auto open = this->begunWave();
    EXPECT_TRUE(open.input->append(this->sound(this->start)));
    open.input->markAsFinished();
    EXPECT_FALSE(open.input->isReadyForMoreMediaData());
    EXPECT_FALSE(open.input->append(this->sound(this->start + CMTimeMake(1, 100))));
    EXPECT_EQ(open.writer->status(), AVAssetWriterStatus::writing);
}

TYPED_TEST_P(AssetWriterConformance, finishingCompletesOnceAndEndsTheInput) {
    const auto open = this->begunMovie();
    EXPECT_TRUE(open.input->append(this->slot(0)));
    open.input->markAsFinished();
    this->finish(*open.writer);
    EXPECT_EQ(open.writer->status(), AVAssetWriterStatus::completed);
    EXPECT_FALSE(open.writer->error());
    EXPECT_FALSE(open.input->isReadyForMoreMediaData());
    EXPECT_FALSE(open.input->append(this->slot(1)));
    EXPECT_TRUE(this->backend.fileExists(this->url("a.mov")));
}

TYPED_TEST_P(AssetWriterConformance, finishingEndsInputsThatWereNotMarked) {
    const auto open = this->begunWave();
    EXPECT_TRUE(open.input->append(this->sound(this->start)));
    this->finish(*open.writer);
    EXPECT_EQ(open.writer->status(), AVAssetWriterStatus::completed);
    EXPECT_FALSE(open.input->isReadyForMoreMediaData());
}

TYPED_TEST_P(AssetWriterConformance, aFileWithoutSamplesCompletes) {
    const auto movie = this->begunMovie();
    this->finish(*movie.writer);
    EXPECT_EQ(movie.writer->status(), AVAssetWriterStatus::completed);
    const auto wave = this->begunWave();
    this->finish(*wave.writer);
    EXPECT_EQ(wave.writer->status(), AVAssetWriterStatus::completed);
    EXPECT_TRUE(this->backend.fileExists(this->url("a.mov")));
    EXPECT_TRUE(this->backend.fileExists(this->url("a.wav")));
}

TYPED_TEST_P(AssetWriterConformance, cancellingRemovesTheFile) {
    const auto open = this->begunMovie();
    EXPECT_TRUE(open.input->append(this->slot(0)));
    open.writer->cancelWriting();
    EXPECT_EQ(open.writer->status(), AVAssetWriterStatus::cancelled);
    EXPECT_FALSE(open.writer->error());
    EXPECT_FALSE(open.input->isReadyForMoreMediaData());
    EXPECT_FALSE(open.input->append(this->slot(1)));
    EXPECT_FALSE(this->backend.fileExists(this->url("a.mov")));
}

TYPED_TEST_P(AssetWriterConformance, cancellingDoesNothingUnlessWriting) {
    const auto unstarted = this->make("a.mov", AVFileType::quickTimeMovie, this->pictures());
    unstarted.writer->cancelWriting();
    EXPECT_EQ(unstarted.writer->status(), AVAssetWriterStatus::unknown);
    const auto wave = this->begunWave();
    this->finish(*wave.writer);
    wave.writer->cancelWriting();
    EXPECT_EQ(wave.writer->status(), AVAssetWriterStatus::completed);
    EXPECT_TRUE(this->backend.fileExists(this->url("a.wav")));
}

TYPED_TEST_P(AssetWriterConformance, aWaveTakesOneTrackOfPlainSound) {
    const auto writer = this->backend.writers().makeWriter(this->url("a.wav"), AVFileType::wave);
    EXPECT_FALSE(writer->canAdd(*this->input(this->pictures())));
    EXPECT_FALSE(writer->canAdd(*this->input(this->aac())));
    const auto first = this->input(this->pcm(2));
    EXPECT_TRUE(writer->canAdd(*first));
    writer->add(first);
    EXPECT_FALSE(writer->canAdd(*this->input(this->pcm(2))));
}

TYPED_TEST_P(AssetWriterConformance, aMovieTakesPicturesAndSeveralSounds) {
    const auto open = this->make("a.mov", AVFileType::quickTimeMovie, this->pictures());
    for (uint32_t channels : {1u, 2u, 1u}) {
        const auto sound = this->input(this->aac(channels));
        EXPECT_TRUE(open.writer->canAdd(*sound));
        open.writer->add(sound);
    }
    ASSERT_TRUE(open.writer->startWriting());
    EXPECT_FALSE(open.writer->canAdd(*this->input(this->aac())));
}

TYPED_TEST_P(AssetWriterConformance, aSizeThatIsNotEvenCannotBeAdded) {
    const auto writer = this->backend.writers().makeWriter(this->url("a.mov"), AVFileType::quickTimeMovie);
    EXPECT_FALSE(writer->canAdd(*this->input(this->pictures(63, 32))));
    EXPECT_FALSE(writer->canAdd(*this->input(this->pictures(64, 31))));
    EXPECT_FALSE(writer->canAdd(*this->input(this->pictures(0, 32))));
    EXPECT_TRUE(writer->canAdd(*this->input(this->pictures(64, 32))));
}

TYPED_TEST_P(AssetWriterConformance, oneSampleCanGoToSeveralFiles) {
    const auto wave = this->begunWave();
    const auto movie = this->begun("b.mov", AVFileType::quickTimeMovie, this->aac());
    const CMSampleBuffer shared = this->sound(this->start);
    EXPECT_TRUE(wave.input->append(shared));
    EXPECT_TRUE(movie.input->append(shared));
    this->finish(*movie.writer);
    this->finish(*wave.writer);
    EXPECT_EQ(movie.writer->status(), AVAssetWriterStatus::completed);
    EXPECT_EQ(wave.writer->status(), AVAssetWriterStatus::completed);
}

REGISTER_TYPED_TEST_SUITE_P(AssetWriterConformance, aNewWriterIsUnknownAndHasNoFile, anInputKeepsItsSettings,
                            startingMakesTheFile, preparingIsToldOnceAndMakesNoFile,
                            aFileOfTheNameIsNeverTouched, aMissingFolderFailsTheStart,
                            nothingIsTakenBeforeTheSession, picturesMustGoForwardInTime,
                            unusableSamplesAreRefused, samplesBeforeTheSessionAreLeftOutNotRefused,
                            aFinishedInputTakesNothingMore, finishingCompletesOnceAndEndsTheInput,
                            finishingEndsInputsThatWereNotMarked, aFileWithoutSamplesCompletes,
                            cancellingRemovesTheFile, cancellingDoesNothingUnlessWriting,
                            aWaveTakesOneTrackOfPlainSound, aMovieTakesPicturesAndSeveralSounds,
                            aSizeThatIsNotEvenCannotBeAdded, oneSampleCanGoToSeveralFiles);

} // namespace vintra
