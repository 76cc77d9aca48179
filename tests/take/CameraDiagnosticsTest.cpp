// What the report of the setup says of cameras that run.

#include "tests/take/CameraTakeFixture.h"

#include <sstream>

namespace vintra {
namespace {

class CameraDiagnosticsTest : public CameraTakeFixture {
protected:
    std::string lineThatBegins(const std::string& beginning) const {
        std::istringstream lines(recorder->diagnosticsReport());
        for (std::string line; std::getline(lines, line);) {
            if (line.starts_with(beginning)) return line;
        }
        return "";
    }
};

TEST_F(CameraDiagnosticsTest, aCameraTellsItsFormatAndRate) {
    EXPECT_EQ(lineThatBegins("Webcam: "), "Webcam: off");
    const auto camera = plugCamera("desk", "Desk");
    selectCamera("desk");
    EXPECT_EQ(lineThatBegins("Webcam: "), "Webcam: Desk · 32×18 @30.00");
    camera->maxFrameDuration = CMTimeMake(1, 15);
    EXPECT_EQ(lineThatBegins("Webcam: "), "Webcam: Desk · 32×18 @15.00–30.00");
    camera->maxFrameDuration = CMTimeMake(337, 10'000); // 0.37 ms longer than a thirtieth
    EXPECT_EQ(lineThatBegins("Webcam: "), "Webcam: Desk · 32×18 @30.00");
    camera->minFrameDuration = camera->maxFrameDuration = kCMTimeInvalid;
    EXPECT_EQ(lineThatBegins("Webcam: "), "Webcam: Desk · 32×18");
}

TEST_F(CameraDiagnosticsTest, anotherSizeThanTheFormatsAndAChosenResolutionAreTold) {
    const auto camera = plugCamera("desk", "Desk");
    camera->sends = CMVideoDimensions{16, 9};
    selectCamera("desk");
    recorder->setCameraResolution(CameraResolution::hd, "desk");
    EXPECT_EQ(lineThatBegins("Webcam: "), "Webcam: Desk · 32×18 @30.00 · sending 16×9 · 1080p chosen");
}

TEST_F(CameraDiagnosticsTest, aCameraThatDoesNotRunIsNamedAllTheSame) {
    plugCamera("desk", "Desk")->refusesInput = true;
    selectCamera("desk");
    EXPECT_EQ(lineThatBegins("Webcam: "), "Webcam: Desk");
    recorder->selectedCameraDeviceID.set("nobody");
    EXPECT_EQ(lineThatBegins("Webcam: "), "Webcam: nobody");
}

TEST_F(CameraDiagnosticsTest, extraCamerasStandInOneLine) {
    EXPECT_EQ(lineThatBegins("Extra webcams: "), "");
    plugThree();
    addCamera("side");
    addCamera(std::nullopt);
    addCamera("top");
    EXPECT_EQ(lineThatBegins("Extra webcams: "), "Extra webcams: Side · 32×18 @30.00 | Top · 32×18 @30.00");
}

TEST_F(CameraDiagnosticsTest, camerasThatWerePutBackAreCountedTogether) {
    const auto first = plugCamera("desk", "Desk");
    const auto second = plugCamera("side", "Side");
    selectCamera("desk");
    addCamera("side");
    const std::string ceiling = "  camera frame rate ceiling: 30 fps (default) · put back ";
    EXPECT_EQ(lineThatBegins(ceiling), ceiling + "0 times after something reset it");
    first->activeFormat = std::nullopt;
    machine.run(1.1);
    EXPECT_EQ(lineThatBegins(ceiling), ceiling + "1 time after something reset it");
    first->activeFormat = second->activeFormat = std::nullopt;
    machine.run(1.1);
    EXPECT_EQ(lineThatBegins(ceiling), ceiling + "3 times after something reset it");
}

TEST_F(CameraDiagnosticsTest, theLastTakeTellsHowItsMoviesWereEncoded) {
    EXPECT_EQ(lineThatBegins("  last take · encoders"), "");
    plugCamera("desk", "Desk");
    selectCamera("desk");
    recordFor(1);
    EXPECT_EQ(lineThatBegins("  last take · encoders"),
              "  last take · encoders: " + recorder->lastEncoderSummary);
    EXPECT_TRUE(lineThatBegins("  last take · webcam").starts_with("  last take · webcam (Desk): 0 lost"));
}

} // namespace
} // namespace vintra
