#pragma once

#include "Vintra/platform/linux/web/CurlTransfer.h"

namespace vintra {

/// A request whose response is kept in memory.
class CurlLoad final : public CurlTransfer {
public:
    CurlLoad(Surroundings surroundings, std::shared_ptr<CurlTransferHandle> handle, WebRequest request,
             WebRequests::OnResponse onResponse);

private:
    bool configure() override;
    bool take(const char* bytes, size_t count) override;
    void end(std::optional<SystemError> error) override;

    const WebRequest request;
    const std::shared_ptr<const WebRequests::OnResponse> onResponse;
    const int64_t deadline; ///< nanoseconds of the monotonic clock
    std::string body;
};

} // namespace vintra
