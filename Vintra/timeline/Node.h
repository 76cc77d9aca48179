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

    explicit Node(std::string name, Attributes attributes = {}, std::vector<Node> children = {});
    /// Sorts the attributes by key.
    Node(std::string name, const std::map<std::string, std::string>& attributes,
         std::vector<Node> children = {});
    static Node withValue(std::string name, std::string value);
    static Node withValue(std::string name, int64_t value);

    void add(Node child) { children.push_back(std::move(child)); }
    void add(std::vector<Node> more);

    /// Indented by `depth` tabs, without a line feed at the end.
    std::string text(size_t depth) const;

private:
    void appendText(std::string& xml, size_t depth) const;
};

} // namespace vintra::TimelineFile
