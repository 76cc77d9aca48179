#include "tools/vintra-take/TakeSummary.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace vintra {
namespace {

TakeFile movie() {
    return {.path = "/films/a_video.mov",
            .kind = FileKind::screen,
            .seconds = 10,
            .units = 300,
            .rate = 30,
            .padding = std::nullopt,
            .problem = std::nullopt};
}

TakeFile sound() {
    return {.path = "/films/a_mic.wav",
            .kind = FileKind::sound,
            .seconds = 10.25,
            .units = 492000,
            .rate = 48000,
            .padding = 0.25,
            .problem = std::nullopt};
}

TakeSummary saved() {
    TakeSummary summary;
    summary.status = "Saved";
    summary.folder = "/films";
    summary.files = {movie(), sound()};
    return summary;
}

TEST(TakeSummaryTest, aSavedTakeIsATableAndWhereItLies) {
    EXPECT_EQ(tableOf(saved()), "Saved.\n"
                                "\n"
                                "file         kind      length          frames      rate  leading silence\n"
                                "a_video.mov  screen  10.000 s      300 frames    30 fps                -\n"
                                "a_mic.wav    sound   10.250 s  492000 samples  48000 Hz          0.250 s\n"
                                "\n"
                                "The files are in /films\n");
    EXPECT_EQ(saved().exitCode(), 0);
}

TEST(TakeSummaryTest, whyATakeEndedByItselfIsToldWithItsWarnings) {
    TakeSummary summary = saved();
    summary.status = "Stopped unexpectedly";
    summary.warnings = {"A warning."};
    summary.lastError = "Screen capture stopped unexpectedly (gone). A warning.";
    EXPECT_TRUE(tableOf(summary).starts_with(
        "Stopped unexpectedly.\n  Screen capture stopped unexpectedly (gone). A warning.\n\nfile"))
        << tableOf(summary);
    EXPECT_EQ(summary.exitCode(), 1);
}

TEST(TakeSummaryTest, warningsStandOneToALineAndTheTakeIsSaved) {
    TakeSummary summary = saved();
    summary.status = "Saved with warnings";
    summary.warnings = {"No audio was captured for: Mic.", "A second one."};
    summary.lastError = "No audio was captured for: Mic. A second one.";
    summary.timeline = "/films/a.otio";
    const std::string text = tableOf(summary);
    EXPECT_TRUE(
        text.starts_with("Saved with warnings.\n  No audio was captured for: Mic.\n  A second one.\n\nfile"))
        << text;
    EXPECT_NE(text.find("\nTimeline: /films/a.otio\n"), std::string::npos);
    EXPECT_EQ(summary.exitCode(), 0);
}

TEST(TakeSummaryTest, whatTheScreenMovieShowsIsNamed) {
    TakeSummary summary = saved();
    summary.screen = "Area · 640×360 · 16:9";
    EXPECT_NE(tableOf(summary).find("\nScreen: Area · 640×360 · 16:9\n"), std::string::npos)
        << tableOf(summary);
    EXPECT_EQ(nlohmann::json::parse(jsonOf(summary))["screen"], "Area · 640×360 · 16:9");
}

TEST(TakeSummaryTest, aTakeThatDidNotStartHasItsReasonAndNoTable) {
    TakeSummary summary;
    summary.status = "Failed to start";
    summary.lastError = "No display available to capture.";
    summary.folder = "/films";
    EXPECT_EQ(tableOf(summary), "Failed to start.\n  No display available to capture.\n");
    EXPECT_EQ(summary.exitCode(), 1);
    summary.status = "Save failed";
    EXPECT_EQ(summary.exitCode(), 1);
}

TEST(TakeSummaryTest, aFileThatCannotBeReadIsStillListed) {
    TakeSummary summary = saved();
    summary.files[1].problem = "unreadable";
    EXPECT_NE(tableOf(summary).find("\na_mic.wav    sound   unreadable\n"), std::string::npos)
        << tableOf(summary);
    const auto object = nlohmann::json::parse(jsonOf(summary));
    EXPECT_EQ(object["files"][1]["problem"], "unreadable");
    EXPECT_FALSE(object["files"][1].contains("seconds"));
}

TEST(TakeSummaryTest, theObjectHasEveryMemberAlways) {
    const auto object = nlohmann::json::parse(jsonOf(saved()));
    EXPECT_EQ(object["status"], "Saved");
    EXPECT_TRUE(object["lastError"].is_null());
    EXPECT_EQ(object["folder"], "/films");
    EXPECT_TRUE(object["screen"].is_null());
    EXPECT_TRUE(object["timeline"].is_null());
    EXPECT_TRUE(object["warnings"].is_array());
    ASSERT_EQ(object["files"].size(), 2u);
    const auto& screen = object["files"][0];
    EXPECT_EQ(screen["path"], "/films/a_video.mov");
    EXPECT_EQ(screen["kind"], "screen");
    EXPECT_EQ(screen["frames"], 300);
    EXPECT_EQ(screen["rate"], 30);
    EXPECT_TRUE(screen["padding"].is_null());
    const auto& mic = object["files"][1];
    EXPECT_EQ(mic["samples"], 492000);
    EXPECT_EQ(mic["seconds"], 10.25);
    EXPECT_EQ(mic["padding"], 0.25);
    EXPECT_FALSE(mic.contains("frames"));
}

TEST(TakeSummaryTest, noTextBreaksTheObject) {
    TakeSummary summary = saved();
    summary.lastError = "a \"quoted\"\nline \x01 \xff";
    summary.files[0].path = "/films/\xfe.mov";
    EXPECT_TRUE(nlohmann::json::accept(jsonOf(summary)));
}

TEST(TakeSummaryTest, whatItWarnedOfHasItsTime) {
    TakeSummary summary = saved();
    summary.events = {{.seconds = 4.5, .time = {0}, .text = "A track stopped."}};
    const auto json = nlohmann::json::parse(jsonOf(summary));
    EXPECT_EQ(json["events"],
              nlohmann::json::parse(
                  R"([{"seconds": 4.5, "time": "1970-01-01T00:00:00.000Z", "text": "A track stopped."}])"));
    EXPECT_FALSE(json.contains("report"));
}

TEST(TakeSummaryTest, theReportStandsBehindTheTable) {
    TakeSummary summary = saved();
    summary.report = "Vintra 1.0";
    EXPECT_TRUE(tableOf(summary).ends_with("The files are in /films\n\nVintra 1.0\n"));
    EXPECT_EQ(nlohmann::json::parse(jsonOf(summary))["report"], "Vintra 1.0");
    EXPECT_EQ(nlohmann::json::parse(jsonOfReport("Vintra 1.0")), (nlohmann::json{{"report", "Vintra 1.0"}}));
}

} // namespace
} // namespace vintra
