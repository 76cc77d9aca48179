#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

namespace vintra {
namespace {

std::vector<std::filesystem::path> qmlFiles() {
    std::vector<std::filesystem::path> files;
    for (const auto& entry :
         std::filesystem::recursive_directory_iterator(VINTRA_CHECKOUT "/Vintra/app/qt")) {
        if (entry.path().extension() == ".qml") files.push_back(entry.path());
    }
    return files;
}

std::string textOf(const std::filesystem::path& file) {
    std::ostringstream text;
    text << std::ifstream(file).rdbuf();
    return text.str();
}

TEST(QmlSourcesTest, noFileWritesAColourDown) {
    ASSERT_GT(qmlFiles().size(), 30u);
    const std::regex colour("#[0-9a-fA-F]{3,8}\\b|Qt\\.(rgba|hsla|hsva|lighter|darker|tint)");
    for (const auto& file : qmlFiles())
        EXPECT_FALSE(std::regex_search(textOf(file), colour)) << file;
}

TEST(QmlSourcesTest, everyFileSaysWhatItsNamesAreAndTakesNoUntypedValue) {
    const std::regex untyped("property\\s+var\\b");
    for (const auto& file : qmlFiles()) {
        const std::string text = textOf(file);
        EXPECT_FALSE(std::regex_search(text, untyped)) << file;
        EXPECT_TRUE(text.starts_with("pragma ComponentBehavior: ") || text.starts_with("pragma Singleton"))
            << file;
        EXPECT_LE(std::ranges::count(text, '\n'), 170) << file;
    }
}

} // namespace
} // namespace vintra
