#include "Vintra/platform/simulated/SimulatedFileProbe.h"

#include <algorithm>

namespace vintra {

namespace {

const SimulatedAsset kUnreadable{std::nullopt, std::nullopt, std::nullopt};

uint32_t numberAt(const std::string& bytes, size_t offset, size_t size) {
    uint32_t number = 0;
    for (size_t i = 0; i < size; ++i)
        number |= static_cast<uint32_t>(static_cast<uint8_t>(bytes[offset + i])) << (8 * i);
    return number;
}

/// The facts of a file as `SimulatedWaveEncoder` lays it out.
SimulatedAsset waveFacts(const std::string& bytes) {
    if (bytes.size() < 44 || !bytes.starts_with("RIFF")) return kUnreadable;
    const uint32_t channels = numberAt(bytes, 22, 2);
    const uint32_t rate = numberAt(bytes, 24, 4);
    const uint32_t blockAlign = numberAt(bytes, 32, 2);
    if (channels == 0 || rate == 0 || blockAlign == 0) return kUnreadable;
    SimulatedAsset facts;
    facts.duration = CMTimeMake(numberAt(bytes, 40, 4) / blockAlign, static_cast<int32_t>(rate));
    facts.audioTracks->push_back(simulatedAudioTrack(channels, rate));
    return facts;
}

/// From the first sample in the session to the end of the last, or as long as it was told to stand.
CMTimeRange timeRange(const std::vector<CMSampleBuffer>& samples, CMTime standsUntil, CMTime session) {
    if (samples.empty()) return {};
    const CMTime start = samples.front().presentationTimeStamp();
    CMTime end = samples.back().presentationTimeStamp() + samples.back().duration();
    if (standsUntil.isValid()) end = std::max(end, standsUntil);
    return {start - session, end - start};
}

AVAssetTrack pictureTrack(const SimulatedAssetWriterInput& input, const std::vector<CMSampleBuffer>& samples,
                          CMTime session) {
    const AVVideoSettings& settings = *input.videoSettings();
    AVVideoTrackProperties video;
    video.naturalSize = {static_cast<double>(settings.width), static_cast<double>(settings.height)};
    video.timeRange = timeRange(samples, input.standsUntil, session);
    const double seconds = CMTimeGetSeconds(video.timeRange.duration);
    if (seconds > 0) video.nominalFrameRate = static_cast<double>(samples.size()) / seconds;
    for (const CMSampleBuffer& sample : samples) {
        if (!video.minFrameDuration.isValid() || sample.duration() < video.minFrameDuration)
            video.minFrameDuration = sample.duration();
    }
    const uint32_t codec =
        settings.codec == AVVideoCodecType::h264 ? fourCharCode("avc1") : fourCharCode("hvc1");
    AVAssetTrack track;
    track.video = video;
    track.formatDescriptions.emplace();
    track.formatDescriptions->push_back(std::make_shared<const CMFormatDescription>(
        VideoDescription{codec, {settings.width, settings.height}}));
    return track;
}

SimulatedAsset movieFacts(const SimulatedAssetWriter& writer) {
    SimulatedAsset facts;
    facts.duration = kCMTimeZero;
    for (const auto& input : writer.inputs()) {
        std::vector<CMSampleBuffer> samples = input->accepted();
        std::erase_if(samples, [&](const CMSampleBuffer& sample) {
            return sample.presentationTimeStamp() < writer.sessionStart();
        });
        facts.duration =
            std::max(*facts.duration, timeRange(samples, input->standsUntil, writer.sessionStart()).end());
        if (input->videoSettings()) {
            facts.videoTracks->push_back(pictureTrack(*input, samples, writer.sessionStart()));
        } else {
            const AVAudioSettings& settings = *input->audioSettings();
            facts.audioTracks->push_back(simulatedAudioTrack(settings.numberOfChannels, settings.sampleRate));
        }
    }
    return facts;
}

} // namespace

SimulatedAsset probeSimulatedFile(const SimulatedFileManager& files, const SimulatedAssetWriters& writers,
                                  const URL& url) {
    const auto bytes = files.contents(url.path());
    if (!bytes) return kUnreadable;
    if (url.pathExtension() == "wav") return waveFacts(*bytes);
    for (auto writer = writers.writers.rbegin(); writer != writers.writers.rend(); ++writer) {
        if ((*writer)->outputURL() != url && (*writer)->currentURL() != url) continue;
        return (*writer)->status() == AVAssetWriterStatus::completed ? movieFacts(**writer) : kUnreadable;
    }
    return kUnreadable;
}

} // namespace vintra
