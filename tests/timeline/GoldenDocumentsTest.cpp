#include "TimelineFixtures.h"

#include "Vintra/timeline/Fcpxml.h"
#include "Vintra/timeline/Otio.h"
#include "Vintra/timeline/PremiereXML.h"

#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

namespace vintra::TimelineFile {
namespace {

std::string golden(const std::string& name) {
    std::ifstream file(std::string(VINTRA_TEST_DATA) + "/timeline/golden/" + name, std::ios::binary);
    EXPECT_TRUE(file) << name;
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
}

TEST(GoldenDocumentsTest, aFullTakeForFinalCut) {
    EXPECT_EQ(fcpxml(fullTake()), golden("full.fcpxml"));
}
TEST(GoldenDocumentsTest, aSoundAloneForFinalCut) {
    EXPECT_EQ(fcpxml(voiceTake()), golden("voice.fcpxml"));
}
TEST(GoldenDocumentsTest, aPictureAloneForFinalCut) {
    EXPECT_EQ(fcpxml(pictureTake()), golden("picture.fcpxml"));
}
TEST(GoldenDocumentsTest, aScreenAndAStereoSoundForResolve) {
    EXPECT_EQ(otio(pairTake()), golden("pair.otio"));
}
TEST(GoldenDocumentsTest, aScreenAndAStereoSoundForPremiere) {
    EXPECT_EQ(premiereXML(pairTake()), golden("pair.xml"));
}
TEST(GoldenDocumentsTest, aSoundAloneForPremiere) {
    EXPECT_EQ(premiereXML(voiceTake()), golden("voice.xml"));
}

} // namespace
} // namespace vintra::TimelineFile
