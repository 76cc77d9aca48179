#pragma once

#include "Vintra/platform/AVCaptureVideoDevice.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace vintra {

class UserDefaults;

/// The most lines of a camera's picture, where it is to be captured at its best, and at 1080p at the most.
inline constexpr int32_t kMostLines = 2160;
inline constexpr int32_t kMostLinesOf1080p = 1080;

/// The most frames a second that cameras are let run at, by the setting "webcamMaxFrameRate": 30 without it, and
/// nothing, which is no cap, if it is 0 or negative.
std::optional<double> webcamMaxFrameRate(const UserDefaults& defaults);

/// The format at which a camera is recorded; nothing if none fits.
///
/// Goal: the largest 16:9 picture that an editor can use, at the rate that is aimed at: the cap, or 30 frames a
/// second if that is less. Method: formats wider than 3840, higher than `maxHeight`, of another shape or that
/// don't reach 23.99 frames a second are left out. Of the rest the larger area wins, then the subtype 420v, which
/// encoders take as it is, then the rate: any that reaches the aim goes before one that doesn't, the nearest to it
/// first. What is equal in all of that stays in the camera's own order.
std::optional<AVCaptureDeviceFormat> bestCameraFormat(const std::vector<AVCaptureDeviceFormat>& formats,
                                                      std::optional<double> cap, int32_t maxHeight);

/// The time between two frames that keeps a camera within the cap; nothing if the format doesn't go beyond it, or
/// can't be held to it.
std::optional<CMTime> cappedFrameDuration(double cap, const AVCaptureDeviceFormat& format);

/// Whether two formats are the same to a recording: size, subtype and top rate.
bool sameShape(const AVCaptureDeviceFormat& a, const AVCaptureDeviceFormat& b);

} // namespace vintra
