#include "tests/support/ScreenPicture.h"

#include "Vintra/platform/linux/wayland/PortalFrameCopier.h"

#include <gtest/gtest.h>

#include <random>

namespace vintra {
namespace {

/// A desktop's picture that a test paints, as a frame in one buffer.
struct Desk {
    explicit Desk(int width = 40, int height = 30)
        : picture(width, height) {}

    PortalFrame frame(std::optional<std::vector<PixelRect>> damage = std::nullopt) {
        PortalFrame made;
        made.bytes = reinterpret_cast<const uint8_t*>(picture.pixels.data());
        made.bytesPerRow = ptrdiff_t{picture.width} * 4;
        made.whole = made.content = {0, 0, picture.width, picture.height};
        made.sequence = ++sequence;
        made.damage = std::move(damage);
        return made;
    }

    ScreenPicture picture;
    uint64_t sequence = 0;
};

PortalFrameCopier makeCopier(std::optional<CGRect> sourceRect = std::nullopt, double displayWidth = 40,
                             int queueDepth = 8) {
    return PortalFrameCopier({.sourceRect = sourceRect,
                              .displayWidth = displayWidth,
                              .queueDepth = queueDepth,
                              .onFree = std::make_shared<WakeUp>()});
}

ScreenPicture copied(PortalFrameCopier& copier, const PortalFrame& frame) {
    return ScreenPicture(*copier.copy(frame));
}

TEST(PortalFrameCopier, theFirstFrameIsNewWhateverItsDamage) {
    Desk desk;
    desk.picture.fill(3, 4, 5, 6, 0xabcdef);
    PortalFrameCopier copier = makeCopier();
    const PortalFrame frame = desk.frame(std::vector<PixelRect>{});
    EXPECT_TRUE(copier.look(frame));
    EXPECT_TRUE(copied(copier, frame) == desk.picture);
}

TEST(PortalFrameCopier, onlyDamageInsideOfTheCapturedPartIsNew) {
    Desk desk;
    PortalFrameCopier copier = makeCopier(CGRect{{10, 10}, {20, 10}});
    const PortalFrame first = desk.frame();
    EXPECT_TRUE(copier.look(first));
    const auto held = copier.copy(first);
    EXPECT_FALSE(copier.look(desk.frame(std::vector<PixelRect>{})));
    EXPECT_FALSE(copier.look(desk.frame(std::vector<PixelRect>{{0, 0, 40, 10}, {30, 0, 10, 30}})));
    desk.picture.fill(29, 19, 5, 5, 0xff0000);
    const PortalFrame frame = desk.frame(std::vector<PixelRect>{{29, 19, 5, 5}});
    EXPECT_TRUE(copier.look(frame));
    EXPECT_TRUE(copied(copier, frame) == desk.picture.part(10, 10, 20, 10));
}

TEST(PortalFrameCopier, aFrameThatTellsOfNothingIsComparedWithWhatThereIs) {
    Desk desk;
    PortalFrameCopier copier = makeCopier();
    PortalFrame frame = desk.frame();
    EXPECT_TRUE(copier.look(frame));
    const auto held = copier.copy(frame);
    EXPECT_FALSE(copier.look(desk.frame(std::vector<PixelRect>{}))) << "it is the same to the byte";
    desk.picture.fill(39, 29, 1, 1, 0xffffff); // a pointer that moved, say
    frame = desk.frame(std::vector<PixelRect>{});
    EXPECT_TRUE(copier.look(frame));
    EXPECT_TRUE(copied(copier, frame) == desk.picture);
    EXPECT_EQ(ScreenPicture(*held).at(39, 29), 0u) << "what is out stays as it was";
}

TEST(PortalFrameCopier, aFrameWithoutAListIsComparedWithWhatThereIs) {
    Desk desk;
    PortalFrameCopier copier = makeCopier(CGRect{{10, 10}, {20, 10}});
    PortalFrame frame = desk.frame();
    EXPECT_TRUE(copier.look(frame));
    const auto held = copier.copy(frame);
    EXPECT_FALSE(copier.look(desk.frame())) << "it is the same to the byte";
    desk.picture.fill(0, 0, 40, 10, 0xff0000);
    EXPECT_FALSE(copier.look(desk.frame())) << "what changed isn't captured";
    copier.lost();
    EXPECT_FALSE(copier.look(desk.frame())) << "nothing is lost if the last picture is the newest";
    desk.picture.fill(29, 19, 1, 1, 0xffffff);
    frame = desk.frame();
    EXPECT_TRUE(copier.look(frame));
    EXPECT_TRUE(copied(copier, frame) == desk.picture.part(10, 10, 20, 10));
}

TEST(PortalFrameCopier, memoryThatIsSlowToReadIsNotReadToCompare) {
    struct Uncached : PortalPixelAccess {
        std::optional<SystemError> begin() override {
            ++readings;
            return std::nullopt;
        }
        void end() override {}
        bool isUncached() const override { return true; }
        int readings = 0;
    } memory;
    Desk desk;
    PortalFrameCopier copier = makeCopier();
    for (int i = 1; i <= 3; ++i) {
        PortalFrame frame = desk.frame(std::vector<PixelRect>{});
        frame.access = &memory;
        EXPECT_TRUE(copier.look(frame)) << "who doesn't compare takes it as new";
        EXPECT_TRUE(copied(copier, frame) == desk.picture);
        EXPECT_EQ(memory.readings, i);
    }
}

TEST(PortalFrameCopier, aPartIsInPointsOfTheDisplayAndKeepsItsScale) {
    Desk desk; // 40 pixels of a display of 20 points
    desk.picture.fill(4, 6, 2, 2, 0x00ff00);
    PortalFrameCopier copier = makeCopier(CGRect{{2, 3}, {5, 4}}, 20);
    const PortalFrame frame = desk.frame();
    EXPECT_TRUE(copier.look(frame));
    EXPECT_TRUE(copied(copier, frame) == desk.picture.part(4, 6, 10, 8));
    Desk smaller(16, 16);
    const PortalFrame after = smaller.frame();
    EXPECT_TRUE(copier.look(after));
    EXPECT_TRUE(copied(copier, after) == smaller.picture.part(4, 6, 10, 8));
}

TEST(PortalFrameCopier, aPartBeyondTheDisplayIsAProblem) {
    Desk desk;
    PortalFrameCopier copier = makeCopier(CGRect{{40, 0}, {5, 5}});
    EXPECT_FALSE(copier.look(desk.frame()));
    ASSERT_TRUE(copier.problem().has_value());
    EXPECT_EQ(copier.problem()->localizedDescription(), "The area to record lies outside of its display.");
}

TEST(PortalFrameCopier, aCropThatMovesShowsAnotherPart) {
    Desk desk;
    desk.picture.fill(5, 5, 1, 1, 0x123456);
    PortalFrameCopier copier = makeCopier();
    PortalFrame frame = desk.frame();
    frame.content = {0, 0, 10, 10};
    EXPECT_TRUE(copier.look(frame));
    EXPECT_TRUE(copied(copier, frame) == desk.picture.part(0, 0, 10, 10));
    frame = desk.frame(std::vector<PixelRect>{});
    frame.content = {5, 5, 10, 10};
    EXPECT_TRUE(copier.look(frame));
    EXPECT_TRUE(copied(copier, frame) == desk.picture.part(5, 5, 10, 10));
}

TEST(PortalFrameCopier, redAndBlueChangePlacesWhereTheDesktopHasThemTheOtherWay) {
    Desk desk;
    desk.picture.fill(0, 0, 40, 30, 0x112233);
    PortalFrameCopier copier = makeCopier();
    PortalFrame frame = desk.frame();
    frame.pixels = PortalPixels::rgbx;
    EXPECT_TRUE(copier.look(frame));
    const ScreenPicture seen = copied(copier, frame);
    EXPECT_EQ(seen.at(0, 0), 0x332211u);
    EXPECT_EQ(seen.at(39, 29), 0x332211u);
}

TEST(PortalFrameCopier, aTurnedPictureIsCopiedUpright) {
    // The buffer of an upright picture of 2 × 3 that was turned left once: 3 × 2.
    const uint32_t buffer[] = {0x01, 0x11, 0x21, 0x00, 0x10, 0x20};
    const uint32_t upright[3][2] = {{0x00, 0x01}, {0x10, 0x11}, {0x20, 0x21}};
    PortalFrame frame;
    frame.bytes = reinterpret_cast<const uint8_t*>(buffer);
    frame.bytesPerRow = 12;
    frame.transform = {.quarterTurns = 1, .isFlipped = false};
    frame.whole = frame.content = {0, 0, 2, 3};
    PortalFrameCopier copier = makeCopier(CGRect{{0, 0}, {2, 3}}, 2);
    ASSERT_TRUE(copier.look(frame));
    const ScreenPicture seen = copied(copier, frame);
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 2; ++x)
            EXPECT_EQ(seen.at(x, y) & 0xffffff, upright[y][x]) << x << ", " << y;
}

TEST(PortalFrameCopier, aPictureThatStandsUpsideDownInMemoryIsCopiedUpright) {
    Desk desk(4, 2);
    desk.picture.fill(0, 0, 4, 1, 0xff0000);
    PortalFrame frame = desk.frame();
    frame.bytes += 16; // the memory's last row is the first
    frame.bytesPerRow = -16;
    PortalFrameCopier copier = makeCopier(std::nullopt, 4);
    ASSERT_TRUE(copier.look(frame));
    const ScreenPicture seen = copied(copier, frame);
    EXPECT_EQ(seen.at(0, 0), desk.picture.at(0, 1));
    EXPECT_EQ(seen.at(0, 1), 0xff0000u);
}

TEST(PortalFrameCopier, whatALostFrameHadIsCopiedWithTheNext) {
    Desk desk;
    PortalFrameCopier copier = makeCopier();
    PortalFrame frame = desk.frame();
    EXPECT_TRUE(copier.look(frame));
    copied(copier, frame);
    desk.picture.fill(0, 0, 10, 10, 0xff0000); // told by a frame that nobody saw
    copier.lost();
    frame = desk.frame(std::vector<PixelRect>{});
    EXPECT_TRUE(copier.look(frame));
    EXPECT_TRUE(copied(copier, frame) == desk.picture);
    desk.picture.fill(20, 20, 5, 5, 0x00ff00);
    ++desk.sequence; // a number is left out
    frame = desk.frame(std::vector<PixelRect>{});
    EXPECT_TRUE(copier.look(frame));
    EXPECT_TRUE(copied(copier, frame) == desk.picture);
}

TEST(PortalFrameCopier, noMorePicturesAreOutThanCanBeOnTheirWay) {
    Desk desk;
    PortalFrameCopier copier = makeCopier(std::nullopt, 40, 2);
    const PortalFrame frame = desk.frame();
    EXPECT_TRUE(copier.look(frame));
    // Beside the two on their way, sixteen that may wait for the encoder and five that are in use.
    std::vector<std::shared_ptr<CVPixelBuffer>> out;
    for (int i = 0; i < 2 + 16 + 5; ++i) {
        out.push_back(copier.copy(frame));
        EXPECT_NE(out.back(), nullptr) << i;
    }
    EXPECT_EQ(copier.copy(frame), nullptr);
    EXPECT_FALSE(copier.problem().has_value());
    out.front().reset();
    EXPECT_NE(copier.copy(frame), nullptr);
}

// Pictures are used again and only what changed is copied, so what each still holds of earlier frames must
// never show.
TEST(PortalFrameCopier, afterRandomDrawingWithFramesLeftOutThePictureIsTheDesks) {
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const auto upTo = [&random](int end) { return static_cast<int>(random() % static_cast<unsigned>(end)); };
    Desk desk;
    PortalFrameCopier copier = makeCopier(CGRect{{3, 2}, {30, 25}}, 40, 4);
    std::vector<std::shared_ptr<CVPixelBuffer>> held;
    for (int round = 0; round < 2000; ++round) {
        std::vector<PixelRect> damage;
        for (int i = upTo(4); i > 0; --i) {
            const PixelRect rect{upTo(40), upTo(30), 1 + upTo(20), 1 + upTo(20)};
            desk.picture.fill(rect.x, rect.y, rect.width, rect.height,
                              static_cast<uint32_t>(random()) & 0xffffff);
            damage.push_back(rect);
        }
        const PortalFrame frame = desk.frame(damage);
        copier.look(frame);
        if (upTo(3) == 0) continue; // a newer one comes before it is copied
        if (held.size() == 4) held.erase(held.begin() + upTo(4));
        held.push_back(copier.copy(frame));
        ASSERT_NE(held.back(), nullptr);
        ASSERT_TRUE(ScreenPicture(*held.back()) == desk.picture.part(3, 2, 30, 25)) << "round " << round;
    }
}

} // namespace
} // namespace vintra
