#include "Vintra/audio/AudioRoutingCache.h"

#include <gtest/gtest.h>
#include <thread>

namespace vintra {
namespace {

AudioRoutingCache::Snapshot micSnapshot(int channels) {
    AudioRoutingCache::Snapshot snapshot;
    snapshot.mic = AudioRoutingCache::MicRouting{nullptr, channels, channels - 1, channels * 0.5};
    return snapshot;
}

TEST(AudioRoutingCacheTest, aFreshCacheRoutesNothing) {
    const AudioRoutingCache cache;
    const auto snapshot = cache.snapshot();
    ASSERT_TRUE(snapshot);
    EXPECT_FALSE(snapshot->mic);
    EXPECT_FALSE(snapshot->dawOutput);
    EXPECT_TRUE(snapshot->extra.empty());
}

TEST(AudioRoutingCacheTest, aCallbackKeepsItsSnapshotWhileTheNextIsStored) {
    AudioRoutingCache cache;
    cache.store(micSnapshot(2));
    const auto held = cache.snapshot();
    cache.store(micSnapshot(8));
    EXPECT_EQ(held->mic->totalChannels, 2);
    EXPECT_EQ(cache.snapshot()->mic->totalChannels, 8);
}

TEST(AudioRoutingCacheTest, aSnapshotIsNeverSeenHalfReplaced) {
    AudioRoutingCache cache;
    cache.store(micSnapshot(1));
    std::thread writer([&] {
        for (int round = 0; round < 2000; ++round)
            cache.store(micSnapshot(round % 32 + 1));
    });
    for (int round = 0; round < 2000; ++round) {
        const auto snapshot = cache.snapshot();
        ASSERT_EQ(snapshot->mic->channelIndex, snapshot->mic->totalChannels - 1);
        ASSERT_EQ(snapshot->mic->gainDB, snapshot->mic->totalChannels * 0.5);
    }
    writer.join();
}

} // namespace
} // namespace vintra
