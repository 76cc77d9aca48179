#include "Vintra/app/ProgramArguments.h"

#include <gtest/gtest.h>
#include <utility>

namespace vintra {
namespace {

using namespace ProgramArguments;

std::string wrongOf(const std::vector<std::string>& arguments) {
    const Request request = parse(arguments);
    const auto* wrong = std::get_if<Wrong>(&request);
    return wrong ? wrong->sentence : "";
}

TEST(ProgramArgumentsTest, withoutAWordTheWindowOpens) {
    EXPECT_TRUE(std::holds_alternative<Open>(parse({})));
}

TEST(ProgramArgumentsTest, eachCommandHasItsOption) {
    using enum ProgramCommand;
    const std::vector<std::pair<std::string, ProgramCommand>> options{
        {"--start", start}, {"--stop", stop}, {"--toggle", toggle}, {"--marker", marker}, {"--quit", quit}};
    for (const auto& [option, command] : options) {
        const Request request = parse({option});
        ASSERT_TRUE(std::holds_alternative<ProgramCommand>(request)) << option;
        EXPECT_EQ(std::get<ProgramCommand>(request), command);
        EXPECT_NE(usageText().find(option + " "), std::string::npos) << "not in the help: " << option;
    }
}

TEST(ProgramArgumentsTest, helpIsGivenWhateverElseIsSaid) {
    EXPECT_TRUE(std::holds_alternative<Help>(parse({"-h"})));
    EXPECT_TRUE(std::holds_alternative<Help>(parse({"--stop", "--help"})));
    EXPECT_TRUE(std::holds_alternative<Version>(parse({"--version"})));
    EXPECT_EQ(versionText({.appVersion = "1.2", .buildVersion = "34"}), "Vintra 1.2 (build 34)\n");
}

TEST(ProgramArgumentsTest, whatIsNoOptionIsNamed) {
    EXPECT_EQ(wrongOf({"--strat"}), "There is no option “--strat”.");
    EXPECT_EQ(wrongOf({"start"}), "There is no option “start”.");
    EXPECT_EQ(wrongOf({""}), "There is no option “”.");
    EXPECT_EQ(wrongOf({"--help", "--strat"}), "");
    EXPECT_EQ(wrongOf({"--start", "--stop"}), "One option at a time: “--stop” is one too many.");
}

} // namespace
} // namespace vintra
