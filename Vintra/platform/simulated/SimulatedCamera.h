#pragma once

#include "Vintra/platform/AVCaptureVideoDevice.h"
#include "Vintra/platform/CMSampleBuffer.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace vintra {

/// A camera of a simulated machine: what it says of itself, what it sends, and how it fails. Every member may be
/// changed at any time, as by a camera that does so by itself.
struct SimulatedCamera {
    std::string uid;
    std::string name;
    std::vector<AVCaptureDeviceFormat> formats;
    std::optional<AVCaptureDeviceFormat> activeFormat; ///< nothing: it can't be read, or none was set
    CMTime minFrameDuration;                           ///< what it is set to; its pictures come at this
    CMTime maxFrameDuration;

    bool refusesLock = false;   ///< `lockForConfiguration` is false
    bool failsToOpen = false;   ///< `makeDeviceInput` throws
    bool refusesInput = false;  ///< a session can't add it
    bool refusesOutput = false; ///< a session with it can't add an output
    bool failsToStart = false;  ///< the session doesn't run
    /// Done to the camera by each start of a session, as some cameras do it to themselves.
    std::function<void(SimulatedCamera&)> atStart = nullptr;

    double startSeconds = 0.05;      ///< how long `startRunning` blocks
    double firstFrameSeconds = 0.03; ///< from then to the capture of the first picture
    double clockRatio = 1;           ///< pictures it takes in the time of one, by the host clock
    /// The time between two pictures, whatever it is set to; nothing: as set, or 30 a second if it isn't.
    std::optional<CMTime> sendsEvery = std::nullopt;
    /// From the capture of a picture to its handing over, in seconds; pictures never overtake each other.
    double deliverySeconds = 0.015;
    std::function<double(int64_t picture)> lateness = nullptr; ///< added to that, in seconds
    /// How far a picture's stamp is from its capture, in seconds; right if not set.
    std::function<double(int64_t picture)> stampError = nullptr;
    bool hasStamps = true; ///< false: the stamps are invalid

    bool isStopped = false; ///< runs, but sends nothing, for as long as this holds
    bool isFrozen = false;  ///< sends the same picture again and again
    bool isBlack = false;
    std::optional<CMVideoDimensions> sends =
        std::nullopt; ///< the size of its pictures; nothing: the format's
    /// Changes a picture before it is handed over, or drops it.
    std::function<std::optional<CMSampleBuffer>(CMSampleBuffer)> alter = nullptr;

    /// What was done with it, in order: "lock", "refused lock", "unlock", "format 1920×1080 420v",
    /// "min 1/30", "max 1/30", "start", "stop".
    std::vector<std::string> calls;

    /// A format of one range of rates; where both are equal, of one rate.
    static AVCaptureDeviceFormat format(int32_t width, int32_t height, const char (&subtype)[5],
                                        double minFrameRate, double maxFrameRate);
    /// The time between two frames at a rate: 1001/30000 s for 29.97, 1/rate for whole ones.
    static CMTime durationAt(double rate);
    /// Sets a format with its own durations.
    void use(const AVCaptureDeviceFormat& format);
    CMTime interval() const;
    CMVideoDimensions pictureSize() const;
};

} // namespace vintra
