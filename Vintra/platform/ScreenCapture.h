#pragma once

#include "Vintra/platform/CMSampleBuffer.h"
#include "Vintra/platform/DispatchQueue.h"
#include "Vintra/platform/Geometry.h"
#include "Vintra/platform/SystemError.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace vintra {

/// A display as it can be captured.
struct SCDisplay {
    uint32_t displayID = 0;
    int width = 0; ///< points
    int height = 0;
    int pixelWidth = 0; ///< 0 where the machine tells points alone
    int pixelHeight = 0;
    bool operator==(const SCDisplay&) const = default;
};

struct SCWindow {
    uint32_t windowID = 0;
    CGRect frame; ///< points
    std::string title;
    int pixelWidth = 0; ///< 0 where the machine tells points alone
    int pixelHeight = 0;
    bool operator==(const SCWindow&) const = default;
};

struct SCRunningApplication {
    int32_t processID = 0;
    std::string applicationName;
    bool operator==(const SCRunningApplication&) const = default;
};

struct SCShareableContent {
    std::vector<SCDisplay> displays;
    std::vector<SCWindow> windows;
    std::vector<SCRunningApplication> applications; ///< those whose windows a stream can leave out
};

/// One window by itself, whatever lies over it; or a display without some applications' windows, some of
/// which are excepted and shown all the same.
struct SCContentFilter {
    struct DesktopIndependentWindow {
        SCWindow window;
    };
    struct Display {
        SCDisplay display;
        std::vector<SCRunningApplication> excludingApplications;
        std::vector<SCWindow> exceptingWindows;
    };
    std::variant<DesktopIndependentWindow, Display> content;
};

struct SCStreamConfiguration {
    int32_t width = 0; ///< pixels, even
    int32_t height = 0;
    std::optional<CGRect> sourceRect; ///< the part of the display to show, in points; nothing for all of it
    CMTime minimumFrameInterval;
    uint32_t pixelFormat = kCVPixelFormatType_32BGRA;
    bool showsCursor = true;
    int queueDepth = 8; ///< frames that may be on their way to the output at once
};

/// What a frame's status says. Only a complete frame carries a new picture.
enum class SCFrameStatus : int64_t {
    complete = 0,
    idle = 1,
    blank = 2,
    suspended = 3,
    started = 4,
    stopped = 5
};
/// The attachment of a stream's samples that holds their `SCFrameStatus` as a whole number.
inline constexpr const char* SCStreamFrameInfoStatus = "SCStreamUpdateFrameStatus";

enum class SCStreamOutputType { screen, audio };

class SCStream;

/// From `first` up to `end` there was something new to show, which the capture couldn't take: it had no memory
/// free, or no time.
struct SCMissedFrames {
    CMTime first;
    CMTime end;
    bool operator==(const SCMissedFrames&) const = default;
};

/// Takes a stream's samples, on the queue given with it.
class SCStreamOutput {
public:
    virtual ~SCStreamOutput() = default;
    virtual void stream(SCStream& stream, const CMSampleBuffer& didOutputSampleBuffer,
                        SCStreamOutputType of) = 0;
    /// Before the sample that follows, or before the completion of the stop if none does.
    virtual void stream(SCStream& stream, const SCMissedFrames& didMissFrames) = 0;
};

/// Is told, on any thread and at most once, that a running stream has ended by itself.
class SCStreamDelegate {
public:
    virtual ~SCStreamDelegate() = default;
    virtual void stream(SCStream& stream, const SystemError& didStopWithError) = 0;
};

/// A running capture of the screen. Frames come only when the picture has changed, the first one as soon as
/// the capture runs, no closer together than the minimum frame interval, each stamped with the host time it
/// shows. If the output falls behind by the queue depth, frames are left out at the source, which the output
/// is told; the capture never waits. Main thread.
class SCStream {
public:
    virtual ~SCStream() = default;
    /// Before the capture. Held weakly. Throws `SystemError`.
    virtual void addStreamOutput(std::weak_ptr<SCStreamOutput> output, SCStreamOutputType type,
                                 std::shared_ptr<DispatchQueue> sampleHandlerQueue) = 0;
    /// Gets what the capture needs, above all the user's permission where the system asks for it, so that the start takes no
    /// time. At most once, before the start, which does without it. The completion may come on any thread; it carries the
    /// error if there was one. `stopCapture` ends the wait.
    virtual void prepareCapture(std::function<void(std::optional<SystemError>)> completion) = 0;
    /// The completion may come on any thread; it carries the error if there was one.
    virtual void startCapture(std::function<void(std::optional<SystemError>)> completion) = 0;
    /// After the completion no further sample is queued. It doesn't wait without end for a desktop that hangs.
    virtual void stopCapture(std::function<void(std::optional<SystemError>)> completion) = 0;
    /// A sentence for the user if a part of what was captured is missing, such as its end; after the stop's completion.
    virtual std::optional<std::string> endNote() const = 0;
    /// Why nothing can be seen at the moment of what is captured, as a sentence, while the capture waits for it to come back:
    /// a display that is switched off. No frames come meanwhile.
    virtual std::optional<std::string> interruption() const = 0;
};

/// What can be captured of the screen. Main thread.
class ScreenCapture {
public:
    virtual ~ScreenCapture() = default;

    struct Content {
        SCShareableContent content;
        std::optional<SystemError> error; ///< set if the content could not be read
    };
    /// The completion may come on any thread.
    virtual void getShareableContent(bool excludingDesktopWindows, bool onScreenWindowsOnly,
                                     std::function<void(Content)> completion) = 0;
    /// The same without windows, where reading them would take time that nobody needs.
    virtual void getShareableDisplays(std::function<void(Content)> completion) {
        getShareableContent(false, true, std::move(completion));
    }
    /// The delegate is held weakly. Throws `SystemError`.
    virtual std::shared_ptr<SCStream> makeStream(const SCContentFilter& filter,
                                                 const SCStreamConfiguration& configuration,
                                                 std::weak_ptr<SCStreamDelegate> delegate) = 0;
};

} // namespace vintra
