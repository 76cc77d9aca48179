#include "Vintra/platform/linux/x11/X11PicturePool.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <sys/ipc.h>
#include <sys/shm.h>
#include <utility>

namespace vintra {
namespace {

/// How many unchanged rows may be read along between two that changed: reading 24 rows of 1920 pixels takes about as long
/// as asking the server once more.
constexpr int kLeastRowGap = 24;

struct ImageDeleter {
    // The pixels aren't the image's own.
    void operator()(XImage* image) const {
        image->data = nullptr;
        XDestroyImage(image);
    }
};
using BorrowingImage = std::unique_ptr<XImage, ImageDeleter>;

} // namespace

X11PicturePool::X11PicturePool(Shape shape, const X11PixelFormat& format, std::shared_ptr<WakeUp> wakeUp)
    : PicturePool(shape, std::move(wakeUp))
    , format(format) {}

X11PicturePool::SharedPicture::~SharedPicture() {
    if (segment.shmid >= 0) {
        ::shmdt(segment.shmaddr);
    } else {
        std::free(segment.shmaddr);
    }
}

PicturePool::Picture* X11PicturePool::acquire(X11Display& display) {
    return PicturePool::acquire([&] { return makePicture(display); });
}

std::unique_ptr<PicturePool::Picture> X11PicturePool::makePicture(X11Display& display) const {
    auto picture = std::make_unique<SharedPicture>();
    if (!format.colours.isBgrx() || !shareWithServer(display, *picture)) {
        // They are converted, the server is on another machine, or shared memory is used up.
        picture->segment.shmid = -1;
        picture->segment.shmaddr = reinterpret_cast<char*>(allocate());
    }
    picture->pixels = reinterpret_cast<uint8_t*>(picture->segment.shmaddr);
    if (!picture->pixels) return nullptr;
    return picture;
}

bool X11PicturePool::shareWithServer(X11Display& display, SharedPicture& picture) const {
    if (!XShmQueryExtension(display.get())) return false;
    XShmSegmentInfo& segment = picture.segment;
    segment.shmid = ::shmget(IPC_PRIVATE, byteCount(), IPC_CREAT | 0600);
    if (segment.shmid < 0) return false;
    void* const address = ::shmat(segment.shmid, nullptr, 0);
    if (address == reinterpret_cast<void*>(-1)) {
        ::shmctl(segment.shmid, IPC_RMID, nullptr);
        return false;
    }
    segment.shmaddr = static_cast<char*>(address);
    segment.readOnly = False;
    display.clearErrors();
    const bool isAttached = XShmAttach(display.get(), &segment) != 0 && !display.failed();
    // It lives on until both sides have let go of it, so it can't be left behind.
    ::shmctl(segment.shmid, IPC_RMID, nullptr);
    if (!isAttached) ::shmdt(address);
    picture.isShared = isAttached;
    return isAttached;
}

bool X11PicturePool::refresh(X11Display& display, Drawable drawable, int x, int y, Picture& picture) {
    display.clearErrors();
    const bool isRead = !format.colours.isBgrx()   ? readConverted(display, drawable, x, y, picture)
                        : shared(picture).isShared ? readShared(display, drawable, x, y, shared(picture))
                                                   : readOverConnection(display, drawable, x, y, picture);
    if (isRead) picture.stale.clear();
    return isRead;
}

bool X11PicturePool::readShared(X11Display& display, Drawable drawable, int x, int y,
                                SharedPicture& picture) const {
    ::Display* const connection = display.get();
    const BorrowingImage image(
        XShmCreateImage(connection, DefaultVisual(connection, DefaultScreen(connection)),
                        static_cast<unsigned>(format.depth), ZPixmap, nullptr, &picture.segment,
                        static_cast<unsigned>(shape.width), static_cast<unsigned>(shape.height)));
    if (!image) return false;
    // Whole rows, since the server packs what it reads: rows as wide as the picture land in their places.
    for (const RowBand& band : picture.stale.rowBands(kLeastRowGap)) {
        image->height = band.end - band.first;
        image->data = picture.segment.shmaddr + static_cast<size_t>(band.first) * bytesPerRow();
        if (!XShmGetImage(connection, drawable, image.get(), x, y + band.first, AllPlanes)) return false;
    }
    return !display.hasError();
}

bool X11PicturePool::readOverConnection(X11Display& display, Drawable drawable, int x, int y,
                                        Picture& picture) const {
    for (const PixelRect& rect : picture.stale.rects()) {
        XImage* const image =
            XGetImage(display.get(), drawable, x + rect.x, y + rect.y, static_cast<unsigned>(rect.width),
                      static_cast<unsigned>(rect.height), AllPlanes, ZPixmap);
        if (!image) return false;
        for (int row = 0; row < rect.height; ++row) {
            std::memcpy(picture.pixels + static_cast<size_t>(rect.y + row) * bytesPerRow() +
                            static_cast<size_t>(rect.x) * 4,
                        image->data + static_cast<ptrdiff_t>(row) * image->bytes_per_line,
                        static_cast<size_t>(rect.width) * 4);
        }
        XDestroyImage(image);
    }
    return !display.hasError();
}

bool X11PicturePool::readConverted(X11Display& display, Drawable drawable, int x, int y, Picture& picture) {
    if (!transfer) {
        transfer = std::make_unique<SharedPicture>();
        if (!shareWithServer(display, *transfer)) {
            transfer->segment.shmid = -1;
            transfer->segment.shmaddr = nullptr;
            display.clearErrors();
        }
    }
    for (const PixelRect& rect : picture.stale.rects()) {
        if (!convert(display, drawable, x, y, rect, picture)) return false;
    }
    return !display.hasError();
}

bool X11PicturePool::convert(X11Display& display, Drawable drawable, int x, int y, const PixelRect& rect,
                             Picture& picture) {
    ::Display* const connection = display.get();
    const auto width = static_cast<unsigned>(rect.width);
    const auto height = static_cast<unsigned>(rect.height);
    BorrowingImage shared;
    std::unique_ptr<XImage, int (*)(XImage*)> sent(nullptr,
                                                   [](XImage* image) { return XDestroyImage(image); });
    if (transfer->isShared) {
        shared.reset(XShmCreateImage(connection, DefaultVisual(connection, DefaultScreen(connection)),
                                     static_cast<unsigned>(format.depth), ZPixmap, transfer->segment.shmaddr,
                                     &transfer->segment, width, height));
        if (!shared || !XShmGetImage(connection, drawable, shared.get(), x + rect.x, y + rect.y, AllPlanes))
            return false;
    } else {
        sent.reset(
            XGetImage(connection, drawable, x + rect.x, y + rect.y, width, height, AllPlanes, ZPixmap));
        if (!sent) return false;
    }
    const XImage& image = shared ? *shared : *sent;
    if (image.bits_per_pixel != 8 * format.colours.bytesPerPixel) return false;
    for (int row = 0; row < rect.height; ++row) {
        convertToBgrx(picture.pixels + static_cast<size_t>(rect.y + row) * bytesPerRow() +
                          static_cast<size_t>(rect.x) * 4,
                      reinterpret_cast<const uint8_t*>(image.data) +
                          static_cast<ptrdiff_t>(row) * image.bytes_per_line,
                      static_cast<size_t>(rect.width), format.colours);
    }
    return true;
}

void X11PicturePool::detach(X11Display& display) {
    if (transfer && transfer->isShared && !display.isDead()) XShmDetach(display.get(), &transfer->segment);
    for (const auto& picture : pictures) {
        SharedPicture& each = shared(*picture);
        if (each.isShared && !display.isDead()) XShmDetach(display.get(), &each.segment);
    }
}

} // namespace vintra
