// A library that is preloaded into kwin_wayland 5.27 where it runs without a screen. Its screencast plugin shares a
// display when the display says that its picture has changed, and copies the picture out of the framebuffer that is
// current then. KWin's displays on a graphics card do both; its virtual ones never say so, and have given up their
// framebuffer by then. This says it for them, once they are painted, and makes their framebuffer current for the copy.
// Also the pointer lies in a plane of its own there, and not in the picture, as on a graphics card.
//
// KWin's and Qt's classes are declared as far as they are called, so that nothing of KWin's sources is needed.

#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <map>
#include <memory>
#include <vector>

/// As in Qt, since it is returned by value.
struct QRect {
    int x1, y1, x2, y2;
};

class QPoint;

class QRegion {
public:
    enum RegionType { Rectangle, Ellipse };
    QRegion(const QRect& rect, RegionType type);
    ~QRegion();

private:
    [[maybe_unused]] void* data;
};

namespace KWin {

class GLTexture;

class CursorSource;

class Output {
public:
    bool setCursor(CursorSource* source);
    bool moveCursor(const QPoint& position);
    QRect geometry() const;
    void outputChange(const QRegion& region);
};

class GLFramebuffer {
public:
    static void pushFramebuffer(GLFramebuffer* framebuffer);
    static GLFramebuffer* popFramebuffer();
};

class AbstractEglBackend {
public:
    std::shared_ptr<GLTexture> textureForOutput(Output* output) const;
};

class SoftwareVsyncMonitor {
public:
    void arm();
};

namespace {

template <typename Function>
Function next(const char* name) {
    void* const found = dlsym(RTLD_NEXT, name);
    if (!found) {
        std::fprintf(stderr, "kwin-output-frames is for KWin 5.27: this one has no %s\n", name);
        std::abort();
    }
    return reinterpret_cast<Function>(found);
}

// All of it is the compositor's one thread's.
std::vector<GLFramebuffer*> current;            // the framebuffers that are pushed, the innermost last
GLFramebuffer* lastPainted = nullptr;           // the outermost one of the last painting
Output* lastMade = nullptr;                     // an output makes its monitor while it is made
std::map<SoftwareVsyncMonitor*, Output*> owner; // a monitor is armed when its output has been painted
std::map<Output*, GLFramebuffer*> pictures;
bool isCopying = false;

} // namespace

bool Output::setCursor(CursorSource*) {
    return true;
}

bool Output::moveCursor(const QPoint&) {
    return true;
}

void GLFramebuffer::pushFramebuffer(GLFramebuffer* framebuffer) {
    static const auto real = next<void (*)(GLFramebuffer*)>("_ZN4KWin13GLFramebuffer15pushFramebufferEPS0_");
    if (current.empty() && !isCopying) lastPainted = framebuffer;
    current.push_back(framebuffer);
    real(framebuffer);
}

GLFramebuffer* GLFramebuffer::popFramebuffer() {
    static const auto real = next<GLFramebuffer* (*)()>("_ZN4KWin13GLFramebuffer14popFramebufferEv");
    if (!current.empty()) current.pop_back();
    return real();
}

std::shared_ptr<GLTexture> AbstractEglBackend::textureForOutput(Output* output) const {
    using Function = std::shared_ptr<GLTexture> (*)(const AbstractEglBackend*, Output*);
    static const auto real = next<Function>("_ZNK4KWin18AbstractEglBackend16textureForOutputEPNS_6OutputE");
    const auto picture = pictures.find(output);
    if (picture == pictures.end()) return real(this, output);
    isCopying = true;
    GLFramebuffer::pushFramebuffer(picture->second);
    auto texture = real(this, output);
    GLFramebuffer::popFramebuffer();
    isCopying = false;
    return texture;
}

void SoftwareVsyncMonitor::arm() {
    static const auto real = next<void (*)(SoftwareVsyncMonitor*)>("_ZN4KWin20SoftwareVsyncMonitor3armEv");
    real(this);
    const auto found = owner.find(this);
    if (found == owner.end()) return;
    pictures[found->second] = lastPainted;
    found->second->outputChange(QRegion(found->second->geometry(), QRegion::Rectangle));
}

} // namespace KWin

// The constructors by the names that the compiler gives them.
extern "C" void _ZN4KWin6OutputC2EP7QObject(KWin::Output* self, void* parent) {
    static const auto real = KWin::next<void (*)(KWin::Output*, void*)>("_ZN4KWin6OutputC2EP7QObject");
    real(self, parent);
    KWin::lastMade = self;
}

extern "C" void _ZN4KWin20SoftwareVsyncMonitorC1Ev(KWin::SoftwareVsyncMonitor* self) {
    static const auto real =
        KWin::next<void (*)(KWin::SoftwareVsyncMonitor*)>("_ZN4KWin20SoftwareVsyncMonitorC1Ev");
    real(self);
    if (KWin::lastMade) KWin::owner[self] = KWin::lastMade;
}
