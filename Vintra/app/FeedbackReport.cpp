#include "Vintra/app/FeedbackReport.h"

#include "Vintra/platform/Log.h"
#include "Vintra/platform/ProcessInfo.h"
#include "Vintra/platform/UTF8.h"
#include "Vintra/platform/UserDefaults.h"
#include "Vintra/platform/WebRequests.h"
#include "Vintra/take/BetaFeedback.h"
#include "Vintra/take/FormText.h"
#include "Vintra/take/Text.h"

#include <utility>
#include <variant>

namespace vintra {
namespace {

constexpr const char* kLogCategory = "feedback";
constexpr const char* kTestEndpointKey = "VintraTestFeedbackURL";
constexpr const char* kCopyKey = "VintraCopyID";
constexpr size_t kLongestNote = 2000;   // characters
constexpr double kFeedbackTimeout = 20; // seconds

std::string rawValueOf(FeedbackAsk::Answer answer) {
    switch (answer) {
    case FeedbackAsk::Answer::fine:
        return "fine";
    case FeedbackAsk::Answer::off:
        return "off";
    }
    return "";
}

/// Trimmed, and no longer than what is sent of it.
std::string noteToSend(const std::string& note) {
    const std::string trimmed = trimmingWhitespaceAndNewlines(note);
    size_t end = 0;
    for (size_t count = 0; count < kLongestNote && end < trimmed.size(); ++count)
        end += scalarAt(trimmed, end).length;
    return trimmed.substr(0, end);
}

/// A scheme and a host, and nothing that no address holds.
bool parsesAsAddress(std::string_view text) {
    const size_t scheme = text.find("://");
    if (scheme == std::string_view::npos || scheme == 0 || scheme + 3 == text.size()) return false;
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if (byte <= ' ' || byte >= 0x7F || character == '"' || character == '<' || character == '>')
            return false;
    }
    const char host = text[scheme + 3];
    return host != '/' && host != '?' && host != '#';
}

void writeOutcome(Log& log, const std::variant<WebResponse, SystemError>& outcome, const std::string& sent) {
    if (const auto* error = std::get_if<SystemError>(&outcome)) {
        log.write(kLogCategory, LogLevel::error, "feedback not sent: " + error->localizedDescription());
        return;
    }
    const int status = std::get<WebResponse>(outcome).status;
    if (status >= 200 && status <= 399) {
        log.write(kLogCategory, LogLevel::info, "feedback sent: " + sent);
    } else {
        log.write(kLogCategory, LogLevel::error, "feedback not accepted: HTTP " + std::to_string(status));
    }
}

} // namespace

constinit const std::string_view FeedbackReport::endpointURL = VINTRA_FEEDBACK_URL;

FeedbackReport::FeedbackReport(Platform platform, WebRequests& web, std::string_view endpoint)
    : platform(std::move(platform))
    , web(web)
    , endpoint(endpoint) {}

void FeedbackReport::send(Answer answer, const std::string& note) {
    const std::string address = endpointInUse();
    if (address.empty()) {
        platform.log->write(kLogCategory, LogLevel::info,
                            "feedback not sent: the build has no address for it");
        return;
    }
    const std::string text = noteToSend(note);
    const MachineFacts& facts = platform.facts;
    // A redirection isn't followed: the answer is for this address alone, and it has arrived.
    web.load(
        {.address = address,
         .method = "POST",
         .headers = {{"Content-Type", "application/x-www-form-urlencoded; charset=utf-8"}},
         .body = FormText::body({{"form-name", "vintra-feedback"},
                                 {"answer", rawValueOf(answer)},
                                 {"note", text},
                                 {"build", BetaFeedback::buildText(facts)},
                                 {"os", facts.operatingSystemVersion},
                                 {"mac", facts.hardwareModel},
                                 {"copy", copyID()}}),
         .timeoutSeconds = kFeedbackTimeout},
        [log = platform.log, sent = rawValueOf(answer) + ", " + (text.empty() ? "no note" : "with a note")](
            const std::variant<WebResponse, SystemError>& outcome) { writeOutcome(*log, outcome, sent); });
}

std::string FeedbackReport::endpointInUse() const {
    const auto test = stringForKey(*platform.userDefaults, kTestEndpointKey);
    return test && parsesAsAddress(*test) ? *test : endpoint;
}

std::string FeedbackReport::copyID() {
    if (const auto kept = stringForKey(*platform.userDefaults, kCopyKey)) return *kept;
    const std::string made = platform.processInfo->makeUUID().uuidString();
    platform.userDefaults->set(kCopyKey, made);
    return made;
}

} // namespace vintra
