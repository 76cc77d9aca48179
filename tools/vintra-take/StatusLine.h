#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vintra {

/// What the line shows while a take runs.
struct StatusLineFacts {
    std::string elapsed; ///< "0:12"
    struct Level {
        std::string name;
        double position = 0; ///< of a meter: 0 is -60 dBFS or below, 1 is 0 dBFS
    };
    std::vector<Level> levels;
    bool hasScreen = false;
    int64_t lostFrames = 0;
};

/// One line of text without a line feed, cut to so many columns.
std::string statusLine(const StatusLineFacts& facts, size_t columns);

} // namespace vintra
