#include "Vintra/platform/simulated/SimulatedMachine.h"
#include "tests/platform/AssetWriterConformance.h"

#include <cstring>
#include <gtest/gtest.h>

namespace vintra {
namespace {

struct SimulatedAssetWriterBackend {
    SimulatedMachine machine;

    AssetWriters& writers() { return *machine.assetWriters; }
    URL folder() { return URL::fileURL("/tmp"); }
    bool fileExists(const URL& at) { return machine.fileManager->fileExists(at); }
    void makeFile(const URL& at, const std::string& text) { machine.fileManager->put(at.path(), text); }
    std::string contents(const URL& at) { return machine.fileManager->contents(at.path()).value_or(""); }
    bool runUntil(const std::function<bool()>& done) { return machine.runMainUntil(done); }
};

INSTANTIATE_TYPED_TEST_SUITE_P(Simulated, AssetWriterConformance, SimulatedAssetWriterBackend);

class SimulatedAssetWriterTest : public testing::Test {
protected:
    SimulatedMachine machine;
    std::shared_ptr<AVAssetWriter> writer;
    std::shared_ptr<AVAssetWriterInput> input;
    CMTime start = machine.now();

    void script(SimulatedWriterScript script) {
        machine.assetWriters->script = [script](const URL&, AVFileType) { return script; };
    }
    void open(AVFileType type, const AVOutputSettings& settings) {
        writer = machine.assetWriters->makeWriter(URL::fileURL("/tmp/a.wav"), type);
        input = machine.assetWriters->makeInput(settings, true);
        writer->add(input);
    }
    void begin(AVFileType type, const AVOutputSettings& settings) {
        open(type, settings);
        ASSERT_TRUE(writer->startWriting());
        writer->startSession(start);
    }
    void beginMovie() {
        AVVideoSettings settings;
        settings.width = 64;
        settings.height = 32;
        begin(AVFileType::quickTimeMovie, settings);
    }
    CMSampleBuffer picture(int64_t slot) {
        return CMSampleBuffer::makeVideo(CVPixelBuffer::make(kCVPixelFormatType_32BGRA, 64, 32),
                                         {CMTimeMake(1, 30), start + CMTimeMake(slot, 30), kCMTimeInvalid});
    }
    CMSampleBuffer sound(std::vector<float> values, CMTime at) {
        auto data = CMBlockBuffer::make(values.size() * sizeof(float));
        std::memcpy(data->contiguousBytes(), values.data(), data->dataLength());
        const auto format = CMAudioFormatDescriptionCreate(floatPCMDescription(48'000, 1));
        return CMSampleBuffer::makeAudio(data, format, static_cast<int64_t>(values.size()),
                                         {CMTimeMake(1, 48'000), at, kCMTimeInvalid});
    }
    void finish(double limit = 10) {
        bool isDone = false;
        writer->finishWriting([&] { isDone = true; });
        machine.runMainUntil([&] { return isDone; }, limit);
    }
    std::vector<uint8_t> file() {
        const std::string text = machine.fileManager->contents("/tmp/a.wav").value_or("");
        return {text.begin(), text.end()};
    }
};

TEST_F(SimulatedAssetWriterTest, aWaveHoldsItsSamplesAs24BitIntegers) {
    begin(AVFileType::wave, AVAudioSettings{});
    ASSERT_TRUE(input->append(sound({0.5f, -1.0f, 1.0f, 0.0f}, start)));
    finish();
    const std::vector<uint8_t> bytes = file();
    ASSERT_EQ(bytes.size(), 44u + 12u);
    EXPECT_EQ(std::string(bytes.begin(), bytes.begin() + 4), "RIFF");
    EXPECT_EQ(bytes[4], 48);  // 56 bytes less 8
    EXPECT_EQ(bytes[22], 1);  // channels
    EXPECT_EQ(bytes[34], 24); // bits a sample
    EXPECT_EQ(bytes[40], 12); // bytes of sound
    // 0.5 is 0x400000, -1 is 0x800000, 1 is clipped to 0x7FFFFF.
    const std::vector<uint8_t> expected{0, 0, 0x40, 0, 0, 0x80, 0xFF, 0xFF, 0x7F, 0, 0, 0};
    EXPECT_EQ(std::vector<uint8_t>(bytes.begin() + 44, bytes.end()), expected);
    EXPECT_TRUE(machine.violations->list.empty());
}

TEST_F(SimulatedAssetWriterTest, framesBeforeTheSessionAreNotInTheFile) {
    begin(AVFileType::wave, AVAudioSettings{});
    ASSERT_TRUE(input->append(sound({0.1f, 0.2f, 0.5f}, start - CMTimeMake(2, 48'000))));
    finish();
    const std::vector<uint8_t> bytes = file();
    ASSERT_EQ(bytes.size(), 44u + 3u);
    EXPECT_EQ(bytes[46], 0x40);
}

TEST_F(SimulatedAssetWriterTest, aSlowEncoderIsReadyAgainWhenItHasRoom) {
    script({.encodeSecondsPerSample = 0.1, .queueCapacity = 2});
    beginMovie();
    EXPECT_TRUE(input->append(picture(0)));
    EXPECT_TRUE(input->isReadyForMoreMediaData());
    EXPECT_TRUE(input->append(picture(1)));
    EXPECT_FALSE(input->isReadyForMoreMediaData());
    machine.run(0.099);
    EXPECT_FALSE(input->isReadyForMoreMediaData());
    machine.run(0.001);
    EXPECT_TRUE(input->isReadyForMoreMediaData());
    EXPECT_TRUE(machine.violations->list.empty());
}

TEST_F(SimulatedAssetWriterTest, finishingWaitsForTheEncoderAndThenItsOwnTime) {
    script({.finishSeconds = 0.5, .encodeSecondsPerSample = 0.1});
    beginMovie();
    for (int slot = 0; slot < 3; ++slot)
        input->append(picture(slot));
    finish();
    EXPECT_EQ(writer->status(), AVAssetWriterStatus::completed);
    EXPECT_EQ(machine.now() - start, CMTimeMake(8, 10)); // three samples and half a second
}

TEST_F(SimulatedAssetWriterTest, appendingWhenNotReadyIsAViolation) {
    script({.isNeverReady = true});
    beginMovie();
    EXPECT_FALSE(input->append(picture(0)));
    EXPECT_EQ(machine.violations->list, std::vector<std::string>{"a.wav: appended while not ready"});
}

TEST_F(SimulatedAssetWriterTest, aWriterThatFailsMidwayRefusesAndSaysWhy) {
    script({.failsAtSample = 1});
    beginMovie();
    EXPECT_TRUE(input->append(picture(0)));
    EXPECT_FALSE(input->append(picture(1)));
    EXPECT_EQ(writer->status(), AVAssetWriterStatus::failed);
    ASSERT_TRUE(writer->error());
    EXPECT_FALSE(input->isReadyForMoreMediaData());
    finish();
    EXPECT_EQ(writer->status(), AVAssetWriterStatus::failed);
}

TEST_F(SimulatedAssetWriterTest, aFullDiskFailsTheWriter) {
    begin(AVFileType::wave, AVAudioSettings{});
    machine.fileManager->disk->capacityBytes = 44 + 5;
    EXPECT_TRUE(input->append(sound({0.5f, 0.5f}, start)));
    EXPECT_EQ(writer->status(), AVAssetWriterStatus::failed);
    EXPECT_EQ(writer->error()->code(), ENOSPC);
    EXPECT_EQ(file().size(), 44u + 5u);
}

TEST_F(SimulatedAssetWriterTest, scriptedFaultsHappen) {
    script({.cannotBeMade = true});
    EXPECT_THROW(open(AVFileType::wave, AVAudioSettings{}), SystemError);
    script({.startFails = true});
    open(AVFileType::wave, AVAudioSettings{});
    EXPECT_FALSE(writer->startWriting());
    EXPECT_FALSE(machine.fileManager->fileExists(writer->outputURL()));
    script({.finishFails = true});
    beginMovie();
    finish();
    EXPECT_EQ(writer->status(), AVAssetWriterStatus::failed);
    script({.refusesInputs = true});
    const auto refusing = machine.assetWriters->makeWriter(URL::fileURL("/tmp/b.wav"), AVFileType::wave);
    EXPECT_FALSE(refusing->canAdd(*machine.assetWriters->makeInput(AVAudioSettings{}, true)));
}

TEST_F(SimulatedAssetWriterTest, aRefusedSampleIsKeptApartFromTheAcceptedOnes) {
    script({.refuses = [this](const CMSampleBuffer& sample) {
        return sample.presentationTimeStamp() == start + CMTimeMake(1, 30);
    }});
    beginMovie();
    for (int slot = 0; slot < 3; ++slot)
        EXPECT_EQ(input->append(picture(slot)), slot != 1);
    const auto made = machine.assetWriters->writer("a.wav")->input(AVMediaType::video);
    EXPECT_EQ(made->appends.size(), 3u);
    EXPECT_EQ(made->presentationTimes(), (std::vector<CMTime>{start, start + CMTimeMake(2, 30)}));
}

TEST_F(SimulatedAssetWriterTest, slowCallsBlockTheirCallerAndActAtTheirEnd) {
    script({.startSeconds = 0.1, .sessionSeconds = 0.2, .appendSeconds = 0.3});
    const URL url = URL::fileURL("/tmp/a.wav");
    std::vector<bool> seen; // whether the file was there, and whether the input was ready
    machine.time->after(50'000'000, [&] { seen.push_back(machine.fileManager->fileExists(url)); });
    machine.time->after(150'000'000, [&] { seen.push_back(machine.fileManager->fileExists(url)); });
    machine.time->after(250'000'000, [&] { seen.push_back(input->isReadyForMoreMediaData()); });
    machine.time->after(350'000'000, [&] { seen.push_back(input->isReadyForMoreMediaData()); });
    beginMovie();
    EXPECT_EQ(machine.now() - start, CMTimeMake(3, 10));
    EXPECT_EQ(machine.assetWriters->writer("a.wav")->sessionBegunAt(), machine.now());
    EXPECT_EQ(machine.assetWriters->writer("a.wav")->sessionStart(), start);
    EXPECT_TRUE(input->append(picture(0)));
    EXPECT_EQ(machine.now() - start, CMTimeMake(6, 10));
    EXPECT_EQ(seen, (std::vector<bool>{false, true, false, true}));
    EXPECT_TRUE(machine.violations->list.empty());
}

TEST_F(SimulatedAssetWriterTest, anAppendThatIsOvertakenByTheFinishIsAViolation) {
    script({.appendSeconds = 0.1});
    beginMovie();
    machine.time->after(50'000'000, [&] { input->markAsFinished(); });
    EXPECT_FALSE(input->append(picture(0)));
    EXPECT_EQ(machine.violations->list, std::vector<std::string>{"a.wav: appended after the finish"});
}

TEST_F(SimulatedAssetWriterTest, theJournalHasTheCallsInOrder) {
    beginMovie();
    input->append(picture(0));
    input->markAsFinished();
    finish();
    EXPECT_EQ(machine.journal->calls,
              (std::vector<std::string>{"a.wav: startWriting", "a.wav: startSession",
                                        "a.wav: video markAsFinished", "a.wav: finishWriting"}));
}

TEST_F(SimulatedAssetWriterTest, callsOffTheMainThreadAreViolations) {
    beginMovie();
    machine.dispatchQueues->makeSerialQueue("other")->async([&] { writer->cancelWriting(); });
    machine.settle();
    EXPECT_EQ(machine.violations->list, std::vector<std::string>{"a.wav: cancelWriting off the main thread"});
}

} // namespace
} // namespace vintra
