#pragma once

#include "Vintra/platform/linux/wayland/DmaBufMapping.h"
#include "Vintra/platform/linux/wayland/EglContext.h"
#include "Vintra/platform/linux/wayland/EglPicture.h"
#include "Vintra/platform/linux/wayland/PortalFrame.h"

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

struct spa_buffer;

namespace vintra {

/// What can be read of a stream's buffers in memory of the graphics card, and how: linear memory is mapped, once for
/// each buffer, and all else the card itself copies, by EGL. Owned by the stream, on its thread; `leaveThread` hands it on.
class PortalGraphicsBuffers {
public:
    explicit PortalGraphicsBuffers(EglLibraries libraries);

    /// What can be read, as far as is known: linear memory, and more once the card is in use.
    std::vector<DmaBufOffer> offers() const;
    /// True if there is more to offer now: the card's driver is loaded, which takes time and memory.
    bool useCard();
    /// Whether a buffer of that layout may be read, as far as is known.
    bool canRead(const DmaBufLayout& layout) const;
    /// The pixels of a buffer. Nothing if they can't be had: from then on its layout isn't offered, unless others of it
    /// could be read.
    std::optional<PortalMemory> memory(const spa_buffer& buffer, const PortalVideoFormat& format);
    /// The desktop takes the buffer back.
    void forget(const spa_buffer& buffer);
    void leaveThread();
    /// Why something isn't offered; empty if all is.
    const std::string& problem() const { return problem_; }

private:
    std::optional<PortalMemory> mapped(const spa_buffer& buffer);
    std::optional<PortalMemory> imported(const spa_buffer& buffer, const PortalVideoFormat& format,
                                         const DmaBufLayout& layout);
    bool isOfferedByCard(const DmaBufLayout& layout) const;
    bool isRefused(const DmaBufLayout& layout) const;

    const EglLibraries libraries;
    bool canMap = true;
    bool hasMapped = false; ///< at least once
    bool hasTriedCard = false;
    std::unique_ptr<EglContext> card;
    std::vector<DmaBufOffer> cardOffers;
    std::vector<DmaBufLayout> refused; ///< what the card couldn't import after all
    std::map<const spa_buffer*, std::unique_ptr<DmaBufMapping>> mappings;
    std::map<const spa_buffer*, std::unique_ptr<EglPicture>> pictures; ///< go before the card
    std::string problem_;
};

} // namespace vintra
