#pragma once

#include "Vintra/app/DesignColor.h"

#include <string>

namespace vintra {

/// The measures of the flat controls, in points. A control that is disabled is drawn at `kDisabledOpacity`.
namespace FlatControls {

inline constexpr double kDisabledOpacity = 0.5;
inline constexpr double kOutline = 1;

struct Checkbox {
    double side = 18;
    double stroke = 1.5;
    double checkmarkSize = 11;
    double cornerRadius = 5;
};
struct Button {
    double horizontalPadding = 16;
    double cornerRadius = 12;
};
struct InlineButton {
    double titleSize = 13;
    double horizontalPadding = 16;
    double verticalPadding = 8;
    double hoverOpacity = 0.06; ///< of `sectionText`
};
struct CardButton {
    double titleSize = 11;
    double horizontalPadding = 10;
    double verticalPadding = 4;
    double cornerRadius = 5;
    double hoverOpacity = 0.5; ///< of `sectionFill`
};
struct SectionLabel {
    double titleSize = 14;
    double letterSpacing = 1.1;
};
struct Tag {
    double textSize = 10;
    double letterSpacing = 0.4;
    double horizontalPadding = 8;
    double verticalPadding = 3;
};
struct Menu {
    double titleSize = 13;
};
struct Segmented {
    double spacing = 2;
    double padding = 2;
    double cornerRadius = 7;
    double fillOpacity = 0.06; ///< of `sectionText`
};

inline constexpr Checkbox checkbox{};
inline constexpr Button button{};
inline constexpr InlineButton inlineButton{};
inline constexpr CardButton cardButton{};
inline constexpr SectionLabel sectionLabel{};
inline constexpr Tag tag{};
inline constexpr Menu menu{};
inline constexpr Segmented segmented{};

enum class ButtonStyle { primary, outlined, destructive };

struct ButtonColors {
    DesignTone fill;   ///< opacity 0 for none
    DesignTone stroke; ///< opacity 0 for none
    DesignTone title;
    bool operator==(const ButtonColors&) const = default;
};
/// `hovering`: the pointer is over the button.
ButtonColors colors(ButtonStyle style, bool hovering);

enum class FontWeight { regular, medium, semibold, bold, heavy, black };
/// The face of the family "HelveticaNeue" for the weight.
std::string helveticaFace(FontWeight weight);

} // namespace FlatControls
} // namespace vintra
