#include "tests/support/MediaProbe.h"

#include <memory>
#include <stdexcept>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswscale/swscale.h>
}

namespace vintra {
namespace {

void check(int result, const char* what) {
    if (result < 0) throw std::runtime_error(what);
}

/// An open file, and a decoder of one of its tracks.
class Reader {
public:
    explicit Reader(const URL& url)
        : Reader() {
        // From here on the destructor runs, whatever is thrown.
        check(avformat_open_input(&format, url.path().c_str(), nullptr, nullptr), "the file can't be opened");
        check(avformat_find_stream_info(format, nullptr), "the file has no tracks that can be read");
    }
    ~Reader() {
        avcodec_free_context(&decoder);
        avformat_close_input(&format);
        av_packet_free(&packet);
        av_frame_free(&frame);
    }
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    void decode(unsigned stream) {
        track = stream;
        const AVStream& source = *format->streams[stream];
        const AVCodec* codec = avcodec_find_decoder(source.codecpar->codec_id);
        if (codec == nullptr) throw std::runtime_error("no decoder");
        decoder = avcodec_alloc_context3(codec);
        check(avcodec_parameters_to_context(decoder, source.codecpar), "no parameters");
        decoder->pkt_timebase = source.time_base;
        decoder->err_recognition = AV_EF_EXPLODE | AV_EF_BITSTREAM | AV_EF_BUFFER | AV_EF_COMPLIANT;
        check(avcodec_open2(decoder, codec, nullptr), "the decoder can't be opened");
    }
    /// False at the end.
    bool nextFrame() {
        for (;;) {
            const int result = avcodec_receive_frame(decoder, frame);
            if (result == 0) return true;
            if (result == AVERROR_EOF) return false;
            if (av_read_frame(format, packet) < 0) {
                avcodec_send_packet(decoder, nullptr);
                continue;
            }
            if (packet->stream_index == static_cast<int>(track))
                check(avcodec_send_packet(decoder, packet), "a packet can't be decoded");
            av_packet_unref(packet);
        }
    }

    AVFormatContext* format = nullptr;
    AVCodecContext* decoder = nullptr;
    AVPacket* packet = av_packet_alloc();
    AVFrame* frame = av_frame_alloc();
    unsigned track = 0;

private:
    Reader() = default;
};

unsigned findStream(const AVFormatContext& format, AVMediaType type, size_t index) {
    for (unsigned i = 0; i < format.nb_streams; ++i)
        if (format.streams[i]->codecpar->codec_type == type && index-- == 0) return i;
    throw std::runtime_error("no such track");
}

CMTime timeOf(int64_t value, AVRational base) {
    if (value == AV_NOPTS_VALUE) return kCMTimeInvalid;
    return CMTimeMake(value * base.num, base.den);
}

} // namespace

MediaProbe::MediaProbe(const URL& url) {
    Reader reader(url);
    for (unsigned i = 0; i < reader.format->nb_streams; ++i) {
        const AVCodecParameters& codec = *reader.format->streams[i]->codecpar;
        Track track;
        track.codec = avcodec_get_name(codec.codec_id);
        for (int shift = 0; shift < 32; shift += 8)
            track.tag += static_cast<char>(codec.codec_tag >> shift & 0xFF);
        track.width = codec.width;
        track.height = codec.height;
        track.channels = codec.ch_layout.nb_channels;
        track.sampleRate = codec.sample_rate;
        track.isRec709VideoRange =
            codec.color_primaries == AVCOL_PRI_BT709 && codec.color_trc == AVCOL_TRC_BT709 &&
            codec.color_space == AVCOL_SPC_BT709 && codec.color_range == AVCOL_RANGE_MPEG;
        track.hasReorderedPictures = codec.video_delay > 0;
        track.mediaDuration =
            timeOf(reader.format->streams[i]->duration, reader.format->streams[i]->time_base);
        tracks_.push_back(std::move(track));
    }
    duration_ = static_cast<double>(reader.format->duration) / AV_TIME_BASE;
    while (av_read_frame(reader.format, reader.packet) >= 0) {
        const AVPacket& packet = *reader.packet;
        const AVRational base = reader.format->streams[packet.stream_index]->time_base;
        Track& track = tracks_[static_cast<size_t>(packet.stream_index)];
        if (packet.dts != packet.pts) track.hasReorderedPictures = true;
        track.packets.push_back({timeOf(packet.pts, base), timeOf(packet.duration, base),
                                 (packet.flags & AV_PKT_FLAG_KEY) != 0, static_cast<size_t>(packet.size)});
        av_packet_unref(reader.packet);
    }
}

std::array<double, 3> MediaProbe::meanColour(const URL& url, int picture, Area area) {
    Reader reader(url);
    reader.decode(findStream(*reader.format, AVMEDIA_TYPE_VIDEO, 0));
    for (int i = 0; i <= picture; ++i)
        if (!reader.nextFrame()) throw std::runtime_error("too few pictures");
    const AVFrame& frame = *reader.frame;
    // The matrix and range that the decoder reports from the file, done exactly: no conversion library.
    if (frame.colorspace != AVCOL_SPC_BT709 || frame.color_range != AVCOL_RANGE_MPEG)
        throw std::runtime_error("the picture isn't tagged Rec. 709");
    double y = 0, cb = 0, cr = 0;
    for (int row = area.y; row < area.y + area.height; ++row) {
        for (int column = area.x; column < area.x + area.width; ++column) {
            y += frame.data[0][row * frame.linesize[0] + column];
            cb += frame.data[1][row / 2 * frame.linesize[1] + column / 2];
            cr += frame.data[2][row / 2 * frame.linesize[2] + column / 2];
        }
    }
    const double count = area.width * area.height;
    y = (y / count - 16) * 255 / 219;
    cb = (cb / count - 128) * 255 / 224;
    cr = (cr / count - 128) * 255 / 224;
    return {y + 1.5748 * cr, y - (0.2126 * 1.5748 * cr + 0.0722 * 1.8556 * cb) / 0.7152, y + 1.8556 * cb};
}

std::vector<double> MediaProbe::meanLuma(const URL& url) {
    Reader reader(url);
    reader.decode(findStream(*reader.format, AVMEDIA_TYPE_VIDEO, 0));
    std::vector<double> means;
    while (reader.nextFrame()) {
        const AVFrame& frame = *reader.frame;
        double sum = 0;
        for (int row = 0; row < frame.height; ++row) {
            for (int column = 0; column < frame.width; ++column)
                sum += frame.data[0][row * frame.linesize[0] + column];
        }
        means.push_back(sum / (static_cast<double>(frame.width) * frame.height));
    }
    return means;
}

std::vector<std::vector<uint8_t>> MediaProbe::luma(const URL& url) {
    Reader reader(url);
    reader.decode(findStream(*reader.format, AVMEDIA_TYPE_VIDEO, 0));
    std::vector<std::vector<uint8_t>> pictures;
    while (reader.nextFrame()) {
        const AVFrame& frame = *reader.frame;
        if (frame.decode_error_flags != 0 || (frame.flags & AV_FRAME_FLAG_CORRUPT) != 0)
            throw std::runtime_error("a picture is damaged");
        std::vector<uint8_t> values;
        for (int row = 0; row < frame.height; ++row) {
            const uint8_t* const start = frame.data[0] + row * frame.linesize[0];
            values.insert(values.end(), start, start + frame.width);
        }
        pictures.push_back(std::move(values));
    }
    return pictures;
}

MediaProbe::Sound MediaProbe::sound(const URL& url, size_t track) {
    Reader reader(url);
    const unsigned stream = findStream(*reader.format, AVMEDIA_TYPE_AUDIO, track);
    reader.decode(stream);
    Sound sound;
    while (reader.nextFrame()) {
        const AVFrame& frame = *reader.frame;
        if (frame.format != AV_SAMPLE_FMT_FLTP) throw std::runtime_error("not the sound that was expected");
        if (sound.values.empty())
            sound.start = static_cast<double>(frame.pts) * av_q2d(reader.format->streams[stream]->time_base);
        const auto* values = reinterpret_cast<const float*>(frame.data[0]);
        sound.values.insert(sound.values.end(), values, values + frame.nb_samples);
    }
    return sound;
}

} // namespace vintra
