#include "XMLDocument.h"

#include <libxml/parser.h>
#include <libxml/xpath.h>
#include <stdexcept>

namespace vintra {

struct XMLDocument::Content {
    xmlDocPtr document = nullptr;
    xmlXPathContextPtr context = nullptr;
    ~Content() {
        xmlXPathFreeContext(context);
        xmlFreeDoc(document);
    }
};

XMLDocument::XMLDocument(const std::string& text)
    : content(std::make_unique<Content>()) {
    content->document =
        xmlReadMemory(text.data(), static_cast<int>(text.size()), "document.xml", nullptr,
                      XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING | XML_PARSE_HUGE);
    if (!content->document) throw std::runtime_error("not well-formed");
    content->context = xmlXPathNewContext(content->document);
}

XMLDocument::~XMLDocument() = default;

std::vector<std::string> XMLDocument::all(const std::string& xpath) const {
    xmlXPathObjectPtr found =
        xmlXPathEvalExpression(reinterpret_cast<const xmlChar*>(xpath.c_str()), content->context);
    if (!found) throw std::runtime_error("no XPath: " + xpath);
    std::vector<std::string> texts;
    const xmlNodeSetPtr nodes = found->nodesetval;
    for (int index = 0; nodes && index < nodes->nodeNr; ++index) {
        xmlChar* text = xmlNodeGetContent(nodes->nodeTab[index]);
        texts.emplace_back(reinterpret_cast<const char*>(text));
        xmlFree(text);
    }
    xmlXPathFreeObject(found);
    return texts;
}

std::string XMLDocument::first(const std::string& xpath) const {
    const std::vector<std::string> texts = all(xpath);
    return texts.empty() ? "" : texts.front();
}

} // namespace vintra
