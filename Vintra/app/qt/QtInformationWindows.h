#pragma once

#include "Vintra/app/qt/AboutModel.h"
#include "Vintra/app/qt/AcknowledgementsModel.h"
#include "Vintra/platform/Platform.h"
#include "Vintra/platform/URL.h"

#include <QQmlEngine>
#include <QQuickWindow>
#include <memory>

namespace vintra {

/// The panel about the program, and the window with the licences of what it includes. Each is made when it is first
/// asked for. Owned by `QtProgram`. Main thread.
class QtInformationWindows {
public:
    /// `acknowledgements` is the file with the licences. The engine outlives this.
    QtInformationWindows(QQmlEngine& engine, Platform platform, URL acknowledgements);
    ~QtInformationWindows();

    void showAbout();
    void showAcknowledgements();

    QQuickWindow* aboutWindow() const { return about.get(); }
    QQuickWindow* acknowledgementsWindow() const { return licences.get(); }

private:
    QQmlEngine& engine;
    const Platform platform;
    const URL acknowledgements;
    AboutModel aboutModel;
    std::unique_ptr<AcknowledgementsModel> licencesModel;
    std::unique_ptr<QQuickWindow> about;
    std::unique_ptr<QQuickWindow> licences;
};

} // namespace vintra
