#include "tests/platform/linux/wayland/fake-graphics/FakeGraphics.h"

#define EGL_NO_X11
#define EGL_EGLEXT_PROTOTYPES
#define GL_GLEXT_PROTOTYPES
#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GLES2/gl2.h>
#include <GLES2/gl2ext.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>
#include <vector>

using vintra::FakeGraphics;

namespace {

constexpr EGLint kXrgb = 'X' | 'R' << 8 | '2' << 16 | '4' << 24; // blue, green, red, nothing
constexpr EGLint kXbgr = 'X' | 'B' << 8 | '2' << 16 | '4' << 24;

struct FakePlane {
    int descriptor = -1;
    size_t offset = 0;
    size_t stride = 0;
    uint64_t modifier = 0;
    bool hasModifier = false;
};
struct FakeImage {
    int width = 0;
    int height = 0;
    EGLint format = 0;
    std::vector<FakePlane> planes;
};

int cards[4] = {}; // also their displays
int surfaceless = 0;
int ownContext = 0;
struct FakeCurrent {
    EGLDisplay display = EGL_NO_DISPLAY;
    EGLSurface draw = EGL_NO_SURFACE;
    EGLSurface read = EGL_NO_SURFACE;
    EGLContext context = EGL_NO_CONTEXT;
};
thread_local FakeCurrent current;
// Of the thread that has the context.
std::map<GLuint, FakeImage*> textures;
std::map<GLuint, GLuint> framebuffers;
GLuint boundTexture = 0;
GLuint boundFramebuffer = 0;
GLuint lastName = 0;
GLenum glError = GL_NO_ERROR;
EGLint eglError = EGL_SUCCESS;

} // namespace

extern "C" {
FakeGraphics vintraFakeGraphics;
}

namespace {

FakeGraphics& fake() {
    return vintraFakeGraphics;
}

void noteCall() {
    if (current.context != &ownContext) ++fake().callsElsewhere;
}

void readAttribute(FakeImage& image, EGLint name, EGLint value) {
    image.planes.resize(2);
    const auto low = static_cast<uint64_t>(static_cast<uint32_t>(value));
    const auto place = [&](size_t plane, EGLint fd, EGLint offset, EGLint pitch, EGLint lo, EGLint hi) {
        FakePlane& one = image.planes[plane];
        if (name == fd) one.descriptor = value;
        if (name == offset) one.offset = low;
        if (name == pitch) one.stride = low;
        if (name == lo) one.modifier |= low;
        if (name == hi) one.modifier |= low << 32;
        if (name == lo || name == hi) one.hasModifier = true;
    };
    if (name == EGL_WIDTH) image.width = value;
    if (name == EGL_HEIGHT) image.height = value;
    if (name == EGL_LINUX_DRM_FOURCC_EXT) image.format = value;
    place(0, EGL_DMA_BUF_PLANE0_FD_EXT, EGL_DMA_BUF_PLANE0_OFFSET_EXT, EGL_DMA_BUF_PLANE0_PITCH_EXT,
          EGL_DMA_BUF_PLANE0_MODIFIER_LO_EXT, EGL_DMA_BUF_PLANE0_MODIFIER_HI_EXT);
    place(1, EGL_DMA_BUF_PLANE1_FD_EXT, EGL_DMA_BUF_PLANE1_OFFSET_EXT, EGL_DMA_BUF_PLANE1_PITCH_EXT,
          EGL_DMA_BUF_PLANE1_MODIFIER_LO_EXT, EGL_DMA_BUF_PLANE1_MODIFIER_HI_EXT);
}

/// Whether the planes are those that the modifier wants.
bool isWhole(const FakeImage& image) {
    const FakePlane& first = image.planes[0];
    const bool hasSecond = image.planes[1].descriptor >= 0;
    if (first.descriptor < 0 || image.width <= 0 || image.height <= 0) return false;
    if (image.format != kXrgb && image.format != kXbgr) return false;
    if (!first.hasModifier) return !hasSecond;
    if (!fake().hasModifiers || first.modifier == fake().refusedModifier) return false;
    if (first.modifier == FakeGraphics::kTwoPlanes)
        return hasSecond && image.planes[1].modifier == first.modifier;
    return !hasSecond && (first.modifier == 0 || first.modifier == FakeGraphics::kTiled);
}

struct FakeMemory {
    explicit FakeMemory(const FakePlane& plane) {
        size = static_cast<size_t>(std::max<off_t>(::lseek(plane.descriptor, 0, SEEK_END), 0));
        bytes = static_cast<uint8_t*>(::mmap(nullptr, size, PROT_READ, MAP_SHARED, plane.descriptor, 0));
        first = bytes + plane.offset;
    }
    ~FakeMemory() { ::munmap(bytes, size); }
    size_t size = 0;
    uint8_t* bytes = nullptr;
    const uint8_t* first = nullptr;
};

/// A driver knows how the memory without a modifier lies: this one's is tiled.
const uint8_t* pixelOf(const FakeImage& image, const std::vector<const uint8_t*>& planes, size_t x,
                       size_t y) {
    const FakePlane& first = image.planes[0];
    if (!first.hasModifier || first.modifier == FakeGraphics::kTiled)
        return planes[0] + 4 * FakeGraphics::tiledIndex(x, y, static_cast<size_t>(image.width));
    if (first.modifier == FakeGraphics::kTwoPlanes)
        return planes[y % 2] + y / 2 * image.planes[y % 2].stride + 4 * x;
    return planes[0] + y * first.stride + 4 * x;
}

void readImage(const FakeImage& image, GLenum order, uint8_t* to) {
    const FakeMemory first(image.planes[0]);
    const FakeMemory second(image.planes[image.planes[1].descriptor >= 0 ? 1 : 0]);
    const bool swaps = (image.format == kXrgb) != (order == GL_BGRA_EXT);
    for (size_t y = 0; y < static_cast<size_t>(image.height); ++y) {
        for (size_t x = 0; x < static_cast<size_t>(image.width); ++x, to += 4) {
            std::memcpy(to, pixelOf(image, {first.first, second.first}, x, y), 4);
            if (swaps) std::swap(to[0], to[2]);
        }
    }
}

} // namespace

extern "C" {

EGLint eglGetError() {
    return std::exchange(eglError, EGL_SUCCESS);
}

const char* eglQueryString(EGLDisplay display, EGLint name) {
    static std::string text;
    if (name != EGL_EXTENSIONS) return nullptr;
    if (display == EGL_NO_DISPLAY) {
        return fake().hasSurfaceless ? "EGL_EXT_platform_device EGL_MESA_platform_surfaceless"
                                     : "EGL_EXT_platform_device EGL_EXT_device_enumeration";
    }
    text = "EGL_KHR_surfaceless_context EGL_KHR_no_config_context";
    const bool imports =
        display == &surfaceless ? fake().hasSurfacelessImport : display == &cards[fake().blindCards];
    if (fake().hasImport && imports) text += " EGL_EXT_image_dma_buf_import";
    if (fake().hasModifiers) text += " EGL_EXT_image_dma_buf_import_modifiers";
    return text.c_str();
}

EGLDisplay eglGetPlatformDisplayEXT(EGLenum platform, void* native, const EGLint*) {
    if (platform == EGL_PLATFORM_SURFACELESS_MESA && fake().hasSurfaceless) return &surfaceless;
    return platform == EGL_PLATFORM_DEVICE_EXT ? native : EGL_NO_DISPLAY;
}

EGLBoolean eglQueryDevicesEXT(EGLint most, EGLDeviceEXT* devices, EGLint* count) {
    *count = std::min(most, fake().blindCards + 1);
    for (EGLint i = 0; i < *count; ++i)
        devices[i] = &cards[i];
    return EGL_TRUE;
}

EGLBoolean eglInitialize(EGLDisplay, EGLint*, EGLint*) {
    return EGL_TRUE;
}
EGLBoolean eglBindAPI(EGLenum api) {
    return api == EGL_OPENGL_ES_API;
}
EGLBoolean eglChooseConfig(EGLDisplay, const EGLint*, EGLConfig*, EGLint, EGLint*) {
    return EGL_FALSE;
}

EGLContext eglCreateContext(EGLDisplay, EGLConfig, EGLContext, const EGLint*) {
    ++fake().contexts;
    return &ownContext;
}

EGLBoolean eglDestroyContext(EGLDisplay, EGLContext) {
    --fake().contexts;
    return EGL_TRUE;
}

EGLBoolean eglMakeCurrent(EGLDisplay display, EGLSurface draw, EGLSurface read, EGLContext context) {
    current = context == EGL_NO_CONTEXT ? FakeCurrent{} : FakeCurrent{display, draw, read, context};
    return EGL_TRUE;
}
EGLContext eglGetCurrentContext() {
    return current.context;
}
EGLDisplay eglGetCurrentDisplay() {
    return current.display;
}
EGLSurface eglGetCurrentSurface(EGLint which) {
    return which == EGL_DRAW ? current.draw : current.read;
}

EGLBoolean eglQueryDmaBufFormatsEXT(EGLDisplay, EGLint most, EGLint* formats, EGLint* count) {
    const EGLint known[] = {kXrgb, kXbgr};
    *count = most == 0 ? 2 : std::min(most, 2);
    for (int i = 0; i < most && i < 2; ++i)
        formats[i] = known[i];
    return EGL_TRUE;
}

EGLBoolean eglQueryDmaBufModifiersEXT(EGLDisplay, EGLint, EGLint most, EGLuint64KHR* modifiers,
                                      EGLBoolean* areExternal, EGLint* count) {
    const uint64_t known[] = {FakeGraphics::kExternalOnly, FakeGraphics::kTiled, FakeGraphics::kTwoPlanes, 0};
    *count = most == 0 ? 4 : std::min(most, 4);
    for (int i = 0; i < most && i < 4; ++i) {
        modifiers[i] = known[i];
        areExternal[i] = known[i] == FakeGraphics::kExternalOnly;
    }
    return EGL_TRUE;
}

EGLImageKHR eglCreateImageKHR(EGLDisplay, EGLContext context, EGLenum target, EGLClientBuffer,
                              const EGLint* attributes) {
    auto image = std::make_unique<FakeImage>();
    for (const EGLint* one = attributes; *one != EGL_NONE; one += 2)
        readAttribute(*image, one[0], one[1]);
    if (target != EGL_LINUX_DMA_BUF_EXT || context != EGL_NO_CONTEXT || !isWhole(*image)) {
        eglError = EGL_BAD_MATCH;
        return EGL_NO_IMAGE_KHR;
    }
    // As in a driver, the image lives on without the descriptors that it was made of.
    for (FakePlane& plane : image->planes)
        if (plane.descriptor >= 0) plane.descriptor = ::dup(plane.descriptor);
    ++fake().images;
    return image.release();
}

EGLBoolean eglDestroyImageKHR(EGLDisplay, EGLImageKHR image) {
    auto* const made = static_cast<FakeImage*>(image);
    for (const FakePlane& plane : made->planes)
        if (plane.descriptor >= 0) ::close(plane.descriptor);
    delete made;
    --fake().images;
    return EGL_TRUE;
}

const GLubyte* glGetString(GLenum name) {
    noteCall();
    if (name != GL_EXTENSIONS) return nullptr;
    return reinterpret_cast<const GLubyte*>(fake().hasBgra ? "GL_OES_EGL_image GL_EXT_read_format_bgra"
                                                           : "GL_OES_EGL_image");
}

GLenum glGetError() {
    noteCall();
    return std::exchange(glError, GL_NO_ERROR);
}

void glGenTextures(GLsizei, GLuint* names) {
    noteCall();
    *names = ++lastName;
}
void glDeleteTextures(GLsizei, const GLuint* names) {
    noteCall();
    textures.erase(*names);
}
void glBindTexture(GLenum, GLuint name) {
    noteCall();
    boundTexture = name;
}
void glEGLImageTargetTexture2DOES(GLenum, GLeglImageOES image) {
    noteCall();
    textures[boundTexture] = static_cast<FakeImage*>(image);
}
void glGenFramebuffers(GLsizei, GLuint* names) {
    noteCall();
    *names = ++lastName;
}
void glDeleteFramebuffers(GLsizei, const GLuint* names) {
    noteCall();
    framebuffers.erase(*names);
}
void glBindFramebuffer(GLenum, GLuint name) {
    noteCall();
    boundFramebuffer = name;
}
void glFramebufferTexture2D(GLenum, GLenum, GLenum, GLuint texture, GLint) {
    noteCall();
    framebuffers[boundFramebuffer] = texture;
}
GLenum glCheckFramebufferStatus(GLenum) {
    noteCall();
    return textures.contains(framebuffers[boundFramebuffer]) ? GL_FRAMEBUFFER_COMPLETE
                                                             : GL_FRAMEBUFFER_UNSUPPORTED;
}
void glPixelStorei(GLenum, GLint) {
    noteCall();
}

void glReadPixels(GLint, GLint, GLsizei width, GLsizei height, GLenum order, GLenum, void* to) {
    noteCall();
    ++fake().reads;
    const FakeImage& image = *textures.at(framebuffers.at(boundFramebuffer));
    const bool isKnown = order == GL_RGBA || (order == GL_BGRA_EXT && fake().hasBgra);
    if (fake().failsToRead || !isKnown || width != image.width || height != image.height)
        glError = GL_INVALID_OPERATION;
    else
        readImage(image, order, static_cast<uint8_t*>(to));
}

__eglMustCastToProperFunctionPointerType eglGetProcAddress(const char* name) {
    using Function = __eglMustCastToProperFunctionPointerType;
    const std::pair<const char*, Function> known[] = {
        {"eglGetPlatformDisplayEXT", reinterpret_cast<Function>(eglGetPlatformDisplayEXT)},
        {"eglQueryDevicesEXT", reinterpret_cast<Function>(eglQueryDevicesEXT)},
        {"eglQueryDmaBufFormatsEXT", reinterpret_cast<Function>(eglQueryDmaBufFormatsEXT)},
        {"eglQueryDmaBufModifiersEXT", reinterpret_cast<Function>(eglQueryDmaBufModifiersEXT)},
        {"eglCreateImageKHR", reinterpret_cast<Function>(eglCreateImageKHR)},
        {"eglDestroyImageKHR", reinterpret_cast<Function>(eglDestroyImageKHR)},
        {"glEGLImageTargetTexture2DOES", reinterpret_cast<Function>(glEGLImageTargetTexture2DOES)}};
    for (const auto& [word, function] : known)
        if (std::strcmp(word, name) == 0) return function;
    return nullptr;
}
}
