#include "Vintra/platform/linux/movie/AssetFacts.h"

#include <algorithm>
#include <limits>
#include <span>
#include <string_view>
#include <sys/stat.h>

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/dict.h>
}

namespace vintra {
namespace {

// Only files, and only formats that hold takes: no playlist may lead the reader elsewhere.
constexpr const char* kProtocols = "file";
constexpr const char* kFormats = "mov,wav,w64,aiff,caf,flac,mp3";

// What a header may claim before it is no longer believed.
constexpr unsigned kMostTracks = 256;
constexpr int kMostChannelsOfTrack = 256;
constexpr int kHighestRateOfTrack = 768'000; // hertz
constexpr int kLargestPictureSide = 65'536;  // pixels

struct CloseInput {
    void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
};
using Input = std::unique_ptr<AVFormatContext, CloseInput>;

/// Reading a named pipe would never end.
bool isRegularFile(const URL& url) {
    struct stat status {};
    return stat(url.path().c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

Input open(const URL& url) {
    if (!isRegularFile(url)) return nullptr;
    AVDictionary* options = nullptr;
    av_dict_set(&options, "protocol_whitelist", kProtocols, 0);
    av_dict_set(&options, "format_whitelist", kFormats, 0);
    AVFormatContext* context = nullptr;
    const std::string name = "file:" + url.path();
    const int status = avformat_open_input(&context, name.c_str(), nullptr, &options);
    av_dict_free(&options);
    return Input(status == 0 ? context : nullptr);
}

bool isMovie(const AVFormatContext& input) {
    return std::string_view(input.iformat->name).find("mov") != std::string_view::npos;
}

std::span<AVStream* const> streams(const AVFormatContext& input) {
    return {input.streams, input.nb_streams};
}

bool isPicture(const AVStream& stream) {
    return stream.codecpar->codec_type == AVMEDIA_TYPE_VIDEO &&
           (stream.disposition & AV_DISPOSITION_ATTACHED_PIC) == 0;
}

bool isSound(const AVStream& stream) {
    return stream.codecpar->codec_type == AVMEDIA_TYPE_AUDIO;
}

/// Whether the header has told everything about the stream. A fragmented movie's has not.
bool isKnown(const AVFormatContext& input, const AVStream& stream) {
    if (stream.duration == AV_NOPTS_VALUE) return false;
    if (isMovie(input) && stream.start_time == AV_NOPTS_VALUE) return false;
    if (isPicture(stream)) return stream.codecpar->width > 0 && stream.codecpar->height > 0;
    return stream.codecpar->ch_layout.nb_channels > 0 && stream.codecpar->sample_rate > 0;
}

bool isBelievableTrack(const AVStream& stream) {
    const AVCodecParameters& facts = *stream.codecpar;
    if (isPicture(stream)) return facts.width <= kLargestPictureSide && facts.height <= kLargestPictureSide;
    if (!isSound(stream)) return true;
    return facts.ch_layout.nb_channels <= kMostChannelsOfTrack && facts.sample_rate <= kHighestRateOfTrack;
}

/// Asked before anything is decoded: a decoder makes room for what a header claims.
bool isBelievableFile(const AVFormatContext& input) {
    return input.nb_streams <= kMostTracks && std::ranges::all_of(streams(input), [](const AVStream* stream) {
               return isBelievableTrack(*stream);
           });
}

/// Reads on behind the header where that is needed. False if the file doesn't tell even so.
bool completeFacts(AVFormatContext& input) {
    const auto isOpenQuestion = [&input](const AVStream* stream) {
        return (isPicture(*stream) || isSound(*stream)) && !isKnown(input, *stream);
    };
    if (std::ranges::none_of(streams(input), isOpenQuestion)) return true;
    if (avformat_find_stream_info(&input, nullptr) < 0) return false;
    // A duration that is only reckoned from the file's size is that of a header never completed.
    return input.duration_estimation_method != AVFMT_DURATION_FROM_BITRATE;
}

/// Exact; invalid where the numbers are beyond a time's range.
CMTime timeOf(int64_t ticks, AVRational timeBase) {
    int64_t value = 0;
    if (__builtin_mul_overflow(ticks, static_cast<int64_t>(timeBase.num), &value)) return kCMTimeInvalid;
    return CMTimeMake(value, timeBase.den);
}

CMTimeRange rangeOf(const AVStream& stream) {
    const int64_t start = stream.start_time == AV_NOPTS_VALUE ? 0 : stream.start_time;
    return {timeOf(start, stream.time_base), timeOf(stream.duration, stream.time_base)};
}

/// Whether the file ends before the samples do that its header or index lists.
bool isCutShort(AVFormatContext& input) {
    const int64_t size = avio_size(input.pb);
    if (size < 0) return true;
    for (AVStream* stream : streams(input)) {
        const int count = avformat_index_get_entries_count(stream);
        for (int index = 0; index < count; ++index) {
            const AVIndexEntry* entry = avformat_index_get_entry(stream, index);
            if (entry->pos + entry->size > size) return true;
        }
        // Plain samples behind a header have no index before they are read.
        const bool isPlain = !isMovie(input) && stream->codecpar->block_align > 0 &&
                             av_get_exact_bits_per_sample(stream->codecpar->codec_id) > 0;
        if (isPlain && count == 0 &&
            stream->duration > (size - avio_tell(input.pb)) / stream->codecpar->block_align)
            return true;
    }
    return false;
}

/// The shortest distance between two frames; invalid where the index doesn't list every frame.
CMTime shortestFrame(const AVFormatContext& input, AVStream& stream) {
    if (!isMovie(input)) return kCMTimeInvalid;
    int64_t shortest = std::numeric_limits<int64_t>::max();
    const int count = avformat_index_get_entries_count(&stream);
    for (int index = 1; index < count; ++index) {
        const int64_t distance = avformat_index_get_entry(&stream, index)->timestamp -
                                 avformat_index_get_entry(&stream, index - 1)->timestamp;
        if (distance > 0) shortest = std::min(shortest, distance);
    }
    return count < 2 || shortest == std::numeric_limits<int64_t>::max() ? kCMTimeInvalid
                                                                        : timeOf(shortest, stream.time_base);
}

AVAssetTrack pictureTrack(const AVFormatContext& input, AVStream& stream) {
    AVVideoTrackProperties video;
    const AVRational aspect = stream.sample_aspect_ratio.num > 0 ? stream.sample_aspect_ratio
                                                                 : stream.codecpar->sample_aspect_ratio;
    const double stretch = aspect.num > 0 && aspect.den > 0 ? av_q2d(aspect) : 1;
    video.naturalSize = {stream.codecpar->width * stretch, static_cast<double>(stream.codecpar->height)};
    if (stream.avg_frame_rate.den > 0) video.nominalFrameRate = av_q2d(stream.avg_frame_rate);
    video.minFrameDuration = shortestFrame(input, stream);
    video.timeRange = rangeOf(stream);
    AVAssetTrack track;
    track.video = video;
    return track;
}

AVAssetTrack soundTrack(const AVStream& stream) {
    AudioStreamBasicDescription description;
    description.mSampleRate = stream.codecpar->sample_rate;
    description.mChannelsPerFrame = static_cast<uint32_t>(stream.codecpar->ch_layout.nb_channels);
    description.mFormatID =
        stream.codecpar->codec_id == AV_CODEC_ID_AAC ? kAudioFormatMPEG4AAC : kAudioFormatLinearPCM;
    AVAssetTrack track;
    track.formatDescriptions = {{std::make_shared<CMFormatDescription>(description)}};
    return track;
}

} // namespace

std::optional<AssetFacts> readAssetFacts(const URL& url) {
    const Input input = open(url);
    if (!input || !isBelievableFile(*input) || !completeFacts(*input) || isCutShort(*input))
        return std::nullopt;
    if (!isBelievableFile(*input)) return std::nullopt; // what was read on may have brought more
    AssetFacts facts;
    facts.duration = kCMTimeZero;
    for (AVStream* stream : streams(*input)) {
        if (!isPicture(*stream) && !isSound(*stream)) continue;
        if (!isKnown(*input, *stream)) return std::nullopt;
        facts.duration = std::max(facts.duration, rangeOf(*stream).end());
        if (isPicture(*stream)) {
            facts.videoTracks.push_back(pictureTrack(*input, *stream));
        } else {
            facts.audioTracks.push_back(soundTrack(*stream));
        }
    }
    if (facts.videoTracks.empty() && facts.audioTracks.empty()) return std::nullopt;
    return facts;
}

} // namespace vintra
