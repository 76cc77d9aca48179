#include "Vintra/platform/linux/wayland/EglPicture.h"

#include <array>
#include <sstream>
#include <utility>

namespace vintra {
namespace {

constexpr size_t kMostPlanes = 4;

std::string callThatFailed(const char* call, unsigned code) {
    std::ostringstream text;
    text << call << ": error 0x" << std::hex << code;
    return text.str();
}

} // namespace

EglPicture::EglPicture(EglContext& context, Source source)
    : context(context)
    , source_(std::move(source)) {}

EglPicture::~EglPicture() {
    if (!context.enterThread()) return; // the card is gone, and all of this with it
    const EglFunctions& gl = context.gl();
    if (framebuffer != 0) gl.deleteFramebuffers(1, &framebuffer);
    if (texture != 0) gl.deleteTextures(1, &texture);
    if (image != EGL_NO_IMAGE_KHR) gl.destroyImage(context.display(), image);
}

std::unique_ptr<EglPicture> EglPicture::import(EglContext& context, const Source& source,
                                               std::string& problem) {
    std::unique_ptr<EglPicture> made(new EglPicture(context, source));
    problem = made->open();
    if (!problem.empty()) return nullptr;
    return made;
}

std::vector<EGLint> EglPicture::attributes() const {
    struct Names {
        EGLint descriptor, offset, pitch, low, high;
    };
    constexpr std::array<Names, kMostPlanes> kNames{
        Names{EGL_DMA_BUF_PLANE0_FD_EXT, EGL_DMA_BUF_PLANE0_OFFSET_EXT, EGL_DMA_BUF_PLANE0_PITCH_EXT,
              EGL_DMA_BUF_PLANE0_MODIFIER_LO_EXT, EGL_DMA_BUF_PLANE0_MODIFIER_HI_EXT},
        Names{EGL_DMA_BUF_PLANE1_FD_EXT, EGL_DMA_BUF_PLANE1_OFFSET_EXT, EGL_DMA_BUF_PLANE1_PITCH_EXT,
              EGL_DMA_BUF_PLANE1_MODIFIER_LO_EXT, EGL_DMA_BUF_PLANE1_MODIFIER_HI_EXT},
        Names{EGL_DMA_BUF_PLANE2_FD_EXT, EGL_DMA_BUF_PLANE2_OFFSET_EXT, EGL_DMA_BUF_PLANE2_PITCH_EXT,
              EGL_DMA_BUF_PLANE2_MODIFIER_LO_EXT, EGL_DMA_BUF_PLANE2_MODIFIER_HI_EXT},
        Names{EGL_DMA_BUF_PLANE3_FD_EXT, EGL_DMA_BUF_PLANE3_OFFSET_EXT, EGL_DMA_BUF_PLANE3_PITCH_EXT,
              EGL_DMA_BUF_PLANE3_MODIFIER_LO_EXT, EGL_DMA_BUF_PLANE3_MODIFIER_HI_EXT}};
    std::vector<EGLint> list{EGL_WIDTH,
                             source_.width,
                             EGL_HEIGHT,
                             source_.height,
                             EGL_LINUX_DRM_FOURCC_EXT,
                             static_cast<EGLint>(source_.layout.format)};
    const uint64_t modifier = source_.layout.modifier;
    for (size_t i = 0; i < source_.planes.size(); ++i) {
        const Plane& plane = source_.planes[i];
        const Names& names = kNames[i];
        list.insert(list.end(), {names.descriptor, plane.descriptor, names.offset,
                                 static_cast<EGLint>(plane.offset), names.pitch, plane.stride});
        if (modifier == kImplicitModifier) continue;
        list.insert(list.end(), {names.low, static_cast<EGLint>(static_cast<uint32_t>(modifier)), names.high,
                                 static_cast<EGLint>(static_cast<uint32_t>(modifier >> 32))});
    }
    list.push_back(EGL_NONE);
    return list;
}

/// Why it can't be imported; empty if it could.
std::string EglPicture::open() {
    if (source_.planes.empty() || source_.planes.size() > kMostPlanes) return "a picture of too many planes";
    if (!context.enterThread()) return "EGL refuses this thread";
    const EglFunctions& gl = context.gl();
    image = gl.createImage(context.display(), EGL_NO_CONTEXT, EGL_LINUX_DMA_BUF_EXT, nullptr,
                           attributes().data());
    if (image == EGL_NO_IMAGE_KHR)
        return callThatFailed("eglCreateImageKHR", static_cast<unsigned>(gl.getError()));
    while (gl.getGlError() != GL_NO_ERROR) {
    }
    gl.genTextures(1, &texture);
    gl.bindTexture(GL_TEXTURE_2D, texture);
    gl.imageTargetTexture(GL_TEXTURE_2D, image);
    if (const GLenum error = gl.getGlError(); error != GL_NO_ERROR)
        return callThatFailed("glEGLImageTargetTexture2DOES", error);
    gl.genFramebuffers(1, &framebuffer);
    gl.bindFramebuffer(GL_FRAMEBUFFER, framebuffer);
    gl.framebufferTexture(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, texture, 0);
    const GLenum status = gl.checkFramebufferStatus(GL_FRAMEBUFFER);
    if (status != GL_FRAMEBUFFER_COMPLETE) return callThatFailed("glCheckFramebufferStatus", status);
    pixels_.resize(static_cast<size_t>(source_.width) * static_cast<size_t>(source_.height) * 4);
    return {};
}

std::optional<SystemError> EglPicture::begin() {
    if (isRead) return std::nullopt;
    const EglFunctions& gl = context.gl();
    if (!context.enterThread())
        return SystemError("egl", 1, "The picture of the screen can't be read: the graphics card refuses.");
    gl.bindFramebuffer(GL_FRAMEBUFFER, framebuffer);
    gl.pixelStore(GL_PACK_ALIGNMENT, 4);
    const GLenum order = context.readOrder() == PortalPixels::bgrx ? GL_BGRA_EXT : GL_RGBA;
    gl.readPixels(0, 0, source_.width, source_.height, order, GL_UNSIGNED_BYTE, pixels_.data());
    if (const GLenum error = gl.getGlError(); error != GL_NO_ERROR) {
        return SystemError("egl", static_cast<int>(error),
                           "The picture of the screen can't be read from the graphics card (" +
                               callThatFailed("glReadPixels", error) + ").");
    }
    isRead = true;
    return std::nullopt;
}

} // namespace vintra
