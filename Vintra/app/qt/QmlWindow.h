#pragma once

#include <QQmlEngine>
#include <QQuickWindow>
#include <QVariantMap>
#include <memory>

namespace vintra {

/// The window of a file of the QML module, not yet shown; null, with the reasons in the log, if it can't be loaded.
/// Main thread.
std::unique_ptr<QQuickWindow> makeQmlWindow(QQmlEngine& engine, const char* file,
                                            const QVariantMap& properties);

} // namespace vintra
