#pragma once

#include "Vintra/app/DesignColor.h"
#include "Vintra/app/FlatControls.h"

#include <QColor>
#include <QObject>
#include <QtQml/qqmlregistration.h>

namespace vintra {

QColor qColor(const DesignTone& tone);

/// The colours of the windows for the QML files, which write none down themselves: those of `DesignColor`, and what is
/// derived from them. One for each engine. Main thread.
class DesignPalette : public QObject {
    Q_OBJECT
    QML_NAMED_ELEMENT(DesignColor)
    QML_SINGLETON
    Q_PROPERTY(QColor bg MEMBER bg CONSTANT)
    Q_PROPERTY(QColor surface MEMBER surface CONSTANT)
    Q_PROPERTY(QColor divider MEMBER divider CONSTANT)
    Q_PROPERTY(QColor text MEMBER text CONSTANT)
    Q_PROPERTY(QColor accent MEMBER accent CONSTANT)
    Q_PROPERTY(QColor accentHover MEMBER accentHover CONSTANT)
    Q_PROPERTY(QColor neutral100 MEMBER neutral100 CONSTANT)
    Q_PROPERTY(QColor neutral500 MEMBER neutral500 CONSTANT)
    Q_PROPERTY(QColor neutral700 MEMBER neutral700 CONSTANT)
    Q_PROPERTY(QColor neutral800 MEMBER neutral800 CONSTANT)
    Q_PROPERTY(QColor meterGreen MEMBER meterGreen CONSTANT)
    Q_PROPERTY(QColor meterYellow MEMBER meterYellow CONSTANT)
    Q_PROPERTY(QColor meterRed MEMBER meterRed CONSTANT)
    Q_PROPERTY(QColor meterRedHover MEMBER meterRedHover CONSTANT)
    Q_PROPERTY(QColor sectionFill MEMBER sectionFill CONSTANT)
    Q_PROPERTY(QColor sectionText MEMBER sectionText CONSTANT)
    Q_PROPERTY(QColor sectionDivider MEMBER sectionDivider CONSTANT)
    Q_PROPERTY(QColor sectionRowDivider MEMBER sectionRowDivider CONSTANT)
    Q_PROPERTY(QColor textSecondary MEMBER textSecondary CONSTANT)
    Q_PROPERTY(QColor textFaint MEMBER textFaint CONSTANT)
    Q_PROPERTY(QColor textQuit MEMBER textQuit CONSTANT)
    Q_PROPERTY(QColor sectionSecondary MEMBER sectionSecondary CONSTANT)
    Q_PROPERTY(QColor placeholder MEMBER placeholder CONSTANT)
    Q_PROPERTY(QColor inlineHover MEMBER inlineHover CONSTANT)
    Q_PROPERTY(QColor segmentedFill MEMBER segmentedFill CONSTANT)
    Q_PROPERTY(QColor cardButtonHover MEMBER cardButtonHover CONSTANT)
    Q_PROPERTY(QColor markHover MEMBER markHover CONSTANT)
    Q_PROPERTY(QColor linkUnderline MEMBER linkUnderline CONSTANT)
    Q_PROPERTY(QColor groundHover MEMBER groundHover CONSTANT)
    Q_PROPERTY(QColor groundDivider MEMBER groundDivider CONSTANT)
    Q_PROPERTY(QColor helpOutline MEMBER helpOutline CONSTANT)
    Q_PROPERTY(QColor previewFill MEMBER previewFill CONSTANT)
    Q_PROPERTY(QColor meterTick MEMBER meterTick CONSTANT)

public:
    DesignPalette();

    enum ButtonStyle { Primary, Outlined, Destructive };
    Q_ENUM(ButtonStyle)

    Q_INVOKABLE QColor buttonFill(vintra::DesignPalette::ButtonStyle style, bool hovering) const;
    Q_INVOKABLE QColor buttonStroke(vintra::DesignPalette::ButtonStyle style, bool hovering) const;
    Q_INVOKABLE QColor buttonTitle(vintra::DesignPalette::ButtonStyle style, bool hovering) const;

    /// Of secondary text: 5.8:1 on white, 5.4:1 on cards.
    static constexpr double kSecondaryOpacity = 0.72;

private:
    const QColor bg = qColor(DesignColor::bg);
    const QColor surface = qColor(DesignColor::surface);
    const QColor divider = qColor(DesignColor::divider);
    const QColor text = qColor(DesignColor::text);
    const QColor accent = qColor(DesignColor::accent);
    const QColor accentHover = qColor(DesignColor::accentHover);
    const QColor neutral100 = qColor(DesignColor::neutral100);
    const QColor neutral500 = qColor(DesignColor::neutral500);
    const QColor neutral700 = qColor(DesignColor::neutral700);
    const QColor neutral800 = qColor(DesignColor::neutral800);
    const QColor meterGreen = qColor(DesignColor::meterGreen);
    const QColor meterYellow = qColor(DesignColor::meterYellow);
    const QColor meterRed = qColor(DesignColor::meterRed);
    const QColor meterRedHover = qColor(DesignColor::meterRedHover);
    const QColor sectionFill = qColor(DesignColor::sectionFill);
    const QColor sectionText = qColor(DesignColor::sectionText);
    const QColor sectionDivider = qColor(DesignColor::sectionDivider);
    const QColor sectionRowDivider = qColor(DesignColor::sectionRowDivider);
    const QColor textSecondary; ///< on the dark ground
    const QColor textFaint;
    const QColor textQuit;
    const QColor sectionSecondary; ///< on white and cards
    const QColor placeholder;
    const QColor inlineHover; ///< also of menus
    const QColor segmentedFill;
    const QColor cardButtonHover;
    const QColor markHover;
    const QColor linkUnderline;
    const QColor groundHover; ///< of what stands on the dark ground
    const QColor groundDivider;
    const QColor helpOutline;
    const QColor previewFill; ///< of the controls over a camera's picture
    const QColor meterTick;
};

} // namespace vintra
