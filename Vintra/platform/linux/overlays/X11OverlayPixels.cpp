#include "Vintra/platform/linux/overlays/X11OverlayPixels.h"

#include "Vintra/platform/linux/x11/X11Display.h"

#include <cstddef>
#include <cstdlib>
#include <sys/ipc.h>
#include <sys/shm.h>

namespace vintra {

std::unique_ptr<X11OverlayPixels> X11OverlayPixels::make(X11Display& display, Visual* visual, int depth,
                                                         int width, int height) {
    std::unique_ptr<X11OverlayPixels> made(new X11OverlayPixels(display));
    if (made->share(visual, depth, width, height)) return made;
    auto* const memory =
        static_cast<char*>(std::calloc(static_cast<size_t>(width) * static_cast<size_t>(height), 4));
    if (!memory) return nullptr;
    made->pixels = reinterpret_cast<uint32_t*>(memory);
    made->image = XCreateImage(display.get(), visual, static_cast<unsigned>(depth), ZPixmap, 0, memory,
                               static_cast<unsigned>(width), static_cast<unsigned>(height), 32, width * 4);
    if (!made->image) {
        std::free(memory);
        made->pixels = nullptr;
        return nullptr;
    }
    return made;
}

bool X11OverlayPixels::share(Visual* visual, int depth, int width, int height) {
    if (!XShmQueryExtension(display.get())) return false;
    const auto bytes = static_cast<size_t>(width) * static_cast<size_t>(height) * 4;
    segment.shmid = ::shmget(IPC_PRIVATE, bytes, IPC_CREAT | 0600);
    if (segment.shmid < 0) return false;
    void* const address = ::shmat(segment.shmid, nullptr, 0);
    if (address == reinterpret_cast<void*>(-1)) {
        ::shmctl(segment.shmid, IPC_RMID, nullptr);
        return false;
    }
    segment.shmaddr = static_cast<char*>(address);
    segment.readOnly = True; // for the server
    display.clearErrors();
    isShared = XShmAttach(display.get(), &segment) != 0 && !display.failed();
    // It lives on until both sides have let go of it, so it can't be left behind.
    ::shmctl(segment.shmid, IPC_RMID, nullptr);
    if (isShared) {
        image = XShmCreateImage(display.get(), visual, static_cast<unsigned>(depth), ZPixmap, segment.shmaddr,
                                &segment, static_cast<unsigned>(width), static_cast<unsigned>(height));
    }
    if (!image || image->bytes_per_line != width * 4) {
        if (isShared) XShmDetach(display.get(), &segment);
        if (image) XDestroyImage(image);
        image = nullptr;
        isShared = false;
        ::shmdt(address);
        return false;
    }
    pixels = reinterpret_cast<uint32_t*>(segment.shmaddr);
    completion = XShmGetEventBase(display.get()) + ShmCompletion;
    return true;
}

X11OverlayPixels::~X11OverlayPixels() {
    if (isShared && !display.isDead()) XShmDetach(display.get(), &segment);
    if (image) {
        if (isShared) image->data = nullptr;
        XDestroyImage(image); // with the memory that isn't shared
    }
    if (isShared) ::shmdt(segment.shmaddr);
}

bool X11OverlayPixels::put(::Drawable window, GC context, const std::vector<PixelRect>& rects) {
    for (const PixelRect& rect : rects) {
        const auto width = static_cast<unsigned>(rect.width);
        const auto height = static_cast<unsigned>(rect.height);
        if (isShared) {
            const bool isLast = &rect == &rects.back();
            XShmPutImage(display.get(), window, context, image, rect.x, rect.y, rect.x, rect.y, width, height,
                         isLast ? True : False);
        } else {
            XPutImage(display.get(), window, context, image, rect.x, rect.y, rect.x, rect.y, width, height);
        }
    }
    return isShared && !rects.empty();
}

} // namespace vintra
