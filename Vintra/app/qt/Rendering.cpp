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

/// Drawn by the processor at a scale below 1, a window of this Qt is cut off and garbled.
void keepFullScale() {
    constexpr const char* kScale = "QT_SCALE_FACTOR";
    const double scale = qEnvironmentVariable(kScale).toDouble();
    if (scale > 0 && scale < 1) qputenv(kScale, "1");
}

} // namespace

void prepareRendering() {
    QGuiApplication::setHighDpiScaleFactorRoundingPolicy(Qt::HighDpiScaleFactorRoundingPolicy::PassThrough);
    const bool isChosen =
        qEnvironmentVariableIsSet("QT_QUICK_BACKEND") || qEnvironmentVariableIsSet("QSG_RHI_BACKEND");
    if (!isChosen && !hasGraphicsHardware()) QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    keepFullScale();
}

} // namespace vintra
