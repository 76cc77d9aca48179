#include "Vintra/platform/simulated/SimulatedAssetWriter.h"

#include "Vintra/platform/HostClock.h"
#include "Vintra/platform/simulated/SimulatedWaveEncoder.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <utility>

namespace vintra {

namespace {

constexpr const char* kErrorDomain = "simulated";
constexpr const char* kMovieHead = "simulated movie\n";

/// Frames of the sound that lie before the session's start, rounded up: those are left out.
int64_t framesBefore(CMTime session, const CMSampleBuffer& sample, double rate) {
    const double seconds = CMTimeGetSeconds(session - sample.presentationTimeStamp());
    if (!(seconds > 0)) return 0;
    const auto frames = static_cast<int64_t>(std::ceil(seconds * rate - 1e-6));
    return std::min(frames, sample.numSamples());
}

} // namespace

SimulatedAssetWriter::SimulatedAssetWriter(Services services, URL url, AVFileType type,
                                           SimulatedWriterScript script)
    : script(std::move(script))
    , services(std::move(services))
    , url(std::move(url))
    , type(type) {}

bool SimulatedAssetWriter::canAdd(const AVAssetWriterInput& input) const {
    if (script.refusesInputs || currentStatus != AVAssetWriterStatus::unknown) return false;
    const auto* own = dynamic_cast<const SimulatedAssetWriterInput*>(&input);
    return own && own->writer.expired() && acceptsSettings(input);
}

bool SimulatedAssetWriter::acceptsSettings(const AVAssetWriterInput& input) const {
    if (const auto* video = std::get_if<AVVideoSettings>(&input.outputSettings())) {
        return type == AVFileType::quickTimeMovie && video->width >= 2 && video->height >= 2 &&
               video->width % 2 == 0 && video->height % 2 == 0;
    }
    const auto& audio = std::get<AVAudioSettings>(input.outputSettings());
    if (audio.numberOfChannels < 1 || !(audio.sampleRate > 0)) return false;
    if (type == AVFileType::quickTimeMovie) return true;
    return audio.formatID == kAudioFormatLinearPCM && tracks.empty();
}

void SimulatedAssetWriter::add(std::shared_ptr<AVAssetWriterInput> input) {
    checkMainThread("add");
    if (!canAdd(*input)) {
        violate("added an input that can't be added");
        return;
    }
    auto own = std::static_pointer_cast<SimulatedAssetWriterInput>(std::move(input));
    own->writer = weak_from_this();
    tracks.push_back(std::move(own));
}

void SimulatedAssetWriter::prepare(std::function<void()> completion) {
    checkMainThread("prepare");
    note("prepare");
    if (std::exchange(isPrepared, true) || currentStatus != AVAssetWriterStatus::unknown)
        violate("prepared twice or after the start");
    services.time->at(services.time->nowNanoseconds() + nanosecondsFromSeconds(script.prepareSeconds),
                      std::move(completion));
}

bool SimulatedAssetWriter::startWriting() {
    checkMainThread("startWriting");
    note("startWriting");
    block(script.startSeconds);
    if (currentStatus != AVAssetWriterStatus::unknown) {
        violate("started twice");
        return false;
    }
    try {
        if (script.startFails) throw SystemError(kErrorDomain, 1, "The file could not be made.");
        if (services.files->fileExists(url)) throwDiskError(EEXIST, url.path());
        services.files->createFile(url);
        file = services.files->openForWriting(url);
        followed = services.files->follow(url);
        if (type == AVFileType::wave && !tracks.empty() && tracks.front()->audioSettings()) {
            const auto head = SimulatedWaveEncoder::header(*tracks.front()->audioSettings(), 0);
            file->write(head.data(), head.size());
        } else {
            const std::string head = kMovieHead;
            file->write(reinterpret_cast<const uint8_t*>(head.data()), head.size());
        }
    } catch (const SystemError& error) {
        currentError = error;
        currentStatus = AVAssetWriterStatus::failed;
        return false;
    }
    currentStatus = AVAssetWriterStatus::writing;
    startNanoseconds = services.time->nowNanoseconds();
    return true;
}

void SimulatedAssetWriter::startSession(CMTime atSourceTime) {
    checkMainThread("startSession");
    note("startSession");
    block(script.sessionSeconds);
    if (currentStatus != AVAssetWriterStatus::writing || session.isValid() || !atSourceTime.isNumeric()) {
        violate("session started out of turn or at no time");
        return;
    }
    session = atSourceTime;
    sessionBegun = hostTime();
}

void SimulatedAssetWriter::finishWriting(std::function<void()> completion) {
    checkMainThread("finishWriting");
    note("finishWriting");
    if (currentStatus == AVAssetWriterStatus::unknown || isFinishing) {
        violate("finished before the start or twice");
    }
    isFinishing = true;
    const int64_t encoded = std::max(encoderFreeAt, services.time->nowNanoseconds());
    finishCompletion = std::move(completion);
    if (script.finishNeverEnds) return;
    services.time->at(encoded + nanosecondsFromSeconds(script.finishSeconds),
                      [self = shared_from_this()] { self->end(); });
}

void SimulatedAssetWriter::abandonFinish() {
    checkMainThread("abandonFinish");
    note("abandonFinish");
    if (!isFinishing) violate("abandoned before it was to finish");
    fail("its disk doesn't answer");
    if (const auto completion = std::exchange(finishCompletion, nullptr)) completion();
}

void SimulatedAssetWriter::end() {
    const auto completion = std::exchange(finishCompletion, nullptr);
    if (!completion) return; // nobody waits any more
    if (currentStatus == AVAssetWriterStatus::writing && script.finishFails)
        fail("The file could not be finished.");
    if (currentStatus == AVAssetWriterStatus::writing) {
        try {
            closeFile();
            currentStatus = AVAssetWriterStatus::completed;
        } catch (const SystemError& error) {
            currentError = error;
            currentStatus = AVAssetWriterStatus::failed;
        }
    }
    completion();
}

void SimulatedAssetWriter::closeFile() {
    if (type == AVFileType::wave && !tracks.empty()) {
        const auto head = SimulatedWaveEncoder::header(*tracks.front()->audioSettings(), dataBytes);
        file->seek(0);
        file->write(head.data(), head.size());
    }
    file->close();
    file = nullptr;
}

void SimulatedAssetWriter::cancelWriting() {
    checkMainThread("cancelWriting");
    note("cancelWriting");
    if (currentStatus != AVAssetWriterStatus::writing) return;
    currentStatus = AVAssetWriterStatus::cancelled;
    file = nullptr;
    services.files->removeItem(url);
}

std::shared_ptr<SimulatedAssetWriterInput> SimulatedAssetWriter::input(AVMediaType mediaType,
                                                                       size_t index) const {
    for (const auto& track : tracks) {
        if (track->mediaType() == mediaType && index-- == 0) return track;
    }
    return nullptr;
}

void SimulatedAssetWriter::fail(const std::string& localizedDescription) {
    if (currentStatus != AVAssetWriterStatus::writing) return;
    currentError = SystemError(kErrorDomain, 2, localizedDescription);
    currentStatus = AVAssetWriterStatus::failed;
    file = nullptr;
}

CMTime SimulatedAssetWriter::hostTime() const {
    return hostTimeFromNanoseconds(services.time->nowNanoseconds());
}

bool SimulatedAssetWriter::isReady(const SimulatedAssetWriterInput& input) const {
    if (currentStatus != AVAssetWriterStatus::writing || !session.isValid()) return false;
    if (isFinishing || input.isFinished || script.isNeverReady) return false;
    const int64_t since = services.time->nowNanoseconds() - startNanoseconds;
    if (script.isStalled && script.isStalled(static_cast<double>(since) * 1e-9)) return false;
    return input.unwritten < script.queueCapacity;
}

bool SimulatedAssetWriter::take(SimulatedAssetWriterInput& input, const CMSampleBuffer& sample) {
    if (!session.isValid()) violate("appended before the session");
    if (input.isFinished || isFinishing) violate("appended after the finish");
    if (currentStatus == AVAssetWriterStatus::cancelled) violate("appended after the cancelling");
    if (!isReady(input)) {
        const bool isOpen = currentStatus == AVAssetWriterStatus::writing && session.isValid();
        if (isOpen && !input.isFinished && !isFinishing) violate("appended while not ready");
        return false;
    }
    if (!isUsable(input, sample) || (script.refuses && script.refuses(sample))) return false;
    if (script.failsAtSample && takenSamples >= *script.failsAtSample) {
        fail("The encoder stopped.");
        return false;
    }
    ++takenSamples;
    input.lastPresentationTime = sample.presentationTimeStamp();
    encode(input, sample);
    return true;
}

void SimulatedAssetWriter::extend(SimulatedAssetWriterInput& input, CMTime to) const {
    if (!session.isValid() || input.isFinished || isFinishing) violate("extended outside of the session");
    if (input.mediaType() != AVMediaType::video || !to.isNumeric()) violate("extended what doesn't stand");
    if (input.lastPresentationTime.isValid() && (!input.standsUntil.isValid() || to > input.standsUntil))
        input.standsUntil = to;
}

bool SimulatedAssetWriter::isUsable(const SimulatedAssetWriterInput& input,
                                    const CMSampleBuffer& sample) const {
    const CMTime time = sample.presentationTimeStamp();
    if (!sample.isValid() || !time.isNumeric()) return false;
    const bool isVideo = input.mediaType() == AVMediaType::video;
    if (isVideo ? !sample.imageBuffer() : !sample.dataBuffer()) return false;
    if (input.standsUntil.isValid() && time < input.standsUntil) return false;
    if (!input.lastPresentationTime.isValid()) return true;
    return time > input.lastPresentationTime;
}

void SimulatedAssetWriter::encode(SimulatedAssetWriterInput& input, const CMSampleBuffer& sample) {
    writeToFile(input, sample);
    const int64_t effort = nanosecondsFromSeconds(script.encodeSecondsPerSample);
    if (effort < 1) return;
    ++input.unwritten;
    encoderFreeAt = std::max(encoderFreeAt, services.time->nowNanoseconds()) + effort;
    for (const auto& track : tracks) {
        if (track.get() == &input) services.time->at(encoderFreeAt, [track] { --track->unwritten; });
    }
}

void SimulatedAssetWriter::writeToFile(const SimulatedAssetWriterInput& input, const CMSampleBuffer& sample) {
    std::vector<uint8_t> bytes;
    if (input.mediaType() == AVMediaType::video) {
        bytes.resize(script.bytesPerPicture);
    } else if (type == AVFileType::wave) {
        const AVAudioSettings& settings = *input.audioSettings();
        bytes = SimulatedWaveEncoder::frames(settings, sample,
                                             framesBefore(session, sample, settings.sampleRate));
    }
    if (bytes.empty()) return;
    try {
        file->write(bytes.data(), bytes.size());
        dataBytes += bytes.size();
    } catch (const SystemError& error) {
        currentError = error;
        currentStatus = AVAssetWriterStatus::failed;
        file = nullptr;
    }
}

void SimulatedAssetWriter::checkMainThread(const char* call) const {
    if (!services.mainThread->isCurrent()) violate(std::string(call) + " off the main thread");
}

void SimulatedAssetWriter::note(const char* call) const {
    services.journal->note(url.lastPathComponent() + ": " + call);
}

void SimulatedAssetWriter::block(double seconds) const {
    services.hostClock->sleep(static_cast<int64_t>(seconds * 1e6));
}

void SimulatedAssetWriter::violate(const std::string& what) const {
    services.violations->add(url.lastPathComponent() + ": " + what);
}

} // namespace vintra
