#pragma once

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>

namespace vintra {

/// Damages a file's bytes in a few places, as a bad disk or a bad intention would: single bits and bytes,
/// numbers of four bytes at their extremes, a piece that is missing, doubled or cut off at the end. Most of it
/// hits the front, where a file describes itself. The same random source gives the same damage.
inline std::string damaged(std::string bytes, std::mt19937& random) {
    const auto below = [&random](size_t limit) {
        return std::uniform_int_distribution<size_t>(0, std::max<size_t>(1, limit) - 1)(random);
    };
    const size_t times = 1 + below(8);
    for (size_t time = 0; time < times && bytes.size() > 16; ++time) {
        const size_t reach = below(3) == 0 ? bytes.size() : std::min<size_t>(bytes.size(), 256);
        const size_t at = below(reach - 8);
        switch (below(7)) {
        case 0:
            bytes[at] = static_cast<char>(bytes[at] ^ (1 << below(8)));
            break;
        case 1:
            bytes[at] = static_cast<char>(below(256));
            break;
        case 2:
            bytes.replace(at, 4, 4, '\xFF');
            break;
        case 3:
            bytes.replace(at, 4, 4, '\0');
            break;
        case 4:
            bytes.replace(at, 4, std::string("\x7F\xFF\xFF\xFF", 4));
            break;
        case 5:
            bytes.insert(at, bytes.substr(below(bytes.size()), 1 + below(64)));
            break;
        default:
            if (below(4) == 0) {
                bytes.resize(bytes.size() - below(bytes.size() / 2));
            } else {
                bytes.erase(at, 1 + below(16));
            }
        }
    }
    return bytes;
}

} // namespace vintra
