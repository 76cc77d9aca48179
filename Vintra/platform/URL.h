#pragma once

#include <compare>
#include <string>
#include <utility>

namespace vintra {

/// A file's place, as an absolute or relative path. A value: it says nothing about whether the file exists.
/// Paths are byte strings; the file system's own encoding (UTF-8) passes through untouched. Any thread.
class URL {
public:
    URL() = default;
    /// A trailing "/" is dropped, except for the root's own.
    static URL fileURL(std::string path);

    const std::string& path() const { return path_; }
    bool isEmpty() const { return path_.empty(); }

    /// The part after the last "/"; the whole path if it has none.
    std::string lastPathComponent() const;
    /// The last component's text after its last "."; empty if it has none or only a leading one.
    std::string pathExtension() const;
    /// The last component without its extension and the "." before it.
    std::string stem() const;
    /// The folder that holds this; "." for a bare name, "/" for a child of the root and the root itself.
    URL deletingLastPathComponent() const;
    URL appendingPathComponent(const std::string& name) const;
    /// The path with every byte outside the URL-path character set written as %XX. The set is letters, digits
    /// and
    /// "!$&'()*+,-./:=@_~".
    std::string percentEncodedPath() const;
    /// "file://" and the percent-encoded path.
    std::string absoluteString() const;

    auto operator<=>(const URL&) const = default;

private:
    explicit URL(std::string path)
        : path_(std::move(path)) {}
    std::string path_;
};

} // namespace vintra
