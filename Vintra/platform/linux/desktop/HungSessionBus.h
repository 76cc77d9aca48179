#pragma once

namespace vintra {

/// For a program whose libraries would wait for a session bus that takes connections and then says nothing: if there
/// is such a bus, the process is given the address of none instead, which they notice at once. True if so. Waits for
/// `kMessageBusPatience` at most. Before the first of those libraries and any other thread begins.
bool leaveHungSessionBus();

} // namespace vintra
