#pragma once

#include <array>
#include <cstdint>

namespace vintra {

/// A colour of the windows, sRGB.
struct DesignTone {
    uint32_t hex = 0; ///< 0xRRGGBB
    double opacity = 1;
    constexpr bool operator==(const DesignTone&) const = default;
};

/// The colours of all windows. Nothing else in the program writes a colour down.
namespace DesignColor {

inline constexpr DesignTone bg{0x092e40};
inline constexpr DesignTone surface{0x0c3a52};
inline constexpr DesignTone divider{0xffffff, 0.38};
inline constexpr DesignTone text{0xf3f8fb};
inline constexpr DesignTone accent{0x7fd5ff};
inline constexpr DesignTone accentHover{0x5cc2f0};
inline constexpr DesignTone neutral100{0x123f58};
inline constexpr DesignTone neutral500{0xffffff, 0.45};
inline constexpr DesignTone neutral700{0x8fb4c7};
inline constexpr DesignTone neutral800{0xdff0f9};
inline constexpr DesignTone meterGreen{0x28c840};
inline constexpr DesignTone meterYellow{0xfebc2e};
inline constexpr DesignTone meterRed{0xff5f57};
inline constexpr DesignTone meterRedHover{0xe5473f};
inline constexpr DesignTone sectionFill{0xffffff};
inline constexpr DesignTone sectionText{0x092e40};
inline constexpr DesignTone sectionDivider{0x092e40, 0.18};
inline constexpr DesignTone sectionRowDivider{0x092e40, 0.12};
/// The title of a red button under the pointer: 4.7:1 on `meterRedHover`.
inline constexpr DesignTone destructiveTitleHover{0x04141d};

struct GradientStop {
    double position = 0; ///< 0 to 1
    DesignTone color;
    constexpr bool operator==(const GradientStop&) const = default;
};

/// What lies behind every window: `ground` under an elliptical glow, which a mask from the top to the bottom fades.
struct WindowBackground {
    DesignTone ground = bg;
    std::array<GradientStop, 3> glow{{{0, {0xbfe6ff, 0.16}}, {0.55, {0x7fd5ff, 0.07}}, {1, {0x7fd5ff, 0}}}};
    double centerX = 0.5; ///< of the width
    double centerY = -0.06;
    double endRadiusFraction = 0.78;
    struct MaskStop {
        double position = 0;
        double opacity = 1;
    };
    std::array<MaskStop, 3> mask{{{0, 1}, {0.7, 0.4}, {1, 0}}};
};
inline constexpr WindowBackground windowBackground{};

} // namespace DesignColor
} // namespace vintra
