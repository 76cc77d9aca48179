#include "Vintra/platform/SessionControl.h"

#include "Vintra/platform/Drain.h"

#include <utility>

namespace vintra {

SessionControl::SessionControl(DispatchQueues& queues, MainThread& mainThread)
    : mainThread(mainThread)
    , sessionControlQueue(queues.makeSerialQueue("com.screenrecorder.sessionControl")) {}

void SessionControl::start(std::shared_ptr<AVCaptureSession> session, std::function<void()> started) {
    sessionControlQueue->async(
        [main = &mainThread, session = std::move(session), started = std::move(started)] {
            session->startRunning();
            main->post(started);
        });
}

Task<> SessionControl::stop(std::shared_ptr<AVCaptureSession> session) {
    const auto begin = [queue = sessionControlQueue, session](auto done) {
        queue->async([session, done] {
            session->stopRunning();
            done();
        });
    };
    co_await awaitCompletion<void>(mainThread, begin);
}

Task<> SessionControl::settle() {
    return drain(mainThread, sessionControlQueue);
}

} // namespace vintra
