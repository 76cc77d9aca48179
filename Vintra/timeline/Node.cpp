#include "Vintra/timeline/Node.h"

#include "Vintra/timeline/XMLText.h"

#include <iterator>

namespace vintra::TimelineFile {

Node::Node(std::string aName, Attributes attributes, std::vector<Node> someChildren)
    : name(std::move(aName))
    , attrs(std::move(attributes))
    , children(std::move(someChildren)) {}

Node::Node(std::string aName, const std::map<std::string, std::string>& attributes,
           std::vector<Node> someChildren)
    : name(std::move(aName))
    , attrs(attributes.begin(), attributes.end())
    , children(std::move(someChildren)) {}

Node Node::withValue(std::string aName, std::string value) {
    Node node(std::move(aName));
    node.value = std::move(value);
    return node;
}

Node Node::withValue(std::string aName, int64_t value) {
    return withValue(std::move(aName), std::to_string(value));
}

void Node::add(std::vector<Node> someChildren) {
    children.insert(children.end(), std::make_move_iterator(someChildren.begin()),
                    std::make_move_iterator(someChildren.end()));
}

std::string Node::text(size_t depth) const {
    std::string xml;
    appendText(xml, depth);
    return xml;
}

void Node::appendText(std::string& xml, size_t depth) const {
    xml.append(depth, '\t');
    xml += '<';
    xml += name;
    for (const auto& [key, text] : attrs) {
        xml += ' ';
        xml += key;
        xml += "=\"";
        appendAttributeText(xml, text);
        xml += '"';
    }
    if (!value && children.empty()) {
        xml += "/>";
        return;
    }
    xml += '>';
    if (value) {
        appendValueText(xml, *value);
    } else {
        for (const Node& child : children) {
            xml += '\n';
            child.appendText(xml, depth + 1);
        }
        xml += '\n';
        xml.append(depth, '\t');
    }
    xml += "</";
    xml += name;
    xml += '>';
}

} // namespace vintra::TimelineFile
