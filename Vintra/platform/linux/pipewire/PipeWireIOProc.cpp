#include "Vintra/platform/linux/pipewire/PipeWireIOProc.h"

#include "Vintra/platform/linux/pipewire/PipeWireConnection.h"
#include "Vintra/platform/linux/pipewire/PipeWireIOStream.h"

#include <utility>

namespace vintra {
namespace {

constexpr double secondsUntilRefused = 3.0;

} // namespace

PipeWireIOProc::PipeWireIOProc(std::shared_ptr<PipeWireConnection> itsConnection, std::string itsDeviceName,
                               AudioIOBlock itsBlock, std::shared_ptr<PipeWireCycles> itsCycles,
                               uint32_t itsFrames, std::function<void()> itsStarted)
    : connection(std::move(itsConnection))
    , deviceName(std::move(itsDeviceName))
    , block(std::move(itsBlock))
    , cycles(std::move(itsCycles))
    , frames(itsFrames)
    , started(std::move(itsStarted)) {}

PipeWireIOProc::~PipeWireIOProc() {
    stop();
}

bool PipeWireIOProc::start() {
    if (!connectStream()) return false;
    started();
    return true;
}

bool PipeWireIOProc::connectStream() {
    const auto node = connection->deviceNamed(deviceName);
    if (!node) return false;
    PipeWireLock lock(connection->loop());
    if (stream && stream->isStreaming()) return true;
    stream.reset();
    const auto direction =
        node->isInput() ? PipeWireIOStream::Direction::input : PipeWireIOStream::Direction::output;
    stream = std::make_unique<PipeWireIOStream>(*connection, *node, direction, block, cycles, frames);
    const int64_t deadline = PipeWireLoop::deadlineIn(secondsUntilRefused);
    while (!stream->isStreaming() && !stream->hasEnded()) {
        if (!connection->loop().waitUntil(deadline)) break;
    }
    if (!stream->isStreaming()) stream.reset();
    return stream != nullptr;
}

void PipeWireIOProc::stop() {
    PipeWireLock lock(connection->loop());
    stream.reset();
}

} // namespace vintra
