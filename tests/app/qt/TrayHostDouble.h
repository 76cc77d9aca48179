#pragma once

#include "Vintra/platform/Mutex.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QStringList>
#include <QThread>
#include <functional>
#include <gtest/gtest.h>

namespace vintra {

/// A tray of the session that speaks StatusNotifierItem, as a desktop's panel does: it knows which items there are, and
/// asks them for what it shows. It answers on a thread of its own, since Qt waits for some answers. One thread uses it.
class TrayHostDouble : public QDBusVirtualObject {
public:
    static constexpr const char* kWatcher = "org.kde.StatusNotifierWatcher";
    static constexpr const char* kItem = "org.kde.StatusNotifierItem";

    /// `until` lets time pass until a condition holds.
    explicit TrayHostDouble(std::function<bool(const std::function<bool()>&)> until)
        : until(std::move(until)) {
        moveToThread(&thread);
        thread.start();
        EXPECT_TRUE(bus.registerVirtualObject("/StatusNotifierWatcher", this));
        EXPECT_TRUE(bus.registerService(kWatcher));
    }
    ~TrayHostDouble() override {
        bus.unregisterService(kWatcher);
        bus.unregisterObject("/StatusNotifierWatcher");
        QDBusConnection::disconnectFromBus("tray");
        thread.quit();
        thread.wait();
    }

    /// The services that have announced an item.
    QStringList items() const {
        MutexLock lock(mutex);
        return announced;
    }
    /// Calls the latest item, and gives its answer.
    QDBusMessage call(const QString& path, const QString& interface, const QString& member,
                      const QVariantList& arguments = {}) {
        auto message = QDBusMessage::createMethodCall(items().last(), path, interface, member);
        message.setArguments(arguments);
        QDBusPendingCall pending = bus.asyncCall(message);
        EXPECT_TRUE(until([&] { return pending.isFinished(); })) << member.toStdString();
        return pending.reply();
    }
    QVariant property(const QString& name) {
        const QDBusMessage reply =
            call("/StatusNotifierItem", "org.freedesktop.DBus.Properties", "Get", {kItem, name});
        return reply.arguments().value(0).value<QDBusVariant>().variant();
    }

    /// Qt reads a property only of an interface that names it.
    QString introspect(const QString&) const override {
        return QString("<interface name=\"%1\"><property name=\"IsStatusNotifierHostRegistered\" type=\"b\" "
                       "access=\"read\"/></interface>")
            .arg(kWatcher);
    }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        if (message.member() == "Get") {
            const bool isHost = message.arguments().value(1) == "IsStatusNotifierHostRegistered";
            connection.send(message.createReply(QVariant::fromValue(QDBusVariant(isHost))));
            return true;
        }
        if (message.member() != "RegisterStatusNotifierItem") return false;
        {
            MutexLock lock(mutex);
            announced.append(message.arguments().value(0).toString());
        }
        connection.send(message.createReply());
        return true;
    }

private:
    const std::function<bool(const std::function<bool()>&)> until;
    QThread thread;
    mutable Mutex mutex;
    QStringList announced GUARDED_BY(mutex);
    QDBusConnection bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, "tray");
};

} // namespace vintra
