#include "Vintra/platform/URL.h"

#include <string_view>
#include <utility>

namespace vintra {

URL URL::fileURL(std::string path) {
    while (path.size() > 1 && path.back() == '/')
        path.pop_back();
    return URL(std::move(path));
}

std::string URL::lastPathComponent() const {
    if (path_ == "/") return path_;
    const size_t slash = path_.rfind('/');
    return slash == std::string::npos ? path_ : path_.substr(slash + 1);
}

std::string URL::pathExtension() const {
    const std::string name = lastPathComponent();
    const size_t dot = name.rfind('.');
    return dot == std::string::npos || dot == 0 ? "" : name.substr(dot + 1);
}

std::string URL::stem() const {
    const std::string name = lastPathComponent();
    const size_t dot = name.rfind('.');
    return dot == std::string::npos || dot == 0 ? name : name.substr(0, dot);
}

URL URL::deletingLastPathComponent() const {
    const size_t slash = path_.rfind('/');
    if (slash == std::string::npos) return URL(".");
    return URL(slash == 0 ? "/" : path_.substr(0, slash));
}

URL URL::appendingPathComponent(const std::string& name) const {
    if (path_.empty()) return URL(name);
    return URL(path_.back() == '/' ? path_ + name : path_ + "/" + name);
}

std::string URL::percentEncodedPath() const {
    constexpr char hex[] = "0123456789ABCDEF";
    constexpr std::string_view marks = "!$&'()*+,-./:=@_~";
    std::string text;
    text.reserve(path_.size());
    for (const char c : path_) {
        const auto byte = static_cast<unsigned char>(c);
        const bool plain = (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') ||
                           (byte >= '0' && byte <= '9') || marks.find(c) != std::string_view::npos;
        if (plain) {
            text += c;
        } else {
            text += '%';
            text += hex[byte >> 4];
            text += hex[byte & 15];
        }
    }
    return text;
}

std::string URL::absoluteString() const {
    return "file://" + percentEncodedPath();
}

} // namespace vintra
