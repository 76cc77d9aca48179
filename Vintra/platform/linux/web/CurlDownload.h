#pragma once

#include "Vintra/platform/linux/web/CurlTransfer.h"

namespace vintra {

/// A file that is fetched, from its beginning or from where an earlier try stopped.
class CurlDownload final : public CurlTransfer {
public:
    CurlDownload(Surroundings surroundings, std::shared_ptr<CurlTransferHandle> handle, WebDownload download,
                 WebRequests::OnDownload on);

private:
    bool configure() override;
    bool take(const char* bytes, size_t count) override;
    void end(std::optional<SystemError> error) override;
    bool wantsAnotherTry(long status) override;

    bool openFile();
    bool rangeBeginsAtOffset() const;
    std::optional<SystemError> finishedFile();
    void tellProgress();

    const WebDownload download;
    const std::shared_ptr<const WebRequests::OnDownload> on;
    bool resumes;
    uint64_t offset = 0;              ///< bytes in the file
    std::unique_ptr<FileHandle> file; ///< from the first byte of a good response on
    int64_t nextProgress = 0;         ///< nanoseconds of the monotonic clock
};

} // namespace vintra
