#include "Vintra/app/qt/Rendering.h"

#include <QGuiApplication>
#include <QQuickWindow>
#include <filesystem>
#include <system_error>

namespace vintra {
namespace {

bool hasGraphicsHardware() {
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator("/dev/dri", error)) {
        if (entry.path().filename().string().starts_with("renderD")) return true;
    }
    return false;
}

} // namespace

void prepareRendering() {
    QGuiApplication::setHighDpiScaleFactorRoundingPolicy(Qt::HighDpiScaleFactorRoundingPolicy::PassThrough);
    const bool isChosen =
        qEnvironmentVariableIsSet("QT_QUICK_BACKEND") || qEnvironmentVariableIsSet("QSG_RHI_BACKEND");
    if (!isChosen && !hasGraphicsHardware()) QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
}

} // namespace vintra
