#pragma once

#include "tools/published-camera/CameraCanvas.h"
#include "tools/published-camera/CameraPixels.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

struct pw_buffer;
struct pw_stream;
struct pw_thread_loop;
struct spa_pod;
struct spa_source;

namespace vintra {

using PublishedRate = std::pair<uint32_t, uint32_t>; ///< frames in a number of seconds

/// A format that a published camera offers.
struct PublishedFormat {
    CameraPixelKind kind = CameraPixelKind::yuy2;
    std::string kindName;
    uint32_t width = 0;
    uint32_t height = 0;
    std::vector<PublishedRate> rates;
    bool areRatesRange = false; ///< the first and the last of all in between
};

struct PublishedCameraOptions {
    std::string name = "vintra.headless.camera";
    std::string description = "Headless Camera";
    std::vector<PublishedFormat> formats;
    std::optional<CanvasColours> colours; ///< said in the format; nothing: unsaid, as is usual for the size
    double jitterMilliseconds = 0;        ///< of the capture of each picture, at most this early or late
    double driftPPM = 0;                  ///< how much faster its clock runs
    bool hasStamps = true;
};

/// A camera that others find in PipeWire. It drives the graph and takes a picture at each tick of its own clock,
/// whether someone sees it or not. Owned by a tool's main thread.
class PublishedCameraStream {
public:
    explicit PublishedCameraStream(PublishedCameraOptions options);
    ~PublishedCameraStream();
    PublishedCameraStream(const PublishedCameraStream&) = delete;
    PublishedCameraStream& operator=(const PublishedCameraStream&) = delete;

    /// Blocks until others can find the camera. False, with the reason on stderr, if that can't be done.
    bool start();
    /// One of the commands of the usage. False if it isn't one.
    bool obey(const std::string& command);
    /// Called, on PipeWire's thread, once the server has gone. Set before `start`.
    std::function<void()> onLost;

private:
    enum class Mode { live, frozen, black, stopped };
    /// When a live picture is white all over: for a while from each of these instants on. Nanoseconds.
    struct Flashes {
        int64_t first = 0;
        int64_t interval = 0;
        int64_t length = 0;
        bool contain(int64_t time) const { return time >= first && (time - first) % interval < length; }
    };
    struct Events;

    bool connectStream();
    std::vector<const spa_pod*> formatPods();
    void stateChanged(int state, const char* error);
    void formatChanged(const spa_pod* parameter);
    void tick();
    void process();
    bool fill(pw_buffer& buffer);
    int64_t timeOf(uint64_t number) const;
    void arm(int64_t at);

    PublishedCameraOptions options;
    pw_thread_loop* loop = nullptr;
    pw_stream* stream = nullptr;
    spa_source* timer = nullptr;
    int state = 0;
    // With the loop's lock held.
    Mode mode = Mode::live;
    std::optional<Flashes> flashes;
    std::optional<PublishedFormat> format;
    std::unique_ptr<CameraCanvas> canvas;
    std::unique_ptr<CameraPixels> pixels;
    PublishedRate rate{30, 1};
    int64_t baseTime = 0; ///< of the picture `baseNumber`, nanoseconds
    uint64_t baseNumber = 0;
    uint64_t number = 0; ///< of the next picture
    int64_t captureTime = 0;
    uint64_t sequence = 0;  ///< of the pictures taken, sent or not
    int picturesToLose = 0; ///< of the next ones
    std::mt19937 random{7};
    std::vector<uint8_t> podMemory;
};

} // namespace vintra
