#pragma once

#include "Vintra/platform/SystemError.h"
#include "Vintra/platform/URL.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace vintra {

struct WebRequest {
    std::string address;
    std::string method = "GET";
    std::vector<std::pair<std::string, std::string>> headers{};
    std::string body{};
    double timeoutSeconds = 20;      ///< for all of it
    int redirects = 0;               ///< so many are followed at the most; one more is the response
    size_t longestBody = 256 * 1024; ///< bytes of the response's body; a longer one is an error
};

struct WebResponse {
    int status = 0; ///< of HTTP
    std::string body;
    bool operator==(const WebResponse&) const = default;
};

/// A file whose length is known before.
struct WebDownload {
    std::string address;
    URL file; ///< in a folder that exists
    uint64_t length = 0;
    /// What lies in the file from an earlier try is kept, if the server can go on from there.
    bool resumes = false;
    int redirects = 5;
    double patienceSeconds = 60; ///< without a byte
};

/// A transfer that is under way. Letting go of it changes nothing.
class WebTransfer {
public:
    virtual ~WebTransfer() = default;
    /// It ends; its functions aren't called any more. Does nothing after its end.
    virtual void cancel() = 0;
};

/// What the program asks of the web. Addresses are those of https; another scheme, also one that a server sends the
/// program on to, is an error. Functions are called later, on the main thread. Main thread.
class WebRequests {
public:
    using OnResponse = std::function<void(std::variant<WebResponse, SystemError>)>;
    struct OnDownload {
        std::function<void(uint64_t bytes)> received; ///< so many lie in the file; not for each packet
        /// The file has its length, or what went wrong. What came by then stays in the file.
        std::function<void(std::optional<SystemError>)> ended;
    };

    virtual ~WebRequests() = default;
    virtual std::shared_ptr<WebTransfer> load(WebRequest request, OnResponse onResponse) = 0;
    /// Never writes more than the length.
    virtual std::shared_ptr<WebTransfer> download(WebDownload download, OnDownload on) = 0;
};

} // namespace vintra
