#include "Vintra/app/qt/QtDesktopToolkit.h"

#include "Vintra/app/qt/QtStrings.h"

#include <QClipboard>
#include <QFileDialog>
#include <QGuiApplication>
#include <QWindow>
#include <utility>

namespace vintra::QtDesktopToolkit {

void copyToPasteboard(const std::string& text) {
    QGuiApplication::clipboard()->setText(qString(text));
}

std::string portalNameOf(const QWindow* window) {
    if (!window || !window->handle() || QGuiApplication::platformName() != "xcb") return "";
    return "x11:" + QString::number(window->winId(), 16).toStdString();
}

void chooseFolder(const std::string& title, const URL& startingAt, std::function<void(const URL&)> onChosen) {
    auto* const panel =
        new QFileDialog(nullptr, qString(title), QFile::decodeName(startingAt.path().c_str()));
    panel->setAttribute(Qt::WA_DeleteOnClose);
    panel->setFileMode(QFileDialog::Directory);
    panel->setOption(QFileDialog::ShowDirsOnly);
    QObject::connect(panel, &QFileDialog::fileSelected,
                     [onChosen = std::move(onChosen)](const QString& path) {
                         onChosen(URL::fileURL(QFile::encodeName(path).toStdString()));
                     });
    panel->open();
}

} // namespace vintra::QtDesktopToolkit
