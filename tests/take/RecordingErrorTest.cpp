#include "Vintra/take/RecordingError.h"

#include <gtest/gtest.h>
#include <utility>

namespace vintra {
namespace {

std::string existing(std::vector<std::string> names) {
    return RecordingError::outputFilesExist(std::move(names)).errorDescription();
}

TEST(RecordingErrorTest, aWriterThatCannotBeSetUpIsNamed) {
    EXPECT_EQ(RecordingError::cannotConfigureWriter("the microphone track file").errorDescription(),
              "Couldn't set up the microphone track file.");
}

TEST(RecordingErrorTest, upToFourExistingFilesAreAllNamed) {
    EXPECT_EQ(existing({"a.mov"}), "Output files already exist: a.mov. Choose a different session name — "
                                   "recording over them would fail silently.");
    EXPECT_EQ(existing({"a", "b", "c", "d"}),
              "Output files already exist: a, b, c, d. Choose a different session name — recording over "
              "them would fail silently.");
}

TEST(RecordingErrorTest, ofSixExistingFilesTwoAreCounted) {
    EXPECT_EQ(existing({"a", "b", "c", "d", "e", "f"}),
              "Output files already exist: a, b, c, d (and 2 more). Choose a different session name — "
              "recording over them would fail silently.");
}

TEST(RecordingErrorTest, aFailedWriterPassesOnTheMachinesText) {
    EXPECT_EQ(RecordingError::writerFailed("the mic track", SystemError("posix", 28, "The disk is full."))
                  .errorDescription(),
              "Could not start writing the mic track: The disk is full.");
    EXPECT_EQ(RecordingError::writerFailed("the mic track", std::nullopt).errorDescription(),
              "Could not start writing the mic track: unknown error");
}

TEST(RecordingErrorTest, theOthersSayWhatToDoNext) {
    EXPECT_EQ(RecordingError::noDisplay().errorDescription(), "No display available to capture.");
    EXPECT_EQ(
        RecordingError::microphoneAccessDenied().errorDescription(),
        "Microphone access was denied. Enable it in System Settings > Privacy & Security > Microphone.");
    EXPECT_EQ(RecordingError::duplicateAudioDevice().errorDescription(),
              "Mic and Virtual Input are set to the same device. "
              "Choose two different devices, or set one to None.");
    EXPECT_EQ(RecordingError::cameraAccessDenied().errorDescription(),
              "Camera access was denied. Enable it in System Settings > Privacy & Security > Camera.");
    EXPECT_EQ(RecordingError::systemAudioUnavailable().errorDescription(),
              "Computer audio couldn't be routed through Vintra's audio driver, so this recording was "
              "stopped rather than saved without it. Check the driver is installed, and that your output "
              "device's sample rate is one Vintra Audio supports (44.1kHz or 48kHz).");
    EXPECT_EQ(RecordingError::windowUnavailable().errorDescription(),
              "The window you chose isn't available any more — it may have been closed. Pick another "
              "window, or switch to Full screen.");
}

TEST(RecordingErrorTest, itIsCaughtAsAnExceptionWithItsCaseAndText) {
    try {
        throw RecordingError::noDisplay();
    } catch (const std::exception& error) {
        const auto* recording = dynamic_cast<const RecordingError*>(&error);
        ASSERT_NE(recording, nullptr);
        EXPECT_TRUE(recording->is<RecordingError::NoDisplay>());
        EXPECT_STREQ(error.what(), "No display available to capture.");
    }
}

} // namespace
} // namespace vintra
