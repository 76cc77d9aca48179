#pragma once

#include "Vintra/platform/FloatingPreviewWindows.h"
#include "Vintra/platform/Platform.h"

#include <QQmlEngine>
#include <memory>

namespace vintra {

/// The windows in which cameras are seen, in Qt Quick. Their places are kept in the settings. Main thread.
class QtFloatingPreviewWindows final : public FloatingPreviewWindows {
public:
    /// The engine outlives this and its windows.
    QtFloatingPreviewWindows(QQmlEngine& engine, Platform platform);

    std::shared_ptr<FloatingPreviewWindow> makeWindow(const FloatingPreviewRecipe& recipe) override;
    CGRect visibleFrame() const override;

private:
    QQmlEngine& engine;
    const Platform platform;
};

} // namespace vintra
