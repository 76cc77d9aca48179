#pragma once

#include <cstdint>

namespace vintra {

/// Whether the scalar is a letter, a mark or a number by Unicode's general categories. Any thread.
bool isAlphanumeric(uint32_t scalar);

} // namespace vintra
