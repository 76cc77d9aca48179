#include "Vintra/platform/linux/wayland/PortalFirstPicture.h"

#include <pipewire/pipewire.h>

#include <array>
#include <cmath>
#include <utility>

namespace vintra {
namespace {

constexpr std::array kPatience{0.5, 1.0, 2.0}; // seconds of a running stream before each halt
constexpr double kHalt = 0.1;                  // seconds

} // namespace

struct PortalFirstPicture::Events {
    static void expired(void* data, uint64_t) { static_cast<PortalFirstPicture*>(data)->expired(); }
};

PortalFirstPicture::PortalFirstPicture(pw_loop* loop, pw_stream* stream)
    : loop(loop)
    , stream(stream)
    , timer(pw_loop_add_timer(loop, &Events::expired, this)) {}

PortalFirstPicture::~PortalFirstPicture() {
    if (timer) pw_loop_destroy_source(loop, timer);
}

bool PortalFirstPicture::mayHalt(std::string_view streamName) {
    return streamName.starts_with("kwin-screencast") || streamName.starts_with("meta-screen-cast");
}

void PortalFirstPicture::streamRuns(bool runs) {
    if (isHalted || hasCome || halts == static_cast<int>(kPatience.size())) return;
    expireIn(runs ? kPatience.at(static_cast<size_t>(halts)) : 0);
}

/// Nothing wakes the thread in vain from then on.
void PortalFirstPicture::came() {
    if (!std::exchange(hasCome, true) && !isHalted) expireIn(0);
}

void PortalFirstPicture::resume() {
    if (std::exchange(isHalted, false)) pw_stream_set_active(stream, true);
}

void PortalFirstPicture::expired() {
    if (isHalted) return resume();
    if (hasCome || pw_stream_get_state(stream, nullptr) != PW_STREAM_STATE_STREAMING) return;
    ++halts;
    isHalted = true;
    pw_stream_set_active(stream, false);
    expireIn(kHalt);
}

/// 0 for never.
void PortalFirstPicture::expireIn(double seconds) {
    if (!timer) return;
    double whole = 0;
    timespec value{};
    value.tv_nsec = static_cast<long>(std::modf(seconds, &whole) * 1e9);
    value.tv_sec = static_cast<time_t>(whole);
    pw_loop_update_timer(loop, timer, &value, nullptr, false);
}

} // namespace vintra
