#include "Vintra/timeline/TakeFiles.h"

#include "Vintra/platform/LetterCase.h"
#include "Vintra/platform/UTF8.h"

#include <algorithm>

namespace vintra {
namespace {

size_t countOfCharacters(const std::string& text) {
    size_t count = 0;
    for (size_t offset = 0; offset < text.size(); offset += scalarAt(text, offset).length)
        ++count;
    return count;
}

std::string droppingFirst(const std::string& text, size_t characters) {
    size_t offset = 0;
    for (; characters > 0 && offset < text.size(); --characters)
        offset += scalarAt(text, offset).length;
    return text.substr(offset);
}

std::string withBlanksForHyphens(std::string text) {
    std::replace(text.begin(), text.end(), '-', ' ');
    return text;
}

std::vector<std::string> splitAtBlanks(const std::string& text) {
    std::vector<std::string> words;
    for (size_t start = 0; start < text.size();) {
        const size_t end = std::min(text.find(' ', start), text.size());
        if (end > start) words.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return words;
}

std::string joined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) {
        if (!text.empty()) text += ' ';
        text += word;
    }
    return text;
}

bool hasNoUpperCase(const std::string& text) {
    return lowercased(text) == text;
}

std::string withUpperCaseInitial(const std::string& text) {
    if (text.empty()) return text;
    const size_t length = scalarAt(text, 0).length;
    return uppercased(text.substr(0, length)) + text.substr(length);
}

} // namespace

std::string TakeFiles::tail(const URL& url) const {
    return droppingFirst(url.stem(), countOfCharacters(take) + 1);
}

std::string TakeFiles::trackName(const URL& url) const {
    const std::string rest = tail(url);
    if (rest == "video") return "Screen";
    const std::vector<std::string> words = splitAtBlanks(withBlanksForHyphens(rest));
    if (!words.empty() && words[0] == "webcam") return words.size() > 1 ? "Webcam " + words[1] : "Webcam";
    if (rest == "mic") return "Mic";
    return hasNoUpperCase(rest) ? withUpperCaseInitial(joined(words)) : joined(words);
}

std::string TakeFiles::shortName(const URL& url) const {
    const std::string rest = tail(url);
    return hasNoUpperCase(rest) ? withBlanksForHyphens(rest) : trackName(url);
}

} // namespace vintra
