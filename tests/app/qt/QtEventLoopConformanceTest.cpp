#include "Vintra/app/qt/QtEventLoop.h"
#include "tests/platform/EventLoopConformance.h"

namespace vintra {
namespace {

struct QtLoopBackend {
    EventLoop& eventLoop() { return loop; }
    QtEventLoop loop;
};

INSTANTIATE_TYPED_TEST_SUITE_P(Qt, EventLoopConformance, QtLoopBackend);

} // namespace
} // namespace vintra
