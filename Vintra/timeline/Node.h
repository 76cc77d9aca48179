#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace vintra::TimelineFile {

/// An XML element. A value: any thread.
struct Node {
    using Attributes = std::vector<std::pair<std::string, std::string>>;

    std::string name;
    Attributes attrs;                 ///< printed in this order
    std::optional<std::string> value; ///< where present, the children are not printed
    std::vector<Node> children;

    explicit Node(std::string aName, Attributes attributes = {}, std::vector<Node> someChildren = {});
    /// Sorts the attributes by key.
    Node(std::string aName, const std::map<std::string, std::string>& attributes,
         std::vector<Node> someChildren = {});
    static Node withValue(std::string aName, std::string value);
    static Node withValue(std::string aName, int64_t value);

    void add(Node child) { children.push_back(std::move(child)); }
    void add(std::vector<Node> someChildren);

    /// Indented by `depth` tabs, without a line feed at the end.
    std::string text(size_t depth) const;

private:
    void appendText(std::string& xml, size_t depth) const;
};

} // namespace vintra::TimelineFile
