/// What the leak checker of the asan build passes over: a few kilobytes that libx265 keeps of every encoder
/// it has closed, and what Qt's software renderer keeps of every window.
extern "C" const char* __lsan_default_suppressions();

extern "C" const char* __lsan_default_suppressions() {
    return "leak:libx265.so\n"
           "leak:libQt6Quick.so\n"
           "leak:libQt6Gui.so\n";
}
