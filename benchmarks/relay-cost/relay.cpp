// Relays what is played to the virtual device to an output, and nothing else, until it is interrupted.
//
//     relay [OUTPUT]        by its node.name; otherwise the default output

#include "Vintra/audio/SystemAudioRelay.h"
#include "Vintra/platform/linux/pipewire/PipeWireAudioHardware.h"
#include "Vintra/platform/linux/pipewire/PipeWireConnection.h"
#include "Vintra/platform/linux/pipewire/PipeWireDeviceIO.h"
#include "Vintra/platform/linux/runtime/LinuxEventLoop.h"
#include "Vintra/platform/linux/runtime/LinuxLog.h"
#include "Vintra/platform/linux/runtime/LinuxWallClock.h"

#include <csignal>
#include <cstdio>

int main(int argumentCount, char** arguments) {
    using namespace vintra;
    sigset_t interrupts;
    sigemptyset(&interrupts);
    sigaddset(&interrupts, SIGINT);
    sigaddset(&interrupts, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &interrupts, nullptr);

    const auto connection = std::make_shared<PipeWireConnection>();
    PipeWireAudioHardware hardware(connection, std::make_shared<LinuxEventLoop>());
    PipeWireDeviceIO io(connection, std::make_shared<LinuxLog>(LogLevel::standard));
    const LinuxWallClock wallClock;
    const auto source = connection->devices().numberNamed(kVirtualAudioDeviceName);
    const auto output =
        argumentCount > 1 ? connection->devices().numberNamed(arguments[1]) : hardware.defaultOutputDevice();
    if (!source || !output) {
        std::fputs("relay: the devices aren't there\n", stderr);
        return 1;
    }
    SystemAudioRelay relay({.hardware = hardware, .io = io, .wallClock = wallClock}, *source, *output, {});
    if (!relay.start()) {
        std::fputs("relay: it does not start\n", stderr);
        return 1;
    }
    std::puts("ready");
    std::fflush(stdout);
    int received = 0;
    sigwait(&interrupts, &received);
    std::printf("%s\n", relay.telemetry().summary(wallClock).c_str());
    return 0;
}
