#pragma once

#include "Vintra/platform/FileManager.h"
#include "Vintra/platform/MainThread.h"
#include "Vintra/platform/WebRequests.h"

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace vintra {

/// A web of scripted answers. An address without one can't be reached; one whose answer is held back never answers.
/// Main thread.
class SimulatedWebRequests final : public WebRequests {
public:
    struct Load {
        WebRequest request;
        OnResponse onResponse;
        bool isCancelled = false;
    };
    /// A download that the test feeds by `send` and ends by `end`.
    struct Download {
        WebDownload download;
        OnDownload on;
        bool isCancelled = false;
    };

    SimulatedWebRequests(std::shared_ptr<MainThread> mainThread, std::shared_ptr<FileManager> fileManager)
        : mainThread(std::move(mainThread))
        , fileManager(std::move(fileManager)) {}

    std::map<std::string, WebResponse> responses;
    bool holdsBack = false;
    std::vector<std::shared_ptr<Load>> loads;
    std::vector<std::shared_ptr<Download>> downloads;

    std::shared_ptr<WebTransfer> load(WebRequest request, OnResponse onResponse) override;
    std::shared_ptr<WebTransfer> download(WebDownload download, OnDownload on) override;

    /// More bytes for the latest download.
    void send(const std::string& bytes);
    void end(std::optional<SystemError> error = std::nullopt);

    static SystemError unreachable() {
        return {"web", 7, "The server can't be reached; check the connection and try again."};
    }

private:
    const std::shared_ptr<MainThread> mainThread;
    const std::shared_ptr<FileManager> fileManager;
};

} // namespace vintra
