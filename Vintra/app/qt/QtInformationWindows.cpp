#include "Vintra/app/qt/QtInformationWindows.h"

#include "Vintra/app/qt/QmlWindow.h"

#include <utility>

namespace vintra {
namespace {

void bringToFront(QQuickWindow* window) {
    if (!window) return;
    if (window->visibility() == QWindow::Minimized) {
        window->showNormal();
    } else {
        window->show();
    }
    window->raise();
    window->requestActivate();
}

} // namespace

QtInformationWindows::QtInformationWindows(QQmlEngine& engine, Platform platform, URL acknowledgements)
    : engine(engine)
    , platform(std::move(platform))
    , acknowledgements(std::move(acknowledgements))
    , aboutModel(AboutPanel::content(this->platform)) {}

QtInformationWindows::~QtInformationWindows() = default;

void QtInformationWindows::showAbout() {
    if (!about)
        about = makeQmlWindow(engine, "AboutWindow.qml", {{"model", QVariant::fromValue(&aboutModel)}});
    bringToFront(about.get());
}

void QtInformationWindows::showAcknowledgements() {
    if (!licences) {
        licencesModel = std::make_unique<AcknowledgementsModel>(
            AcknowledgementsView(*platform.fileManager, acknowledgements));
        licences = makeQmlWindow(engine, "AcknowledgementsWindow.qml",
                                 {{"model", QVariant::fromValue(licencesModel.get())}});
    }
    bringToFront(licences.get());
}

} // namespace vintra
