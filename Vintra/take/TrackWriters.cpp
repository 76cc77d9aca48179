#include "Vintra/take/TrackWriters.h"

#include "Vintra/audio/CapturePCMSettings.h"
#include "Vintra/platform/ProcessInfo.h"
#include "Vintra/platform/UserDefaults.h"
#include "Vintra/take/RecordingError.h"
#include "Vintra/take/TrackNames.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace vintra {
namespace {

constexpr double kBitsPerPixel = 4.5; // bits a second for each pixel of a 30 fps picture
constexpr int64_t kMonoReferenceBitRate = 128'000;
constexpr int64_t kStereoReferenceBitRate = 192'000;

int64_t screenBitRate(int32_t width, int32_t height, int frameRate) {
    return static_cast<int64_t>(width * static_cast<double>(height) * kBitsPerPixel *
                                std::sqrt(frameRate / 30.0));
}

/// What stands behind "because".
std::string whyItDoesNotRun(const AVCaptureDevice& device, const std::string& name) {
    return name + " " + device.captureProblem().value_or("isn't running. Select it again");
}

int64_t webcamBitRate(int32_t width, int32_t height) {
    return static_cast<int64_t>(width * static_cast<double>(height) * kBitsPerPixel);
}

/// What the camera has delivered, else what it is set to.
CMVideoDimensions pictureSize(const AVCaptureVideoDevice& device, const CameraTap& tap) {
    const CMVideoDimensions delivered = tap.frameSize->read();
    if (delivered.width > 0 && delivered.height > 0) return delivered;
    const auto format = device.activeFormat();
    return format ? format->formatDescription.dimensions : CMVideoDimensions{};
}

} // namespace

TrackWriters::TrackWriters(const Surroundings& surroundings)
    : platform(surroundings.platform)
    , audio(surroundings.audio)
    , previews(surroundings.previews)
    , cameras(surroundings.cameras) {}

void TrackWriters::makeScreenRecordingWriter(RunningTake& take, const SCStreamConfiguration& configuration,
                                             int frameRate) const {
    const URL url = take.planOutput(take.takeVideoURL);
    auto writer = platform.assetWriters->makeWriter(url, AVFileType::quickTimeMovie);
    const bool hevc = stringForKey(*platform.userDefaults, "screenCodec") == "hevc";
    const AVVideoSettings settings{.codec = hevc ? AVVideoCodecType::hevc : AVVideoCodecType::h264,
                                   .width = configuration.width,
                                   .height = configuration.height,
                                   // A display or window that changes its shape in a take isn't stretched.
                                   .scalingMode = AVVideoScalingMode::resizeAspect,
                                   .averageBitRate =
                                       screenBitRate(configuration.width, configuration.height, frameRate),
                                   .expectedSourceFrameRate = frameRate,
                                   .encoderSpeed = take.encoderPlan.speed(0)};
    auto input = platform.assetWriters->makeInput(settings, true);
    if (!writer->canAdd(*input)) throw RecordingError::cannotConfigureWriter("the screen recording file");
    writer->add(input);
    take.videoWriter = std::move(writer);
    take.videoInput = std::move(input);
}

std::vector<TrackWriters::Camera> TrackWriters::takenCameras() const {
    std::vector<Camera> list;
    if (cameras.webcamDevice()) list.push_back({*cameras.webcamDevice(), cameras.webcam()});
    for (const ExtraCameraRig& rig : cameras.extraCameraRigs())
        list.push_back({*rig.device, *rig.tap});
    return list;
}

void TrackWriters::planEncoders(RunningTake& take, const SCStreamConfiguration* screen, int frameRate) const {
    std::vector<EncodedPictures> movies;
    if (screen) movies.push_back({.size = {screen->width, screen->height}, .rate = frameRate});
    for (const Camera& camera : takenCameras()) {
        movies.push_back(
            {.size = pictureSize(camera.device, camera.tap), .rate = cameras.beat(camera.device)});
    }
    take.encoderPlan = EncoderPlan::make(movies, platform.processInfo->activeProcessorCount());
}

void TrackWriters::makeWebcamWriters(RunningTake& take) const {
    size_t index = 0;
    if (const auto& device = cameras.webcamDevice()) {
        const URL url = take.planOutput(webcamURL(take.takeVideoURL));
        const WriterAndInput made =
            makeWebcamRecordingWriter(take, {*device, cameras.webcam()}, url, index++);
        take.webcamWriter = made.writer;
        take.webcamInput = made.input;
    }
    for (const ExtraCameraRig& rig : cameras.extraCameraRigs()) {
        const int number = cameras.webcamNumber(rig);
        const URL url = take.planOutput(webcamURL(take.takeVideoURL, number));
        const WriterAndInput made = makeWebcamRecordingWriter(take, {*rig.device, *rig.tap}, url, index++);
        const std::string& name = rig.device->localizedName();
        take.extraCameraRecordings.push_back({.tap = rig.tap,
                                              .writer = made.writer,
                                              .input = made.input,
                                              .label = "webcam " + std::to_string(number) + " (" + name + ")",
                                              .name = name,
                                              .deviceID = rig.device->uniqueID()});
    }
}

TrackWriters::WriterAndInput TrackWriters::makeWebcamRecordingWriter(const RunningTake& take,
                                                                     const Camera& camera, const URL& movURL,
                                                                     size_t cameraIndex) const {
    const CMVideoDimensions size = pictureSize(camera.device, camera.tap);
    auto writer = platform.assetWriters->makeWriter(movURL, AVFileType::quickTimeMovie);
    // What goes to an encoder is even-sized, 2 at the least.
    const auto even = [](int32_t side) { return std::max(2, side & ~1); };
    const AVVideoSettings settings{.codec = AVVideoCodecType::h264,
                                   .width = even(size.width),
                                   .height = even(size.height),
                                   .scalingMode = AVVideoScalingMode::resizeAspect,
                                   .averageBitRate = webcamBitRate(size.width, size.height),
                                   .expectedSourceFrameRate = cameras.beat(camera.device),
                                   .encoderSpeed =
                                       take.encoderPlan.speed(cameraIndex + (take.videoWriter ? 1 : 0))};
    auto input = platform.assetWriters->makeInput(settings, true);
    // A camera whose size nobody knows can't be written.
    if (size.width < 1 || size.height < 1 || !writer->canAdd(*input)) {
        throw RecordingError::cannotConfigureWriter("the camera file for " + camera.device.localizedName() +
                                                    " at " + std::to_string(size.width) + "×" +
                                                    std::to_string(size.height));
    }
    writer->add(input);
    return {std::move(writer), std::move(input)};
}

std::shared_ptr<AVAssetWriterInput> TrackWriters::addReferenceAudioInput(AVAssetWriter& to,
                                                                         int channelCount) const {
    const AVAudioSettings settings{.formatID = kAudioFormatMPEG4AAC,
                                   .sampleRate = kTakeSampleRate,
                                   .numberOfChannels = static_cast<uint32_t>(channelCount),
                                   .encoderBitRate =
                                       channelCount == 1 ? kMonoReferenceBitRate : kStereoReferenceBitRate};
    auto input = platform.assetWriters->makeInput(settings, true);
    if (!to.canAdd(*input)) {
        throw RecordingError::cannotConfigureWriter("the reference audio inside " +
                                                    to.outputURL().lastPathComponent());
    }
    to.add(input);
    return input;
}

void TrackWriters::makeAudioTracks(RunningTake& take) const {
    AVAssetWriter* const videoWriter = take.videoWriter.get();
    if (take.micDevice) {
        const std::string suffix = take.reserveTrackName(micTrackSuffix(*audio.micTrackName));
        const URL url = take.planOutput(trackURL(take.takeVideoURL, suffix));
        take.micTrack = makeMicTrack(take.micDevice, url, videoWriter, take.webcamWriters());
    }
    if (*audio.captureSystemAudioForDaw || take.dawDevice) {
        const URL url =
            take.planOutput(trackURL(take.takeVideoURL, take.reserveTrackName(kSecondTrackSuffix)));
        take.dawTrack = *audio.captureSystemAudioForDaw ? makeSystemAudioTrack(url, videoWriter)
                                                        : makeAudioTrack(take.dawDevice, url, videoWriter);
    }
    take.extraInputGroups = makeExtraInputGroups(take);
}

void TrackWriters::makeFile(SoundTrackFile& track, const URL& wavURL, AVAssetWriter* videoWriter,
                            int channelCount, const std::string& nameForError) const {
    track.writer = platform.assetWriters->makeWriter(wavURL, AVFileType::wave);
    track.input = platform.assetWriters->makeInput(capturePCMSettings(channelCount), true);
    if (!track.writer->canAdd(*track.input)) throw RecordingError::cannotConfigureWriter(nameForError);
    track.writer->add(track.input);
    if (videoWriter) track.referenceInput = addReferenceAudioInput(*videoWriter, channelCount);
}

std::shared_ptr<AudioTrack>
TrackWriters::makeMicTrack(const std::shared_ptr<AVCaptureDevice>& device, const URL& wavURL,
                           AVAssetWriter* videoWriter,
                           const std::vector<std::shared_ptr<AVAssetWriter>>& webcamWriters) const {
    auto track = std::make_shared<AudioTrack>();
    track->device = device;
    track->dataOutput = previews.mic().outputOf(*device);
    if (!track->dataOutput) {
        throw RecordingError::cannotConfigureWriter("the microphone track, because " +
                                                    whyItDoesNotRun(*device, device->localizedName()));
    }
    makeFile(*track, wavURL, videoWriter, 1, "the microphone track file");
    for (const auto& writer : webcamWriters)
        track->webcamReferenceInputs.push_back(addReferenceAudioInput(*writer, 1));
    return track;
}

std::shared_ptr<AudioTrack> TrackWriters::makeAudioTrack(const std::shared_ptr<AVCaptureDevice>& device,
                                                         const URL& wavURL,
                                                         AVAssetWriter* videoWriter) const {
    auto track = std::make_shared<AudioTrack>();
    track->device = device;
    track->dataOutput = previews.daw().outputOf(*device);
    if (!track->dataOutput) {
        throw RecordingError::cannotConfigureWriter("the virtual input track, because " +
                                                    whyItDoesNotRun(*device, device->localizedName()));
    }
    makeFile(*track, wavURL, videoWriter, AudioPreviews::dawChannelCount(*device),
             "the virtual input track file");
    return track;
}

std::shared_ptr<AudioTrack> TrackWriters::makeSystemAudioTrack(const URL& wavURL,
                                                               AVAssetWriter* videoWriter) const {
    auto track = std::make_shared<AudioTrack>();
    makeFile(*track, wavURL, videoWriter, 2, "the computer audio track file");
    return track;
}

std::vector<std::shared_ptr<ExtraInputDeviceGroup>>
TrackWriters::makeExtraInputGroups(RunningTake& take) const {
    std::vector<std::shared_ptr<ExtraInputDeviceGroup>> groups;
    for (const std::string& deviceID : audio.extraInputDeviceIDs()) {
        const auto device = audio.availableAudioInput(deviceID);
        if (!device) continue;
        auto group = std::make_shared<ExtraInputDeviceGroup>();
        group->dataOutput = previews.extra().outputOf(deviceID);
        if (!group->dataOutput) {
            throw RecordingError::cannotConfigureWriter("the extra microphone " + device->localizedName() +
                                                        ", because " + whyItDoesNotRun(*device, "it"));
        }
        group->device = device;
        group->totalChannels = audio.channelCount(deviceID);
        for (const ExtraAudioInputConfig& row : *audio.extraAudioInputs) {
            if (row.deviceID == deviceID) group->tracks.push_back(makeExtraInputTrack(take, row, *group));
        }
        groups.push_back(std::move(group));
    }
    return groups;
}

std::shared_ptr<ExtraInputTrack> TrackWriters::makeExtraInputTrack(RunningTake& take,
                                                                   const ExtraAudioInputConfig& row,
                                                                   const ExtraInputDeviceGroup& group) const {
    const std::string& deviceName = group.device->localizedName();
    auto track = std::make_shared<ExtraInputTrack>();
    track->configID = row.id;
    track->channelIndex = std::clamp(row.channelIndex, 0, group.totalChannels - 1);
    const std::string suffix =
        take.reserveTrackName(extraInputSuffix(row.name, deviceName, track->channelIndex));
    const URL url = take.planOutput(trackURL(take.takeVideoURL, suffix));
    makeFile(*track, url, take.videoWriter.get(), 1, "the file for the extra microphone " + deviceName);
    return track;
}

} // namespace vintra
