#include "Vintra/platform/linux/web/WebAddress.h"

#include <arpa/inet.h>
#include <curl/curl.h>
#include <memory>

namespace vintra::WebAddress {
namespace {

struct CurlAddressDeleter {
    void operator()(CURLU* address) const { curl_url_cleanup(address); }
    void operator()(char* text) const { curl_free(text); }
};

struct AddressParts {
    std::string scheme;
    std::string host;
};

std::string partOf(CURLU* address, CURLUPart part) {
    char* text = nullptr;
    if (curl_url_get(address, part, &text, 0) != CURLUE_OK) return "";
    const std::unique_ptr<char, CurlAddressDeleter> owned(text);
    return text;
}

/// Both empty if it is no address.
AddressParts partsOf(const std::string& address) {
    const std::unique_ptr<CURLU, CurlAddressDeleter> parsed(curl_url());
    if (!parsed || curl_url_set(parsed.get(), CURLUPART_URL, address.c_str(), 0) != CURLUE_OK) return {};
    return {.scheme = partOf(parsed.get(), CURLUPART_SCHEME), .host = partOf(parsed.get(), CURLUPART_HOST)};
}

/// By its number: what a name stands for is somebody else's to say.
bool isLoopback(const std::string& host) {
    in_addr number{};
    if (inet_pton(AF_INET, host.c_str(), &number) == 1) return (ntohl(number.s_addr) >> 24) == 127;
    return host == "[::1]";
}

} // namespace

bool isAllowed(const std::string& address, PlainHTTP plainHTTP) {
    const AddressParts parts = partsOf(address);
    if (parts.host.empty()) return false;
    if (parts.scheme == "https") return true;
    return parts.scheme == "http" && plainHTTP == PlainHTTP::onLoopback && isLoopback(parts.host);
}

bool isPlain(const std::string& address) {
    return partsOf(address).scheme == "http";
}

} // namespace vintra::WebAddress
