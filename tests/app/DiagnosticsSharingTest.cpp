#include "tests/app/AppFixture.h"

namespace vintra {
namespace {

class DiagnosticsSharingTest : public AppFixture {
protected:
    StatusStrip::State strip() {
        machine.settle();
        return *view->statusStrip.state;
    }
    std::string bugButton() {
        machine.settle();
        return *view->bugButtonTitle;
    }
};

TEST_F(DiagnosticsSharingTest, theStripSaysHowTheRecorderStands) {
    EXPECT_EQ(strip().message, "Ready");
    EXPECT_FALSE(strip().isCard());
    EXPECT_EQ(strip().copyTitle, "Copy diagnostics");
    EXPECT_STREQ(StatusStrip::kCopyHelp,
                 "Copy this message and your setup, ready to paste into the bug form");
    press();
    EXPECT_EQ(strip().message, "Recording screen…");
    press();
}

TEST_F(DiagnosticsSharingTest, anErrorMakesACardOfIt) {
    recorder->statusMessage.set("Failed to start");
    recorder->lastError.set("No display available to capture.");
    EXPECT_TRUE(strip().isCard());
    EXPECT_EQ(strip().message, "Failed to start");
    EXPECT_EQ(strip().error, "No display available to capture.");
    recorder->lastError.set("");
    EXPECT_FALSE(strip().isCard());
}

TEST_F(DiagnosticsSharingTest, copyingIsSaidForAWhile) {
    view->copyDiagnostics();
    EXPECT_EQ(desktop.pasteboard, recorder->crashReportForSharing());
    EXPECT_EQ(strip().copyTitle, "Copied — paste into the bug form");
    EXPECT_EQ(bugButton(), "Copied — paste into the form");
    machine.run(3);
    view->copyDiagnostics();
    machine.run(3);
    EXPECT_EQ(strip().copyTitle, "Copied — paste into the bug form") << "the second copying counts";
    machine.run(2);
    EXPECT_EQ(strip().copyTitle, "Copy diagnostics");
    EXPECT_EQ(bugButton(), "Report a bug");
}

TEST_F(DiagnosticsSharingTest, aBugReportOpensTheFormWithTheSetup) {
    platform.facts = {.appVersion = "1.2.3",
                      .buildVersion = "45",
                      .operatingSystemVersion = "15.3.1",
                      .hardwareModel = "Mac14,2 & more"};
    openWindow();
    view->openBugReport();
    EXPECT_TRUE(desktop.pasteboard.has_value());
    EXPECT_EQ(desktop.openedAddresses,
              std::vector<std::string>{"https://form.test/report?build=1.2.3%20%2845%29&os=15.3.1&"
                                       "mac=Mac14%2C2%20%26%20more&from=button"});
    EXPECT_EQ(*recorder->statusMessage, "Ready");
}

TEST_F(DiagnosticsSharingTest, withoutAFormTheReportIsCopiedAndThatIsSaid) {
    openWindow("https://REPLACE_WITH/the-address-of-the-form");
    view->openBugReport();
    EXPECT_TRUE(desktop.pasteboard.has_value());
    EXPECT_TRUE(desktop.openedAddresses.empty());
    EXPECT_EQ(
        strip().message,
        "Bug report form isn't set up yet — set BetaFeedback.formURL in BetaFeedback before sending this build "
        "out. Diagnostics were copied to the clipboard.");
}

TEST_F(DiagnosticsSharingTest, anAddressWithAQueryIsContinued) {
    const auto address = BetaFeedback::reportURL(BetaFeedback::Route::crash, {}, "https://form.test/?form=7");
    EXPECT_EQ(address, "https://form.test/?form=7&build=0%20%280%29&os=&mac=unknown&from=crash");
}

} // namespace
} // namespace vintra
