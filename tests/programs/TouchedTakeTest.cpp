// What the user, the shell and the disk may do to a take, or to the program that records it.

#include "tests/support/ChildProcess.h"
#include "tests/support/ProgramRun.h"
#include "tests/support/TemporaryFolder.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <thread>

namespace vintra {
namespace {

namespace fs = std::filesystem;

class TouchedTakeTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (!std::getenv("DISPLAY")) GTEST_SKIP() << "there is no X server";
    }

    std::string films() const { return folder.file("films").path(); }
    std::vector<std::string> command(const std::vector<std::string>& options) const {
        std::vector<std::string> command{VINTRA_BIN_DIR "/vintra-take",
                                         "--folder",
                                         films(),
                                         "--json",
                                         "--fps",
                                         "30",
                                         "--timeline",
                                         "resolve"};
        command.insert(command.end(), options.begin(), options.end());
        return command;
    }
    /// The file is there, and has been for as long as a quick user takes.
    void awaitFile(const std::string& name) const {
        while (!fs::exists(films() + "/" + name))
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
    }
    struct End {
        int code = 0;
        nlohmann::json json;
    };
    static End endOf(ChildProcess& take) {
        const auto json = nlohmann::json::parse(take.restOfOutput(), nullptr, false);
        return {take.wait(), json};
    }

    TemporaryFolder folder;
};

TEST_F(TouchedTakeTest, aFileThatWasDeletedIsAFailedTake) {
    ChildProcess take(command({"--name", "a", "--seconds", "1.5"}));
    awaitFile("a_video.mov");
    fs::remove(films() + "/a_video.mov");
    const End end = endOf(take);
    EXPECT_EQ(end.code, 1);
    EXPECT_EQ(end.json["status"], "Save failed") << end.json;
    EXPECT_EQ(end.json["lastError"],
              "Some tracks failed to save: screen recording (the file was deleted while it was "
              "recorded, or moved to another disk)");
    ASSERT_EQ(end.json["files"].size(), 1u);
    EXPECT_EQ(end.json["files"][0]["problem"],
              "the file was deleted while it was recorded, or moved to another disk");
    EXPECT_TRUE(fs::is_empty(films())) << "no timeline and no journal";
}

TEST_F(TouchedTakeTest, aFolderThatWasRenamedIsFollowed) {
    ChildProcess take(command({"--name", "a", "--seconds", "1.5"}));
    awaitFile("a_video.mov");
    const std::string renamed = folder.file("renamed").path();
    fs::rename(films(), renamed);
    const End end = endOf(take);
    EXPECT_EQ(end.code, 0);
    EXPECT_EQ(end.json["status"], "Saved with warnings") << end.json;
    EXPECT_EQ(end.json["lastError"],
              "The files of this take were moved during the recording: look in “" + renamed + "”.");
    EXPECT_EQ(end.json["folder"], renamed);
    EXPECT_EQ(end.json["files"][0]["path"], renamed + "/a_video.mov");
    EXPECT_EQ(end.json["timeline"], renamed + "/a.otio");
    EXPECT_FALSE(fs::exists(films())) << "nothing is made anew where it was";
    EXPECT_FALSE(fs::exists(renamed + "/.a.vintra"));
}

TEST_F(TouchedTakeTest, takesWithoutANameMayBeginInOneSecond) {
    ChildProcess first(command({"--seconds", "0.5"}));
    ChildProcess second(command({"--seconds", "0.5"}));
    ChildProcess third(command({"--seconds", "0.5"}));
    for (ChildProcess* const take : {&first, &second, &third}) {
        const End end = endOf(*take);
        EXPECT_EQ(end.code, 0) << end.json;
    }
    int movies = 0;
    for (const auto& entry : fs::directory_iterator(films()))
        movies += entry.path().extension() == ".mov";
    EXPECT_EQ(movies, 3);
}

TEST_F(TouchedTakeTest, aHangUpEndsATakeUnlessItWasStartedToOutliveIt) {
    for (const bool outlives : {true, false}) {
        auto all = command({"--name", outlives ? "outlives" : "ends", "--seconds", "2"});
        if (outlives) all.insert(all.begin(), "nohup");
        ChildProcess take(all);
        awaitFile(outlives ? "outlives_video.mov" : "ends_video.mov");
        take.signal(SIGHUP);
        const End end = endOf(take);
        EXPECT_EQ(end.code, 0) << end.json;
        const double seconds = end.json["files"][0]["seconds"];
        EXPECT_EQ(seconds > 1.5, outlives) << seconds;
    }
}

TEST_F(TouchedTakeTest, whatCantBeToldIsNoSuccess) {
    const auto intoAFullDevice = [](const std::string& words) {
        return runProgram({"sh", "-c", "exec " + words + " >/dev/full"});
    };
    const std::string take = VINTRA_BIN_DIR "/vintra-take ";
    const ProgramRun help = intoAFullDevice(take + "--help");
    EXPECT_EQ(help.exitCode, 1);
    EXPECT_EQ(help.errors,
              "vintra-take: The help couldn't be written to the output (No space left on device).\n");
    EXPECT_EQ(intoAFullDevice(take + "--list").exitCode, 1);
    const ProgramRun saved =
        intoAFullDevice(take + "--folder " + films() + " --name told --seconds 0.3 --timeline none");
    EXPECT_EQ(saved.exitCode, 1);
    EXPECT_NE(saved.errors.find("What became of the take (Saved) couldn't be written to the output"),
              std::string::npos)
        << saved.errors;
    EXPECT_TRUE(fs::exists(films() + "/told_video.mov"));
    const ProgramRun timeline = intoAFullDevice(std::string(VINTRA_BIN_DIR "/vintra-timeline --help"));
    EXPECT_EQ(timeline.exitCode, 1);
    EXPECT_NE(timeline.errors.find("The output can't be written (No space left on device)."),
              std::string::npos)
        << timeline.errors;
}

TEST_F(TouchedTakeTest, aNameWithControlCharactersReachesNeitherTheFilesNorTheTerminal) {
    const ProgramRun run = runProgram({VINTRA_BIN_DIR "/vintra-take", "--folder", films(), "--name",
                                       "a\x1b[31mb\u202Ec", "--seconds", "0.3", "--timeline", "none"});
    EXPECT_EQ(run.exitCode, 0) << run.errors;
    EXPECT_TRUE(fs::exists(films() + "/a-[31mb-c_video.mov"));
    for (const std::string& text : {run.output, run.errors}) {
        EXPECT_EQ(text.find('\x1b'), std::string::npos) << text;
        EXPECT_EQ(text.find("\u202E"), std::string::npos) << text;
    }
}

TEST_F(TouchedTakeTest, whatKeepsATakeFromBeginningIsToldInASentence) {
    const auto refusal = [](std::vector<std::string> words, const std::string& into) {
        words.insert(words.end(),
                     {VINTRA_BIN_DIR "/vintra-take", "--folder", into, "--seconds", "0.3", "--json"});
        ChildProcess take(words);
        const End end = endOf(take);
        EXPECT_EQ(end.code, 1) << into;
        return end.json.is_object() ? end.json.value("lastError", "") : std::string();
    };
    EXPECT_EQ(
        refusal({}, "/dev/null/x"),
        "The folder “/dev/null/x” can't be created: a part of the path is a file, not a folder. Check the path.");
#ifdef VINTRA_SANITIZED
    GTEST_SKIP() << "a sanitizer needs descriptors and files of its own";
#endif
    const std::string full = refusal({"prlimit", "--fsize=10"}, films());
    EXPECT_NE(full.find("larger than its disk allows"), std::string::npos) << full;
    // With a few more each time, another step of the start is the one that there are too few for.
    bool isToldAsThat = false;
    for (int descriptors = 24; descriptors <= 48 && !isToldAsThat; descriptors += 2) {
        const std::string exhausted =
            refusal({"prlimit", "--nofile=" + std::to_string(descriptors)}, films());
        EXPECT_FALSE(exhausted.empty()) << descriptors;
        isToldAsThat = exhausted.find("oo many files") != std::string::npos;
    }
    EXPECT_TRUE(isToldAsThat);
}

} // namespace
} // namespace vintra
