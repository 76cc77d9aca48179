#include "Vintra/timeline/Node.h"

#include "Vintra/timeline/XMLText.h"

#include <gtest/gtest.h>

namespace vintra::TimelineFile {
namespace {

TEST(NodeTest, anEmptyElementClosesItself) {
    EXPECT_EQ(Node("file").text(0), "<file/>");
    EXPECT_EQ(Node("file", Node::Attributes{{"id", "file-1"}}).text(2), "\t\t<file id=\"file-1\"/>");
}

TEST(NodeTest, aValueStandsOnTheLineOfItsElement) {
    EXPECT_EQ(Node::withValue("name", "a").text(1), "\t<name>a</name>");
    EXPECT_EQ(Node::withValue("in", -1).text(0), "<in>-1</in>");
}

TEST(NodeTest, anEmptyValueIsAValue) {
    EXPECT_EQ(Node::withValue("comment", "").text(0), "<comment></comment>");
}

TEST(NodeTest, aValueHidesTheChildren) {
    Node node = Node::withValue("name", "a");
    node.add(Node("child"));
    EXPECT_EQ(node.text(0), "<name>a</name>");
}

TEST(NodeTest, childrenAreOneDeeper) {
    Node inner("inner");
    inner.add(Node::withValue("x", "1"));
    Node outer("outer");
    outer.add(std::move(inner));
    outer.add(Node("last"));
    EXPECT_EQ(outer.text(1), "\t<outer>\n\t\t<inner>\n\t\t\t<x>1</x>\n\t\t</inner>\n\t\t<last/>\n\t</outer>");
}

TEST(NodeTest, attributesInAListKeepTheirOrderAndThoseInAMapAreSorted) {
    EXPECT_EQ(Node("n", Node::Attributes{{"b", "1"}, {"a", "2"}}).text(0), "<n b=\"1\" a=\"2\"/>");
    EXPECT_EQ(Node("n", std::map<std::string, std::string>{{"b", "1"}, {"a", "2"}, {"B", "3"}}).text(0),
              "<n B=\"3\" a=\"2\" b=\"1\"/>");
}

TEST(NodeTest, onlyAttributesEscapeTheQuote) {
    Node node = Node::withValue("n", "\"&\" <a> 'b'");
    node.attrs = {{"k", "\"&\" <a> 'b' &amp;"}};
    EXPECT_EQ(node.text(0), "<n k=\"&quot;&amp;&quot; &lt;a&gt; 'b' &amp;amp;\">\"&amp;\" &lt;a&gt; 'b'</n>");
}

TEST(XMLTextTest, whatXMLCannotHoldIsReplaced) {
    EXPECT_EQ(attr("a\x01z\tq\n\x7F"), "\"a\xEF\xBF\xBDz\tq\n\x7F\"");
    EXPECT_EQ(attr("\xFF\xC3(\xEF\xBF\xBF)"), "\"\xEF\xBF\xBD\xEF\xBF\xBD(\xEF\xBF\xBD)\"");
    EXPECT_EQ(attr("Zoë 🎙"), "\"Zoë 🎙\"");
}

} // namespace
} // namespace vintra::TimelineFile
