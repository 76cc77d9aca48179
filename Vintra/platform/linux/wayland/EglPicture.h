#pragma once

#include "Vintra/platform/linux/wayland/EglContext.h"
#include "Vintra/platform/linux/wayland/PortalPixelAccess.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace vintra {

/// One buffer in the graphics card's memory, which the card copies into the process's when its pixels are read, once for
/// each frame. Owned by whoever knows the buffer; the context must outlive it, and so must the buffer's descriptors
/// its making. On the context's thread.
class EglPicture : public PortalPixelAccess {
public:
    struct Plane {
        int descriptor = -1;
        uint32_t offset = 0; ///< bytes
        int32_t stride = 0;  ///< bytes
        bool operator==(const Plane&) const = default;
    };
    struct Source {
        DmaBufLayout layout;
        int width = 0;
        int height = 0;
        std::vector<Plane> planes;
        bool operator==(const Source&) const = default;
    };
    /// Null if the card can't; `problem` then says why.
    static std::unique_ptr<EglPicture> import(EglContext& context, const Source& source,
                                              std::string& problem);
    ~EglPicture() override;

    const Source& source() const { return source_; }
    /// Rows without gaps, in the context's order of reading.
    const std::vector<uint8_t>& pixels() const { return pixels_; }
    /// The desktop has drawn anew: the next reading copies.
    void markDrawn() { isRead = false; }

    std::optional<SystemError> begin() override;
    void end() override {}
    bool isUncached() const override { return false; }

private:
    EglPicture(EglContext& context, Source source);
    std::string open();
    std::vector<EGLint> attributes() const;

    EglContext& context;
    const Source source_;
    EGLImageKHR image = EGL_NO_IMAGE_KHR;
    GLuint texture = 0;
    GLuint framebuffer = 0;
    std::vector<uint8_t> pixels_;
    bool isRead = false;
};

} // namespace vintra
