#include "Vintra/platform/linux/pipewire/PipeWireIOProc.h"

#include "Vintra/platform/linux/pipewire/PipeWireConnection.h"
#include "Vintra/platform/linux/pipewire/PipeWireIOStream.h"

#include <utility>

namespace vintra {
namespace {

constexpr double kSecondsUntilIORefused = 3.0;

} // namespace

PipeWireIOProc::PipeWireIOProc(std::shared_ptr<PipeWireConnection> connection, std::string deviceName,
                               AudioIOBlock block, std::shared_ptr<PipeWireCycles> cycles, uint32_t frames,
                               std::function<void()> started)
    : connection(std::move(connection))
    , deviceName(std::move(deviceName))
    , block(std::move(block))
    , cycles(std::move(cycles))
    , frames(frames)
    , started(std::move(started)) {}

PipeWireIOProc::~PipeWireIOProc() {
    stop();
}

bool PipeWireIOProc::start() {
    if (!connectStream()) return false;
    started();
    return true;
}

bool PipeWireIOProc::connectStream() {
    const auto node = connection->devices().deviceNamed(deviceName);
    if (!node) return false;
    PipeWireLock lock(connection->loop());
    if (stream && stream->isStreaming()) return true;
    stream.reset();
    // What can both is played to: who only listens opens a session.
    const bool isSource = node->isVirtualDevice() || !node->isOutput();
    const auto direction =
        isSource ? PipeWireIOStream::Direction::input : PipeWireIOStream::Direction::output;
    stream = std::make_unique<PipeWireIOStream>(*connection, *node, direction, block, cycles, frames);
    const int64_t deadline = PipeWireLoop::deadlineIn(kSecondsUntilIORefused);
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
