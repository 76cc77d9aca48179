#pragma once

#include "Vintra/platform/linux/wayland/DmaBufLayout.h"
#include "Vintra/platform/linux/wayland/EglFunctions.h"
#include "Vintra/platform/linux/wayland/PortalPixels.h"

#include <memory>
#include <span>
#include <string>
#include <vector>

namespace vintra {

/// The graphics card, without a window, for reading what lies in its memory. Owned by a stream's buffers. One thread at a
/// time: `leaveThread` hands it on.
class EglContext {
public:
    /// Null if the card can't be used so; `problem` then says why.
    static std::unique_ptr<EglContext> make(const EglLibraries& libraries, std::string& problem);
    ~EglContext();
    EglContext(const EglContext&) = delete;
    EglContext& operator=(const EglContext&) = delete;

    /// Which of the pixel formats can be imported, and with which modifiers: those of a texture that can be read. Where
    /// a format can be imported at all, the implicit modifier comes last.
    std::vector<DmaBufOffer> offers(std::span<const uint32_t> formats) const;

    /// Before any call of `gl` on a thread. False if the card refuses.
    bool enterThread();
    /// The thread has the context again that it had before, if it had one.
    void leaveThread();

    const EglFunctions& gl() const { return *functions; }
    EGLDisplay display() const { return display_; }
    bool takesModifiers() const { return takesModifiers_; }
    /// The order in which pictures are best read.
    PortalPixels readOrder() const { return readOrder_; }

private:
    /// Somebody else's context.
    struct Current {
        EGLDisplay display = EGL_NO_DISPLAY;
        EGLSurface draw = EGL_NO_SURFACE;
        EGLSurface read = EGL_NO_SURFACE;
        EGLContext context = EGL_NO_CONTEXT;
    };

    explicit EglContext(std::unique_ptr<EglFunctions> functions);
    std::string open();
    std::vector<EGLDisplay> displays() const;
    std::string openDisplay();
    void close();
    std::string openContext(const std::string& extensions);
    std::vector<uint64_t> modifiersOf(uint32_t format) const;

    const std::unique_ptr<EglFunctions> functions;
    EGLDisplay display_ = EGL_NO_DISPLAY;
    EGLContext context = EGL_NO_CONTEXT;
    bool isCurrent = false;
    Current before; ///< on the thread that has the context now
    bool takesModifiers_ = false;
    PortalPixels readOrder_ = PortalPixels::rgbx;
};

} // namespace vintra
