#pragma once

#include <string_view>

struct pw_loop;
struct pw_stream;
struct spa_source;

namespace vintra {

/// Sees to it that a screen or window that stands still shows at all. What its desktop hands out while the link is
/// still starting stays in PipeWire until the next picture, and there is none. So a stream that runs and has brought
/// nothing is halted and resumed: for a desktop that is the beginning, at which it sends all there is to see.
///
/// A few times at most, since a screen may have nothing to show. A stream that has brought a picture is left alone. So
/// are the streams of other desktops than KDE and GNOME: the portal of wlroots' compositors may crash when it is halted on
/// a busy machine.
/// Owned by the stream, on its thread.
class PortalFirstPicture {
public:
    PortalFirstPicture(pw_loop* loop, pw_stream* stream);
    /// Before the stream and the loop go.
    ~PortalFirstPicture();
    PortalFirstPicture(const PortalFirstPicture&) = delete;
    PortalFirstPicture& operator=(const PortalFirstPicture&) = delete;

    /// Whether the sender of a stream of that name bears it, and begins anew.
    static bool mayHalt(std::string_view streamName);

    void streamRuns(bool runs);
    void came();
    /// A stream that is halted goes on: its loop may not be run for a while.
    void resume();

private:
    struct Events;

    void expired();
    void expireIn(double seconds);

    pw_loop* const loop;
    pw_stream* const stream;
    spa_source* timer = nullptr; ///< null if the system has none left
    bool hasCome = false;
    bool isHalted = false;
    int halts = 0;
};

} // namespace vintra
