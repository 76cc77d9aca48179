#include "Vintra/platform/linux/overlays/painter/OverlayFonts.h"

#include <QFontDatabase>
#include <QStringList>

#include <cmath>

namespace vintra {
namespace {

/// The texts of an overlay are few; sizes that a drag shows once pile up.
constexpr size_t kMostWidths = 512;

/// Of those that are installed, the one that is nearest to the first; empty for whatever the desktop has.
QString installedFamily() {
    const QStringList installed = QFontDatabase::families();
    for (const char* const name : {"Helvetica Neue", "Inter", "Nimbus Sans", "Liberation Sans"}) {
        if (installed.contains(QLatin1String(name))) return QLatin1String(name);
    }
    return {};
}

QFont::Weight weightOf(NSFontWeight weight) {
    switch (weight) {
    case NSFontWeight::regular:
        return QFont::Normal;
    case NSFontWeight::medium:
        return QFont::Medium;
    case NSFontWeight::semibold:
        return QFont::DemiBold;
    case NSFontWeight::bold:
        return QFont::Bold;
    }
    return QFont::Normal;
}

} // namespace

OverlayFonts::OverlayFonts()
    : chosenFamily(installedFamily()) {}

const OverlayFonts::Face& OverlayFonts::face(const NSFont& font) const {
    for (const Known& known : faces) {
        if (known.size == font.size && known.weight == font.weight) return known.face;
    }
    QFont made;
    if (!chosenFamily.isEmpty()) made.setFamily(chosenFamily);
    made.setPixelSize(static_cast<int>(std::lround(font.size)));
    made.setWeight(weightOf(font.weight));
    made.setHintingPreference(QFont::PreferNoHinting); // the same at every scale
    const QFontMetricsF metrics(made);
    faces.push_back(
        {font.size,
         font.weight,
         {.font = made, .ascent = std::round(metrics.ascent()), .descent = std::round(metrics.descent())}});
    return faces.back().face;
}

CGSize OverlayFonts::textSize(const std::string& text, const NSFont& font) const {
    const Face& used = face(font);
    const double height = used.ascent + used.descent;
    TextKey key{text, font.size, font.weight, font.hasEqualDigits};
    const auto known = widths.find(key);
    if (known != widths.end()) return {known->second, height};
    const double width = laidOut(text, font).second;
    if (widths.size() >= kMostWidths) widths.clear();
    widths.emplace(std::move(key), width);
    return {width, height};
}

std::vector<OverlayFonts::Piece> OverlayFonts::pieces(const std::string& text, const NSFont& font) const {
    return laidOut(text, font).first;
}

std::pair<std::vector<OverlayFonts::Piece>, double> OverlayFonts::laidOut(const std::string& text,
                                                                          const NSFont& font) const {
    const QFontMetricsF metrics(face(font).font);
    const QString all = QString::fromStdString(text);
    if (!font.hasEqualDigits) return {{{all, 0}}, metrics.horizontalAdvance(all)};
    const double cell = metrics.horizontalAdvance(QLatin1Char('0'));
    std::vector<Piece> result;
    double x = 0;
    for (qsizetype at = 0; at < all.size();) {
        qsizetype end = at + 1;
        const bool isDigit = all[at].isDigit();
        while (!isDigit && end < all.size() && !all[end].isDigit())
            ++end;
        const QString part = all.mid(at, end - at);
        const double width = metrics.horizontalAdvance(part);
        result.push_back({part, isDigit ? x + (cell - width) / 2 : x});
        x += isDigit ? cell : width;
        at = end;
    }
    return {std::move(result), x};
}

} // namespace vintra
