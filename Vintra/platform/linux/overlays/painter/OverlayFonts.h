#pragma once

#include "Vintra/platform/Drawing.h"

#include <QFont>
#include <QFontMetricsF>

#include <map>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace vintra {

/// The fonts of the overlays, and how large text is in them. Sizes are those at one pixel a point, whatever the screen:
/// so a bar has one layout on all of them. Owned by the painter; main thread, while there is a QGuiApplication.
class OverlayFonts {
public:
    OverlayFonts();

    struct Face {
        QFont font;     ///< its size in pixels is that in points
        double ascent;  ///< points, whole
        double descent; ///< points, whole
    };
    const Face& face(const NSFont& font) const;
    CGSize textSize(const std::string& text, const NSFont& font) const;
    /// A piece of a text, and how far to the right of the text's beginning it stands, points.
    struct Piece {
        QString text;
        double x = 0;
    };
    /// One, unless digits stand in cells of their own.
    std::vector<Piece> pieces(const std::string& text, const NSFont& font) const;
    /// The family that all text has.
    const QString& family() const { return chosenFamily; }

private:
    /// The pieces, and the width of all.
    std::pair<std::vector<Piece>, double> laidOut(const std::string& text, const NSFont& font) const;

    struct Known {
        double size;
        NSFontWeight weight;
        Face face;
    };
    using TextKey = std::tuple<std::string, double, NSFontWeight, bool>;

    QString chosenFamily;
    mutable std::vector<Known> faces;
    mutable std::map<TextKey, double> widths;
};

} // namespace vintra
