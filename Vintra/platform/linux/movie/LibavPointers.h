#pragma once

#include <memory>

struct AVCodecContext;
struct AVFrame;
struct AVPacket;

namespace vintra {

/// Owners of the records of FFmpeg's libraries.
struct FreeLibav {
    void operator()(AVCodecContext* context) const;
    void operator()(AVFrame* frame) const;
    void operator()(AVPacket* packet) const;
};
using CodecContextPointer = std::unique_ptr<AVCodecContext, FreeLibav>;
using FramePointer = std::unique_ptr<AVFrame, FreeLibav>;
using PacketPointer = std::unique_ptr<AVPacket, FreeLibav>;

} // namespace vintra
