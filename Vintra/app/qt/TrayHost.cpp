#include "Vintra/app/qt/TrayHost.h"

#include "Vintra/app/qt/XTrayOwner.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <utility>

namespace vintra {
namespace {

constexpr const char* kWatcher = "org.kde.StatusNotifierWatcher";
constexpr int kXLookMilliseconds = 3000;

QDBusMessage question() {
    auto message = QDBusMessage::createMethodCall(kWatcher, "/StatusNotifierWatcher",
                                                  "org.freedesktop.DBus.Properties", "Get");
    message << kWatcher << "IsStatusNotifierHostRegistered";
    message.setAutoStartService(false);
    return message;
}

bool isYes(const QDBusPendingReply<QDBusVariant>& reply) {
    return reply.isValid() && reply.value().variant().toBool();
}

} // namespace

TrayHost::TrayHost(std::function<void()> changed)
    : changed(std::move(changed))
    , watcher(kWatcher, QDBusConnection::sessionBus(), QDBusServiceWatcher::WatchForOwnerChange) {
    connect(&watcher, &QDBusServiceWatcher::serviceOwnerChanged, this, [this] { look(); });
    // The tray itself may come after the service that knows of it.
    for (const char* const change : {"StatusNotifierHostRegistered", "StatusNotifierHostUnregistered"})
        QDBusConnection::sessionBus().connect(QString(), "/StatusNotifierWatcher", kWatcher, change, this,
                                              SLOT(look()));
    xTimer.setInterval(kXLookMilliseconds);
    connect(&xTimer, &QTimer::timeout, this, [this] { decide(false); });
    look();
}

void TrayHost::look() {
    // Without a bus a question never ends.
    if (!QDBusConnection::sessionBus().isConnected()) {
        decide(false);
        return;
    }
    auto* const call = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(question()), this);
    connect(call, &QDBusPendingCallWatcher::finished, this, [this, call] {
        call->deleteLater();
        decide(isYes(*call));
    });
}

void TrayHost::decide(bool hasNotifierHost) {
    const bool hasXTray = kind != Kind::notifier && isXTrayThere();
    if (kind == Kind::undecided && hasNotifierHost) {
        kind = Kind::notifier;
    } else if (kind == Kind::undecided && hasXTray) {
        kind = Kind::xWindows;
    }
    if (kind == Kind::notifier) {
        xTimer.stop();
        publish(hasNotifierHost);
        return;
    }
    if (canHaveXTray()) xTimer.start();
    publish(hasXTray);
}

void TrayHost::publish(bool isNow) {
    if (std::exchange(isThereNow, isNow) != isNow) changed();
}

} // namespace vintra
