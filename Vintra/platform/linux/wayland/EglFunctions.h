#pragma once

// Of the headers the types and numbers alone: the libraries are looked for when the program runs.
#define EGL_NO_X11
#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GLES2/gl2.h>
#include <GLES2/gl2ext.h>

#include <memory>
#include <string>

namespace vintra {

/// The libraries of the graphics driver, which a computer may be without. A value.
struct EglLibraries {
    std::string egl = "libEGL.so.1";
    std::string gles = "libGLESv2.so.2";
};

/// What is called of EGL and OpenGL ES. Once loaded, the libraries stay until the process ends: drivers leave threads and
/// thread-local data behind. Any thread.
struct EglFunctions {
    /// Null if something is missing; `problem` then says what.
    static std::unique_ptr<EglFunctions> load(const EglLibraries& libraries, std::string& problem);

    decltype(&eglGetProcAddress) getProcAddress = nullptr;
    decltype(&eglGetError) getError = nullptr;
    decltype(&eglQueryString) queryString = nullptr;
    decltype(&eglInitialize) initialize = nullptr;
    decltype(&eglBindAPI) bindAPI = nullptr;
    decltype(&eglChooseConfig) chooseConfig = nullptr;
    decltype(&eglCreateContext) createContext = nullptr;
    decltype(&eglDestroyContext) destroyContext = nullptr;
    decltype(&eglMakeCurrent) makeCurrent = nullptr;
    decltype(&eglGetCurrentContext) getCurrentContext = nullptr;
    decltype(&eglGetCurrentDisplay) getCurrentDisplay = nullptr;
    decltype(&eglGetCurrentSurface) getCurrentSurface = nullptr;
    // Of extensions: null where the library has none.
    PFNEGLGETPLATFORMDISPLAYEXTPROC getPlatformDisplay = nullptr;
    PFNEGLQUERYDEVICESEXTPROC queryDevices = nullptr;
    PFNEGLQUERYDMABUFFORMATSEXTPROC queryDmaBufFormats = nullptr;
    PFNEGLQUERYDMABUFMODIFIERSEXTPROC queryDmaBufModifiers = nullptr;
    PFNEGLCREATEIMAGEKHRPROC createImage = nullptr;
    PFNEGLDESTROYIMAGEKHRPROC destroyImage = nullptr;
    PFNGLEGLIMAGETARGETTEXTURE2DOESPROC imageTargetTexture = nullptr;

    decltype(&glGetString) getString = nullptr;
    decltype(&glGetError) getGlError = nullptr;
    decltype(&glGenTextures) genTextures = nullptr;
    decltype(&glDeleteTextures) deleteTextures = nullptr;
    decltype(&glBindTexture) bindTexture = nullptr;
    decltype(&glGenFramebuffers) genFramebuffers = nullptr;
    decltype(&glDeleteFramebuffers) deleteFramebuffers = nullptr;
    decltype(&glBindFramebuffer) bindFramebuffer = nullptr;
    decltype(&glFramebufferTexture2D) framebufferTexture = nullptr;
    decltype(&glCheckFramebufferStatus) checkFramebufferStatus = nullptr;
    decltype(&glPixelStorei) pixelStore = nullptr;
    decltype(&glReadPixels) readPixels = nullptr;
};

} // namespace vintra
