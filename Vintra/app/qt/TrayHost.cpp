#include "Vintra/app/qt/TrayHost.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QSystemTrayIcon>
#include <utility>

namespace vintra {
namespace {

constexpr const char* kWatcher = "org.kde.StatusNotifierWatcher";
constexpr int kPatienceMilliseconds = 300;

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
    , watcher(kWatcher, QDBusConnection::sessionBus(), QDBusServiceWatcher::WatchForOwnerChange)
    , hasNotifierHost(
          isYes(QDBusConnection::sessionBus().call(question(), QDBus::Block, kPatienceMilliseconds)))
    , speaksNotifierItem(hasNotifierHost) {
    connect(&watcher, &QDBusServiceWatcher::serviceOwnerChanged, this, [this] { look(); });
}

bool TrayHost::isThere() const {
    return speaksNotifierItem ? hasNotifierHost : QSystemTrayIcon::isSystemTrayAvailable();
}

void TrayHost::look() {
    auto* const call = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(question()), this);
    connect(call, &QDBusPendingCallWatcher::finished, this, [this, call] {
        call->deleteLater();
        const bool isNow = isYes(*call);
        if (std::exchange(hasNotifierHost, isNow) != isNow) changed();
    });
}

} // namespace vintra
