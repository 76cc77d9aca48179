#include "Vintra/app/AcknowledgementsView.h"

#include "Vintra/platform/FileManager.h"
#include "Vintra/platform/SystemError.h"
#include "Vintra/platform/UTF8.h"

#include <algorithm>
#include <array>
#include <optional>

namespace vintra {
namespace {

constexpr std::string_view kHeadingMark = "# ";

bool isTextThroughout(std::string_view bytes) {
    for (size_t offset = 0; offset < bytes.size();) {
        const UTF8Scalar scalar = scalarAt(bytes, offset);
        if (!scalar.isValid) return false;
        offset += scalar.length;
    }
    return true;
}

std::optional<std::string> textOfFile(FileManager& fileManager, const URL& file) {
    try {
        const auto open = fileManager.openForReading(file);
        std::string text;
        std::array<uint8_t, 65'536> piece{};
        while (const size_t count = open->read(piece.data(), piece.size()))
            text.append(reinterpret_cast<const char*>(piece.data()), count);
        if (isTextThroughout(text)) return text;
    } catch (const SystemError&) {
    }
    return std::nullopt;
}

} // namespace

AcknowledgementsView::AcknowledgementsView(FileManager& fileManager, const URL& file) {
    const std::string text = textOfFile(fileManager, file).value_or(kMissing);
    for (size_t begin = 0; begin <= text.size();) {
        const size_t end = std::min(text.find('\n', begin), text.size());
        std::string_view line = std::string_view(text).substr(begin, end - begin);
        const bool isHeading = line.starts_with(kHeadingMark);
        if (isHeading) line.remove_prefix(kHeadingMark.size());
        // The end of the last line isn't the beginning of another.
        if (end < text.size() || begin < end || lines.empty())
            lines.push_back({std::string(line), isHeading});
        begin = end + 1;
    }
}

} // namespace vintra
