#include "Vintra/platform/linux/updates/Appcast.h"

#include "Vintra/platform/SystemError.h"
#include "Vintra/platform/UTF8.h"
#include "Vintra/platform/linux/updates/Ed25519Signature.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <memory>
#include <optional>

namespace vintra::Appcast {
namespace {

constexpr size_t kMostItems = 200;
constexpr size_t kLongestVersion = 64;         // characters
constexpr size_t kLongestDescription = 20'000; // bytes
constexpr const char* kThisSystem = "linux";

struct XMLDeleter {
    void operator()(xmlDoc* document) const { xmlFreeDoc(document); }
    void operator()(xmlChar* text) const { xmlFree(text); }
};

SystemError unreadableFeed() {
    return SystemError("updates", 1, "The feed of updates can't be read; try again later.");
}

bool isNamed(const char* name, const xmlChar* actual) {
    return actual && std::string_view(name) == reinterpret_cast<const char*>(actual);
}

bool isOfUpdates(const xmlNs* space) {
    return space && isNamed(kNamespace, space->href);
}

std::string owned(xmlChar* text) {
    const std::unique_ptr<xmlChar, XMLDeleter> owner(text);
    return text ? reinterpret_cast<const char*>(text) : "";
}

/// Null if there is none.
const xmlNode* child(const xmlNode* of, const char* name, bool ofUpdates) {
    for (const xmlNode* node = of ? of->children : nullptr; node; node = node->next) {
        if (node->type == XML_ELEMENT_NODE && isNamed(name, node->name) && isOfUpdates(node->ns) == ofUpdates)
            return node;
    }
    return nullptr;
}

std::string textOf(const xmlNode* node) {
    if (!node) return "";
    const std::string text = owned(xmlNodeGetContent(node));
    const size_t begin = text.find_first_not_of(" \t\r\n");
    if (begin == std::string::npos) return "";
    return text.substr(begin, text.find_last_not_of(" \t\r\n") - begin + 1);
}

std::string attribute(const xmlNode* node, const char* name) {
    return node ? owned(xmlGetNoNsProp(node, reinterpret_cast<const xmlChar*>(name))) : "";
}

std::string attributeOfUpdates(const xmlNode* node, const char* name) {
    return node ? owned(xmlGetNsProp(node, reinterpret_cast<const xmlChar*>(name),
                                     reinterpret_cast<const xmlChar*>(kNamespace)))
                : "";
}

/// It stands on the enclosure or beside it.
std::string factOf(const xmlNode* item, const xmlNode* enclosure, const char* name) {
    const std::string beside = textOf(child(item, name, true));
    return beside.empty() ? attributeOfUpdates(enclosure, name) : beside;
}

/// As a package's version may be written.
bool isVersion(const std::string& text) {
    const auto isPart = [](char character) {
        return (character >= '0' && character <= '9') || (character >= 'a' && character <= 'z') ||
               (character >= 'A' && character <= 'Z') || character == '.' || character == '+' ||
               character == '~';
    };
    return !text.empty() && text.size() <= kLongestVersion && text[0] >= '0' && text[0] <= '9' &&
           std::ranges::all_of(text, isPart);
}

std::optional<uint64_t> lengthOf(const std::string& text) {
    uint64_t length = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), length);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    if (length == 0 || length > kLongestFile) return std::nullopt;
    return length;
}

bool isForThisSystem(const xmlNode* enclosure) {
    const std::string system = attributeOfUpdates(enclosure, "os");
    return system.empty() || system == kThisSystem;
}

std::optional<SUAppcastItem> itemOf(const xmlNode* node, const xmlNode* enclosure) {
    const auto length = lengthOf(attribute(enclosure, "length"));
    SUAppcastItem item{.versionString = factOf(node, enclosure, "version"),
                       .displayVersionString = factOf(node, enclosure, "shortVersionString"),
                       .itemDescription = plainText(textOf(child(node, "description", false))),
                       .minimumSystemVersion = factOf(node, enclosure, "minimumSystemVersion"),
                       .fileURL = attribute(enclosure, "url"),
                       .contentLength = length.value_or(0),
                       .edSignature = attributeOfUpdates(enclosure, "edSignature")};
    const bool isMinimumGood = item.minimumSystemVersion.empty() || isVersion(item.minimumSystemVersion);
    if (!isVersion(item.versionString) || !isVersion(item.displayVersionString) || !isMinimumGood ||
        !length || item.fileURL.empty() || !Ed25519Signature::isWellFormed(item.edSignature)) {
        return std::nullopt;
    }
    return item;
}

/// The channel of a document that declares nothing: entities can be made to grow without bound.
const xmlNode* channelOf(xmlDoc* document) {
    if (!document || document->intSubset || document->extSubset) throw unreadableFeed();
    const xmlNode* const root = xmlDocGetRootElement(document);
    const xmlNode* const channel =
        root && isNamed("rss", root->name) ? child(root, "channel", false) : nullptr;
    if (!channel) throw unreadableFeed();
    return channel;
}

/// "li" of "<li>" and of "</li class='x'>".
std::string tagName(std::string_view tag) {
    std::string name;
    for (const char character : tag.substr(tag.starts_with('/') ? 1 : 0)) {
        if (character == ' ' || character == '/' || character == '\n' || character == '\t') break;
        name += static_cast<char>(character >= 'A' && character <= 'Z' ? character + 32 : character);
    }
    return name;
}

void appendLineEnd(std::string& text) {
    while (text.ends_with(' '))
        text.pop_back();
    if (!text.empty() && !text.ends_with('\n')) text += '\n';
}

void appendMeaningOfTag(std::string& text, std::string_view tag) {
    const std::string name = tagName(tag);
    const bool isHeading = name.size() == 2 && name[0] == 'h' && name[1] >= '1' && name[1] <= '6';
    if (isHeading || name == "p" || name == "br" || name == "ul" || name == "ol" || name == "div" ||
        name == "li")
        appendLineEnd(text);
    if (name == "li" && !tag.starts_with('/')) text += "• ";
}

} // namespace

std::vector<SUAppcastItem> items(const std::string& text) {
    constexpr int kOptions = XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING | XML_PARSE_NOCDATA;
    const std::unique_ptr<xmlDoc, XMLDeleter> document(
        xmlReadMemory(text.data(), static_cast<int>(text.size()), "feed", nullptr, kOptions));
    std::vector<SUAppcastItem> found;
    size_t count = 0;
    bool hasUseless = false;
    for (const xmlNode* node = channelOf(document.get())->children; node && count < kMostItems;
         node = node->next) {
        if (node->type != XML_ELEMENT_NODE || !isNamed("item", node->name)) continue;
        ++count;
        const xmlNode* const enclosure = child(node, "enclosure", false);
        if (!isForThisSystem(enclosure)) continue;
        if (auto item = itemOf(node, enclosure)) {
            found.push_back(std::move(*item));
        } else {
            hasUseless = true;
        }
    }
    if (found.empty() && hasUseless) throw unreadableFeed();
    return found;
}

std::string plainText(const std::string& description) {
    std::string text;
    for (size_t at = 0; at < description.size() && text.size() < kLongestDescription;) {
        const bool mayBeTag =
            description[at] == '<' && at + 1 < description.size() &&
            (std::isalpha(static_cast<unsigned char>(description[at + 1])) || description[at + 1] == '/');
        const size_t end = mayBeTag ? description.find('>', at) : std::string::npos;
        if (end != std::string::npos) {
            appendMeaningOfTag(text, std::string_view(description).substr(at + 1, end - at - 1));
            at = end + 1;
            // Markup is laid out in lines of its own, which mean nothing.
            const bool beginsLine = text.empty() || text.ends_with('\n');
            if (beginsLine) at = std::min(description.find_first_not_of(" \t\r\n", at), description.size());
        } else {
            text += description[at++];
        }
    }
    while (text.ends_with('\n') || text.ends_with(' '))
        text.pop_back();
    return printable(text);
}

} // namespace vintra::Appcast
