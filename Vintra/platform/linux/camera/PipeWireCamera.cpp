#include "Vintra/platform/linux/camera/PipeWireCamera.h"

#include "Vintra/platform/Log.h"
#include "Vintra/platform/linux/pipewire/PipeWireConnection.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace vintra {
namespace {

constexpr double kCameraRateTolerance = 0.01; // frames a second
constexpr double kCameraRateSlack = 0.01;     // of the time between two pictures
constexpr size_t kOwnNodesKept = 4;
constexpr const char* kCameraCategory = "camera";

std::string textOf(const CMVideoDimensions& size) {
    return std::to_string(size.width) + "×" + std::to_string(size.height);
}

void tell(AVCaptureDataOutputSampleBufferDelegate& delegate, const std::shared_ptr<AVCaptureOutput>& output,
          const CMSampleBuffer& picture) {
    delegate.captureOutput(output, picture);
}

void tell(AVCaptureDataOutputSampleBufferDelegate& delegate, const std::shared_ptr<AVCaptureOutput>& output,
          const AVCaptureMissedPictures& pictures) {
    delegate.captureOutputDidMiss(output, pictures);
}

} // namespace

PipeWireCamera::PipeWireCamera(std::shared_ptr<PipeWireConnection> connection,
                               const PipeWireVideoSource& source, SessionEnded sessionEnded,
                               std::shared_ptr<Log> log)
    : connection(std::move(connection))
    , id(source.name)
    , name(source.description)
    , sessionEnded(std::move(sessionEnded))
    , log(std::move(log)) {
    update(source);
}

PipeWireCamera::~PipeWireCamera() {
    MutexLock lock(control);
    stream.reset();
}

bool PipeWireCamera::isConnected() const {
    MutexLock lock(mutex);
    return node.has_value();
}

std::vector<AVCaptureDeviceFormat> PipeWireCamera::formats() const {
    MutexLock lock(mutex);
    std::vector<AVCaptureDeviceFormat> shown;
    for (const CameraFormat& format : offered)
        shown.push_back(format.shown);
    return shown;
}

std::optional<AVCaptureDeviceFormat> PipeWireCamera::activeFormat() const {
    MutexLock lock(mutex);
    return active ? std::optional(active->shown) : std::nullopt;
}

CMTime PipeWireCamera::activeVideoMinFrameDuration() const {
    MutexLock lock(mutex);
    return minFrameDuration;
}

CMTime PipeWireCamera::activeVideoMaxFrameDuration() const {
    MutexLock lock(mutex);
    return maxFrameDuration;
}

void PipeWireCamera::update(const PipeWireVideoSource& source) {
    auto formats = readCameraFormats(source.formats);
    MutexLock lock(mutex);
    // A camera that has come back is a new one.
    if (node != source.globalID) active.reset();
    node = source.globalID;
    offered = std::move(formats);
    const bool isOffered =
        active && std::ranges::find(offered, active->shown, &CameraFormat::shown) != offered.end();
    if (!active && !offered.empty()) {
        use(offered.front());
    } else if (!isOffered && !isStreaming && !offered.empty()) {
        use(offered.front());
    }
}

void PipeWireCamera::disconnect() {
    MutexLock lock(mutex);
    node.reset();
    isStreaming = false;
}

void PipeWireCamera::use(const CameraFormat& format) {
    active = format;
    const auto& ranges = format.shown.videoSupportedFrameRateRanges;
    const auto fastest = std::ranges::max_element(ranges, {}, &AVFrameRateRange::maxFrameRate);
    const auto slowest = std::ranges::min_element(ranges, {}, &AVFrameRateRange::minFrameRate);
    minFrameDuration = fastest->minFrameDuration;
    maxFrameDuration = slowest->maxFrameDuration;
}

bool PipeWireCamera::lockForConfiguration() {
    MutexLock lock(control);
    return !isReadByAnother();
}

bool PipeWireCamera::isReadByAnother() {
    std::optional<uint32_t> source;
    {
        MutexLock values(mutex);
        source = node;
    }
    if (!source) return false;
    PipeWireLock held(connection->loop());
    return connection->videoSources().isReadByAnother(*source, ownNodes);
}

void PipeWireCamera::unlockForConfiguration() {
    MutexLock lock(control);
    {
        MutexLock values(mutex);
        if (!isChanged || !stream || readers.empty() || !node) return;
    }
    runStream();
}

void PipeWireCamera::setActiveFormat(const AVCaptureDeviceFormat& format) {
    MutexLock lock(mutex);
    const auto found = std::ranges::find(offered, format, &CameraFormat::shown);
    if (found == offered.end()) return;
    const CMTime before = minFrameDuration;
    const bool isOther = !active || active->shown != format;
    use(*found);
    if (isOther || minFrameDuration != before) isChanged = true;
}

bool PipeWireCamera::supports(CMTime duration) const {
    if (!active || !duration.isNumeric() || duration.value < 1) return false;
    const double rate = 1 / CMTimeGetSeconds(duration);
    return std::ranges::any_of(active->shown.videoSupportedFrameRateRanges,
                               [rate](const AVFrameRateRange& range) {
                                   return rate >= range.minFrameRate - kCameraRateTolerance &&
                                          rate <= range.maxFrameRate + kCameraRateTolerance;
                               });
}

void PipeWireCamera::setActiveVideoMinFrameDuration(CMTime duration) {
    MutexLock lock(mutex);
    if (!supports(duration)) return;
    if (duration != minFrameDuration) isChanged = true;
    minFrameDuration = duration;
}

void PipeWireCamera::setActiveVideoMaxFrameDuration(CMTime duration) {
    MutexLock lock(mutex);
    if (supports(duration)) maxFrameDuration = duration;
}

/// The fastest that it is let run at.
std::optional<CameraWish> PipeWireCamera::wish() const {
    if (!active || !node) return std::nullopt;
    return CameraWish{.names = active->names,
                      .size = active->shown.formatDescription.dimensions,
                      .rate = CameraRate::ofDuration(minFrameDuration)};
}

bool PipeWireCamera::start(const AVCaptureSession& session, Receiver receiver) {
    MutexLock lock(control);
    bool isRunningAlready = false;
    {
        MutexLock values(mutex);
        std::erase_if(readers, [&](const Reader& reader) { return reader.session == &session; });
        readers.push_back({&session, std::move(receiver)});
        isRunningAlready = isStreaming && !isChanged;
    }
    if (isRunningAlready || runStream()) return true;
    MutexLock values(mutex);
    std::erase_if(readers, [&](const Reader& reader) { return reader.session == &session; });
    return false;
}

bool PipeWireCamera::runStream() {
    stream.reset();
    std::optional<CameraWish> asked;
    std::optional<uint32_t> source;
    {
        MutexLock values(mutex);
        isStreaming = false;
        isChanged = false;
        hasEnded = false;
        asked = wish();
        source = node;
    }
    if (!asked) return false;
    stream = std::make_unique<PipeWireCameraStream>(
        PipeWireCameraStream::Target{.serverName = connection->serverName(), .nodeName = id, .node = *source},
        PipeWireCameraStream::Handlers{
            .format = [this](const AgreedCameraFormat& agreed) { formatAgreed(agreed); },
            .picture = [this](const CMSampleBuffer& sample) { deliver(sample); },
            .missed = [this](const AVCaptureMissedPictures& missed) { deliver(missed); },
            .missing =
                [to = log, name = name](const PipeWireCameraStream::Missing& missing) {
                    to->write(kCameraCategory, LogLevel::info,
                              name + ": " + std::to_string(missing.before) +
                                  " pictures were lost on their way, " + std::to_string(missing.broken) +
                                  " were broken, and for " + std::to_string(missing.noMemory) +
                                  " there was no room.");
                },
            .ended = [this](PipeWireCameraStream::End end) { streamEnded(end); }});
    const bool isRunning = stream->start(*asked);
    ownNodes.push_back(stream->node());
    if (ownNodes.size() > kOwnNodesKept) ownNodes.erase(ownNodes.begin());
    {
        // It may have ended since.
        MutexLock values(mutex);
        isStreaming = isRunning && node == source && !hasEnded;
    }
    logOutcome(*asked, isRunning);
    if (!isRunning) stream.reset();
    return isRunning;
}

void PipeWireCamera::logOutcome(const CameraWish& asked, bool isRunning) const {
    CMVideoDimensions size;
    {
        MutexLock values(mutex);
        if (active) size = active->shown.formatDescription.dimensions;
    }
    if (!isRunning) {
        log->write(kCameraCategory, LogLevel::error, name + " sends no pictures.");
    } else if (size != asked.size) {
        log->write(kCameraCategory, LogLevel::error,
                   name + " is in use by another program, which has set it to " + textOf(size) + ".");
    }
}

void PipeWireCamera::stop(const AVCaptureSession& session) {
    MutexLock lock(control);
    bool isLast = false;
    {
        MutexLock values(mutex);
        std::erase_if(readers, [&](const Reader& reader) { return reader.session == &session; });
        isLast = readers.empty();
        if (isLast) isStreaming = false;
    }
    if (isLast) stream.reset();
}

bool PipeWireCamera::isRunning(const AVCaptureSession& session) const {
    MutexLock lock(mutex);
    return isStreaming &&
           std::ranges::any_of(readers, [&](const Reader& reader) { return reader.session == &session; });
}

void PipeWireCamera::formatAgreed(const AgreedCameraFormat& agreed) {
    const auto isIt = [&agreed](const CameraFormat& format) {
        return format.names.mediaSubType == agreed.names.mediaSubType &&
               format.shown.formatDescription.dimensions == agreed.size;
    };
    const double rate = agreed.rate.value();
    const auto hasRate = [rate](const CameraFormat& format) {
        return std::ranges::any_of(format.shown.videoSupportedFrameRateRanges,
                                   [rate](const AVFrameRateRange& range) {
                                       return rate >= range.minFrameRate - kCameraRateTolerance &&
                                              rate <= range.maxFrameRate + kCameraRateTolerance;
                                   });
    };
    MutexLock lock(mutex);
    if (!active || !isIt(*active)) {
        auto found = std::ranges::find_if(
            offered, [&](const CameraFormat& format) { return isIt(format) && hasRate(format); });
        if (found == offered.end()) found = std::ranges::find_if(offered, isIt);
        if (found != offered.end()) use(*found);
    }
    const CMTime duration = agreed.rate.duration();
    if (!duration.isNumeric()) return;
    const double set = CMTimeGetSeconds(minFrameDuration);
    const double agreedOn = CMTimeGetSeconds(duration);
    if (std::fabs(set - agreedOn) > kCameraRateSlack * agreedOn)
        minFrameDuration = maxFrameDuration = duration;
}

template <typename News>
void PipeWireCamera::deliver(const News& news) const {
    MutexLock lock(mutex);
    for (const Reader& reader : readers) {
        reader.receiver.queue->async(
            [delegate = reader.receiver.delegate, output = reader.receiver.output, news] {
                const auto to = delegate.lock();
                const auto sender = output.lock();
                if (to && sender) tell(*to, sender, news);
            });
    }
}

void PipeWireCamera::streamEnded(PipeWireCameraStream::End end) {
    std::vector<Reader> ended;
    {
        MutexLock lock(mutex);
        isStreaming = false;
        hasEnded = true;
        if (end == PipeWireCameraStream::End::refused && node) ended = readers;
    }
    for (const Reader& reader : ended)
        sessionEnded(reader.receiver.session, name);
}

} // namespace vintra
