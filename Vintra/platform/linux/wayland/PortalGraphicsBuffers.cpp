#include "Vintra/platform/linux/wayland/PortalGraphicsBuffers.h"

#include "Vintra/platform/linux/wayland/PortalVideoParams.h"

#include <spa/buffer/buffer.h>

#include <algorithm>
#include <utility>

namespace vintra {

PortalGraphicsBuffers::PortalGraphicsBuffers(EglLibraries libraries)
    : libraries(std::move(libraries)) {}

bool PortalGraphicsBuffers::isRefused(const DmaBufLayout& layout) const {
    return std::ranges::find(refused, layout) != refused.end();
}

/// Mapping comes first: it costs the card nothing.
std::vector<DmaBufOffer> PortalGraphicsBuffers::offers() const {
    std::vector<DmaBufOffer> offers;
    for (const uint32_t format : readableDmaBufFormats()) {
        DmaBufOffer offer{format, {}};
        if (canMap) offer.modifiers.push_back(kLinearModifier);
        const auto known = std::ranges::find(cardOffers, format, &DmaBufOffer::format);
        if (known != cardOffers.end()) {
            for (const uint64_t modifier : known->modifiers) {
                if (!isRefused({format, modifier}) && !(canMap && modifier == kLinearModifier))
                    offer.modifiers.push_back(modifier);
            }
        }
        if (!offer.modifiers.empty()) offers.push_back(std::move(offer));
    }
    return offers;
}

bool PortalGraphicsBuffers::useCard() {
    if (std::exchange(hasTriedCard, true)) return false;
    std::string why;
    card = EglContext::make(libraries, why);
    if (!card) {
        problem_ += (problem_.empty() ? "" : "; ") + why;
        return false;
    }
    cardOffers = card->offers(readableDmaBufFormats());
    return !cardOffers.empty();
}

bool PortalGraphicsBuffers::isOfferedByCard(const DmaBufLayout& layout) const {
    const auto known = std::ranges::find(cardOffers, layout.format, &DmaBufOffer::format);
    return known != cardOffers.end() && !isRefused(layout) &&
           std::ranges::find(known->modifiers, layout.modifier) != known->modifiers.end();
}

bool PortalGraphicsBuffers::canRead(const DmaBufLayout& layout) const {
    return (layout.modifier == kLinearModifier && canMap) || isOfferedByCard(layout);
}

std::optional<PortalMemory> PortalGraphicsBuffers::memory(const spa_buffer& buffer,
                                                          const PortalVideoFormat& format) {
    if (!format.dmaBuf) return std::nullopt; // memory of a kind that wasn't asked for
    if (format.dmaBuf->modifier == kLinearModifier && canMap) {
        const auto found = mapped(buffer);
        // Where it could be done before, it fails for a moment: of too many open files, or too little memory.
        if (found || hasMapped) return found;
        canMap = false;
        useCard();
    }
    if (!isOfferedByCard(*format.dmaBuf)) return std::nullopt;
    if (const auto found = imported(buffer, format, *format.dmaBuf)) return found;
    refused.push_back(*format.dmaBuf);
    return std::nullopt;
}

std::optional<PortalMemory> PortalGraphicsBuffers::mapped(const spa_buffer& buffer) {
    const spa_data& data = buffer.datas[0];
    auto& kept = mappings[&buffer];
    if (!kept) {
        auto made =
            DmaBufMapping::map(static_cast<int>(data.fd), static_cast<size_t>(data.mapoffset) + data.maxsize);
        if (!made.mapping) problem_ = made.problem;
        kept = std::move(made.mapping);
    }
    if (!kept) return std::nullopt;
    hasMapped = true;
    const size_t begin = std::min<size_t>(data.mapoffset, kept->size());
    return PortalMemory{kept->bytes() + begin, kept->size() - begin, kept.get()};
}

std::optional<PortalMemory> PortalGraphicsBuffers::imported(const spa_buffer& buffer,
                                                            const PortalVideoFormat& format,
                                                            const DmaBufLayout& layout) {
    EglPicture::Source source{layout, format.width, format.height, {}};
    for (uint32_t i = 0; i < buffer.n_datas; ++i) {
        const spa_data& data = buffer.datas[i];
        if (!data.chunk) return std::nullopt;
        source.planes.push_back(
            {static_cast<int>(data.fd), data.mapoffset + data.chunk->offset, data.chunk->stride});
    }
    auto& kept = pictures[&buffer];
    if (!kept || kept->source() != source) {
        kept.reset();
        std::string why;
        kept = EglPicture::import(*card, source, why);
        if (!kept) problem_ = why;
    }
    if (!kept) return std::nullopt;
    kept->markDrawn();
    return PortalMemory{kept->pixels().data(), kept->pixels().size(), kept.get(), card->readOrder()};
}

void PortalGraphicsBuffers::forget(const spa_buffer& buffer) {
    mappings.erase(&buffer);
    pictures.erase(&buffer);
}

void PortalGraphicsBuffers::leaveThread() {
    if (card) card->leaveThread();
}

} // namespace vintra
