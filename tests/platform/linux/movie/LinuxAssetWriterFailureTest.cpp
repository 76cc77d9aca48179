#include "tests/platform/linux/movie/WriterFixture.h"
#include "tests/support/MediaProbe.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vintra {
namespace {

/// Slow encoders, full disks, folders that can't be written, programs that are killed.
class LinuxAssetWriterFailureTest : public WriterFixture {
protected:
    LinuxAssetWriters slow{{.encoderDelayMicroseconds = 20'000}};
    LinuxAssetWriters stuck{{.encoderDelayMicroseconds = 3'600'000'000}};

    CMSampleBuffer slot(int64_t n) const {
        return picture(solid(64, 48, static_cast<uint8_t>(n), 0, 0), start + CMTimeMake(n, 30), 30);
    }
    CMSampleBuffer tenMilliseconds(int64_t n) const {
        return sound(std::vector<float>(480, 0.1f), 1, start + CMTimeMake(n, 100));
    }

    /// Runs a body in a child process and gives its exit status, or the negative number of its signal.
    template <typename Body>
    static int inChild(Body body) {
        const pid_t child = ::fork();
        if (child == 0) {
            body();
            ::_exit(0);
        }
        int status = 0;
        ::waitpid(child, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }
};

TEST_F(LinuxAssetWriterFailureTest, aStuckEncoderBlocksNoAppendAndBoundsWhatWaits) {
    const auto open =
        begin(stuck, folder.file("a.mov"), AVFileType::quickTimeMovie, {pictures(1920, 1080), aac(1)});
    int taken = 0;
    while (open.inputs[0]->isReadyForMoreMediaData() && taken < 1000)
        ASSERT_TRUE(open.inputs[0]->append(slot(taken++)));
    EXPECT_GE(taken, 2);
    EXPECT_LE(taken, 18);
    EXPECT_FALSE(open.inputs[0]->append(slot(taken)));
    // The sound has a bound of its own, of one to two seconds and a bit.
    int buffers = 0;
    while (open.inputs[1]->isReadyForMoreMediaData() && buffers < 1000)
        ASSERT_TRUE(open.inputs[1]->append(tenMilliseconds(buffers++)));
    EXPECT_GE(buffers, 100);
    EXPECT_LE(buffers, 220);
    EXPECT_FALSE(open.inputs[1]->append(tenMilliseconds(buffers)));
    EXPECT_EQ(open.writer->status(), AVAssetWriterStatus::writing);
    open.writer->cancelWriting(); // and neither this nor the end of the test waits for it
    EXPECT_EQ(open.writer->status(), AVAssetWriterStatus::cancelled);
}

TEST_F(LinuxAssetWriterFailureTest, readinessFallsWhileTheEncoderIsBehindAndComesBack) {
    const auto open = begin(slow, folder.file("a.mov"), AVFileType::quickTimeMovie, {pictures(64, 48)});
    int64_t n = 0;
    for (int round = 0; round < 3; ++round) {
        bool isTaken = true; // also between the two, where the encoder has finished one meanwhile
        for (int tries = 0; isTaken && tries < 1000; ++tries) {
            while (open.inputs[0]->isReadyForMoreMediaData())
                ASSERT_TRUE(open.inputs[0]->append(slot(n++)));
            isTaken = open.inputs[0]->append(slot(n));
            n += isTaken ? 1 : 0;
        }
        EXPECT_FALSE(isTaken);
        ASSERT_TRUE(appendWhenReady(*open.inputs[0], *open.writer, slot(n++)));
    }
    ASSERT_EQ(finish(*open.writer), AVAssetWriterStatus::completed);
    // All that was taken is there: finishing waits for a slow encoder.
    EXPECT_EQ(MediaProbe(folder.file("a.mov")).track(0).packets.size(), static_cast<size_t>(n));
}

TEST_F(LinuxAssetWriterFailureTest, aWriterMayBeDroppedWhileWriting) {
    auto open = begin(stuck, folder.file("a.mov"), AVFileType::quickTimeMovie, {pictures(64, 48)});
    auto image = solid(64, 48, 1, 2, 3);
    const std::weak_ptr<CVPixelBuffer> watched = image;
    EXPECT_TRUE(open.inputs[0]->append(picture(std::move(image), start, 30)));
    open.writer.reset();
    EXPECT_FALSE(open.inputs[0]->isReadyForMoreMediaData());
    EXPECT_FALSE(open.inputs[0]->append(slot(1)));
    EXPECT_TRUE(watched.expired());
}

TEST_F(LinuxAssetWriterFailureTest, aCompletionMayHoldTheLastReferenceToItsWriter) {
    auto open = beginMovie("a.mov", {pictures(64, 48)});
    EXPECT_TRUE(open.inputs[0]->append(slot(0)));
    std::promise<AVAssetWriterStatus> done;
    auto held = std::make_shared<std::shared_ptr<AVAssetWriter>>(open.writer);
    open.writer->finishWriting([held, &done] {
        const AVAssetWriterStatus status = (*held)->status();
        held->reset();
        done.set_value(status);
    });
    open.writer.reset();
    EXPECT_EQ(done.get_future().get(), AVAssetWriterStatus::completed);
}

TEST_F(LinuxAssetWriterFailureTest, aFolderThatCannotBeWrittenIsNamed) {
    const URL sealed = folder.file("sealed");
    std::filesystem::create_directory(sealed.path());
    // Root may write anywhere: the child gives up its rights, and must still be able to get here.
    const auto readable = static_cast<std::filesystem::perms>(0555);
    std::filesystem::permissions(folder.url().path(), readable);
    std::filesystem::permissions(sealed.path(), readable);
    const int result = inChild([&] {
        if (::geteuid() == 0 && ::setuid(65534) != 0) ::_exit(9);
        const auto writer = makers.makeWriter(sealed.appendingPathComponent("a.wav"), AVFileType::wave);
        writer->add(makers.makeInput(pcm(1), true));
        if (writer->startWriting() || writer->status() != AVAssetWriterStatus::failed) ::_exit(1);
        if (!writer->error() || writer->error()->code() != EACCES) ::_exit(2);
        if (writer->error()->localizedDescription().find("sealed") == std::string::npos) ::_exit(3);
    });
    std::filesystem::permissions(sealed.path(), std::filesystem::perms::owner_all);
    std::filesystem::permissions(folder.url().path(), std::filesystem::perms::owner_all);
    if (result == 9) GTEST_SKIP() << "the test can't give up its rights";
    EXPECT_EQ(result, 0);
}

TEST_F(LinuxAssetWriterFailureTest, aStartThatFailsAfterItsFileWasMadeLeavesNone) {
    const int result = inChild([&] {
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit none{0, 0};
        if (::setrlimit(RLIMIT_FSIZE, &none) != 0) ::_exit(9);
        for (const auto& [name, type] :
             {std::pair{"a.mov", AVFileType::quickTimeMovie}, {"a.wav", AVFileType::wave}}) {
            const auto writer = makers.makeWriter(folder.file(name), type);
            writer->add(type == AVFileType::wave ? makers.makeInput(pcm(1), true)
                                                 : makers.makeInput(pictures(64, 48), true));
            if (writer->startWriting()) ::_exit(type == AVFileType::wave ? 1 : 2);
        }
    });
    EXPECT_EQ(result, 0);
    EXPECT_FALSE(std::filesystem::exists(folder.file("a.mov").path()));
    EXPECT_FALSE(std::filesystem::exists(folder.file("a.wav").path()));
}

/// In a child, with files limited to a size: what a disk that becomes full does.
class FullDiskTest : public LinuxAssetWriterFailureTest {
protected:
    static constexpr rlim_t kLimit = 300'000; // bytes

    template <typename Append>
    void fill(AVAssetWriter& writer, Append append) {
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{kLimit, kLimit};
        if (::setrlimit(RLIMIT_FSIZE, &limit) != 0) ::_exit(9);
        for (int64_t n = 0; n < 100'000 && writer.status() == AVAssetWriterStatus::writing; ++n)
            append(n);
        if (writer.status() != AVAssetWriterStatus::failed) ::_exit(1);
        if (!writer.error() || writer.error()->localizedDescription().empty()) ::_exit(2);
        if (finish(writer) != AVAssetWriterStatus::failed) ::_exit(3);
    }
};

TEST_F(FullDiskTest, aWaveFailsWithASentenceAndKeepsItsSound) {
    const int result = inChild([&] {
        const auto open = beginWave("a.wav", 1);
        fill(*open.writer,
             [&](int64_t n) { appendWhenReady(*open.inputs[0], *open.writer, tenMilliseconds(n)); });
        if (open.inputs[0]->append(tenMilliseconds(200'000))) ::_exit(4);
        if (open.inputs[0]->isReadyForMoreMediaData()) ::_exit(5);
    });
    ASSERT_EQ(result, 0);
    const MediaProbe probe(folder.file("a.wav"));
    // 300,000 bytes are two whole seconds of 144,000.
    EXPECT_NEAR(probe.duration(), 2, 0.01);
}

TEST_F(FullDiskTest, aMovieFailsWithASentenceAndPlaysUpToThere) {
    const int result = inChild([&] {
        const auto open = beginMovie("a.mov", {pictures(64, 48), aac(1)});
        fill(*open.writer, [&](int64_t n) {
            appendWhenReady(*open.inputs[0], *open.writer, slot(n));
            for (int64_t i = 0; i < 10; ++i)
                if (10 * n + i < 1000 * n / 30)
                    appendWhenReady(*open.inputs[1], *open.writer, tenMilliseconds(10 * n + i));
        });
        if (open.inputs[0]->append(slot(200'000))) ::_exit(4);
    });
    ASSERT_EQ(result, 0);
    const MediaProbe probe(folder.file("a.mov"));
    EXPECT_GT(probe.track(0).packets.size(), 30u);
    EXPECT_EQ(probe.track(0).packets[0].time, kCMTimeZero);
    EXPECT_EQ(MediaProbe::meanColour(folder.file("a.mov"), 20, {0, 0, 64, 48})[1] < 5, true);
}

/// The program dies without a word, ten seconds into a take.
class KilledProgramTest : public LinuxAssetWriterFailureTest {
protected:
    static constexpr int kSlots = 300;

    void recordAndDie() {
        const int result = inChild([&] {
            const auto movie = beginMovie("a.mov", {pictures(64, 48), aac(1)});
            const auto wave = beginWave("a.wav", 1);
            for (int64_t n = 0; n < kSlots; ++n) {
                appendWhenReady(*movie.inputs[0], *movie.writer,
                                picture(solid(64, 48, 200, 100, 50),
                                        start + CMTimeMake(7, 600) + CMTimeMake(n + 15, 30), 30));
                const CMSampleBuffer buffer =
                    sound(std::vector<float>(1600, 0.1f), 1, start + CMTimeMake(n, 30));
                appendWhenReady(*movie.inputs[1], *movie.writer, buffer);
                appendWhenReady(*wave.inputs[0], *wave.writer, buffer);
            }
            // Until what was appended early on has reached the disk.
            while (std::filesystem::file_size(folder.file("a.wav").path()) < 9 * 144'000 ||
                   MediaProbe(folder.file("a.mov")).track(0).packets.size() < 240)
                std::this_thread::sleep_for(std::chrono::milliseconds(2));
            ::raise(SIGKILL);
        });
        ASSERT_EQ(result, -SIGKILL);
    }
};

TEST_F(KilledProgramTest, itsFilesPlayUpToTheLastSeconds) {
    recordAndDie();
    EXPECT_GE(MediaProbe(folder.file("a.wav")).duration(), 9);
    const MediaProbe probe(folder.file("a.mov"));
    const auto& packets = probe.track(0).packets;
    ASSERT_GE(packets.size(), 240u);
    for (size_t i = 0; i < packets.size(); ++i)
        EXPECT_EQ(packets[i].time, CMTimeMake(7, 600) + CMTimeMake(static_cast<int64_t>(i) + 15, 30));
    const auto colour = MediaProbe::meanColour(folder.file("a.mov"), 200, {0, 0, 64, 48});
    EXPECT_NEAR(colour[0], 200, 3);
    EXPECT_NEAR(colour[1], 100, 3);
    EXPECT_NEAR(colour[2], 50, 3);
    const auto sound = MediaProbe::sound(folder.file("a.mov"), 0);
    EXPECT_NEAR(sound.start, 0, 0.03);
    EXPECT_GE(sound.values.size(), 8u * 48'000);
}

} // namespace
} // namespace vintra
