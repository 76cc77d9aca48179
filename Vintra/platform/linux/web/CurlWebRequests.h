#pragma once

#include "Vintra/platform/Mutex.h"
#include "Vintra/platform/linux/web/CurlTransfer.h"

#include <memory>
#include <thread>
#include <vector>

namespace vintra {

/// The web by libcurl, with a thread of its own for all transfers. What is under way at its end is dropped. Main thread.
class CurlWebRequests final : public WebRequests {
public:
    struct Options {
        /// For tests: plain HTTP too, with servers on this machine.
        WebAddress::PlainHTTP plainHTTP = WebAddress::PlainHTTP::refused;
    };

    CurlWebRequests(std::shared_ptr<MainThread> mainThread, std::shared_ptr<FileManager> fileManager,
                    Options options);
    ~CurlWebRequests() override;
    CurlWebRequests(const CurlWebRequests&) = delete;
    CurlWebRequests& operator=(const CurlWebRequests&) = delete;

    std::shared_ptr<WebTransfer> load(WebRequest request, OnResponse onResponse) override;
    std::shared_ptr<WebTransfer> download(WebDownload download, OnDownload on) override;

private:
    /// What both threads see.
    struct Shared {
        Shared();
        ~Shared();
        void wake() { curl_multi_wakeup(multi); }

        CURLM* const multi;
        Mutex mutex;
        std::vector<std::unique_ptr<CurlTransfer>> begun GUARDED_BY(mutex);
        bool isEnding GUARDED_BY(mutex) = false;
    };
    class Worker;

    std::shared_ptr<CurlTransferHandle> makeHandle() const;
    void begin(std::unique_ptr<CurlTransfer> transfer);

    const CurlTransfer::Surroundings surroundings;
    const std::shared_ptr<Shared> shared;
    std::thread thread;
};

} // namespace vintra
