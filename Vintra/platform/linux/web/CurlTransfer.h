#pragma once

#include "Vintra/platform/FileManager.h"
#include "Vintra/platform/MainThread.h"
#include "Vintra/platform/WebRequests.h"
#include "Vintra/platform/linux/web/WebAddress.h"

#include <atomic>
#include <cstdint>
#include <curl/curl.h>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace vintra {

struct CurlDeleter {
    void operator()(CURL* easy) const { curl_easy_cleanup(easy); }
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};

/// What the main thread keeps of a transfer: the wish to cancel it. Made and cancelled on the main thread.
class CurlTransferHandle final : public WebTransfer {
public:
    explicit CurlTransferHandle(std::function<void()> onCancel)
        : onCancel(std::move(onCancel)) {}
    void cancel() override {
        if (!isCancelled.exchange(true)) onCancel();
    }
    std::atomic<bool> isCancelled = false;

private:
    const std::function<void()> onCancel;
};

/// One transfer, from the first address over those it is sent on to, up to its end. Belongs to the web's thread once it
/// has been made; its end is told on the main thread.
class CurlTransfer {
public:
    struct Surroundings {
        std::shared_ptr<MainThread> mainThread;
        std::shared_ptr<FileManager> fileManager;
        WebAddress::PlainHTTP plainHTTP = WebAddress::PlainHTTP::refused;
    };

    explicit CurlTransfer(Surroundings surroundings, std::shared_ptr<CurlTransferHandle> handle,
                          std::string address, int redirects);
    virtual ~CurlTransfer() = default;
    CurlTransfer(const CurlTransfer&) = delete;
    CurlTransfer& operator=(const CurlTransfer&) = delete;

    bool isCancelled() const { return handle->isCancelled; }
    CURL* get() const { return easy.get(); }
    /// Gets it ready to be performed. False if it has ended already.
    bool prepare();
    /// After it was performed: whether there is another address to perform, which is prepared.
    bool goesOn(CURLcode result);

protected:
    /// Sets what this kind of transfer needs. False if there is nothing to transfer.
    virtual bool configure() = 0;
    /// False gives up; then `problem` may say why.
    virtual bool take(const char* bytes, size_t count) = 0;
    /// Once; an error stands for all but a response.
    virtual void end(std::optional<SystemError> error) = 0;
    /// The server has answered with that status. True: another try, which is to be configured anew.
    virtual bool wantsAnotherTry(long) { return false; }

    template <typename Value>
    void set(CURLoption option, Value value) {
        curl_easy_setopt(easy.get(), option, value);
    }
    void addHeader(const std::string& line);
    long status() const;
    /// Runs the function on the main thread, unless the transfer was cancelled by then.
    void tell(std::function<void()> function) const;

    const Surroundings surroundings;
    std::optional<SystemError> problem;

private:
    static size_t written(char* bytes, size_t size, size_t count, void* transfer);
    SystemError errorOf(CURLcode result) const;

    const std::shared_ptr<CurlTransferHandle> handle;
    std::string address;
    int redirectsLeft;
    std::unique_ptr<CURL, CurlDeleter> easy;
    std::unique_ptr<curl_slist, CurlDeleter> headers;
};

} // namespace vintra
