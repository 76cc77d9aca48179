#include "Vintra/platform/Drain.h"

namespace vintra {

Task<> drain(MainThread& mainThread, std::shared_ptr<DispatchQueue> queue) {
    const auto begin = [queue](auto done) { queue->async(done); };
    co_await awaitCompletion<void>(mainThread, begin);
}

} // namespace vintra
