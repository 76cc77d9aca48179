#pragma once

#include <memory>
#include <string>
#include <vector>

namespace vintra {

/// A document read by libxml2, asked by XPath. Throws `std::runtime_error` for one that is not well-formed.
class XMLDocument {
public:
    explicit XMLDocument(const std::string& text);
    ~XMLDocument();
    XMLDocument(const XMLDocument&) = delete;
    XMLDocument& operator=(const XMLDocument&) = delete;

    /// The text of every node that the path finds, in document order.
    std::vector<std::string> all(const std::string& xpath) const;
    /// The text of the first; empty if there is none.
    std::string first(const std::string& xpath) const;
    size_t count(const std::string& xpath) const { return all(xpath).size(); }

private:
    struct Content;
    std::unique_ptr<Content> content;
};

} // namespace vintra
