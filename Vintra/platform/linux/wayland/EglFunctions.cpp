#include "Vintra/platform/linux/wayland/EglFunctions.h"

#include <dlfcn.h>

namespace vintra {
namespace {

/// Puts the functions of a library into their places and notes the first that it has not.
struct FunctionFinder {
    void* library = nullptr;
    std::string missing{};

    template <typename Function>
    void find(Function& function, const char* name) {
        function = reinterpret_cast<Function>(::dlsym(library, name));
        if (!function && missing.empty()) missing = name;
    }
};

void* openLibrary(const std::string& name, std::string& problem) {
    void* const library = ::dlopen(name.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    if (!library) {
        const char* const why = ::dlerror();
        problem = (why ? why : name + " can't be opened") +
                  std::string("; install libEGL and libGLESv2, the packages libegl1 and libgles2");
    }
    return library;
}

void findExtensions(EglFunctions& functions) {
    const auto find = [&](auto& function, const char* name) {
        function =
            reinterpret_cast<std::remove_reference_t<decltype(function)>>(functions.getProcAddress(name));
    };
    find(functions.getPlatformDisplay, "eglGetPlatformDisplayEXT");
    find(functions.queryDevices, "eglQueryDevicesEXT");
    find(functions.queryDmaBufFormats, "eglQueryDmaBufFormatsEXT");
    find(functions.queryDmaBufModifiers, "eglQueryDmaBufModifiersEXT");
    find(functions.createImage, "eglCreateImageKHR");
    find(functions.destroyImage, "eglDestroyImageKHR");
    find(functions.imageTargetTexture, "glEGLImageTargetTexture2DOES");
}

} // namespace

std::unique_ptr<EglFunctions> EglFunctions::load(const EglLibraries& libraries, std::string& problem) {
    FunctionFinder egl{openLibrary(libraries.egl, problem)};
    if (!egl.library) return nullptr;
    FunctionFinder gles{openLibrary(libraries.gles, problem)};
    if (!gles.library) return nullptr;

    auto functions = std::make_unique<EglFunctions>();
    egl.find(functions->getProcAddress, "eglGetProcAddress");
    egl.find(functions->getError, "eglGetError");
    egl.find(functions->queryString, "eglQueryString");
    egl.find(functions->initialize, "eglInitialize");
    egl.find(functions->bindAPI, "eglBindAPI");
    egl.find(functions->chooseConfig, "eglChooseConfig");
    egl.find(functions->createContext, "eglCreateContext");
    egl.find(functions->destroyContext, "eglDestroyContext");
    egl.find(functions->makeCurrent, "eglMakeCurrent");
    egl.find(functions->getCurrentContext, "eglGetCurrentContext");
    egl.find(functions->getCurrentDisplay, "eglGetCurrentDisplay");
    egl.find(functions->getCurrentSurface, "eglGetCurrentSurface");
    gles.find(functions->getString, "glGetString");
    gles.find(functions->getGlError, "glGetError");
    gles.find(functions->genTextures, "glGenTextures");
    gles.find(functions->deleteTextures, "glDeleteTextures");
    gles.find(functions->bindTexture, "glBindTexture");
    gles.find(functions->genFramebuffers, "glGenFramebuffers");
    gles.find(functions->deleteFramebuffers, "glDeleteFramebuffers");
    gles.find(functions->bindFramebuffer, "glBindFramebuffer");
    gles.find(functions->framebufferTexture, "glFramebufferTexture2D");
    gles.find(functions->checkFramebufferStatus, "glCheckFramebufferStatus");
    gles.find(functions->pixelStore, "glPixelStorei");
    gles.find(functions->readPixels, "glReadPixels");
    const std::string& missing = egl.missing.empty() ? gles.missing : egl.missing;
    if (!missing.empty()) {
        problem = "the graphics library has no " + missing;
        return nullptr;
    }
    findExtensions(*functions);
    return functions;
}

} // namespace vintra
