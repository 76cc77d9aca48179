#pragma once

#include <cstdint>
#include <string>

namespace vintra {

/// One version in the feed of updates. Nothing in it is to be trusted until the file's signature has been checked. A
/// value.
struct SUAppcastItem {
    std::string versionString;        ///< counts the builds of the version: "318"
    std::string displayVersionString; ///< "2.4.1"
    std::string itemDescription;      ///< what is new, plain text
    std::string minimumSystemVersion; ///< empty: any
    std::string fileURL;
    uint64_t contentLength = 0; ///< bytes of the file
    std::string edSignature;    ///< of the file's bytes, 64 bytes in Base64
    bool operator==(const SUAppcastItem&) const = default;
};

/// "2.4.1 (build 318)".
inline std::string versionTextOf(const SUAppcastItem& item) {
    return item.displayVersionString + " (build " + item.versionString + ")";
}

} // namespace vintra
