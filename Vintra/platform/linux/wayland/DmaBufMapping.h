#pragma once

#include "Vintra/platform/linux/wayland/PortalPixelAccess.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace vintra {

/// Linear memory of the graphics card, mapped for reading. It uses the buffer's descriptor, which must outlive it. One
/// thread.
class DmaBufMapping : public PortalPixelAccess {
public:
    struct Made {
        std::unique_ptr<DmaBufMapping> mapping; ///< null if it failed
        std::string problem;                    ///< then why
    };
    /// All of the buffer. `size` is what its owner says, for drivers that don't tell it.
    static Made map(int descriptor, size_t size);
    ~DmaBufMapping() override;

    const uint8_t* bytes() const { return bytes_; }
    size_t size() const { return size_; }

    std::optional<SystemError> begin() override;
    void end() override;
    bool isUncached() const override { return true; }

private:
    DmaBufMapping(int descriptor, const uint8_t* bytes, size_t size);
    int synchronise(uint64_t flags) const;

    const int descriptor;
    const uint8_t* const bytes_;
    const size_t size_;
};

} // namespace vintra
