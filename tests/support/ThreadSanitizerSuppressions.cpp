extern "C" const char* __tsan_default_suppressions();

/// What the thread sanitizer must not report in these tests, with the reason; other builds never call this.
extern "C" const char* __tsan_default_suppressions() {
    // When a server goes, Xlib unlocks the connection before it calls the error handlers, and its callers
    // unlock it once more (libX11 1.8, _XIOError). No other thread uses the connection.
    return "mutex:libX11.so\n";
}
