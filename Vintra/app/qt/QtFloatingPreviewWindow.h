#pragma once

#include "Vintra/app/qt/PreviewModel.h"
#include "Vintra/platform/FloatingPreviewWindows.h"

#include <QObject>
#include <QQmlEngine>
#include <QQuickWindow>
#include <QTimer>
#include <memory>
#include <string>

namespace vintra {

/// A camera's window in Qt Quick. Where it is not to be seen it is taken off the screen, since not every desktop shows
/// what lies behind a window of no opacity. Main thread.
class QtFloatingPreviewWindow final : public QObject, public FloatingPreviewWindow {
public:
    /// The engine outlives this.
    QtFloatingPreviewWindow(QQmlEngine& engine, const Platform& platform,
                            const FloatingPreviewRecipe& recipe);
    ~QtFloatingPreviewWindow() override;

    CGRect frame() const override;
    void setFrame(const CGRect& frame) override;
    bool hasSavedFrame() const override;
    void setContent(FloatingPreviewContent content) override;
    void orderFront() override;
    void orderOut() override;
    void setAlphaValue(double alpha) override;
    void setIgnoresMouseEvents(bool ignores) override;
    void close() override;

    QQuickWindow* quickWindow() const { return window.get(); }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void startAt(CGRect frame);
    void resizeTo(double width);
    void show();
    std::string key() const;
    void save();

    const Platform platform;
    const FloatingPreviewRecipe recipe;
    PreviewModel model;
    std::unique_ptr<QQuickWindow> window;
    CGRect place;           ///< also while there is no window
    bool isOrdered = false; ///< on the screen, unless it is not to be seen
    bool isSeeThrough = false;
    QTimer saveTimer; ///< after a drag has come to rest
};

} // namespace vintra
