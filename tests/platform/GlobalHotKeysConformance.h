#pragma once

#include "Vintra/platform/GlobalHotKey.h"

#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace vintra {

/// What every desktop owes that has keys for programs. A backend's test names its own `Backend`, made afresh for each
/// test:
///
///     struct Backend {
///         GlobalHotKeys& hotKeys();
///         void press(const KeyCombination& keys);         // presses and releases them as a user does
///         void takeElsewhere(const KeyCombination& keys); // another program has them from now on
///         void giveBackElsewhere();
///         void settle();                                  // until all that was pressed and asked for has been handled
///     };
///     INSTANTIATE_TYPED_TEST_SUITE_P(X11, GlobalHotKeysConformance, Backend);
template <typename Backend>
class GlobalHotKeysConformance : public ::testing::Test {
protected:
    static constexpr KeyCombination kMarkerKeys{.key = 'M', .control = true, .alt = true};
    static constexpr KeyCombination kOtherKeys{.key = '7', .control = true, .shift = true};

    std::unique_ptr<GlobalHotKey> make(const KeyCombination& keys, std::function<void()> action) {
        auto key = backend.hotKeys().makeHotKey(keys, "Set a marker", std::move(action));
        backend.settle();
        return key;
    }
    void press(const KeyCombination& keys) {
        backend.press(keys);
        backend.settle();
    }
    std::string problem() { return *backend.hotKeys().problem; }

    Backend backend;
};

TYPED_TEST_SUITE_P(GlobalHotKeysConformance);

TYPED_TEST_P(GlobalHotKeysConformance, eachPressRunsTheActionOnce) {
    int count = 0;
    const auto key = this->make(this->kMarkerKeys, [&] { ++count; });
    ASSERT_TRUE(key) << this->problem();
    EXPECT_EQ(this->problem(), "");
    EXPECT_EQ(count, 0);
    this->press(this->kMarkerKeys);
    EXPECT_EQ(count, 1);
    this->press(this->kMarkerKeys);
    this->press(this->kMarkerKeys);
    EXPECT_EQ(count, 3);
}

TYPED_TEST_P(GlobalHotKeysConformance, aKeyThatWasGivenBackIsQuiet) {
    int count = 0;
    auto key = this->make(this->kMarkerKeys, [&] { ++count; });
    key = nullptr;
    this->press(this->kMarkerKeys);
    EXPECT_EQ(count, 0);
    key = this->make(this->kMarkerKeys, [&] { count += 10; });
    ASSERT_TRUE(key);
    this->press(this->kMarkerKeys);
    EXPECT_EQ(count, 10);
}

TYPED_TEST_P(GlobalHotKeysConformance, keysAreToldApart) {
    std::string heard;
    const auto first = this->make(this->kMarkerKeys, [&] { heard += 'm'; });
    const auto second = this->make(this->kOtherKeys, [&] { heard += '7'; });
    ASSERT_TRUE(first);
    ASSERT_TRUE(second);
    this->press(this->kOtherKeys);
    this->press(this->kMarkerKeys);
    this->press(this->kOtherKeys);
    EXPECT_EQ(heard, "7m7");
}

TYPED_TEST_P(GlobalHotKeysConformance, theSameKeysAreGivenOnce) {
    int count = 0;
    const auto first = this->make(this->kMarkerKeys, [&] { ++count; });
    EXPECT_FALSE(this->make(this->kMarkerKeys, [&] { count += 10; }));
    EXPECT_NE(this->problem(), "");
    this->press(this->kMarkerKeys);
    EXPECT_EQ(count, 1);
}

TYPED_TEST_P(GlobalHotKeysConformance, keysOfAnotherProgramAreRefusedUntilItGivesThemBack) {
    int count = 0;
    this->backend.takeElsewhere(this->kMarkerKeys);
    auto key = this->make(this->kMarkerKeys, [&] { ++count; });
    EXPECT_NE(this->problem().find("Ctrl+Alt+M"), std::string::npos) << this->problem();
    key = nullptr;
    this->backend.giveBackElsewhere();
    key = this->make(this->kMarkerKeys, [&] { ++count; });
    ASSERT_TRUE(key);
    EXPECT_EQ(this->problem(), "");
    this->press(this->kMarkerKeys);
    EXPECT_EQ(count, 1);
}

TYPED_TEST_P(GlobalHotKeysConformance, theActionMayGiveItsKeyBack) {
    int count = 0;
    std::unique_ptr<GlobalHotKey> key;
    key = this->make(this->kMarkerKeys, [&] {
        key = nullptr;
        ++count;
    });
    this->press(this->kMarkerKeys);
    this->press(this->kMarkerKeys);
    EXPECT_EQ(count, 1);
}

REGISTER_TYPED_TEST_SUITE_P(GlobalHotKeysConformance, eachPressRunsTheActionOnce, aKeyThatWasGivenBackIsQuiet,
                            keysAreToldApart, theSameKeysAreGivenOnce,
                            keysOfAnotherProgramAreRefusedUntilItGivesThemBack, theActionMayGiveItsKeyBack);

} // namespace vintra
