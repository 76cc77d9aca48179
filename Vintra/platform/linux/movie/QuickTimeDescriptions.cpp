#include "Vintra/platform/linux/movie/QuickTimeDescriptions.h"

#include "Vintra/platform/linux/movie/AtomWriter.h"

namespace vintra {
namespace {

using Atom = AtomWriter::Atom;

void beginEntry(AtomWriter& out) {
    out.zeros(6);
    out.u16(1); // data reference
}

void pictureFields(AtomWriter& out, int32_t width, int32_t height) {
    beginEntry(out);
    out.u16(0);   // version
    out.u16(0);   // revision
    out.u32(0);   // vendor
    out.u32(0);   // temporal quality
    out.u32(512); // spatial quality: normal
    out.u16(static_cast<uint64_t>(width));
    out.u16(static_cast<uint64_t>(height));
    out.u32(72u << 16); // pixels an inch
    out.u32(72u << 16);
    out.u32(0);
    out.u16(1);      // frame of a sample
    out.zeros(32);   // compressor's name
    out.u16(24);     // depth: colour without alpha
    out.u16(0xFFFF); // no colour table
}

void pictureExtensions(AtomWriter& out) {
    {
        const Atom colour(out, "colr");
        out.type("nclc");
        out.u16(1); // Rec. 709 primaries, transfer function and matrix
        out.u16(1);
        out.u16(1);
    }
    {
        const Atom field(out, "fiel");
        out.u8(1); // progressive
        out.u8(0);
    }
    const Atom aspect(out, "pasp");
    out.u32(1);
    out.u32(1);
}

/// A descriptor of MPEG-4 systems with its length in the four-byte form.
void descriptorHeader(AtomWriter& out, uint8_t tag, size_t length) {
    out.u8(tag);
    out.u8(0x80);
    out.u8(0x80);
    out.u8(0x80);
    out.u8(length);
}

void elementaryStreamDescriptor(AtomWriter& out, int64_t bitRate, std::span<const uint8_t> config) {
    constexpr size_t header = 5;
    constexpr size_t decoderConfigFields = 13;
    const size_t decoderConfig = decoderConfigFields + header + config.size();
    const Atom atom(out, "esds", 0, 0);
    descriptorHeader(out, 0x03, 3 + header + decoderConfig + header + 1);
    out.u16(0); // id
    out.u8(0);  // no flags
    descriptorHeader(out, 0x04, decoderConfig);
    out.u8(0x40); // MPEG-4 audio
    out.u8(0x15); // an audio stream
    out.u8(0);    // size of the decoder's buffer: 24 bits
    out.u16(6144);
    out.u32(static_cast<uint64_t>(bitRate)); // at most
    out.u32(static_cast<uint64_t>(bitRate)); // on average
    descriptorHeader(out, 0x05, config.size());
    out.append(config);
    descriptorHeader(out, 0x06, 1);
    out.u8(2); // as in MP4 files
}

void channelLayout(AtomWriter& out, uint32_t channels) {
    if (channels > 2) return;
    constexpr uint32_t mono = 100;
    constexpr uint32_t stereo = 101;
    const Atom atom(out, "chan", 0, 0);
    out.u32((channels == 1 ? mono : stereo) << 16 | channels);
    out.u32(0);
    out.u32(0);
}

} // namespace

std::vector<uint8_t> h264SampleDescription(int32_t width, int32_t height, std::span<const uint8_t> avcC) {
    AtomWriter out;
    {
        const Atom entry(out, "avc1");
        pictureFields(out, width, height);
        {
            const Atom configuration(out, "avcC");
            out.append(avcC);
        }
        pictureExtensions(out);
    }
    return out.bytes();
}

std::vector<uint8_t> hevcSampleDescription(int32_t width, int32_t height, std::span<const uint8_t> hvcC) {
    AtomWriter out;
    {
        const Atom entry(out, "hvc1");
        pictureFields(out, width, height);
        {
            const Atom configuration(out, "hvcC");
            out.append(hvcC);
        }
        pictureExtensions(out);
    }
    return out.bytes();
}

std::vector<uint8_t> aacSampleDescription(int32_t sampleRate, uint32_t channels, int64_t bitRate,
                                          std::span<const uint8_t> audioSpecificConfig) {
    AtomWriter out;
    {
        const Atom entry(out, "mp4a");
        beginEntry(out);
        out.u16(1); // version
        out.u16(0); // revision
        out.u32(0); // vendor
        out.u16(channels);
        out.u16(16);
        out.u16(0xFFFE); // packets of varying size
        out.u16(0);
        out.u32(static_cast<uint64_t>(sampleRate) << 16);
        out.u32(1024); // frames of a packet
        out.u32(0);    // bytes of a packet, of a frame: varying
        out.u32(0);
        out.u32(2); // bytes of a decoded value
        {
            const Atom wave(out, "wave");
            {
                const Atom format(out, "frma");
                out.type("mp4a");
            }
            {
                const Atom codec(out, "mp4a");
                out.u32(0);
            }
            elementaryStreamDescriptor(out, bitRate, audioSpecificConfig);
            out.u32(8); // the list's terminator: an atom of type 0
            out.u32(0);
        }
        channelLayout(out, channels);
    }
    return out.bytes();
}

} // namespace vintra
