#include "Vintra/app/qt/DesignFont.h"

#include <QFontDatabase>
#include <QStringList>

namespace vintra {

/// Inter has a true Medium and Bold; the two below it lack a Medium, but are close in their letters.
QString designFontFamily() {
    static const QStringList kNearest{"Helvetica Neue", "HelveticaNeue", "Inter", "Nimbus Sans",
                                      "Liberation Sans"};
    for (const QString& family : kNearest) {
        if (QFontDatabase::hasFamily(family)) return family;
    }
    return QFontDatabase::systemFont(QFontDatabase::GeneralFont).family();
}

} // namespace vintra
