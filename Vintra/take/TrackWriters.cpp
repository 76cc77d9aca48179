// The writers of a take: one QuickTime movie for the screen, one per camera, one WAV per audio source.
// Besides its own file an audio track feeds a compressed copy of itself into the movies, so that a movie
// played on its own has sound.

#include "Vintra/take/RecordingError.h"
#include "Vintra/take/ScreenRecorderManager.h"
#include "Vintra/take/TrackNames.h"

#include "Vintra/platform/UserDefaults.h"

#include <algorithm>
#include <cmath>

namespace vintra {
namespace {

constexpr double kBitsPerPixel = 4.5; // bits a second for each pixel of a 30 fps picture
constexpr double kTakeSampleRate = 48000.0;
constexpr int64_t kMonoReferenceBitRate = 128'000;
constexpr int64_t kStereoReferenceBitRate = 192'000;

int64_t screenBitRate(int32_t width, int32_t height, int frameRate) {
    return static_cast<int64_t>(width * static_cast<double>(height) * kBitsPerPixel *
                                std::sqrt(frameRate / 30.0));
}

int64_t webcamBitRate(int32_t width, int32_t height) {
    return static_cast<int64_t>(width * static_cast<double>(height) * kBitsPerPixel);
}

} // namespace

AVAudioSettings ScreenRecorderManager::capturePCMSettings(int channelCount) {
    return {.formatID = kAudioFormatLinearPCM,
            .sampleRate = kTakeSampleRate,
            .numberOfChannels = static_cast<uint32_t>(channelCount),
            .linearPCMBitDepth = 24,
            .linearPCMIsFloat = false,
            .linearPCMIsBigEndian = false,
            .linearPCMIsNonInterleaved = false};
}

std::shared_ptr<AVAssetWriterInput> ScreenRecorderManager::addReferenceAudioInput(AVAssetWriter& to,
                                                                                  int channelCount) {
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

ScreenRecorderManager::WriterAndInput
ScreenRecorderManager::makeScreenRecordingWriter(const URL& url, const SCStreamConfiguration& configuration) {
    WriterAndInput made;
    made.writer = platform.assetWriters->makeWriter(url, AVFileType::quickTimeMovie);
    const bool hevc = stringForKey(*platform.userDefaults, "screenCodec") == "hevc";
    const AVVideoSettings settings{
        .codec = hevc ? AVVideoCodecType::hevc : AVVideoCodecType::h264,
        .width = configuration.width,
        .height = configuration.height,
        .averageBitRate = screenBitRate(configuration.width, configuration.height, *screenFrameRate)};
    made.input = platform.assetWriters->makeInput(settings, true);
    if (!made.writer->canAdd(*made.input))
        throw RecordingError::cannotConfigureWriter("the screen recording file");
    made.writer->add(made.input);
    return made;
}

ScreenRecorderManager::WriterAndInput
ScreenRecorderManager::makeWebcamRecordingWriter(const std::shared_ptr<AVCaptureDevice>& device,
                                                 const URL& movURL,
                                                 std::optional<CMVideoDimensions> deliveredSize) {
    const CMVideoDimensions size =
        deliveredSize.value_or(device->activeVideoDimensions().value_or(CMVideoDimensions{}));
    WriterAndInput made;
    made.writer = platform.assetWriters->makeWriter(movURL, AVFileType::quickTimeMovie);
    // What goes to an encoder is even-sized, 2 at the least.
    const auto even = [](int32_t side) { return std::max(2, side & ~1); };
    const AVVideoSettings settings{.codec = AVVideoCodecType::h264,
                                   .width = even(size.width),
                                   .height = even(size.height),
                                   .scalingMode = AVVideoScalingMode::resizeAspect,
                                   .averageBitRate = webcamBitRate(size.width, size.height)};
    made.input = platform.assetWriters->makeInput(settings, true);
    if (!made.writer->canAdd(*made.input)) {
        throw RecordingError::cannotConfigureWriter("the camera file for " + device->localizedName() +
                                                    " at " + std::to_string(size.width) + "×" +
                                                    std::to_string(size.height));
    }
    made.writer->add(made.input);
    return made;
}

ScreenRecorderManager::WriterAndInput ScreenRecorderManager::makeWavWriter(const URL& wavURL,
                                                                           int channelCountOfTrack,
                                                                           const std::string& nameForError) {
    WriterAndInput made;
    made.writer = platform.assetWriters->makeWriter(wavURL, AVFileType::wave);
    made.input = platform.assetWriters->makeInput(capturePCMSettings(channelCountOfTrack), true);
    if (!made.writer->canAdd(*made.input)) throw RecordingError::cannotConfigureWriter(nameForError);
    made.writer->add(made.input);
    return made;
}

std::shared_ptr<AudioTrack>
ScreenRecorderManager::makeMicTrack(const std::shared_ptr<AVCaptureDevice>& device, int, const URL& wavURL,
                                    AVAssetWriter* videoWriterOfTake,
                                    const std::vector<std::shared_ptr<AVAssetWriter>>& webcamWriters) {
    if (!micPreview.session || !micPreview.dataOutput || micPreview.deviceID != device->uniqueID()) {
        throw RecordingError::cannotConfigureWriter(
            "the microphone track, because " + device->localizedName() + " isn't running. Select it again");
    }
    const WriterAndInput made = makeWavWriter(wavURL, 1, "the microphone track file");
    auto track = std::make_shared<AudioTrack>();
    track->dataOutput = micPreview.dataOutput;
    track->device = device;
    track->writer = made.writer;
    track->input = made.input;
    if (videoWriterOfTake) track->referenceInput = addReferenceAudioInput(*videoWriterOfTake, 1);
    for (const auto& writer : webcamWriters)
        track->webcamReferenceInputs.push_back(addReferenceAudioInput(*writer, 1));
    return track;
}

std::shared_ptr<AudioTrack>
ScreenRecorderManager::makeAudioTrack(const std::shared_ptr<AVCaptureDevice>& device, const URL& wavURL,
                                      AVAssetWriter* videoWriterOfTake, int channelCountOfTrack) {
    if (!dawPreview.session || !dawPreview.dataOutput || dawPreview.deviceID != device->uniqueID()) {
        throw RecordingError::cannotConfigureWriter("the virtual input track, because " +
                                                    device->localizedName() +
                                                    " isn't running. Select it again");
    }
    const WriterAndInput made = makeWavWriter(wavURL, channelCountOfTrack, "the virtual input track file");
    auto track = std::make_shared<AudioTrack>();
    track->dataOutput = dawPreview.dataOutput;
    track->device = device;
    track->writer = made.writer;
    track->input = made.input;
    if (videoWriterOfTake)
        track->referenceInput = addReferenceAudioInput(*videoWriterOfTake, channelCountOfTrack);
    return track;
}

std::shared_ptr<AudioTrack> ScreenRecorderManager::makeSystemAudioTrack(const URL& wavURL,
                                                                        AVAssetWriter* videoWriterOfTake) {
    const WriterAndInput made = makeWavWriter(wavURL, 2, "the computer audio track file");
    auto track = std::make_shared<AudioTrack>();
    track->writer = made.writer;
    track->input = made.input;
    if (videoWriterOfTake) track->referenceInput = addReferenceAudioInput(*videoWriterOfTake, 2);
    return track;
}

std::vector<std::shared_ptr<ExtraInputDeviceGroup>>
ScreenRecorderManager::makeExtraInputGroups(const URL& outputURL, AVAssetWriter* videoWriterOfTake) {
    std::vector<std::string> deviceIDs; // in the order of their first rows
    for (const ExtraAudioInputConfig& row : *extraAudioInputs) {
        if (row.deviceID && std::find(deviceIDs.begin(), deviceIDs.end(), *row.deviceID) == deviceIDs.end()) {
            deviceIDs.push_back(*row.deviceID);
        }
    }
    std::vector<std::shared_ptr<ExtraInputDeviceGroup>> groups;
    for (const std::string& deviceID : deviceIDs) {
        const auto device = availableAudioInput(deviceID);
        if (!device) continue;
        const auto preview =
            std::find_if(extraPreviews.begin(), extraPreviews.end(),
                         [&](const ExtraPreview& candidate) { return candidate.deviceID == deviceID; });
        if (preview == extraPreviews.end()) {
            throw RecordingError::cannotConfigureWriter("the extra microphone " + device->localizedName() +
                                                        ", because it isn't running. Select it again");
        }
        auto group = std::make_shared<ExtraInputDeviceGroup>();
        group->dataOutput = preview->dataOutput;
        group->device = device;
        group->totalChannels = channelCount(deviceID);
        for (const ExtraAudioInputConfig& row : *extraAudioInputs) {
            if (row.deviceID != deviceID) continue;
            group->tracks.push_back(makeExtraInputTrack(row, *group, outputURL, videoWriterOfTake));
        }
        groups.push_back(std::move(group));
    }
    return groups;
}

std::shared_ptr<ExtraInputTrack>
ScreenRecorderManager::makeExtraInputTrack(const ExtraAudioInputConfig& row,
                                           const ExtraInputDeviceGroup& group, const URL& outputURL,
                                           AVAssetWriter* videoWriterOfTake) {
    const std::string& deviceName = group.device->localizedName();
    const int channel = std::clamp(row.channelIndex, 0, group.totalChannels - 1);
    const std::string suffix =
        reserveTrackName(extraInputSuffix(row.name, deviceName, channel), reservedTrackNames);
    const URL url = planOutput(trackURL(outputURL, suffix));
    const WriterAndInput made = makeWavWriter(url, 1, "the file for the extra microphone " + deviceName);
    auto track = std::make_shared<ExtraInputTrack>();
    track->configID = row.id;
    track->channelIndex = channel;
    track->writer = made.writer;
    track->input = made.input;
    if (videoWriterOfTake) track->referenceInput = addReferenceAudioInput(*videoWriterOfTake, 1);
    return track;
}

} // namespace vintra
