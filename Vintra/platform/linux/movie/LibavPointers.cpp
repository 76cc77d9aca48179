#include "Vintra/platform/linux/movie/LibavPointers.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace vintra {

void FreeLibav::operator()(AVCodecContext* context) const {
    avcodec_free_context(&context);
}

void FreeLibav::operator()(AVFrame* frame) const {
    av_frame_free(&frame);
}

void FreeLibav::operator()(AVPacket* packet) const {
    av_packet_free(&packet);
}

} // namespace vintra
