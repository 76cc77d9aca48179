#pragma once

#include <cstddef>
#include <cstdint>

namespace vintra {

/// Copies out of memory that no cache may lie before, such as a graphics card's. There every ordinary load of a few bytes
/// goes to the card anew; streaming loads fetch a line of 64 bytes at once. Of cached memory it is a plain copy. Any
/// thread.
void copyUncached(uint8_t* to, const uint8_t* from, size_t count);

} // namespace vintra
