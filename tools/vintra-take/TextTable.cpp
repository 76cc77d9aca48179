#include "tools/vintra-take/TextTable.h"

#include <algorithm>
#include <utility>

namespace vintra {
namespace {

constexpr size_t kGap = 2;

/// Characters of a UTF-8 text: bytes that don't continue one.
size_t widthOf(const std::string& text) {
    return static_cast<size_t>(std::count_if(
        text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

} // namespace

TextTable::TextTable(std::vector<std::string> heads, size_t leftColumns)
    : leftColumns(leftColumns) {
    rows.push_back(std::move(heads));
}

void TextTable::addRow(std::vector<std::string> cells) {
    cells.resize(rows.front().size());
    rows.push_back(std::move(cells));
}

std::string TextTable::text() const {
    std::vector<size_t> widths(rows.front().size(), 0);
    for (const auto& row : rows) {
        for (size_t column = 0; column < widths.size(); ++column)
            widths[column] = std::max(widths[column], widthOf(row[column]));
    }
    std::string text;
    for (const auto& row : rows) {
        std::string line;
        for (size_t column = 0; column < widths.size(); ++column) {
            const std::string space(widths[column] - widthOf(row[column]), ' ');
            if (column > 0) line.append(kGap, ' ');
            line += column < leftColumns ? row[column] + space : space + row[column];
        }
        line.resize(line.find_last_not_of(' ') + 1);
        text += line + "\n";
    }
    return text;
}

} // namespace vintra
