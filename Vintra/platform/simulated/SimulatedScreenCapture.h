#pragma once

#include "Vintra/platform/ScreenCapture.h"
#include "Vintra/platform/simulated/SimulatedScreenStream.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace vintra {

/// What can be captured on a simulated machine: at the start one display, number 1, of 1440 × 900 points, and
/// this program as an application. One real thread.
class SimulatedScreenCapture : public ScreenCapture {
public:
    SimulatedScreenCapture(SimulatedScreenStream::Services services, int32_t processIdentifier);

    void getShareableContent(bool excludingDesktopWindows, bool onScreenWindowsOnly,
                             std::function<void(Content)> completion) override;
    /// No windows in it.
    void getShareableDisplays(std::function<void(Content)> completion) override;
    std::shared_ptr<SCStream> makeStream(const SCContentFilter& filter,
                                         const SCStreamConfiguration& configuration,
                                         std::weak_ptr<SCStreamDelegate> delegate) override;

    SCShareableContent content;              ///< what queries find; read when they are answered
    std::optional<SystemError> contentError; ///< queries fail
    double contentSeconds = 0.1;             ///< how long a query takes
    int64_t contentQueries = 0;              ///< of both kinds
    int64_t windowQueries = 0;               ///< those of them that ask for windows too
    std::optional<SystemError> makeStreamError;
    SimulatedStreamScript script; ///< of the streams to come

    /// What is captured shows something new.
    void changePicture();
    /// The stream made last, as long as it exists.
    std::shared_ptr<SimulatedScreenStream> stream() const { return lastStream.lock(); }
    int64_t streamsMade = 0;
    std::optional<SCContentFilter> lastFilter;
    std::optional<SCStreamConfiguration> lastConfiguration;

private:
    void answerQuery(bool withWindows, std::function<void(Content)> completion);
    bool isThere(const SCContentFilter& filter) const;

    SimulatedScreenStream::Services services;
    std::weak_ptr<SimulatedScreenStream> lastStream;
};

} // namespace vintra
