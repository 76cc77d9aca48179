#pragma once

struct pw_context;
struct pw_loop;

namespace vintra {

/// A client's context whose data thread is a real-time one where the system lets it. Null if there is none. The
/// loop's lock is held; may block for up to two seconds.
///
/// The library asks for such a thread on a message bus, and waits for the answer for ever: where a bus hangs, it
/// is not asked.
pw_context* newRealTimeContext(pw_loop* loop);

} // namespace vintra
