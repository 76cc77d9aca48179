#pragma once

#include "Vintra/platform/UserDefaults.h"

#include <gtest/gtest.h>
#include <limits>
#include <map>
#include <string>
#include <vector>

namespace vintra {

/// What every store of settings owes. A backend's test names its own `Backend`, made afresh for each test,
/// with nothing set:
///
///     struct Backend {
///         UserDefaults& userDefaults();
///         void reopen();   // as the next run of the program would; `userDefaults` may give another object
///     };
///     INSTANTIATE_TYPED_TEST_SUITE_P(Linux, UserDefaultsConformance, Backend);
template <typename Backend>
class UserDefaultsConformance : public ::testing::Test {
protected:
    using Dictionary = std::map<std::string, std::string>;

    /// The value reads back, also in the next run.
    void expectKept(const DefaultsValue& value) {
        backend.userDefaults().set("key", value);
        EXPECT_EQ(backend.userDefaults().value("key"), value);
        backend.reopen();
        EXPECT_EQ(backend.userDefaults().value("key"), value);
    }

    Backend backend;
};

TYPED_TEST_SUITE_P(UserDefaultsConformance);

TYPED_TEST_P(UserDefaultsConformance, anAbsentKeyHasNoValue) {
    EXPECT_FALSE(this->backend.userDefaults().value("absent"));
    this->backend.userDefaults().remove("absent");
    EXPECT_FALSE(this->backend.userDefaults().value("absent"));
}

TYPED_TEST_P(UserDefaultsConformance, valuesOfEveryTypeAreKeptAcrossRuns) {
    this->expectKept(true);
    this->expectKept(false);
    this->expectKept(int64_t{0});
    this->expectKept(std::numeric_limits<int64_t>::min());
    this->expectKept(std::numeric_limits<int64_t>::max());
    this->expectKept(0.1);
    this->expectKept(-1e300);
    this->expectKept(std::string("text"));
    this->expectKept(std::vector<double>{1.5, -2, 0.1});
    this->expectKept(typename TestFixture::Dictionary{{"a", "1"}, {"b", ""}});
}

TYPED_TEST_P(UserDefaultsConformance, aWholeDoubleIsNoWholeNumberAndTrueIsNoOne) {
    this->expectKept(2.0);
    this->expectKept(int64_t{2});
    this->expectKept(int64_t{1});
    this->expectKept(true);
}

TYPED_TEST_P(UserDefaultsConformance, emptyValuesAreNotAbsent) {
    this->expectKept(std::string());
    this->expectKept(std::vector<double>{});
    this->expectKept(typename TestFixture::Dictionary{});
}

TYPED_TEST_P(UserDefaultsConformance, anyTextIsKeptAsItIs) {
    this->expectKept(std::string("line\nbreak\ttab \"quote\" back\\slash; # = [x] ünïcödé 語"));
    this->expectKept(std::string(" leading and trailing "));
    this->expectKept(std::string("true"));
    this->expectKept(std::string("12"));
    this->expectKept(typename TestFixture::Dictionary{{"key = \"odd\"\n", "värde\\"}, {"", "no name"}});
}

TYPED_TEST_P(UserDefaultsConformance, aNewValueReplacesTheOldOfWhateverType) {
    this->backend.userDefaults().set("key", std::string("text"));
    this->backend.userDefaults().set("key", int64_t{3});
    EXPECT_EQ(this->backend.userDefaults().value("key"), DefaultsValue(int64_t{3}));
    this->backend.reopen();
    EXPECT_EQ(this->backend.userDefaults().value("key"), DefaultsValue(int64_t{3}));
}

TYPED_TEST_P(UserDefaultsConformance, aRemovedKeyStaysAway) {
    this->backend.userDefaults().set("key", true);
    this->backend.userDefaults().set("other", true);
    this->backend.userDefaults().remove("key");
    EXPECT_FALSE(this->backend.userDefaults().value("key"));
    this->backend.reopen();
    EXPECT_FALSE(this->backend.userDefaults().value("key"));
    EXPECT_TRUE(this->backend.userDefaults().value("other"));
}

TYPED_TEST_P(UserDefaultsConformance, keysAreApart) {
    this->backend.userDefaults().set("screenCodec", std::string("hevc"));
    this->backend.userDefaults().set("screencodec", std::string("h264"));
    this->backend.userDefaults().set("screenCodec.more", true);
    this->backend.userDefaults().set("device/with odd=name", int64_t{1});
    this->backend.reopen();
    EXPECT_EQ(this->backend.userDefaults().value("screenCodec"), DefaultsValue(std::string("hevc")));
    EXPECT_EQ(this->backend.userDefaults().value("screencodec"), DefaultsValue(std::string("h264")));
    EXPECT_EQ(this->backend.userDefaults().value("screenCodec.more"), DefaultsValue(true));
    EXPECT_EQ(this->backend.userDefaults().value("device/with odd=name"), DefaultsValue(int64_t{1}));
}

REGISTER_TYPED_TEST_SUITE_P(UserDefaultsConformance, anAbsentKeyHasNoValue,
                            valuesOfEveryTypeAreKeptAcrossRuns, aWholeDoubleIsNoWholeNumberAndTrueIsNoOne,
                            emptyValuesAreNotAbsent, anyTextIsKeptAsItIs,
                            aNewValueReplacesTheOldOfWhateverType, aRemovedKeyStaysAway, keysAreApart);

} // namespace vintra
