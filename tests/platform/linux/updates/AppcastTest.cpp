#include "Vintra/platform/linux/updates/Appcast.h"

#include "Vintra/platform/SystemError.h"

#include <gtest/gtest.h>
#include <random>

namespace vintra {
namespace {

const std::string kFeedSignature = std::string(86, 'A') + "==";

std::string feedOf(const std::string& items, const std::string& before = "") {
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n" + before +
           "<rss version=\"2.0\" xmlns:sparkle=\"http://www.andymatuschak.org/xml-namespaces/sparkle\">"
           "<channel><title>Vintra</title>" +
           items + "</channel></rss>";
}

std::string enclosure(const std::string& more = "", const std::string& length = "1000") {
    return "<enclosure url=\"https://vintra.test/vintra_2.4.1-318_amd64.deb\" length=\"" + length +
           "\" type=\"application/vnd.debian.binary-package\" sparkle:edSignature=\"" + kFeedSignature +
           "\" " + more + "/>";
}

constexpr const char* kVersions =
    "<sparkle:version>318</sparkle:version><sparkle:shortVersionString>2.4.1</sparkle:shortVersionString>";

std::string refusalOf(const std::string& text) {
    try {
        return std::to_string(Appcast::items(text).size()) + " items";
    } catch (const SystemError& error) {
        return error.localizedDescription();
    }
}

constexpr const char* kUnreadable = "The feed of updates can't be read; try again later.";

TEST(AppcastTest, anItemIsRead) {
    const SUAppcastItem wanted{.versionString = "318",
                               .displayVersionString = "2.4.1",
                               .itemDescription = "Faster & better",
                               .minimumSystemVersion = "12",
                               .fileURL = "https://vintra.test/vintra_2.4.1-318_amd64.deb",
                               .contentLength = 1000,
                               .edSignature = kFeedSignature};
    EXPECT_EQ(Appcast::items(feedOf("<item><title>2.4.1</title>" + std::string(kVersions) +
                                    "<sparkle:minimumSystemVersion> 12 </sparkle:minimumSystemVersion>"
                                    "<description>Faster &amp; better</description>" +
                                    enclosure() + "</item>")),
              std::vector<SUAppcastItem>{wanted});
    // The facts may stand on the enclosure.
    EXPECT_EQ(Appcast::items(feedOf("<item><description><![CDATA[Faster & better]]></description>" +
                                    enclosure("sparkle:version=\"318\" sparkle:shortVersionString=\"2.4.1\" "
                                              "sparkle:minimumSystemVersion=\"12\" sparkle:os=\"linux\"") +
                                    "</item>")),
              std::vector<SUAppcastItem>{wanted});
}

TEST(AppcastTest, itemsOfOtherSystemsAreLeftOut) {
    const std::string other =
        "<item>" + std::string(kVersions) + enclosure("sparkle:os=\"macos\"") + "</item>";
    EXPECT_EQ(Appcast::items(feedOf(other)).size(), 0u);
    EXPECT_EQ(Appcast::items(feedOf(other + "<item>" + kVersions + enclosure() + "</item>")).size(), 1u);
    EXPECT_EQ(Appcast::items(feedOf("")).size(), 0u);
}

TEST(AppcastTest, anItemThatLacksSomethingIsOfNoUse) {
    const std::string good = "<item>" + std::string(kVersions) + enclosure() + "</item>";
    const auto without = [&](const std::string& what, const std::string& instead) {
        std::string changed = good;
        const size_t at = changed.find(what);
        EXPECT_NE(at, std::string::npos) << what;
        return changed.replace(at, what.size(), instead);
    };
    for (const std::string& item :
         {without("318", ""), without("318", "v318"), without("2.4.1", "2.4.1;rm"), without("2.4.1", "../2"),
          without("2.4.1", std::string(65, '1')), without("length=\"1000\"", ""),
          without("length=\"1000\"", "length=\"0\""), without("length=\"1000\"", "length=\"-1\""),
          without("length=\"1000\"", "length=\"1e9\""), without("length=\"1000\"", "length=\"268435457\""),
          without("length=\"1000\"", "length=\"99999999999999999999999\""), without("==\"", "\""),
          without("sparkle:edSignature", "edSignature"), without("url=", "href="),
          std::string("<item>") + kVersions + "</item>"}) {
        EXPECT_EQ(refusalOf(feedOf(item)), kUnreadable) << item;
        EXPECT_EQ(refusalOf(feedOf(item + good)), "1 items") << item;
    }
    EXPECT_EQ(refusalOf(feedOf(without("length=\"1000\"", "length=\"268435456\""))), "1 items");
}

TEST(AppcastTest, whatIsNoFeedIsRefused) {
    const std::string good = feedOf("<item>" + std::string(kVersions) + enclosure() + "</item>");
    for (const std::string& text :
         {std::string(), std::string("garbage"), std::string(1000, '\0'), std::string("<html><body/></html>"),
          std::string("<rss/>"), std::string("<rss><channel>"), good.substr(0, good.size() / 2),
          good.substr(0, good.size() - 1), "x" + good, good + good, std::string("{\"items\": []}"),
          std::string("<a:rss xmlns:a='urn:other'/>")})
        EXPECT_EQ(refusalOf(text), kUnreadable) << text.substr(0, 100);
}

TEST(AppcastTest, entitiesAreRefused) {
    const std::string item =
        "<item>" + std::string(kVersions) + enclosure() + "<description>&a;</description></item>";
    EXPECT_EQ(refusalOf(feedOf(item, "<!DOCTYPE rss [<!ENTITY a SYSTEM \"file:///etc/passwd\">]>")),
              kUnreadable);
    EXPECT_EQ(refusalOf(feedOf(item, "<!DOCTYPE rss SYSTEM \"http://127.0.0.1:9/evil.dtd\">")), kUnreadable);
    std::string growing = "<!DOCTYPE rss [<!ENTITY z \"zzzzzzzzzz\">";
    for (char name = 'y'; name >= 'a'; --name) {
        growing += std::string("<!ENTITY ") + name + " \"";
        for (int n = 0; n < 10; ++n)
            growing += std::string("&") + static_cast<char>(name + 1) + ";";
        growing += "\">";
    }
    EXPECT_EQ(refusalOf(feedOf(item, growing + "]>")), kUnreadable);
}

TEST(AppcastTest, deepOrManyElementsAreNoTrouble) {
    std::string deep;
    for (int n = 0; n < 100'000; ++n)
        deep += "<a>";
    EXPECT_EQ(refusalOf(feedOf(deep)), kUnreadable);
    std::string many;
    for (int n = 0; n < 1000; ++n)
        many += "<item>" + std::string(kVersions) + enclosure() + "</item>";
    EXPECT_EQ(refusalOf(feedOf(many)), "200 items");
}

TEST(AppcastTest, descriptionsLoseTheirMarkup) {
    EXPECT_EQ(Appcast::plainText(
                  "<h2>New</h2>\n<ul><li>One &lt;</li><li class='x'>Two</li></ul><p>Bye<br/>now</p>"),
              "New\n• One &lt;\n• Two\nBye\nnow");
    EXPECT_EQ(Appcast::plainText("1 < 2 and 3 > 2"), "1 < 2 and 3 > 2");
    EXPECT_EQ(Appcast::plainText("an <open tag"), "an <open tag");
    EXPECT_EQ(Appcast::plainText("<script>x"), "x");
    EXPECT_EQ(Appcast::plainText("bell\a"), "bell\uFFFD");
    EXPECT_LE(Appcast::plainText(std::string(1'000'000, 'x')).size(), 20'000u);
}

TEST(AppcastTest, aDamagedFeedIsReadOrRefused) {
    const std::string good =
        feedOf("<item>" + std::string(kVersions) + "<description>What is new</description>" +
               enclosure("sparkle:os=\"linux\"") + "</item>");
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    for (int round = 0; round < 2000; ++round) {
        std::string damaged = good;
        for (int n = 0; n < 3; ++n)
            damaged[random() % damaged.size()] = static_cast<char>(random());
        try {
            for (const SUAppcastItem& item : Appcast::items(damaged)) {
                EXPECT_LE(item.contentLength, Appcast::kLongestFile);
                EXPECT_FALSE(item.displayVersionString.empty());
            }
        } catch (const SystemError& error) {
            EXPECT_EQ(error.localizedDescription(), kUnreadable);
        }
    }
}

} // namespace
} // namespace vintra
