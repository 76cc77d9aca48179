#pragma once

#include "Vintra/platform/CVPixelBuffer.h"
#include "Vintra/platform/Geometry.h"
#include "Vintra/platform/Mutex.h"

#include <optional>
#include <utility>

namespace vintra {

/// Whether the pictures of a take stayed as large as the first one. Begun and taken on the main thread,
/// recorded on the sample queue; has a lock of its own.
class PictureSizeWatch {
public:
    struct Change {
        CGSize before; ///< pixels
        CGSize after;  ///< of the first picture of another size
        bool operator==(const Change&) const = default;
    };

    void begin() {
        MutexLock guard(lock);
        first.reset();
        change.reset();
    }
    void record(const CVPixelBuffer& picture) {
        const CGSize size{static_cast<double>(picture.width()), static_cast<double>(picture.height())};
        MutexLock guard(lock);
        if (!first) first = size;
        if (!change && !(size == *first)) change = Change{*first, size};
    }
    std::optional<Change> take() {
        MutexLock guard(lock);
        return std::exchange(change, std::nullopt);
    }

private:
    mutable Mutex lock;
    std::optional<CGSize> first GUARDED_BY(lock);
    std::optional<Change> change GUARDED_BY(lock);
};

} // namespace vintra
