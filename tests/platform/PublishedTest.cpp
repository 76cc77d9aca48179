#include "Vintra/platform/Published.h"

#include <gtest/gtest.h>

namespace vintra {
namespace {

TEST(PublishedTest, observersHearOfEverySetAndTheOwnerOnlyOfChanges) {
    Published<int> value(1);
    std::vector<int> owner;
    std::vector<int> observer;
    value.onChange([&](const int& old) { owner.push_back(old); });
    const Observation observation = value.observe([&](const int& now) { observer.push_back(now); });
    value.set(1);
    value.set(2);
    EXPECT_EQ(owner, std::vector<int>{1});
    EXPECT_EQ(observer, (std::vector<int>{1, 2}));
    EXPECT_EQ(*value, 2);
}

TEST(PublishedTest, theOwnerActsBeforeTheObserversAndSeesTheNewValue) {
    Published<int> value(1);
    std::vector<std::string> order;
    value.onChange([&](const int& old) {
        order.push_back("owner " + std::to_string(old) + " to " + std::to_string(value.get()));
    });
    const Observation observation =
        value.observe([&](const int& now) { order.push_back("observer " + std::to_string(now)); });
    value.set(2);
    EXPECT_EQ(order, (std::vector<std::string>{"owner 1 to 2", "observer 2"}));
}

TEST(PublishedTest, anObservationThatIsLetGoOfHearsNoMore) {
    Published<int> value;
    int heard = 0;
    Observation observation = value.observe([&](const int&) { ++heard; });
    value.set(1);
    observation = nullptr;
    value.set(2);
    EXPECT_EQ(heard, 1);
}

TEST(PublishedTest, anObserverMayLetGoOfItselfAndOfOthersWhileItIsTold) {
    Published<int> value;
    int first = 0;
    int second = 0;
    Observation firstObservation;
    Observation secondObservation;
    firstObservation = value.observe([&](const int&) {
        ++first;
        secondObservation = nullptr;
        firstObservation = nullptr;
    });
    secondObservation = value.observe([&](const int&) { ++second; });
    value.set(1);
    value.set(2);
    EXPECT_EQ(first, 1);
    EXPECT_EQ(second, 0);
}

TEST(PublishedTest, anObserverAddedWhileOthersAreToldHearsFromTheNextSetOn) {
    Published<int> value;
    std::vector<int> late;
    Observation added;
    const Observation observation = value.observe([&](const int&) {
        if (!added) added = value.observe([&](const int& now) { late.push_back(now); });
    });
    value.set(1);
    EXPECT_TRUE(late.empty());
    value.set(2);
    EXPECT_EQ(late, std::vector<int>{2});
}

TEST(PublishedTest, anObserverMaySetTheValueAgain) {
    Published<int> value;
    std::vector<int> heard;
    const Observation observation = value.observe([&](const int& now) {
        heard.push_back(now);
        if (now == 1) value.set(2);
    });
    value.set(1);
    EXPECT_EQ(heard, (std::vector<int>{1, 2}));
    EXPECT_EQ(*value, 2);
}

TEST(PublishedTest, theOwnersChangeHandlingMayCorrectTheValue) {
    Published<int> value(0);
    value.onChange([&](const int&) {
        if (value.get() > 10) value.set(10);
    });
    std::vector<int> heard;
    const Observation observation = value.observe([&](const int& now) { heard.push_back(now); });
    value.set(50);
    EXPECT_EQ(*value, 10);
    EXPECT_EQ(heard.back(), 10);
}

TEST(PublishedTest, updateChangesInPlaceWithTheSameConsequences) {
    Published<std::vector<int>> value;
    int changes = 0;
    value.onChange([&](const std::vector<int>& old) {
        EXPECT_TRUE(old.empty());
        ++changes;
    });
    value.update([](std::vector<int>& list) { list.push_back(1); });
    value.update([](std::vector<int>&) {});
    EXPECT_EQ(changes, 1);
    EXPECT_EQ(value->size(), 1u);
}

TEST(PublishedTest, anObservationMayOutliveTheValue) {
    Observation observation;
    {
        Published<int> value;
        observation = value.observe([](const int&) {});
    }
    observation = nullptr;
}

} // namespace
} // namespace vintra
