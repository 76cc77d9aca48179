#include "Vintra/platform/simulated/SimulatedUserDefaults.h"
#include "Vintra/platform/simulated/SimulatedWorkspace.h"
#include "Vintra/timeline/TimelineEditorSetting.h"

#include <gtest/gtest.h>

namespace vintra {
namespace {

class TimelineEditorTest : public testing::Test {
protected:
    void install(const std::string& bundleIdentifier) {
        workspace->installed[bundleIdentifier] = URL::fileURL("/Applications/" + bundleIdentifier);
    }
    std::shared_ptr<SimulatedUserDefaults> defaults = std::make_shared<SimulatedUserDefaults>();
    std::shared_ptr<SimulatedWorkspace> workspace = std::make_shared<SimulatedWorkspace>();
    TimelineEditorSetting setting{defaults, workspace};
};

TEST_F(TimelineEditorTest, storedValuesAreThoseOfThePicker) {
    std::vector<std::string> values;
    for (const TimelineEditor editor : kAllTimelineEditors) {
        values.push_back(rawValue(editor));
        EXPECT_EQ(timelineEditorWithRawValue(rawValue(editor)), editor);
    }
    EXPECT_EQ(values, (std::vector<std::string>{"finalCut", "resolve", "premiere", "none"}));
    EXPECT_FALSE(timelineEditorWithRawValue("Final Cut"));
    EXPECT_FALSE(timelineEditorWithRawValue("all"));
}

TEST_F(TimelineEditorTest, aStoredEditorIsCurrentWhateverIsInstalled) {
    install("com.apple.FinalCut");
    for (const TimelineEditor editor : kAllTimelineEditors) {
        setting.set(editor);
        EXPECT_EQ(stringForKey(*defaults, "timelineEditor"), rawValue(editor));
        EXPECT_EQ(setting.current(), editor);
    }
    EXPECT_EQ(workspace->questions, 0);
}

TEST_F(TimelineEditorTest, anUnknownStoredValueMeansTheInstalledOne) {
    install("com.blackmagic-design.DaVinciResolve");
    defaults->set("timelineEditor", std::string("avid"));
    EXPECT_EQ(setting.current(), TimelineEditor::resolve);
    defaults->set("timelineEditor", int64_t{1});
    EXPECT_EQ(setting.current(), TimelineEditor::resolve);
}

TEST_F(TimelineEditorTest, finalCutComesBeforeResolveBeforePremiere) {
    install("com.adobe.PremierePro.25");
    EXPECT_EQ(TimelineEditorSetting(defaults, workspace).current(), TimelineEditor::premiere);
    install("com.blackmagic-design.DaVinciResolveLite");
    EXPECT_EQ(TimelineEditorSetting(defaults, workspace).current(), TimelineEditor::resolve);
    install("com.apple.FinalCut");
    EXPECT_EQ(TimelineEditorSetting(defaults, workspace).current(), TimelineEditor::finalCut);
}

TEST_F(TimelineEditorTest, premieresYearsRunFrom22To35) {
    const auto found = [&](int year) {
        workspace->installed.clear();
        install("com.adobe.PremierePro." + std::to_string(year));
        return TimelineEditorSetting(defaults, workspace).current() == TimelineEditor::premiere;
    };
    EXPECT_FALSE(found(21));
    EXPECT_TRUE(found(22));
    EXPECT_TRUE(found(35));
    EXPECT_FALSE(found(36));
}

TEST_F(TimelineEditorTest, withoutAnEditorTheDefaultIsNoneAndIsLookedForOnce) {
    EXPECT_EQ(setting.current(), TimelineEditor::none);
    EXPECT_EQ(workspace->questions, 1 + 2 + 14);
    install("com.apple.FinalCut");
    EXPECT_EQ(setting.current(), TimelineEditor::none);
    EXPECT_EQ(workspace->questions, 1 + 2 + 14);
}

} // namespace
} // namespace vintra
