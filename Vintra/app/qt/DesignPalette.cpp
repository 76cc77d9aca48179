#include "Vintra/app/qt/DesignPalette.h"

#include "Vintra/app/MenuBarItem.h"

namespace vintra {
namespace {

QColor faded(DesignTone tone, double opacity) {
    tone.opacity = opacity;
    return qColor(tone);
}

FlatControls::ButtonColors colorsOf(DesignPalette::ButtonStyle style, bool hovering) {
    switch (style) {
    case DesignPalette::Primary:
        return FlatControls::colors(FlatControls::ButtonStyle::primary, hovering);
    case DesignPalette::Outlined:
        return FlatControls::colors(FlatControls::ButtonStyle::outlined, hovering);
    case DesignPalette::Destructive:
        return FlatControls::colors(FlatControls::ButtonStyle::destructive, hovering);
    }
    return {};
}

} // namespace

QColor qColor(const DesignTone& tone) {
    QColor color(static_cast<QRgb>(tone.hex));
    color.setAlphaF(static_cast<float>(tone.opacity));
    return color;
}

DesignPalette::DesignPalette()
    : textSecondary(faded(DesignColor::text, kSecondaryOpacity))
    , textFaint(faded(DesignColor::text, MenuBarItem::kDetailOpacity))
    , textQuit(faded(DesignColor::text, MenuBarItem::kQuitOpacity))
    , sectionSecondary(faded(DesignColor::sectionText, kSecondaryOpacity))
    , placeholder(faded(DesignColor::sectionText, 0.66))
    , inlineHover(faded(DesignColor::sectionText, FlatControls::inlineButton.hoverOpacity))
    , segmentedFill(faded(DesignColor::sectionText, FlatControls::segmented.fillOpacity))
    , cardButtonHover(faded(DesignColor::sectionFill, FlatControls::cardButton.hoverOpacity))
    , markHover(faded(DesignColor::sectionText, 0.1))
    , linkUnderline(faded(DesignColor::sectionText, 0.38))
    , groundHover(faded(DesignColor::sectionFill, 0.08))
    , groundDivider(faded(DesignColor::sectionFill, 0.14))
    , helpOutline(faded(DesignColor::sectionFill, 0.2))
    , previewFill(faded(DesignColor::bg, 0.85))
    , meterTick(faded(DesignColor::sectionText, 0.85)) {}

QColor DesignPalette::buttonFill(ButtonStyle style, bool hovering) const {
    return style == Outlined && hovering ? groundHover : qColor(colorsOf(style, hovering).fill);
}

QColor DesignPalette::buttonStroke(ButtonStyle style, bool hovering) const {
    return qColor(colorsOf(style, hovering).stroke);
}

QColor DesignPalette::buttonTitle(ButtonStyle style, bool hovering) const {
    return qColor(colorsOf(style, hovering).title);
}

} // namespace vintra
