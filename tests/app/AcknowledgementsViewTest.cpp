#include "Vintra/app/AcknowledgementsView.h"

#include "Vintra/app/AboutPanel.h"
#include "Vintra/platform/simulated/SimulatedMachine.h"

#include <gtest/gtest.h>

namespace vintra {
namespace {

class AcknowledgementsViewTest : public ::testing::Test {
protected:
    using Runs = std::vector<AcknowledgementsView::Run>;

    Runs runsOf(const std::string& text) {
        machine.fileManager->put("/share/Acknowledgements.txt", text);
        return view();
    }
    Runs view() {
        return AcknowledgementsView(*machine.fileManager, URL::fileURL("/share/Acknowledgements.txt")).runs();
    }

    SimulatedMachine machine;
};

TEST_F(AcknowledgementsViewTest, aMarkedLineIsAHeading) {
    EXPECT_EQ(
        runsOf("# A component\nThe licence.\n\n#no heading\n # nor this\n# \n"),
        (Runs{{"A component", true}, {"The licence."}, {""}, {"#no heading"}, {" # nor this"}, {"", true}}));
    EXPECT_EQ(runsOf("without an end"), (Runs{{"without an end"}}));
    EXPECT_EQ(runsOf(""), (Runs{{""}}));
}

TEST_F(AcknowledgementsViewTest, aMissingOrUnreadableTextIsSaid) {
    const Runs missing{{"The acknowledgements are missing from this copy of Vintra."}};
    EXPECT_EQ(view(), missing);
    EXPECT_EQ(runsOf("no \xFF text"), missing);
}

TEST_F(AcknowledgementsViewTest, theAboutPanelSaysWhatTheProgramIncludes) {
    Platform platform = machine.platform();
    platform.facts.appVersion = "1.2.3";
    platform.facts.buildVersion = "45";
    EXPECT_EQ(
        AboutPanel::content(platform),
        (AboutPanel::Content{.name = "Vintra",
                             .version = "Version 1.2.3 (45)",
                             .credits = "Vintra includes Sparkle and code from Apple, each used under its "
                                        "license. The full text is in Vintra → Acknowledgements."}));
}

} // namespace
} // namespace vintra
