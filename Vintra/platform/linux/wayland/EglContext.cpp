#include "Vintra/platform/linux/wayland/EglContext.h"

#include <algorithm>
#include <array>
#include <sstream>
#include <utility>

namespace vintra {
namespace {

constexpr EGLint kMostCards = 8;

/// Whether a list of words has that word.
bool hasExtension(const std::string& list, const std::string& wanted) {
    std::istringstream words(list);
    for (std::string word; words >> word;)
        if (word == wanted) return true;
    return false;
}

std::string textOrEmpty(const char* text) {
    return text ? text : "";
}

} // namespace

EglContext::EglContext(std::unique_ptr<EglFunctions> functions)
    : functions(std::move(functions)) {}

// The display isn't terminated: it is the process's, and others may use it.
EglContext::~EglContext() {
    close();
}

void EglContext::close() {
    if (context == EGL_NO_CONTEXT) return;
    leaveThread();
    functions->destroyContext(display_, std::exchange(context, EGL_NO_CONTEXT));
}

std::unique_ptr<EglContext> EglContext::make(const EglLibraries& libraries, std::string& problem) {
    auto functions = EglFunctions::load(libraries, problem);
    if (!functions) return nullptr;
    std::unique_ptr<EglContext> made(new EglContext(std::move(functions)));
    problem = made->open();
    if (!problem.empty()) return nullptr;
    return made;
}

/// A display of no window system, and those of the cards. Beside another maker's driver the first is drawn by the processor.
std::vector<EGLDisplay> EglContext::displays() const {
    std::vector<EGLDisplay> found;
    const auto add = [&](EGLenum platform, void* native) {
        const EGLDisplay one = functions->getPlatformDisplay(platform, native, nullptr);
        if (one != EGL_NO_DISPLAY) found.push_back(one);
    };
    const std::string client = textOrEmpty(functions->queryString(EGL_NO_DISPLAY, EGL_EXTENSIONS));
    if (!functions->getPlatformDisplay) return found;
    if (hasExtension(client, "EGL_MESA_platform_surfaceless")) add(EGL_PLATFORM_SURFACELESS_MESA, nullptr);
    if (!hasExtension(client, "EGL_EXT_platform_device") || !functions->queryDevices) return found;
    std::array<EGLDeviceEXT, kMostCards> cards{};
    EGLint count = 0;
    if (!functions->queryDevices(kMostCards, cards.data(), &count)) return found;
    for (EGLint i = 0; i < std::min(count, kMostCards); ++i)
        add(EGL_PLATFORM_DEVICE_EXT, cards[static_cast<size_t>(i)]);
    return found;
}

/// Why the card can't be used, with the first display; empty if one can.
std::string EglContext::open() {
    std::string first;
    for (const EGLDisplay one : displays()) {
        display_ = one;
        const std::string why = openDisplay();
        if (why.empty()) return {};
        close();
        if (first.empty()) first = why;
    }
    return first.empty() ? "EGL has no display without a window" : first;
}

std::string EglContext::openDisplay() {
    if (!functions->initialize(display_, nullptr, nullptr)) return "EGL doesn't start";
    const std::string extensions = textOrEmpty(functions->queryString(display_, EGL_EXTENSIONS));
    for (const char* const needed : {"EGL_EXT_image_dma_buf_import", "EGL_KHR_surfaceless_context"})
        if (!hasExtension(extensions, needed)) return std::string("EGL has no ") + needed;
    if (!functions->createImage || !functions->destroyImage || !functions->imageTargetTexture)
        return "EGL has no images";
    takesModifiers_ = hasExtension(extensions, "EGL_EXT_image_dma_buf_import_modifiers") &&
                      functions->queryDmaBufFormats && functions->queryDmaBufModifiers;
    return openContext(extensions);
}

std::string EglContext::openContext(const std::string& extensions) {
    if (!functions->bindAPI(EGL_OPENGL_ES_API)) return "EGL has no OpenGL ES";
    EGLConfig config = nullptr;
    if (!hasExtension(extensions, "EGL_KHR_no_config_context")) {
        const EGLint wanted[] = {EGL_RENDERABLE_TYPE, EGL_OPENGL_ES2_BIT, EGL_SURFACE_TYPE, 0, EGL_NONE};
        EGLint count = 0;
        if (!functions->chooseConfig(display_, wanted, &config, 1, &count) || count < 1)
            return "EGL has no configuration for OpenGL ES";
    }
    const EGLint attributes[] = {EGL_CONTEXT_CLIENT_VERSION, 2, EGL_NONE};
    context = functions->createContext(display_, config, EGL_NO_CONTEXT, attributes);
    if (context == EGL_NO_CONTEXT || !enterThread()) return "EGL makes no context";
    const auto* const told = reinterpret_cast<const char*>(functions->getString(GL_EXTENSIONS));
    const std::string glExtensions = textOrEmpty(told);
    if (!hasExtension(glExtensions, "GL_OES_EGL_image")) return "OpenGL ES has no GL_OES_EGL_image";
    if (hasExtension(glExtensions, "GL_EXT_read_format_bgra")) readOrder_ = PortalPixels::bgrx;
    return {};
}

bool EglContext::enterThread() {
    if (isCurrent) return true;
    before = {functions->getCurrentDisplay(), functions->getCurrentSurface(EGL_DRAW),
              functions->getCurrentSurface(EGL_READ), functions->getCurrentContext()};
    isCurrent = functions->makeCurrent(display_, EGL_NO_SURFACE, EGL_NO_SURFACE, context) == EGL_TRUE;
    return isCurrent;
}

void EglContext::leaveThread() {
    if (!std::exchange(isCurrent, false)) return;
    if (before.context == EGL_NO_CONTEXT)
        functions->makeCurrent(display_, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    else
        functions->makeCurrent(before.display, before.draw, before.read, before.context);
}

std::vector<uint64_t> EglContext::modifiersOf(uint32_t format) const {
    EGLint count = 0;
    const auto code = static_cast<EGLint>(format);
    if (!functions->queryDmaBufModifiers(display_, code, 0, nullptr, nullptr, &count) || count < 1) return {};
    std::vector<EGLuint64KHR> modifiers(static_cast<size_t>(count));
    std::vector<EGLBoolean> isExternal(static_cast<size_t>(count));
    if (!functions->queryDmaBufModifiers(display_, code, count, modifiers.data(), isExternal.data(), &count))
        return {};
    std::vector<uint64_t> result;
    for (size_t i = 0; i < std::min(modifiers.size(), static_cast<size_t>(std::max(count, 0))); ++i)
        if (!isExternal[i]) result.push_back(modifiers[i]);
    return result;
}

std::vector<DmaBufOffer> EglContext::offers(std::span<const uint32_t> formats) const {
    std::vector<EGLint> known;
    EGLint count = 0;
    if (takesModifiers_ && functions->queryDmaBufFormats(display_, 0, nullptr, &count) && count > 0) {
        known.resize(static_cast<size_t>(count));
        functions->queryDmaBufFormats(display_, count, known.data(), &count);
    }
    std::vector<DmaBufOffer> offers;
    for (const uint32_t format : formats) {
        if (takesModifiers_ && std::ranges::find(known, static_cast<EGLint>(format)) == known.end()) continue;
        DmaBufOffer offer{format, takesModifiers_ ? modifiersOf(format) : std::vector<uint64_t>{}};
        offer.modifiers.push_back(kImplicitModifier);
        offers.push_back(std::move(offer));
    }
    return offers;
}

} // namespace vintra
