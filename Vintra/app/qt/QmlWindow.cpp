#include "Vintra/app/qt/QmlWindow.h"

#include <QDebug>
#include <QQmlComponent>

namespace vintra {

std::unique_ptr<QQuickWindow> makeQmlWindow(QQmlEngine& engine, const char* file,
                                            const QVariantMap& properties) {
    QQmlComponent component(&engine, QUrl(QStringLiteral("qrc:/qt/qml/Vintra/") + file));
    std::unique_ptr<QObject> made;
    if (component.isReady()) made.reset(component.createWithInitialProperties(properties));
    auto* const window = qobject_cast<QQuickWindow*>(made.get());
    if (!window) {
        qCritical().noquote() << component.errorString();
        return nullptr;
    }
    QQmlEngine::setObjectOwnership(window, QQmlEngine::CppOwnership);
    made.release();
    return std::unique_ptr<QQuickWindow>(window);
}

} // namespace vintra
