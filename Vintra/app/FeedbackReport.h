#pragma once

#include "Vintra/platform/Platform.h"
#include "Vintra/take/FeedbackAsk.h"

#include <memory>
#include <string>
#include <string_view>

namespace vintra {

class WebRequests;

/// Sends an answer to the makers, with a few plain facts about the build and the machine and nothing about recordings.
/// There is no second try, and the user never hears of one that failed. Owned by the program. Main thread.
class FeedbackReport {
public:
    using Answer = FeedbackAsk::Answer;

    /// Where the build sends answers; empty if it was given no address, and then none are sent.
    static const std::string_view endpointURL;

    /// The web outlives this.
    FeedbackReport(Platform platform, WebRequests& web, std::string_view endpoint = endpointURL);

    /// Doesn't wait for what comes of it, and may be gone by then.
    void send(Answer answer, const std::string& note);

private:
    std::string endpointInUse() const;
    std::string copyID();

    const Platform platform;
    WebRequests& web;
    const std::string endpoint;
};

} // namespace vintra
