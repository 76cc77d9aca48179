// The window from outside, as a screen reader sees and uses it.

#include "tests/programs/windows/VintraFixture.h"
#include "tests/support/MediaProbe.h"

#include <algorithm>
#include <csignal>
#include <set>
#include <sstream>

namespace vintra {
namespace {

class AccessibilityTest : public VintraFixture {
protected:
    struct Shown {
        std::string role;
        std::string name;
        std::string description;
        std::string states;
        std::string actions;
        std::string value;
        bool is(const std::string& state) const { return states.find(state) != std::string::npos; }
    };

    void SetUp() override {
        ASSERT_TRUE(await([] {
            return runProgram({"gdbus", "wait", "--session", "--timeout", "1", "org.a11y.Bus"}).exitCode == 0;
        }));
        program = start({"QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1"});
        ASSERT_TRUE(awaitProgram());
    }
    void TearDown() override {
        if (!program) return;
        program->signal(SIGTERM);
        EXPECT_EQ(program->wait(), 0);
    }
    static ProgramRun walk(const std::vector<std::string>& arguments) {
        std::vector<std::string> command{VINTRA_CHECKOUT "/tests/programs/windows/walk-accessibility"};
        command.insert(command.end(), arguments.begin(), arguments.end());
        return runProgram(command);
    }
    static std::vector<Shown> tree() {
        const ProgramRun run = walk({"tree"});
        EXPECT_EQ(run.exitCode, 0) << run.errors;
        std::vector<Shown> all;
        std::istringstream lines(run.output);
        for (std::string line; std::getline(lines, line);) {
            std::istringstream fields(line);
            Shown shown;
            for (std::string* const field :
                 {&shown.role, &shown.name, &shown.description, &shown.states, &shown.actions, &shown.value})
                std::getline(fields, *field, '|');
            if (shown.is("showing")) all.push_back(shown);
        }
        return all;
    }

    /// Until a window shows something of that name.
    static bool awaitShown(const std::string& name) {
        return await([&] {
            const std::vector<Shown> all = tree();
            return std::any_of(all.begin(), all.end(),
                               [&](const Shown& shown) { return shown.name == name; });
        });
    }
    static void choose(const std::string& command) {
        EXPECT_EQ(walk({"press", "Vintra"}).exitCode, 0);
        EXPECT_EQ(walk({"press", command}).exitCode, 0) << command;
    }

    ChildProcess service{{"/usr/libexec/at-spi-bus-launcher", "--launch-immediately"}};
    std::unique_ptr<ChildProcess> program;
};

TEST_F(AccessibilityTest, whateverTakesTheFocusHasANameAndARole) {
    const std::vector<Shown> all = tree();
    const std::set<std::string> roles{
        "push button", "check box", "radio button", "combo box", "text",      "spin button",     "slider",
        "link",        "label",     "heading",      "static",    "list item", "push button menu"};
    size_t controls = 0;
    for (const Shown& shown : all) {
        if (!shown.is("focusable")) continue;
        EXPECT_TRUE(roles.contains(shown.role)) << shown.role << ": " << shown.name;
        // Text that is empty at the moment is no control.
        if (shown.role == "label") continue;
        ++controls;
        EXPECT_NE(shown.name, "") << "a " << shown.role;
    }
    EXPECT_GE(controls, 10u);
    const auto isThere = [&all](const std::string& role, const std::string& name) {
        return std::any_of(all.begin(), all.end(),
                           [&](const Shown& one) { return one.role == role && one.name == name; });
    };
    for (const char* const row : {"Microphone", "Screen", "Webcam", "Computer audio"})
        EXPECT_TRUE(isThere("check box", row)) << row;
    EXPECT_TRUE(isThere("push button", "Start Recording"));
    EXPECT_TRUE(isThere("push button", "Vintra"));
    EXPECT_TRUE(isThere("text", "Session name"));
    EXPECT_TRUE(isThere("combo box", "Display"));
    const auto gain =
        std::find_if(all.begin(), all.end(), [](const Shown& one) { return one.name == "Microphone, gain"; });
    ASSERT_NE(gain, all.end());
    EXPECT_EQ(gain->role, "spin button");
    EXPECT_EQ(gain->value, "0");
}

TEST_F(AccessibilityTest, theProgramTellsOfItselfItsUpdatesAndItsRemoval) {
    choose("About Vintra");
    const std::string version = give("--version").output; // "Vintra 1.2.3 (build 45)"
    EXPECT_TRUE(await([&version] {
        const std::vector<Shown> all = tree();
        return std::any_of(all.begin(), all.end(), [&version](const Shown& shown) {
            return shown.name.starts_with("Version ") &&
                   version.starts_with("Vintra " + shown.name.substr(8, shown.name.find(' ', 8) - 8) + " ");
        });
    }));
    choose("Check for Updates…");
    EXPECT_TRUE(awaitShown("Updates aren't set up in this copy of Vintra."));
    EXPECT_EQ(walk({"press", "OK"}).exitCode, 0);
    choose("Remove Vintra…");
    EXPECT_TRUE(awaitShown("Remove Vintra from this computer?"));
    EXPECT_EQ(walk({"press", "Cancel"}).exitCode, 0);
    EXPECT_EQ(give("--marker").exitCode, 1) << "it goes on";
}

TEST_F(AccessibilityTest, ATakeIsStartedAndStoppedFromOutside) {
    EXPECT_EQ(walk({"press", "Start Recording"}).exitCode, 0);
    EXPECT_TRUE(await([] { return give("--marker").exitCode == 0; }));
    EXPECT_EQ(walk({"press", "Stop Recording"}).exitCode, 0);
    ASSERT_TRUE(await([this] { return movies().size() == 1 && journals().empty(); }));
    EXPECT_EQ(walk({"press", "Copy diagnostics"}).exitCode, 0);
}

} // namespace
} // namespace vintra
