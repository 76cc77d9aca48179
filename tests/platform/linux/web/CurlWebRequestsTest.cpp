#include "Vintra/platform/linux/web/CurlWebRequests.h"

#include "Vintra/platform/linux/files/LinuxFileManager.h"
#include "Vintra/platform/linux/runtime/LinuxEventLoop.h"
#include "tests/support/LoopbackWebServer.h"
#include "tests/support/TemporaryFolder.h"

#include <algorithm>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <optional>

namespace vintra {
namespace {

constexpr int64_t kTransferPatience = 30'000'000'000; // nanoseconds

class CurlWebRequestsTest : public ::testing::Test {
protected:
    using Reply = LoopbackWebServer::Reply;
    using Outcome = std::variant<WebResponse, SystemError>;

    CurlWebRequestsTest() { web = make(WebAddress::PlainHTTP::onLoopback); }

    std::unique_ptr<CurlWebRequests> make(WebAddress::PlainHTTP plainHTTP) {
        return std::make_unique<CurlWebRequests>(loop, files,
                                                 CurlWebRequests::Options{.plainHTTP = plainHTTP});
    }
    /// The answer to each request is that of its path.
    std::string serve(std::function<Reply(const std::string& path)> answer) {
        server =
            std::make_unique<LoopbackWebServer>([answer = std::move(answer)](const std::string& request) {
                const size_t begin = request.find(' ') + 1;
                return answer(request.substr(begin, request.find(' ', begin) - begin));
            });
        return server->address();
    }
    std::string serve(const Reply& reply) {
        return serve([reply](const std::string&) { return reply; });
    }
    Outcome load(WebRequest request) {
        std::optional<Outcome> outcome;
        web->load(std::move(request), [&](const Outcome& came) { outcome = came; });
        EXPECT_TRUE(loop->runUntil([&] { return outcome.has_value(); }, kTransferPatience));
        return outcome.value_or(SystemError("test", 0, "no answer"));
    }
    std::string textOf(const Outcome& outcome) {
        if (const auto* error = std::get_if<SystemError>(&outcome)) return error->localizedDescription();
        const auto& response = std::get<WebResponse>(outcome);
        return std::to_string(response.status) + " " + response.body;
    }
    /// Empty if all went well.
    std::string download(const std::string& address, uint64_t length, bool resumes = false) {
        std::optional<std::string> outcome;
        web->download(
            {.address = address, .file = file, .length = length, .resumes = resumes, .patienceSeconds = 2},
            {.received = [this](uint64_t bytes) { progress.push_back(bytes); },
             .ended =
                 [&](const std::optional<SystemError>& error) {
                     outcome = error ? error->localizedDescription() : "";
                 }});
        EXPECT_TRUE(loop->runUntil([&] { return outcome.has_value(); }, kTransferPatience));
        return outcome.value_or("no answer");
    }
    std::string content() { return folder.read("file"); }

    TemporaryFolder folder;
    const URL file = folder.file("file");
    const std::shared_ptr<LinuxEventLoop> loop = std::make_shared<LinuxEventLoop>();
    const std::shared_ptr<LinuxFileManager> files = std::make_shared<LinuxFileManager>();
    std::unique_ptr<LoopbackWebServer> server;
    std::unique_ptr<CurlWebRequests> web;
    std::vector<uint64_t> progress;
};

TEST_F(CurlWebRequestsTest, anAnswerComesWithItsStatus) {
    const std::string address = serve([](const std::string& path) {
        return LoopbackWebServer::response(path.substr(1) + " Whatever", "text of " + path);
    });
    for (const char* status : {"200", "204", "302", "400", "404", "500"}) {
        EXPECT_TRUE(textOf(load({.address = address + status})).starts_with(status)) << status;
    }
    EXPECT_EQ(textOf(load({.address = address + "200"})), "200 text of /200");
}

/// Every byte that goes over the wire.
TEST_F(CurlWebRequestsTest, nothingIsSentButWhatIsAsked) {
    const std::string address = serve(LoopbackWebServer::response("200 OK", ""));
    const std::string host = address.substr(7, address.size() - 8);
    load({.address = address + "form",
          .method = "POST",
          .headers = {{"Content-Type", "application/x-www-form-urlencoded; charset=utf-8"}},
          .body = "a=1&b=%20"});
    load({.address = address + "feed?x=1"});
    EXPECT_EQ(
        server->requests(),
        (std::vector<std::string>{
            "POST /form HTTP/1.1\r\nHost: " + host +
                "\r\nUser-Agent: Vintra\r\nAccept: */*\r\n"
                "Content-Type: application/x-www-form-urlencoded; charset=utf-8\r\nContent-Length: 9\r\n\r\n"
                "a=1&b=%20",
            "GET /feed?x=1 HTTP/1.1\r\nHost: " + host + "\r\nUser-Agent: Vintra\r\nAccept: */*\r\n\r\n"}));
}

TEST_F(CurlWebRequestsTest, redirectionsAreFollowedAsFarAsAsked) {
    const std::string address = serve([](const std::string& path) {
        const int left = std::stoi(path.substr(1));
        if (left == 0) return LoopbackWebServer::response("200 OK", "there");
        return LoopbackWebServer::response("302 Found", "",
                                           "Location: /" + std::to_string(left - 1) + "\r\n");
    });
    EXPECT_EQ(textOf(load({.address = address + "2", .redirects = 2})), "200 there");
    EXPECT_EQ(textOf(load({.address = address + "2", .redirects = 1})), "302 ");
    EXPECT_EQ(textOf(load({.address = address + "1"})), "302 ");
}

TEST_F(CurlWebRequestsTest, nothingIsAskedOfAnAddressThatIsNotSecure) {
    const std::string address = serve([](const std::string&) {
        return LoopbackWebServer::response("302 Found", "", "Location: http://plain.vintra.test/\r\n");
    });
    const std::string refusal =
        "The server's address isn't a secure one (https), so nothing was asked of it.";
    EXPECT_EQ(textOf(load({.address = address, .redirects = 5})), refusal);
    EXPECT_EQ(download(address, 10), refusal);
    EXPECT_EQ(textOf(load({.address = "ftp://127.0.0.1/"})), refusal);
    EXPECT_EQ(server->requests().size(), 2u);
    web = make(WebAddress::PlainHTTP::refused);
    EXPECT_EQ(textOf(load({.address = address})), refusal);
    EXPECT_EQ(server->requests().size(), 2u);
}

TEST_F(CurlWebRequestsTest, aServerThatIsNotThereIsTold) {
    const std::string address = serve(Reply{});
    server.reset();
    EXPECT_EQ(textOf(load({.address = address})),
              "The server can't be reached; check the connection and try again.");
}

TEST_F(CurlWebRequestsTest, aServerThatNeverAnswersIsGivenUp) {
    const std::string address = serve(Reply{.bytes = "", .staysOpen = true});
    EXPECT_EQ(textOf(load({.address = address, .timeoutSeconds = 0.3})),
              "The server didn't answer in time; try again later.");
}

TEST_F(CurlWebRequestsTest, aSlowServerIsWaitedFor) {
    Reply reply = LoopbackWebServer::response("200 OK", "in its own time");
    reply.pieceSize = 5;
    EXPECT_EQ(textOf(load({.address = serve(reply)})), "200 in its own time");
    reply = LoopbackWebServer::response("200 OK", std::string(10'000, 'x'));
    reply.pieceSize = 1;
    EXPECT_EQ(textOf(load({.address = serve(reply), .timeoutSeconds = 0.5})),
              "The server didn't answer in time; try again later.");
}

TEST_F(CurlWebRequestsTest, garbageIsNoAnswer) {
    std::string garbage;
    for (int n = 0; n < 4096; ++n)
        garbage += static_cast<char>(n * 197 + 31);
    const std::string sentence = "The server's answer can't be understood; try again later.";
    EXPECT_EQ(textOf(load({.address = serve(Reply{.bytes = garbage})})), sentence);
    EXPECT_EQ(
        textOf(load({.address = serve(Reply{.bytes = "HTTP/1.1 200 OK\r\nContent-Length: -7\r\n\r\n"})})),
        sentence);
    EXPECT_EQ(textOf(load({.address = serve(Reply{.bytes = ""})})), "The connection broke off; try again.");
    EXPECT_EQ(
        textOf(load({.address = serve(Reply{.bytes = "HTTP/1.1 200 OK\r\nContent-Length: 70\r\n\r\nhalf"})})),
        "The connection broke off; try again.");
}

TEST_F(CurlWebRequestsTest, aBodyThatIsTooLongIsRefused) {
    const std::string sentence = "The server sent more than it should; try again later.";
    const std::string body(1001, 'x');
    EXPECT_EQ(
        textOf(load({.address = serve(LoopbackWebServer::response("200 OK", body)), .longestBody = 1000})),
        sentence);
    EXPECT_EQ(textOf(load(
                  {.address = serve(Reply{.bytes = "HTTP/1.1 200 OK\r\n\r\n" + body}), .longestBody = 1000})),
              sentence);
    EXPECT_EQ(
        textOf(load({.address = serve(LoopbackWebServer::response("200 OK", body)), .longestBody = 1001})),
        "200 " + body);
}

TEST_F(CurlWebRequestsTest, aCancelledTransferIsNotTold) {
    const std::string address = serve(Reply{.bytes = "", .staysOpen = true});
    bool isTold = false;
    const auto transfer = web->load({.address = address}, [&](const Outcome&) { isTold = true; });
    while (server->requests().empty())
        loop->runUntil([] { return false; }, 10'000'000);
    transfer->cancel();
    transfer->cancel();
    // Another transfer ends after it on the same thread.
    server = std::make_unique<LoopbackWebServer>(
        [](const std::string&) { return LoopbackWebServer::response("200 OK", "next"); });
    EXPECT_EQ(textOf(load({.address = server->address()})), "200 next");
    EXPECT_FALSE(isTold);
    const auto late = web->load({.address = server->address()}, [&](const Outcome&) { isTold = true; });
    web.reset();
    late->cancel();
    loop->runUntil([] { return false; }, 50'000'000);
    EXPECT_FALSE(isTold);
}

TEST_F(CurlWebRequestsTest, theEndWaitsForNoServer) {
    const std::string address = serve(Reply{.bytes = "", .staysOpen = true});
    web->load({.address = address}, [](const Outcome&) {});
    web->download({.address = address, .file = file, .length = 5},
                  {.received = [](uint64_t) {}, .ended = [](const std::optional<SystemError>&) {}});
    web.reset();
}

TEST_F(CurlWebRequestsTest, aFileIsFetched) {
    const std::string bytes(3'000'000, 'v');
    EXPECT_EQ(download(serve(LoopbackWebServer::response("200 OK", bytes)), bytes.size()), "");
    EXPECT_EQ(content(), bytes);
    ASSERT_FALSE(progress.empty());
    EXPECT_TRUE(std::ranges::is_sorted(progress));
    EXPECT_EQ(progress.back(), bytes.size());
}

TEST_F(CurlWebRequestsTest, aFileIsGoneOnWithWhereItStopped) {
    const std::string address = serve(
        LoopbackWebServer::response("206 Partial Content", "456789", "Content-Range: bytes 4-9/10\r\n"));
    folder.write("file", "0123");
    EXPECT_EQ(download(address, 10, true), "");
    EXPECT_EQ(content(), "0123456789");
    EXPECT_NE(server->requests().at(0).find("\r\nRange: bytes=4-\r\n"), std::string::npos);
}

TEST_F(CurlWebRequestsTest, withoutTheWishToGoOnItBeginsAnew) {
    folder.write("file", "0123");
    EXPECT_EQ(download(serve(LoopbackWebServer::response("200 OK", "abcdefghij")), 10), "");
    EXPECT_EQ(content(), "abcdefghij");
    EXPECT_EQ(server->requests().at(0).find("Range"), std::string::npos);
}

TEST_F(CurlWebRequestsTest, aServerThatCannotGoOnSendsAllOfIt) {
    folder.write("file", "0123");
    EXPECT_EQ(download(serve(LoopbackWebServer::response("200 OK", "abcdefghij")), 10, true), "");
    EXPECT_EQ(content(), "abcdefghij");
}

TEST_F(CurlWebRequestsTest, aServerWhoseFileIsAnotherNowIsAskedForAllOfIt) {
    server = std::make_unique<LoopbackWebServer>([](const std::string& request) {
        if (request.find("Range:") != std::string::npos)
            return LoopbackWebServer::response("416 Range Not Satisfiable", "");
        return LoopbackWebServer::response("200 OK", "abc");
    });
    folder.write("file", "01");
    EXPECT_EQ(download(server->address(), 3, true), "");
    EXPECT_EQ(content(), "abc");
}

TEST_F(CurlWebRequestsTest, anotherPartThanTheOneAskedForIsRefused) {
    folder.write("file", "0123");
    EXPECT_EQ(download(serve(LoopbackWebServer::response("206 Partial Content", "23456789",
                                                         "Content-Range: bytes 2-9/10\r\n")),
                       10, true),
              "The server sent another part of the file than was asked for; try again.");
    EXPECT_EQ(content(), "0123");
}

TEST_F(CurlWebRequestsTest, aFileThatIsThereAlreadyIsNotAskedFor) {
    serve(Reply{});
    folder.write("file", "0123456789");
    EXPECT_EQ(download(server->address(), 10, true), "");
    EXPECT_TRUE(server->requests().empty());
}

TEST_F(CurlWebRequestsTest, aShortenedFileIsTold) {
    EXPECT_EQ(download(serve(LoopbackWebServer::response("200 OK", "0123")), 10),
              "The file on the server is shorter than it should be; try again later.");
    EXPECT_EQ(download(serve(Reply{.bytes = "HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\n0123"}), 10),
              "The connection broke off; try again.");
    EXPECT_EQ(content(), "0123") << "to be gone on with";
    EXPECT_EQ(download(serve(LoopbackWebServer::response("200 OK", "")), 10),
              "The file on the server is shorter than it should be; try again later.");
}

TEST_F(CurlWebRequestsTest, anEndlessFileIsGivenUpAtItsLength) {
    const Reply endless{.bytes = "HTTP/1.1 200 OK\r\n\r\n" + std::string(5'000'000, 'x'), .staysOpen = true};
    EXPECT_EQ(download(serve(endless), 1'000'000),
              "The file on the server is longer than it should be; try again later.");
    EXPECT_LE(content().size(), 1'000'000u);
}

TEST_F(CurlWebRequestsTest, anErrorIsNotTakenForTheFile) {
    EXPECT_EQ(download(serve(LoopbackWebServer::response("404 Not Found", "0123456789")), 10),
              "The server answered with the error 404; try again later.");
    EXPECT_FALSE(files->fileExists(file));
}

TEST_F(CurlWebRequestsTest, aFileThatCannotBeWrittenIsTold) {
    const URL inNoFolder = folder.file("missing/file");
    std::optional<SystemError> told;
    web->download({.address = serve(LoopbackWebServer::response("200 OK", "0123456789")),
                   .file = inNoFolder,
                   .length = 10},
                  {.received = [](uint64_t) {},
                   .ended = [&](const std::optional<SystemError>& error) { told = error; }});
    ASSERT_TRUE(loop->runUntil([&] { return told.has_value(); }, kTransferPatience));
    EXPECT_EQ(told->domain(), "posix");
}

TEST_F(CurlWebRequestsTest, aServerThatFallsSilentIsGivenUp) {
    EXPECT_EQ(download(serve(Reply{.bytes = "HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\n0123",
                                   .staysOpen = true}),
                       10),
              "The server didn't answer in time; try again later.");
}

} // namespace
} // namespace vintra
