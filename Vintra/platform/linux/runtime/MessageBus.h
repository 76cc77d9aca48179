#pragma once

#include <cstdint>

namespace vintra {

/// The two buses on which the programs of a desktop talk.
enum class MessageBus { session, system };

/// Nanoseconds: a bus that lives greets in a few milliseconds, also on a busy machine.
constexpr int64_t kMessageBusPatience = 1'000'000'000;

/// Whether there is such a bus that takes connections and then says nothing: libraries that ask it wait for
/// ever. False if there is none at all, which they notice. Waits up to `patience` in nanoseconds. Any thread.
bool messageBusHangs(MessageBus bus, int64_t patience = kMessageBusPatience);

} // namespace vintra
