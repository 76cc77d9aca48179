#include "Vintra/platform/linux/web/CurlLoad.h"

#include "Vintra/platform/linux/runtime/LinuxHostClock.h"

#include <algorithm>
#include <utility>

namespace vintra {

CurlLoad::CurlLoad(Surroundings surroundings, std::shared_ptr<CurlTransferHandle> handle, WebRequest request,
                   WebRequests::OnResponse onResponse)
    : CurlTransfer(std::move(surroundings), std::move(handle), request.address, request.redirects)
    , request(request)
    , onResponse(std::make_shared<const WebRequests::OnResponse>(std::move(onResponse)))
    , deadline(monotonicNanoseconds() + static_cast<int64_t>(request.timeoutSeconds * 1e9)) {}

bool CurlLoad::configure() {
    body.clear();
    const int64_t left = std::max<int64_t>(1, (deadline - monotonicNanoseconds()) / 1'000'000);
    set(CURLOPT_TIMEOUT_MS, static_cast<long>(left));
    set(CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(request.longestBody));
    if (request.method == "POST") {
        set(CURLOPT_POST, 1L);
        set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request.body.size()));
        set(CURLOPT_POSTFIELDS, request.body.c_str());
        addHeader("Expect:"); // asks for no leave to send
    }
    for (const auto& [name, value] : request.headers)
        addHeader(name + ": " + value);
    return true;
}

bool CurlLoad::take(const char* bytes, size_t count) {
    if (body.size() + count > request.longestBody) {
        problem = SystemError("web", CURLE_FILESIZE_EXCEEDED,
                              "The server sent more than it should; try again later.");
        return false;
    }
    body.append(bytes, count);
    return true;
}

void CurlLoad::end(std::optional<SystemError> error) {
    std::variant<WebResponse, SystemError> outcome;
    if (error) {
        outcome = std::move(*error);
    } else {
        outcome = WebResponse{.status = static_cast<int>(status()), .body = std::move(body)};
    }
    tell([onResponse = onResponse, outcome = std::move(outcome)] { (*onResponse)(outcome); });
}

} // namespace vintra
