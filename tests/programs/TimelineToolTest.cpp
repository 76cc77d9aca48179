#include "tests/support/ProgramRun.h"
#include "tests/support/TemporaryFolder.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <unistd.h>

namespace vintra {
namespace {

class TimelineToolTest : public testing::Test {
protected:
    static ProgramRun run(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), VINTRA_BIN_DIR "/vintra-timeline");
        return runProgram(arguments);
    }
    void addSound(const std::string& name) const {
        const ProgramRun made =
            runProgram({"ffmpeg", "-v", "error", "-y", "-f", "lavfi", "-i", "sine=d=1:r=48000", "-c:a",
                        "pcm_s24le", folder.file(name).path()});
        ASSERT_EQ(made.exitCode, 0) << made.errors;
    }
    bool exists(const std::string& name) const { return std::filesystem::exists(folder.file(name).path()); }
    static bool contains(const std::string& text, const std::string& part) {
        return text.find(part) != std::string::npos;
    }

    TemporaryFolder folder;
};

TEST_F(TimelineToolTest, theOnlyTakeOfAFolderGetsAllDocuments) {
    addSound("talk_mic.wav");
    const ProgramRun done = run({folder.url().path(), "--markers", "0.5,0.75"});
    EXPECT_EQ(done.exitCode, 0) << done.errors;
    EXPECT_EQ(done.output, folder.file("talk.fcpxml").path() + "\n" + folder.file("talk.otio").path() + "\n" +
                               folder.file("talk.xml").path() + "\n");
    EXPECT_TRUE(contains(folder.read("talk.fcpxml"), "<marker start=\"1/2s\""));
    EXPECT_TRUE(contains(folder.read("talk.otio"), folder.file("talk_mic.wav").path()));
    EXPECT_EQ(done.errors, "");
}

TEST_F(TimelineToolTest, aTakeThatWasMovedGetsItsNewPaths) {
    std::filesystem::create_directory(folder.file("before").path());
    addSound("before/talk_mic.wav");
    run({folder.file("before").path(), "--editor", "resolve"});
    std::filesystem::rename(folder.file("before").path(), folder.file("after").path());
    EXPECT_EQ(run({folder.file("after").path(), "--editor", "resolve"}).exitCode, 0);
    EXPECT_TRUE(contains(folder.read("after/talk.otio"), "/after/talk_mic.wav"));
    EXPECT_FALSE(contains(folder.read("after/talk.otio"), "/before/"));
}

TEST_F(TimelineToolTest, severalTakesAreListed) {
    addSound("a_mic.wav");
    addSound("b_mic.wav");
    const ProgramRun listed = run({folder.url().path()});
    EXPECT_EQ(listed.exitCode, 2);
    EXPECT_EQ(listed.output, "a\nb\n");
    EXPECT_TRUE(contains(listed.errors, "holds 2 takes"));
    EXPECT_FALSE(exists("a.otio"));
    EXPECT_EQ(run({folder.url().path(), "--take", "b", "--editor", "premiere"}).exitCode, 0);
    EXPECT_TRUE(exists("b.xml"));
    EXPECT_FALSE(exists("b.otio"));
    EXPECT_FALSE(exists("a.xml"));
}

TEST_F(TimelineToolTest, documentsCanGoElsewhere) {
    addSound("talk_mic.wav");
    EXPECT_EQ(run({folder.url().path(), "--output", folder.file("new/place").path()}).exitCode, 0);
    EXPECT_TRUE(exists("new/place/talk.fcpxml"));
    EXPECT_FALSE(exists("talk.fcpxml"));
    EXPECT_TRUE(contains(folder.read("new/place/talk.fcpxml"), folder.file("talk_mic.wav").path()));
}

TEST_F(TimelineToolTest, aFileThatCannotBeReadIsNamedAndLeftOut) {
    addSound("talk_mic.wav");
    folder.write("talk_video.mov", "no movie");
    const ProgramRun done = run({folder.url().path(), "--editor", "finalCut"});
    EXPECT_EQ(done.exitCode, 0);
    EXPECT_TRUE(contains(done.errors, "“talk_video.mov” can't be read"));
    EXPECT_FALSE(contains(folder.read("talk.fcpxml"), "talk_video"));
    EXPECT_TRUE(contains(folder.read("talk.fcpxml"), "<gap "));
}

TEST_F(TimelineToolTest, aTakeOfWhichNothingCanBeReadFails) {
    folder.write("talk_video.mov", "no movie");
    const ProgramRun done = run({folder.url().path()});
    EXPECT_EQ(done.exitCode, 1);
    EXPECT_TRUE(contains(done.errors, "No file of the take “talk” can be read."));
    EXPECT_FALSE(exists("talk.fcpxml"));
}

TEST_F(TimelineToolTest, badInputIsASentenceAndAnExitCode) {
    addSound("talk_mic.wav");
    const std::string here = folder.url().path();
    std::filesystem::create_directory(folder.file("empty").path());
    const struct {
        std::vector<std::string> arguments;
        int exitCode;
        std::string says;
    } cases[] = {
        {{}, 2, "No folder was given."},
        {{folder.file("missing").path()}, 1, folder.file("missing").path()},
        {{folder.file("talk_mic.wav").path()}, 1, "talk_mic.wav"},
        {{folder.file("empty").path()}, 1, "holds no take."},
        {{here, "--take", "other"}, 1, "holds no take “other”."},
        {{here, "--editor", "avid"}, 2, "There is no editor “avid”."},
        {{here, "--editor", "none"}, 2, "There is no editor “none”."},
        {{here, "--editor"}, 2, "The option --editor needs a value."},
        {{here, "--markers", "1,two"}, 2, "“two” is no time for a marker."},
        {{here, "--markers", "1,,2"}, 2, "“” is no time for a marker."},
        {{here, "--markers", "inf"}, 2, "“inf” is no time for a marker."},
        {{here, "--markers", "-1"},
         2,
         "“-1” is no time for a marker. Give seconds from the start of the take, 0 to "},
        {{here, "--markers", "1,1e300"}, 2, "“1e300” is no time for a marker."},
        {{here, "--burn-in"}, 2, "There is no option --burn-in."},
        {{here, here}, 2, "More than one folder was given"},
        {{""}, 2, "name is empty"},
    };
    for (const auto& each : cases) {
        const ProgramRun done = run(each.arguments);
        EXPECT_EQ(done.exitCode, each.exitCode) << each.says;
        EXPECT_TRUE(contains(done.errors, each.says)) << done.errors;
        EXPECT_EQ(done.output, "");
    }
    EXPECT_FALSE(exists("talk.fcpxml"));
}

TEST_F(TimelineToolTest, aFolderThatCannotBeWrittenFails) {
    if (geteuid() == 0) {
        // The superuser may write anywhere but where there is a file instead of a folder.
        addSound("talk_mic.wav");
        folder.write("file", "");
        const ProgramRun done = run({folder.url().path(), "--output", folder.file("file/below").path()});
        EXPECT_EQ(done.exitCode, 1);
        EXPECT_TRUE(contains(done.errors, "can't be created")) << done.errors;
        return;
    }
    addSound("talk_mic.wav");
    std::filesystem::permissions(folder.url().path(),
                                 std::filesystem::perms::owner_read | std::filesystem::perms::owner_exec);
    const ProgramRun done = run({folder.url().path()});
    std::filesystem::permissions(folder.url().path(), std::filesystem::perms::owner_all);
    EXPECT_EQ(done.exitCode, 1);
    EXPECT_NE(done.errors, "");
}

TEST_F(TimelineToolTest, helpGoesToStandardOutput) {
    const ProgramRun done = run({"--help"});
    EXPECT_EQ(done.exitCode, 0);
    EXPECT_TRUE(contains(done.output, "usage: vintra-timeline FOLDER"));
    EXPECT_EQ(done.errors, "");
}

} // namespace
} // namespace vintra
