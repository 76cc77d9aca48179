#include "Vintra/timeline/Node.h"

#include "Vintra/timeline/XMLText.h"

#include <iterator>

namespace vintra::TimelineFile {

Node::Node(std::string name, Attributes attributes, std::vector<Node> children)
    : name(std::move(name))
    , attrs(std::move(attributes))
    , children(std::move(children)) {}

Node::Node(std::string name, const std::map<std::string, std::string>& attributes, std::vector<Node> children)
    : name(std::move(name))
    , attrs(attributes.begin(), attributes.end())
    , children(std::move(children)) {}

Node Node::withValue(std::string name, std::string value) {
    Node node(std::move(name));
    node.value = std::move(value);
    return node;
}

Node Node::withValue(std::string name, int64_t value) {
    return withValue(std::move(name), std::to_string(value));
}

void Node::add(std::vector<Node> more) {
    children.insert(children.end(), std::make_move_iterator(more.begin()),
                    std::make_move_iterator(more.end()));
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
