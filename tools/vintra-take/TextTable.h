#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace vintra {

/// Columns of text, each as wide as its widest cell, the first of them to the left and the others to the
/// right.
class TextTable {
public:
    explicit TextTable(std::vector<std::string> heads, size_t leftColumns = 2);
    /// As many cells as there are heads.
    void addRow(std::vector<std::string> cells);
    std::string text() const;

private:
    const size_t leftColumns;
    std::vector<std::vector<std::string>> rows;
};

} // namespace vintra
