#include "Vintra/platform/linux/web/CurlWebRequests.h"

#include "Vintra/platform/linux/runtime/AllSignalsBlocked.h"
#include "Vintra/platform/linux/web/CurlDownload.h"
#include "Vintra/platform/linux/web/CurlLoad.h"

#include <algorithm>
#include <utility>

namespace vintra {
namespace {

constexpr int kLongestSleep = 60'000; // milliseconds; whatever is to be done wakes the thread before

CURLM* newMulti() {
    curl_global_init(CURL_GLOBAL_DEFAULT);
    return curl_multi_init();
}

} // namespace

/// What the thread of the web does.
class CurlWebRequests::Worker {
public:
    explicit Worker(Shared& shared)
        : shared(shared) {}
    ~Worker() {
        for (const auto& transfer : running)
            curl_multi_remove_handle(shared.multi, transfer->get());
    }

    void run() {
        while (takeBegun()) {
            dropCancelled();
            int count = 0;
            curl_multi_perform(shared.multi, &count);
            handleEnded();
            curl_multi_poll(shared.multi, nullptr, 0, kLongestSleep, nullptr);
        }
    }

private:
    /// False at the end of the program.
    bool takeBegun() {
        std::vector<std::unique_ptr<CurlTransfer>> begun;
        {
            const MutexLock lock(shared.mutex);
            if (shared.isEnding) return false;
            begun.swap(shared.begun);
        }
        for (auto& transfer : begun) {
            if (!transfer->isCancelled() && transfer->prepare()) add(std::move(transfer));
        }
        return true;
    }
    void add(std::unique_ptr<CurlTransfer> transfer) {
        curl_multi_add_handle(shared.multi, transfer->get());
        running.push_back(std::move(transfer));
    }
    void dropCancelled() {
        std::erase_if(running, [this](const auto& transfer) {
            if (!transfer->isCancelled()) return false;
            curl_multi_remove_handle(shared.multi, transfer->get());
            return true;
        });
    }
    void handleEnded() {
        int left = 0;
        while (const CURLMsg* const message = curl_multi_info_read(shared.multi, &left)) {
            if (message->msg != CURLMSG_DONE) continue;
            const CURLcode result = message->data.result;
            const auto ended = std::ranges::find(running, message->easy_handle, &CurlTransfer::get);
            if (ended == running.end()) continue;
            auto transfer = std::move(*ended);
            running.erase(ended);
            curl_multi_remove_handle(shared.multi, transfer->get());
            if (transfer->goesOn(result)) {
                add(std::move(transfer));
                shared.wake();
            }
        }
    }

    Shared& shared;
    std::vector<std::unique_ptr<CurlTransfer>> running;
};

CurlWebRequests::Shared::Shared()
    : multi(newMulti()) {}

CurlWebRequests::Shared::~Shared() {
    curl_multi_cleanup(multi);
}

CurlWebRequests::CurlWebRequests(std::shared_ptr<MainThread> mainThread,
                                 std::shared_ptr<FileManager> fileManager, Options options)
    : surroundings{.mainThread = std::move(mainThread),
                   .fileManager = std::move(fileManager),
                   .plainHTTP = options.plainHTTP}
    , shared(std::make_shared<Shared>()) {
    const AllSignalsBlocked blocked; // they are the main thread's
    thread = std::thread([shared = shared] { Worker(*shared).run(); });
}

CurlWebRequests::~CurlWebRequests() {
    {
        const MutexLock lock(shared->mutex);
        shared->isEnding = true;
    }
    shared->wake();
    thread.join();
}

std::shared_ptr<WebTransfer> CurlWebRequests::load(WebRequest request, OnResponse onResponse) {
    auto handle = makeHandle();
    begin(std::make_unique<CurlLoad>(surroundings, handle, std::move(request), std::move(onResponse)));
    return handle;
}

std::shared_ptr<WebTransfer> CurlWebRequests::download(WebDownload download, OnDownload on) {
    auto handle = makeHandle();
    begin(std::make_unique<CurlDownload>(surroundings, handle, std::move(download), std::move(on)));
    return handle;
}

/// A cancelled transfer may outlive this.
std::shared_ptr<CurlTransferHandle> CurlWebRequests::makeHandle() const {
    return std::make_shared<CurlTransferHandle>([weak = std::weak_ptr<Shared>(shared)] {
        if (const auto held = weak.lock()) held->wake();
    });
}

void CurlWebRequests::begin(std::unique_ptr<CurlTransfer> transfer) {
    {
        const MutexLock lock(shared->mutex);
        shared->begun.push_back(std::move(transfer));
    }
    shared->wake();
}

} // namespace vintra
