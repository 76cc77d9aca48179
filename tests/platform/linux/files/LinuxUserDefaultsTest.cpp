#include "Vintra/platform/linux/files/LinuxUserDefaults.h"

#include "Vintra/platform/linux/files/LinuxFileManager.h"
#include "Vintra/platform/linux/files/MemoryUserDefaults.h"
#include "Vintra/platform/linux/runtime/LinuxDispatchQueues.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <limits>
#include <random>

namespace vintra {
namespace {

class ListedLog : public Log {
public:
    bool isEnabled(LogLevel) const override { return true; }
    void write(const std::string&, LogLevel, const std::string& text) override {
        MutexLock lock(mutex);
        lines.push_back(text);
    }
    std::vector<std::string> all() {
        MutexLock lock(mutex);
        return lines;
    }

private:
    Mutex mutex;
    std::vector<std::string> lines GUARDED_BY(mutex);
};

class LinuxUserDefaultsTest : public testing::Test {
protected:
    std::unique_ptr<LinuxUserDefaults> open() {
        return std::make_unique<LinuxUserDefaults>(file, LinuxUserDefaults::Services{files, queues, log});
    }

    TemporaryFolder folder;
    const URL file = folder.file("settings/vintra.json");
    std::shared_ptr<LinuxFileManager> files = std::make_shared<LinuxFileManager>();
    std::shared_ptr<LinuxDispatchQueues> queues = std::make_shared<LinuxDispatchQueues>();
    std::shared_ptr<ListedLog> log = std::make_shared<ListedLog>();
};

TEST_F(LinuxUserDefaultsTest, everyKindOfValueIsKeptAcrossRuns) {
    const std::vector<std::pair<std::string, DefaultsValue>> values = {
        {"yes", true},
        {"no", false},
        {"whole", int64_t{-9'223'372'036'854'775'807}},
        {"number", 0.1},
        {"roundNumber", 3.0},
        {"tiny", std::numeric_limits<double>::denorm_min()},
        {"text", std::string("a \"quoted\" line\nwith ünïcode and \x01")},
        {"bytes", std::string("/films/\xff\xfe.mov")},
        {"empty", std::string()},
        {"numbers", std::vector<double>{1, -2.5, 1e300}},
        {"noNumbers", std::vector<double>{}},
        {"dictionary", std::map<std::string, std::string>{{"a", "b"}, {"", "\xff"}}},
        {"noDictionary", std::map<std::string, std::string>{}},
    };
    {
        const auto defaults = open();
        for (const auto& [key, value] : values)
            defaults->set(key, value);
    }
    const auto again = open();
    for (const auto& [key, value] : values) {
        const auto read = again->value(key);
        ASSERT_TRUE(read) << key;
        EXPECT_EQ(*read, value) << key;
    }
    EXPECT_TRUE(log->all().empty());
}

TEST_F(LinuxUserDefaultsTest, aRemovedKeyStaysRemoved) {
    open()->set("key", true);
    open()->remove("key");
    EXPECT_FALSE(open()->value("key"));
}

TEST_F(LinuxUserDefaultsTest, thousandsOfChangesEndInTheLastOne) {
    {
        const auto defaults = open();
        for (int64_t i = 0; i < 5000; ++i)
            defaults->set("slider", i);
    }
    EXPECT_EQ(open()->value("slider"), DefaultsValue(int64_t{4999}));
}

TEST_F(LinuxUserDefaultsTest, aNumberThatIsNotFiniteLastsForTheRunAlone) {
    {
        const auto defaults = open();
        defaults->set("infinite", std::numeric_limits<double>::infinity());
        defaults->set("kept", 1.5);
        EXPECT_TRUE(defaults->value("infinite"));
    }
    const auto again = open();
    EXPECT_FALSE(again->value("infinite"));
    EXPECT_TRUE(again->value("kept"));
}

TEST_F(LinuxUserDefaultsTest, aDamagedFileIsKeptAsideAndTold) {
    files->createDirectory(folder.file("settings"));
    folder.write("settings/vintra.json", "{ \"mic\": \"half a li");
    {
        const auto defaults = open();
        EXPECT_FALSE(defaults->value("mic"));
        defaults->set("mic", std::string("new"));
    }
    EXPECT_EQ(folder.read("settings/vintra.json.damaged"), "{ \"mic\": \"half a li");
    EXPECT_EQ(open()->value("mic"), DefaultsValue(std::string("new")));
    const auto lines = log->all();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_NE(lines[0].find("vintra.json.damaged"), std::string::npos) << lines[0];
}

TEST_F(LinuxUserDefaultsTest, noTextBringsTheProgramDown) {
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const std::string good = textOfDefaults({{"a", true}, {"b", 1.5}, {"c", std::vector<double>{1, 2}}});
    for (int i = 0; i < 2000; ++i) {
        std::string text = good;
        for (int change = 0; change < 3; ++change)
            text[random() % text.size()] = static_cast<char>(random());
        (void)defaultsOfText(text);
    }
    for (const char* text : {"", "[]", "null", "{\"a\":null}", "{\"a\":[[1]]}", "{\"a\":[\"0G\"]}",
                             "{\"a\":{\"b\":1}}", "{\"a\":18446744073709551615}", "\xff\xfe"})
        (void)defaultsOfText(text);
}

TEST_F(LinuxUserDefaultsTest, membersThatAreNoSettingsAreLeftOutAndTheOthersKept) {
    const auto values = defaultsOfText(R"({"a": null, "b": [[1]], "c": {"d": 1}, "e": 7})");
    ASSERT_TRUE(values);
    EXPECT_EQ(*values, (DefaultsValues{{"e", int64_t{7}}}));
}

TEST_F(LinuxUserDefaultsTest, aFolderThatCannotBeMadeIsToldNotThrown) {
    folder.write("settings", "a file where the folder should be");
    {
        const auto defaults = open();
        defaults->set("key", true);
        EXPECT_EQ(defaults->value("key"), DefaultsValue(true));
    }
    ASSERT_FALSE(log->all().empty());
}

TEST(MemoryUserDefaultsTest, valuesLastAsLongAsTheObject) {
    MemoryUserDefaults defaults;
    EXPECT_FALSE(defaults.value("a"));
    defaults.set("a", int64_t{1});
    defaults.set("a", 2.5);
    EXPECT_EQ(doubleForKey(defaults, "a"), 2.5);
    defaults.remove("a");
    EXPECT_FALSE(defaults.value("a"));
}

} // namespace
} // namespace vintra
