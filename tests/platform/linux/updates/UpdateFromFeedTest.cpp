#include "Vintra/app/FeedbackReport.h"
#include "Vintra/app/UpdateNotice.h"
#include "Vintra/app/UpdaterController.h"
#include "Vintra/platform/linux/files/MemoryUserDefaults.h"
#include "Vintra/platform/linux/runtime/LinuxLog.h"
#include "Vintra/platform/linux/runtime/LinuxProcessInfo.h"
#include "Vintra/platform/linux/runtime/LinuxWallClock.h"
#include "Vintra/platform/linux/updates/LinuxUpdateInstallation.h"
#include "Vintra/platform/linux/web/CurlWebRequests.h"
#include "tests/platform/linux/updates/PackageKitFixture.h"
#include "tests/platform/linux/updates/SigningKey.h"
#include "tests/support/LoopbackWebServer.h"

#include <algorithm>

namespace vintra {
namespace {

/// Version 1.2.3, build 45, of the program's updater over a feed on this machine.
class UpdateFromFeedTest : public PackageKitFixture {
protected:
    using Reply = LoopbackWebServer::Reply;
    /// What the feed says of the one update in it.
    struct Told {
        std::string version = "1.3";
        std::string build = "1";
        size_t length = 0;
        std::string signature;
        std::string path = "/file";
    };

    void SetUp() override {
        serve({.installedAfterwards = std::vector<std::string>{"vintra;1.3-1;amd64;manual:local"}});
    }
    Told good() const { return {.length = file.size(), .signature = key.sign(file)}; }
    static std::string feedOf(const Told& told) {
        // The address of the file is found relative to that of the feed's server when it is served.
        return "<rss xmlns:sparkle='http://www.andymatuschak.org/xml-namespaces/sparkle'><channel><item>"
               "<sparkle:version>" +
               told.build + "</sparkle:version><sparkle:shortVersionString>" + told.version +
               "</sparkle:shortVersionString><description>Better</description><enclosure url='SERVER" +
               told.path + "' length='" + std::to_string(told.length) + "' sparkle:edSignature='" +
               told.signature + "'/></item></channel></rss>";
    }
    /// A server with that feed, and the reply to whoever asks for the file.
    void offer(const std::string& feed, const Reply& fileReply) {
        const auto answer = [feed, fileReply](const std::string& request) {
            if (request.starts_with("POST ")) return LoopbackWebServer::response("302 Found", "thanks");
            if (request.starts_with("GET /plain"))
                return LoopbackWebServer::response("302 Found", "", "Location: http://vintra.test/file\r\n");
            if (request.starts_with("GET /file")) return fileReply;
            std::string body = feed;
            const size_t host = request.find("Host: ") + 6;
            const std::string own = "http://" + request.substr(host, request.find('\r', host) - host);
            if (const size_t at = body.find("SERVER"); at != std::string::npos) body.replace(at, 6, own);
            return LoopbackWebServer::response("200 OK", body);
        };
        server = std::make_unique<LoopbackWebServer>(answer);
        platform.userDefaults->set("VintraTestFeedURL", server->address("/feed"));
        platform.userDefaults->set("VintraTestFeedbackURL", server->address("/feedback"));
    }
    /// What an earlier try has left.
    void forgetDownload() {
        for (const std::string& name : files->contentsOfDirectory(folder.file("updates")))
            files->removeItem(folder.file("updates/" + name));
    }
    void offer(const Told& told) { offer(feedOf(told), LoopbackWebServer::response("200 OK", file)); }

    bool rests() const {
        const auto stage = controller.session->stage;
        return quits > 0 || stage == UpdateSession::Stage::found || stage == UpdateSession::Stage::problem ||
               stage == UpdateSession::Stage::upToDate;
    }
    /// Looks for an update, installs one that is found, and tells what the window says in the end.
    std::string update() {
        controller.checkForUpdates();
        EXPECT_TRUE(loop->runUntil([this] { return rests(); }, kBusPatience));
        if (controller.session->stage == UpdateSession::Stage::found) {
            controller.installUpdate();
            EXPECT_TRUE(loop->runUntil([this] { return rests(); }, kBusPatience));
        }
        if (quits > 0) return "relaunch";
        const auto stage = controller.session->stage;
        const std::string sentence = controller.session->sentence;
        controller.dismiss();
        return stage == UpdateSession::Stage::upToDate ? "up to date" : sentence;
    }
    bool nothingWasInstalled() const {
        return std::ranges::none_of(service->calls(),
                                    [](const std::string& call) { return call.starts_with("InstallFiles"); });
    }
    Platform makePlatform() {
        Platform made;
        made.mainThread = loop;
        made.dispatchQueues = queues;
        made.fileManager = files;
        made.wallClock = std::make_shared<LinuxWallClock>();
        made.log = std::make_shared<LinuxLog>(LogLevel::error);
        made.userDefaults = std::make_shared<MemoryUserDefaults>();
        made.processInfo = std::make_shared<LinuxProcessInfo>();
        made.facts = {.appVersion = "1.2.3",
                      .buildVersion = "45",
                      .operatingSystemVersion = "12",
                      .hardwareModel = "Machine"};
        return made;
    }

    const SigningKey key;
    const std::string file = std::string(200'000, 'p');
    std::unique_ptr<LoopbackWebServer> server;
    Platform platform = makePlatform();
    UpdateNotice notice{platform};
    CurlWebRequests web{loop, files, {.plainHTTP = WebAddress::PlainHTTP::onLoopback}};
    LinuxUpdateInstallation installation{{.mainThread = loop,
                                          .dispatchQueues = queues,
                                          .fileManager = files,
                                          .operatingSystem = "Debian",
                                          .systemVersion = "12",
                                          .runningProgram = "/usr/bin/vintra",
                                          .downloadFolder = folder.file("updates")},
                                         bus,
                                         {.publicKey = key.publicKey()}};
    int quits = 0;
    UpdaterController controller{
        {.platform = platform, .web = web, .installation = installation, .quit = [this] { ++quits; }},
        false,
        notice,
        notice};
};

TEST_F(UpdateFromFeedTest, aGoodUpdateIsInstalled) {
    offer(good());
    EXPECT_EQ(update(), "relaunch");
    const auto calls = service->calls();
    ASSERT_FALSE(calls.empty());
    EXPECT_TRUE(std::ranges::any_of(calls, [this](const std::string& call) {
        return call.starts_with("InstallFiles 0 " + folder.file("updates").path() + "/vintra-");
    }));
    EXPECT_EQ(files->contentsOfDirectory(folder.file("updates")), std::vector<std::string>{})
        << "nothing of it is left";
}

TEST_F(UpdateFromFeedTest, evilFeedsChangeNothing) {
    const SigningKey others;
    const std::string notSigned = "The file isn't signed by Vintra's makers, so it wasn't used.";
    auto told = good();
    told.signature = others.sign(file);
    offer(told);
    EXPECT_EQ(update(), notSigned) << "a signature of another key";
    told.signature = key.sign("another file");
    offer(told);
    EXPECT_EQ(update(), notSigned) << "a right signature over another file";
    told = good();
    told.path = "/plain";
    offer(told);
    EXPECT_EQ(update(), "The server's address isn't a secure one (https), so nothing was asked of it.")
        << "a redirect to plain HTTP";
    told = good();
    told.version = "1.2.2";
    offer(told);
    EXPECT_EQ(update(), "up to date") << "an older version";
    // An old package with its own good signature, named as a new one.
    serve({.local = {"vintra;1.0-1;amd64;local"}});
    offer(good());
    EXPECT_EQ(update(),
              "The file isn't the version that the feed names, so it wasn't used; try again later.");
    EXPECT_TRUE(nothingWasInstalled());
    EXPECT_EQ(files->contentsOfDirectory(folder.file("updates")), std::vector<std::string>{});
}

TEST_F(UpdateFromFeedTest, brokenFeedsAndFilesChangeNothing) {
    const std::string unreadable = "The feed of updates can't be read; try again later.";
    offer("garbage", {});
    EXPECT_EQ(update(), unreadable);
    auto told = good();
    told.length = size_t{300} << 20;
    offer(told);
    EXPECT_EQ(update(), unreadable) << "an enormous file";
    offer(std::string(2 << 20, 'x'), {});
    EXPECT_EQ(update(), "The server sent more than it should; try again later.") << "an enormous feed";
    offer(feedOf(good()), LoopbackWebServer::response("200 OK", file.substr(1)));
    EXPECT_EQ(update(), "The file on the server is shorter than it should be; try again later.");
    forgetDownload();
    offer(feedOf(good()), LoopbackWebServer::response("200 OK", file + "x"));
    EXPECT_EQ(update(), "The file on the server is longer than it should be; try again later.");
    forgetDownload();
    offer(feedOf(good()), LoopbackWebServer::response("404 Not Found", ""));
    EXPECT_EQ(update(), "The server answered with the error 404; try again later.");
    server.reset();
    EXPECT_EQ(update(), "The server can't be reached; check the connection and try again.");
    EXPECT_TRUE(nothingWasInstalled());
}

TEST_F(UpdateFromFeedTest, aRefusedPasswordChangesNothing) {
    serve({.errors = {{"InstallFiles", {48, "Failed to obtain authentication."}}}});
    offer(good());
    EXPECT_EQ(update(), "The password wasn't given, so nothing was changed.");
    EXPECT_EQ(quits, 0);
    EXPECT_EQ(files->contentsOfDirectory(folder.file("updates")).size(), 1u) << "it isn't fetched twice";
}

TEST_F(UpdateFromFeedTest, aShortenedDownloadIsGoneOnWith) {
    const auto begun = LoopbackWebServer::response("200 OK", file);
    offer(feedOf(good()), {.bytes = begun.bytes.substr(0, begun.bytes.size() - 1000)});
    EXPECT_EQ(update(), "The connection broke off; try again.");
    const std::string range = "Content-Range: bytes 199000-199999/200000\r\n";
    offer(feedOf(good()), LoopbackWebServer::response("206 Partial Content", file.substr(199'000), range));
    EXPECT_EQ(update(), "relaunch");
    EXPECT_NE(server->requests().back().find("\r\nRange: bytes=199000-\r\n"), std::string::npos);
}

/// All that ever leaves the machine, byte for byte: what is asked of the feed, and an answer with the facts that the card
/// names.
TEST_F(UpdateFromFeedTest, nothingAboutRecordingsLeavesTheMachine) {
    platform.userDefaults->set("outputFolderPath", std::string("/home/user/Secret films"));
    platform.userDefaults->set("VintraCopyID", std::string("COPY"));
    offer(good());
    FeedbackReport report(platform, web, "");
    report.send(FeedbackReport::Answer::fine, "good");
    while (server->requests().empty())
        loop->runUntil([] { return false; }, 10'000'000);
    EXPECT_EQ(update(), "relaunch");
    const std::string host = server->address("").substr(7);
    const std::string head = " HTTP/1.1\r\nHost: " + host + "\r\nUser-Agent: Vintra\r\nAccept: */*\r\n";
    EXPECT_EQ(
        server->requests(),
        (std::vector<std::string>{
            "POST /feedback" + head +
                "Content-Type: application/x-www-form-urlencoded; charset=utf-8\r\nContent-Length: 98\r\n\r\n"
                "form-name=vintra-feedback&answer=fine&note=good&build=1.2.3%20%2845%29&os=12&mac=Machine&"
                "copy=COPY",
            "GET /feed" + head + "\r\n", "GET /file" + head + "\r\n"}));
}

} // namespace
} // namespace vintra
