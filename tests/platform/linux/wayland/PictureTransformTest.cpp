#include "Vintra/platform/linux/wayland/PictureTransform.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace vintra {
namespace {

/// Rows of pixels, turned and mirrored the way a person would.
using Rows = std::vector<std::vector<int>>;

Rows numberedRows(int width, int height) {
    Rows rows;
    for (int y = 0; y < height; ++y) {
        rows.emplace_back();
        for (int x = 0; x < width; ++x)
            rows.back().push_back(100 * y + x);
    }
    return rows;
}

Rows mirrored(Rows rows) {
    for (auto& row : rows)
        std::reverse(row.begin(), row.end());
    return rows;
}

/// The last column becomes the first row.
Rows turnedLeft(const Rows& rows) {
    Rows turned;
    for (size_t x = rows[0].size(); x-- > 0;) {
        turned.emplace_back();
        for (const auto& row : rows)
            turned.back().push_back(row[x]);
    }
    return turned;
}

Rows bufferOf(const Rows& upright, const PictureTransform& transform) {
    Rows buffer = transform.isFlipped ? mirrored(upright) : upright;
    for (int i = 0; i < transform.quarterTurns; ++i)
        buffer = turnedLeft(buffer);
    return buffer;
}

TEST(PictureTransformTest, everyPixelIsFoundWhereTheTurnedPictureHasIt) {
    const Rows upright = numberedRows(5, 3);
    for (int kind = 0; kind < 8; ++kind) {
        const PictureTransform transform{.quarterTurns = kind % 4, .isFlipped = kind >= 4};
        const Rows buffer = bufferOf(upright, transform);
        const PixelRect size =
            transform.uprightSize(static_cast<int>(buffer[0].size()), static_cast<int>(buffer.size()));
        ASSERT_EQ(size, (PixelRect{0, 0, 5, 3})) << kind;
        for (int y = 0; y < 3; ++y) {
            for (int x = 0; x < 5; ++x) {
                const auto at = transform.inBuffer({x, y}, size);
                EXPECT_EQ(buffer.at(static_cast<size_t>(at.y)).at(static_cast<size_t>(at.x)), 100 * y + x)
                    << kind;
            }
        }
    }
}

TEST(PictureTransformTest, aPartOfTheBufferIsTheSamePixelsUpright) {
    const Rows upright = numberedRows(5, 3);
    for (int kind = 0; kind < 8; ++kind) {
        const PictureTransform transform{.quarterTurns = kind % 4, .isFlipped = kind >= 4};
        const Rows buffer = bufferOf(upright, transform);
        const PixelRect part{1, 0, 2, 2};
        std::vector<int> inBuffer;
        for (int y = part.y; y < part.bottom(); ++y)
            for (int x = part.x; x < part.right(); ++x)
                inBuffer.push_back(buffer[static_cast<size_t>(y)][static_cast<size_t>(x)]);
        const PixelRect place = transform.upright(part, {0, 0, 5, 3});
        std::vector<int> seen;
        for (int y = place.y; y < place.bottom(); ++y)
            for (int x = place.x; x < place.right(); ++x)
                seen.push_back(upright.at(static_cast<size_t>(y)).at(static_cast<size_t>(x)));
        std::sort(inBuffer.begin(), inBuffer.end());
        std::sort(seen.begin(), seen.end());
        EXPECT_EQ(seen, inBuffer) << kind;
    }
    EXPECT_TRUE(PictureTransform{.quarterTurns = 1}.upright({}, {0, 0, 5, 3}).isEmpty());
}

} // namespace
} // namespace vintra
