#include "Vintra/video/SlotLedger.h"

#include <algorithm>
#include <cstddef>

namespace vintra {
namespace {

constexpr int64_t flooredQuotient(int64_t value, int64_t by) {
    return value / by - (value % by < 0 ? 1 : 0);
}

} // namespace

SlotLedger::Kind SlotLedger::kindOf(int64_t slot) const {
    const int64_t number = flooredQuotient(slot, kBlock);
    const auto found = blocks.find(number);
    return found == blocks.end() ? Kind::unchanged
                                 : found->second[static_cast<size_t>(slot - number * kBlock)];
}

void SlotLedger::note(int64_t slot, Kind kind) {
    const int64_t number = flooredQuotient(slot, kBlock);
    Kind& held = blocks[number][static_cast<size_t>(slot - number * kBlock)];
    --counts[static_cast<size_t>(held)];
    ++counts[static_cast<size_t>(kind)];
    held = kind;
    if (!first || slot < *first) first = slot;
    latest = std::max(latest, slot);
}

void SlotLedger::noteCopy(int64_t slot) {
    if (kindOf(slot) == Kind::unchanged) note(slot, Kind::copied);
}

bool SlotLedger::noteLoss(int64_t slot) {
    const Kind kind = kindOf(slot);
    if (kind == Kind::own || kind == Kind::lost || (first && slot < *first)) return false;
    note(slot, Kind::lost);
    return true;
}

FrameAccount SlotLedger::account(int64_t last) const {
    FrameAccount account;
    if (!first) return account;
    account.first = *first;
    account.own = counts[static_cast<size_t>(Kind::own)];
    account.copied = counts[static_cast<size_t>(Kind::copied)];
    account.lost = counts[static_cast<size_t>(Kind::lost)];
    account.unchanged = std::max(last, latest) - *first + 1 - account.own - account.copied - account.lost;
    return account;
}

} // namespace vintra
