#pragma once

#include "Vintra/platform/linux/pipewire/PipeWireConnection.h"
#include "Vintra/platform/linux/pipewire/PipeWireIOStream.h"
#include "Vintra/platform/linux/runtime/LinuxHostClock.h"

#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace vintra {

/// Looks every few milliseconds; false after ten seconds.
inline bool awaitCondition(const std::function<bool()>& condition) {
    LinuxHostClock clock;
    for (int i = 0; i < 5000; ++i) {
        if (condition()) return true;
        clock.sleep(2000);
    }
    return condition();
}

/// A stream of a test's own on any device: it plays to a sink or listens to a source or a sink's monitor.
class DeviceStream {
public:
    using Direction = PipeWireIOStream::Direction;

    DeviceStream(std::shared_ptr<PipeWireConnection> connection, const std::string& device,
                 Direction direction, AudioIOBlock block, uint32_t frames = 1024)
        : connection(std::move(connection))
        , block(std::move(block)) {
        const auto node = this->connection->devices().deviceNamed(device);
        if (!node) return;
        PipeWireLock lock(this->connection->loop());
        stream = std::make_unique<PipeWireIOStream>(*this->connection, *node, direction, this->block, cycles,
                                                    frames);
    }
    ~DeviceStream() {
        PipeWireLock lock(connection->loop());
        stream.reset();
    }
    DeviceStream(const DeviceStream&) = delete;
    DeviceStream& operator=(const DeviceStream&) = delete;

    bool awaitStreaming() {
        return awaitCondition([this] {
            PipeWireLock lock(connection->loop());
            return stream && stream->isStreaming();
        });
    }
    bool hasEnded() {
        PipeWireLock lock(connection->loop());
        return stream && stream->hasEnded();
    }
    /// The node whose clock drives it.
    uint32_t driver() const { return cycles->driver; }

private:
    const std::shared_ptr<PipeWireConnection> connection;
    const AudioIOBlock block;
    const std::shared_ptr<PipeWireCycles> cycles = std::make_shared<PipeWireCycles>();
    std::unique_ptr<PipeWireIOStream> stream;
};

} // namespace vintra
