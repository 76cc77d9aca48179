#include "Vintra/app/qt/TrayHost.h"

#include "tests/app/qt/XTrayDouble.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <chrono>
#include <functional>
#include <memory>

namespace vintra {
namespace {

bool comesTrue(const std::function<bool()>& condition) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    }
    return true;
}

TEST(TrayHostTest, aTrayOfXWindowsComesAndGoes) {
    int changes = 0;
    const TrayHost host([&changes] { ++changes; });
    EXPECT_FALSE(host.isThere());
    auto tray = std::make_unique<XTrayDouble>();
    EXPECT_TRUE(comesTrue([&] { return host.isThere(); }));
    tray = nullptr;
    EXPECT_TRUE(comesTrue([&] { return !host.isThere(); }));
    EXPECT_EQ(changes, 2);
}

} // namespace
} // namespace vintra
