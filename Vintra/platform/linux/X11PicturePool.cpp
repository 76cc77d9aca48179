#include "Vintra/platform/linux/X11PicturePool.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <sys/ipc.h>
#include <sys/shm.h>

namespace vintra {
namespace {

/// Rows that may be read in vain between two that changed: reading 24 rows of 1920 pixels takes about as long
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

std::shared_ptr<X11PicturePool> X11PicturePool::make(Shape shape, std::shared_ptr<WakeUp> onFree) {
    return std::shared_ptr<X11PicturePool>(new X11PicturePool(shape, std::move(onFree)));
}

X11PicturePool::X11PicturePool(Shape aShape, std::shared_ptr<WakeUp> aWakeUp)
    : shape(aShape)
    , onFree(std::move(aWakeUp)) {}

X11PicturePool::~X11PicturePool() {
    for (const auto& picture : pictures) {
        if (picture->segment.shmid >= 0) {
            ::shmdt(picture->segment.shmaddr);
        } else {
            std::free(picture->segment.shmaddr);
        }
    }
}

std::unique_ptr<X11PicturePool::Picture> X11PicturePool::makePicture(X11Display& display) const {
    auto picture = std::make_unique<Picture>();
    picture->stale.add({0, 0, shape.width, shape.height});
    if (shareWithServer(display, *picture)) return picture;
    // The server is on another machine, or shared memory is used up.
    picture->segment.shmid = -1;
    picture->segment.shmaddr = static_cast<char*>(
        std::aligned_alloc(64, (bytesPerRow() * static_cast<size_t>(shape.height) + 63) / 64 * 64));
    return picture->segment.shmaddr ? std::move(picture) : nullptr;
}

bool X11PicturePool::shareWithServer(X11Display& display, Picture& picture) const {
    if (!XShmQueryExtension(display.get())) return false;
    XShmSegmentInfo& segment = picture.segment;
    segment.shmid =
        ::shmget(IPC_PRIVATE, bytesPerRow() * static_cast<size_t>(shape.height), IPC_CREAT | 0600);
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

X11PicturePool::Picture* X11PicturePool::acquire(X11Display& display) {
    bool mayGrow = pictures.size() < shape.limit;
    while (true) {
        if (Picture* const free = freshestFree(!mayGrow)) return free;
        if (!mayGrow) return nullptr;
        if (auto grown = makePicture(display)) {
            pictures.push_back(std::move(grown));
            return pictures.back().get();
        }
        mayGrow = false; // memory is short: make do with what there is
    }
}

X11PicturePool::Picture* X11PicturePool::freshestFree(bool waitsOtherwise) {
    MutexLock lock(mutex);
    Picture* best = nullptr;
    for (const auto& picture : pictures) {
        if (picture->isOut) continue;
        if (!best || picture->stale.area() < best->stale.area()) best = picture.get();
    }
    isWaitedFor = !best && waitsOtherwise;
    return best;
}

void X11PicturePool::markStale(const PixelRect& changed) {
    const PixelRect inside = intersection(changed, {0, 0, shape.width, shape.height});
    for (const auto& picture : pictures)
        picture->stale.add(inside);
}

bool X11PicturePool::refresh(X11Display& display, Drawable drawable, int x, int y, Picture& picture) {
    display.clearErrors();
    const bool isRead = picture.isShared ? readShared(display, drawable, x, y, picture)
                                         : readOverConnection(display, drawable, x, y, picture);
    if (isRead) picture.stale.clear();
    return isRead;
}

bool X11PicturePool::readShared(X11Display& display, Drawable drawable, int x, int y,
                                Picture& picture) const {
    ::Display* const connection = display.get();
    const BorrowingImage image(
        XShmCreateImage(connection, DefaultVisual(connection, DefaultScreen(connection)),
                        static_cast<unsigned>(shape.depth), ZPixmap, nullptr, &picture.segment,
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
            std::memcpy(picture.segment.shmaddr + static_cast<size_t>(rect.y + row) * bytesPerRow() +
                            static_cast<size_t>(rect.x) * 4,
                        image->data + static_cast<ptrdiff_t>(row) * image->bytes_per_line,
                        static_cast<size_t>(rect.width) * 4);
        }
        XDestroyImage(image);
    }
    return !display.hasError();
}

CVPixelBuffer::Plane X11PicturePool::plane(const Picture& picture) const {
    return {reinterpret_cast<uint8_t*>(picture.segment.shmaddr), static_cast<size_t>(shape.width),
            static_cast<size_t>(shape.height), bytesPerRow()};
}

std::shared_ptr<CVPixelBuffer> X11PicturePool::handOut(Picture& picture) {
    {
        MutexLock lock(mutex);
        picture.isOut = true;
    }
    std::shared_ptr<void> owner(
        &picture, [pool = shared_from_this()](void* out) { pool->takeBack(*static_cast<Picture*>(out)); });
    return CVPixelBuffer::make(kCVPixelFormatType_32BGRA, static_cast<size_t>(shape.width),
                               static_cast<size_t>(shape.height), {plane(picture)}, std::move(owner));
}

void X11PicturePool::takeBack(Picture& picture) {
    MutexLock lock(mutex);
    picture.isOut = false;
    if (!isWaitedFor) return;
    isWaitedFor = false;
    onFree->set();
}

void X11PicturePool::detach(X11Display& display) {
    for (const auto& picture : pictures) {
        if (picture->isShared && !display.isDead()) XShmDetach(display.get(), &picture->segment);
    }
}

} // namespace vintra
