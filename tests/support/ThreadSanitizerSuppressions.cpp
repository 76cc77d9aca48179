extern "C" const char* __tsan_default_suppressions();

/// What the thread sanitizer must not report in these tests, with the reason; other builds never call this.
extern "C" const char* __tsan_default_suppressions() {
    // When a server goes, Xlib unlocks the connection before it calls the error handlers, and its callers
    // unlock it once more (libX11 1.8, _XIOError). No other thread uses the connection.
    // x265's threads hand blocks of a picture to each other by atomics of the library's own, which isn't built
    // with the sanitizer: it sees the memory being used and not the order.
    return "mutex:libX11.so\nrace:libx265.so\n";
}
