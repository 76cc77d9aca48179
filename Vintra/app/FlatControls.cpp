#include "Vintra/app/FlatControls.h"

namespace vintra::FlatControls {
namespace {

constexpr DesignTone kNoTone{0, 0};

} // namespace

ButtonColors colors(ButtonStyle style, bool hovering) {
    switch (style) {
    case ButtonStyle::primary:
        return {hovering ? DesignColor::accentHover : DesignColor::accent, kNoTone, DesignColor::bg};
    case ButtonStyle::outlined:
        return {kNoTone, DesignColor::divider, DesignColor::text};
    case ButtonStyle::destructive:
        return {hovering ? DesignColor::meterRedHover : DesignColor::meterRed, kNoTone,
                hovering ? DesignColor::destructiveTitleHover : DesignColor::bg};
    }
    return {};
}

std::string helveticaFace(FontWeight weight) {
    switch (weight) {
    case FontWeight::regular:
        return "HelveticaNeue";
    case FontWeight::medium:
    case FontWeight::semibold:
        return "HelveticaNeue-Medium";
    case FontWeight::bold:
    case FontWeight::heavy:
    case FontWeight::black:
        return "HelveticaNeue-Bold";
    }
    return "";
}

} // namespace vintra::FlatControls
