#include "tools/vintra-take/CameraChoice.h"

#include <gtest/gtest.h>

namespace vintra {
namespace {

const std::vector<KnownCamera> kCameras = {
    {.id = "front", .name = "Front"}, {.id = "front:2", .name = "Front"}, {.id = "desk", .name = "Desk"}};

std::vector<CameraChoice> choices(const std::vector<std::string>& texts,
                                  const std::vector<std::string>& idsOf1080p = {}) {
    const auto result = parseCameraChoices(texts, idsOf1080p, kCameras);
    if (const auto* problem = std::get_if<InputProblem>(&result)) {
        ADD_FAILURE() << problem->sentence;
        return {};
    }
    return std::get<std::vector<CameraChoice>>(result);
}

InputProblem problem(const std::vector<std::string>& texts, const std::vector<std::string>& idsOf1080p = {},
                     const std::vector<KnownCamera>& cameras = kCameras) {
    const auto result = parseCameraChoices(texts, idsOf1080p, cameras);
    const auto* found = std::get_if<InputProblem>(&result);
    return found ? *found : InputProblem{"none"};
}

TEST(CameraChoiceTest, anIdMayHaveANameBehindIt) {
    EXPECT_EQ(choices({"desk", "front:Me: close"}),
              (std::vector<CameraChoice>{{.deviceID = "desk", .name = ""},
                                         {.deviceID = "front", .name = "Me: close"}}));
}

TEST(CameraChoiceTest, theLongestIdIsMeant) {
    EXPECT_EQ(
        choices({"front:2", "front:3"}),
        (std::vector<CameraChoice>{{.deviceID = "front:2", .name = ""}, {.deviceID = "front", .name = "3"}}));
}

TEST(CameraChoiceTest, aCameraIsHeldTo1080p) {
    EXPECT_EQ(choices({"desk", "front"}, {"front"}),
              (std::vector<CameraChoice>{{.deviceID = "desk", .name = "", .is1080p = false},
                                         {.deviceID = "front", .name = "", .is1080p = true}}));
}

TEST(CameraChoiceTest, whatCannotBeIsRefusedWithASentence) {
    EXPECT_EQ(problem({"attic"}).sentence, "There is no camera “attic”. --list shows the ones there are.");
    EXPECT_FALSE(problem({"attic"}).isUsage);
    EXPECT_EQ(problem({"attic"}, {}, {}).sentence, "There is no camera “attic”: this machine has none.");
    EXPECT_EQ(problem({"desk", "desk:Again"}).sentence,
              "“desk” is named twice: a take records a camera once.");
    EXPECT_TRUE(problem({"desk", "desk"}).isUsage);
    EXPECT_EQ(problem({"desk"}, {"attic"}).sentence,
              "There is no camera “attic”. --list shows the ones there are.");
    EXPECT_EQ(problem({"desk"}, {"front"}).sentence,
              "--camera-1080p “front” is for a camera that is recorded: name it by --camera as well.");
}

} // namespace
} // namespace vintra
