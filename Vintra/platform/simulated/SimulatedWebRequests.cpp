#include "Vintra/platform/simulated/SimulatedWebRequests.h"

namespace vintra {
namespace {

template <typename Transfer>
class SimulatedTransfer final : public WebTransfer {
public:
    explicit SimulatedTransfer(std::shared_ptr<Transfer> transfer)
        : transfer(std::move(transfer)) {}
    void cancel() override { transfer->isCancelled = true; }

private:
    const std::shared_ptr<Transfer> transfer;
};

} // namespace

std::shared_ptr<WebTransfer> SimulatedWebRequests::load(WebRequest request, OnResponse onResponse) {
    const auto load = std::make_shared<Load>(Load{std::move(request), std::move(onResponse)});
    loads.push_back(load);
    if (!holdsBack) {
        mainThread->post([this, load] {
            if (load->isCancelled) return;
            const auto found = responses.find(load->request.address);
            if (found == responses.end()) return load->onResponse(unreachable());
            load->onResponse(found->second);
        });
    }
    return std::make_shared<SimulatedTransfer<Load>>(load);
}

std::shared_ptr<WebTransfer> SimulatedWebRequests::download(WebDownload download, OnDownload on) {
    const auto begun = std::make_shared<Download>(Download{std::move(download), std::move(on)});
    const URL& file = begun->download.file;
    if (!begun->download.resumes || !fileManager->fileExists(file)) fileManager->createFile(file);
    downloads.push_back(begun);
    return std::make_shared<SimulatedTransfer<Download>>(begun);
}

void SimulatedWebRequests::send(const std::string& bytes) {
    const auto latest = downloads.back();
    if (latest->isCancelled) return;
    const uint64_t before = fileManager->sizeOfFile(latest->download.file);
    const auto file = fileManager->openForWriting(latest->download.file);
    file->seek(before);
    file->write(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
    file->close();
    latest->on.received(before + bytes.size());
}

void SimulatedWebRequests::end(std::optional<SystemError> error) {
    const auto latest = downloads.back();
    if (!latest->isCancelled) latest->on.ended(std::move(error));
}

} // namespace vintra
