#include "Vintra/app/FeedbackReport.h"

#include "Vintra/platform/simulated/SimulatedMachine.h"
#include "Vintra/platform/simulated/SimulatedWebRequests.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <set>

namespace vintra {
namespace {

constexpr const char* kEndpoint = "https://vintra.test/feedback/";

class FeedbackReportTest : public ::testing::Test {
protected:
    using Answer = FeedbackReport::Answer;

    void SetUp() override {
        platform.facts = {.appVersion = "1.2.3",
                          .buildVersion = "45",
                          .operatingSystemVersion = "15.3.1",
                          .hardwareModel = "Mac14,2"};
        make();
    }
    void make(const char* endpoint = kEndpoint) {
        report = std::make_unique<FeedbackReport>(platform, web, endpoint);
    }
    /// The fields of the only request, as a server takes them apart.
    std::set<std::string> fields() {
        if (web.loads.size() != 1) return {"requests: " + std::to_string(web.loads.size())};
        std::set<std::string> fields;
        std::string rest = web.loads.front()->request.body + "&";
        for (size_t end = rest.find('&'); end != std::string::npos; end = rest.find('&')) {
            fields.insert(rest.substr(0, end));
            rest.erase(0, end + 1);
        }
        return fields;
    }
    std::string noteField() {
        for (const std::string& field : fields()) {
            if (field.starts_with("note=")) return field.substr(5);
        }
        return "no note field";
    }
    std::vector<SimulatedLog::Line> logged() {
        std::vector<SimulatedLog::Line> lines = machine.log->lines();
        std::erase_if(lines, [](const auto& line) { return line.category != "feedback"; });
        return lines;
    }

    SimulatedMachine machine;
    Platform platform = machine.platform();
    SimulatedWebRequests web{machine.mainThread, machine.fileManager};
    std::unique_ptr<FeedbackReport> report;
};

TEST_F(FeedbackReportTest, theAnswerIsPostedWithTheFactsOfTheSetup) {
    machine.userDefaults->values["VintraCopyID"] = std::string("COPY-1");
    report->send(Answer::off, " It crackles & pops \n");
    ASSERT_EQ(web.loads.size(), 1u);
    const WebRequest& request = web.loads.front()->request;
    EXPECT_EQ(request.address, kEndpoint);
    EXPECT_EQ(request.method, "POST");
    EXPECT_EQ(request.timeoutSeconds, 20);
    EXPECT_EQ(request.redirects, 0);
    EXPECT_EQ(request.headers, (std::vector<std::pair<std::string, std::string>>{
                                   {"Content-Type", "application/x-www-form-urlencoded; charset=utf-8"}}));
    EXPECT_EQ(fields(), (std::set<std::string>{"form-name=vintra-feedback", "answer=off",
                                               "note=It%20crackles%20%26%20pops", "build=1.2.3%20%2845%29",
                                               "os=15.3.1", "mac=Mac14%2C2", "copy=COPY-1"}));
}

TEST_F(FeedbackReportTest, theCopyHasOneRandomIdentity) {
    report->send(Answer::fine, "");
    const auto kept = stringForKey(*machine.userDefaults, "VintraCopyID");
    ASSERT_TRUE(kept);
    EXPECT_EQ(kept->size(), 36u);
    EXPECT_TRUE(fields().contains("copy=" + *kept));
    report->send(Answer::fine, "");
    EXPECT_EQ(stringForKey(*machine.userDefaults, "VintraCopyID"), kept);
}

TEST_F(FeedbackReportTest, aNoteIsCutAfterTrimming) {
    report->send(Answer::fine, "  " + std::string(2999, 'x') + "y \n");
    EXPECT_EQ(noteField(), std::string(2000, 'x'));
}

TEST_F(FeedbackReportTest, aNoteIsCutBetweenCharacters) {
    std::string note;
    for (int n = 0; n < 3000; ++n)
        note += "ä";
    report->send(Answer::fine, note);
    EXPECT_EQ(noteField(), note.substr(0, 4000));
}

TEST_F(FeedbackReportTest, aNoteThatIsNoTextBecomesEmpty) {
    report->send(Answer::fine, "good\xFF");
    EXPECT_EQ(noteField(), "");
}

TEST_F(FeedbackReportTest, whatBecameOfItIsLogged) {
    for (const int status : {200, 302, 399, 199, 400, 500}) {
        web.responses[kEndpoint] = {.status = status, .body = ""};
        report->send(Answer::fine, status == 200 ? "well done" : " \n");
        machine.settle();
    }
    EXPECT_EQ(logged(), (std::vector<SimulatedLog::Line>{
                            {"feedback", LogLevel::info, "feedback sent: fine, with a note"},
                            {"feedback", LogLevel::info, "feedback sent: fine, no note"},
                            {"feedback", LogLevel::info, "feedback sent: fine, no note"},
                            {"feedback", LogLevel::error, "feedback not accepted: HTTP 199"},
                            {"feedback", LogLevel::error, "feedback not accepted: HTTP 400"},
                            {"feedback", LogLevel::error, "feedback not accepted: HTTP 500"}}));
}

TEST_F(FeedbackReportTest, anErrorIsLoggedAndNotTriedAgain) {
    report->send(Answer::off, "");
    machine.run(3600);
    EXPECT_EQ(web.loads.size(), 1u);
    EXPECT_EQ(logged(), (std::vector<SimulatedLog::Line>{
                            {"feedback", LogLevel::error,
                             "feedback not sent: The server can't be reached; check the connection and try "
                             "again."}}));
}

TEST_F(FeedbackReportTest, theOutcomeMayComeAfterTheReportHasGone) {
    web.responses[kEndpoint] = {.status = 200, .body = ""};
    report->send(Answer::fine, "");
    report.reset();
    machine.settle();
    EXPECT_EQ(logged().size(), 1u);
}

TEST_F(FeedbackReportTest, theEndpointCanBeReplacedForATest) {
    machine.userDefaults->values["VintraTestFeedbackURL"] = std::string("http://127.0.0.1:8080/f");
    report->send(Answer::fine, "");
    EXPECT_EQ(web.loads.back()->request.address, "http://127.0.0.1:8080/f");
    for (const char* wrong :
         {"not an address", "", "https://", "https:///path", "://host", "https://ho st/"}) {
        machine.userDefaults->values["VintraTestFeedbackURL"] = std::string(wrong);
        report->send(Answer::fine, "");
        EXPECT_EQ(web.loads.back()->request.address, kEndpoint) << wrong;
    }
}

TEST_F(FeedbackReportTest, withoutAnEndpointNothingIsSent) {
    make("");
    report->send(Answer::fine, "well done");
    EXPECT_TRUE(web.loads.empty());
    EXPECT_FALSE(stringForKey(*machine.userDefaults, "VintraCopyID"));
}

} // namespace
} // namespace vintra
