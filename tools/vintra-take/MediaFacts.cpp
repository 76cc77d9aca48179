#include "tools/vintra-take/MediaFacts.h"

#include <memory>

extern "C" {
#include <libavformat/avformat.h>
}

namespace vintra {
namespace {

struct Closer {
    void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
};

MediaFacts factsOfPictures(const AVFormatContext& context, const AVStream& stream) {
    MediaFacts facts;
    facts.units = stream.nb_frames;
    // The movie's own length: a movie may begin before its first picture. One without a picture has none.
    if (context.duration != AV_NOPTS_VALUE)
        facts.seconds = static_cast<double>(context.duration) / AV_TIME_BASE;
    if (stream.avg_frame_rate.den != 0) facts.rate = av_q2d(stream.avg_frame_rate);
    return facts;
}

MediaFacts factsOfSound(const AVStream& stream) {
    MediaFacts facts;
    facts.rate = stream.codecpar->sample_rate;
    facts.units = av_rescale_q(stream.duration, stream.time_base, {1, stream.codecpar->sample_rate});
    facts.seconds = static_cast<double>(stream.duration) * av_q2d(stream.time_base);
    return facts;
}

} // namespace

std::optional<MediaFacts> mediaFacts(const URL& at) {
    AVFormatContext* opened = nullptr;
    const std::string url = "file:" + at.path();
    if (avformat_open_input(&opened, url.c_str(), nullptr, nullptr) < 0) return std::nullopt;
    const std::unique_ptr<AVFormatContext, Closer> context(opened);
    if (avformat_find_stream_info(opened, nullptr) < 0) return std::nullopt;
    for (const ::AVMediaType type : {AVMEDIA_TYPE_VIDEO, AVMEDIA_TYPE_AUDIO}) {
        const int index = av_find_best_stream(opened, type, -1, -1, nullptr, 0);
        if (index < 0) continue;
        const AVStream& stream = *opened->streams[index];
        if (type == AVMEDIA_TYPE_VIDEO) return factsOfPictures(*opened, stream);
        if (stream.codecpar->sample_rate <= 0 || stream.duration < 0) return std::nullopt;
        return factsOfSound(stream);
    }
    return std::nullopt;
}

} // namespace vintra
