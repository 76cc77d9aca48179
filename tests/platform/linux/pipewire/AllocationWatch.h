#pragma once

#include <cstdint>

namespace vintra {

/// Counts what threads allocate and free, for those of them that have asked to be watched. A build with a
/// sanitizer has an allocator of its own, where nothing is counted.
namespace allocationWatch {

/// Whether this build counts at all.
bool counts();
/// From now on, for the thread's whole life. Any thread; allocates nothing itself.
void watchThisThread();
/// What watched threads do counts only while this is on.
void setOn(bool isOn);
/// Calls of malloc, free and their kin by watched threads so far.
int64_t calls();

} // namespace allocationWatch
} // namespace vintra
