#include "Vintra/platform/linux/web/CurlTransfer.h"

#include <utility>

namespace vintra {
namespace {

constexpr long kConnectPatience = 15; // seconds

bool isRedirection(long status) {
    return status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
}

SystemError insecureAddress() {
    return SystemError("web", CURLE_UNSUPPORTED_PROTOCOL,
                       "The server's address isn't a secure one (https), so nothing was asked of it.");
}

const char* sentenceOf(CURLcode result) {
    switch (result) {
    case CURLE_COULDNT_RESOLVE_PROXY:
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_CONNECT:
        return "The server can't be reached; check the connection and try again.";
    case CURLE_OPERATION_TIMEDOUT:
        return "The server didn't answer in time; try again later.";
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_SSL_ISSUER_ERROR:
        return "The server couldn't prove who it is; try again on another network.";
    case CURLE_FILESIZE_EXCEEDED:
        return "The server sent more than it should; try again later.";
    case CURLE_PARTIAL_FILE:
    case CURLE_GOT_NOTHING:
    case CURLE_SEND_ERROR:
    case CURLE_RECV_ERROR:
        return "The connection broke off; try again.";
    default:
        return "The server's answer can't be understood; try again later.";
    }
}

} // namespace

CurlTransfer::CurlTransfer(Surroundings surroundings, std::shared_ptr<CurlTransferHandle> handle,
                           std::string address, int redirects)
    : surroundings(std::move(surroundings))
    , handle(std::move(handle))
    , address(std::move(address))
    , redirectsLeft(redirects) {}

/// Each address gets a fresh handle, so that nothing of the last one goes to the next but what is set here.
bool CurlTransfer::prepare() {
    if (!WebAddress::isAllowed(address, surroundings.plainHTTP)) {
        end(insecureAddress());
        return false;
    }
    easy.reset(curl_easy_init());
    headers.reset();
    problem.reset();
    if (!easy) {
        end(SystemError("web", CURLE_OUT_OF_MEMORY, "There isn't enough memory; close other programs."));
        return false;
    }
    set(CURLOPT_URL, address.c_str());
    set(CURLOPT_PROTOCOLS_STR, "http,https"); // `isAllowed` is stricter
    set(CURLOPT_FOLLOWLOCATION, 0L);
    set(CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
    set(CURLOPT_CONNECTTIMEOUT, kConnectPatience);
    set(CURLOPT_NOSIGNAL, 1L);
    set(CURLOPT_QUICK_EXIT, 1L); // a look-up of a name that hangs doesn't hold up the program's end
    set(CURLOPT_USERAGENT, "Vintra");
    set(CURLOPT_WRITEFUNCTION, &CurlTransfer::written);
    set(CURLOPT_WRITEDATA, this);
    if (WebAddress::isPlain(address)) set(CURLOPT_NOPROXY, "*");
    if (!configure()) return false;
    if (headers) set(CURLOPT_HTTPHEADER, headers.get());
    return true;
}

bool CurlTransfer::goesOn(CURLcode result) {
    if (result != CURLE_OK) {
        end(problem ? *problem : errorOf(result));
        return false;
    }
    if (wantsAnotherTry(status())) return prepare();
    const char* next = nullptr;
    curl_easy_getinfo(easy.get(), CURLINFO_REDIRECT_URL, &next);
    if (isRedirection(status()) && next && redirectsLeft > 0) {
        --redirectsLeft;
        address = next;
        return prepare();
    }
    end(std::nullopt);
    return false;
}

void CurlTransfer::addHeader(const std::string& line) {
    if (curl_slist* const longer = curl_slist_append(headers.get(), line.c_str())) {
        [[maybe_unused]] curl_slist* const before = headers.release();
        headers.reset(longer);
    }
}

long CurlTransfer::status() const {
    long status = 0;
    curl_easy_getinfo(easy.get(), CURLINFO_RESPONSE_CODE, &status);
    return status;
}

void CurlTransfer::tell(std::function<void()> function) const {
    surroundings.mainThread->post([handle = handle, function = std::move(function)] {
        if (!handle->isCancelled) function();
    });
}

size_t CurlTransfer::written(char* bytes, size_t size, size_t count, void* transfer) {
    auto* const self = static_cast<CurlTransfer*>(transfer);
    return self->take(bytes, size * count) ? size * count : 0;
}

SystemError CurlTransfer::errorOf(CURLcode result) const {
    return SystemError("web", result, sentenceOf(result));
}

} // namespace vintra
