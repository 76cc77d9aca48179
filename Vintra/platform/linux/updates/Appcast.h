#pragma once

#include "Vintra/platform/SUAppcastItem.h"

#include <cstdint>
#include <string>
#include <vector>

namespace vintra {

/// A feed of updates: an RSS document whose items have an enclosure, with what belongs to updates in a namespace of its
/// own. Any thread.
namespace Appcast {

constexpr const char* kNamespace = "http://www.andymatuschak.org/xml-namespaces/sparkle";
constexpr uint64_t kLongestFile = 256 << 20; ///< bytes

/// The items for this system. One that lacks something, or says something impossible, is left out. Throws `SystemError`
/// if the text is no such document, declares entities, or has items of which none is of use.
std::vector<SUAppcastItem> items(const std::string& text);

/// A description without its markup, a line for each of its paragraphs and points, and no longer than a window is for.
std::string plainText(const std::string& description);

} // namespace Appcast
} // namespace vintra
