#include "Vintra/platform/SessionControl.h"

namespace vintra {

SessionControl::SessionControl(DispatchQueues& queues, MainThread& mainThread)
    : mainThread(mainThread)
    , sessionControlQueue(queues.makeSerialQueue("com.screenrecorder.sessionControl")) {}

void SessionControl::start(std::shared_ptr<AVCaptureSession> session) {
    sessionControlQueue->async([session] { session->startRunning(); });
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

} // namespace vintra
