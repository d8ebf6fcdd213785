#include "platform/linux/updates/Appcast.h"

#include <gtest/gtest.h>

namespace vellumix::linux_desktop {
namespace {

/// 64 zeros.
const std::string zeros = std::string(85, 'A') + "A==";

std::string item(const std::string& elements, const std::string& attributes) {
    return "<item>" + elements + "<enclosure url='https://example.org/v.deb' length='7' s:edSignature='" +
           zeros + "' " + attributes + "/></item>";
}
std::string feed(const std::string& items) {
    return "<?xml version='1.0'?><rss version='2.0' xmlns:s='urn:x'><channel><title>T</title>" + items +
           "</channel></rss>";
}
/// The builds and versions of what a feed announces; "broken" where it can't be read.
std::string read(const std::string& text) {
    const auto items = appcast::read(viewOf(text));
    if (!items) return "broken";
    std::string told;
    for (const auto& each : *items) told += each.build.text() + "=" + each.shortVersion + ";";
    return told;
}

TEST(Appcast, AReleaseIsTakenWhereverItSaysWhatItIs) {
    const auto elements = item(
        "<s:version> 12 </s:version><s:shortVersionString>1.2</s:shortVersionString>"
        "<s:minimumSystemVersion>2.36</s:minimumSystemVersion>"
        "<description><![CDATA[\n<b>New</b>\tand &amp; old\x01\r\nmore]]></description>",
        "type='application/x'");
    const auto items = appcast::read(viewOf(feed(elements)));
    ASSERT_TRUE(items && items->size() == 1);
    const auto& release = items->front();
    EXPECT_EQ(release.build.text(), "12");
    EXPECT_EQ(release.shortVersion, "1.2");
    EXPECT_EQ(release.minimumSystem, VersionNumber::parse("2.36"));
    EXPECT_EQ(release.url.absoluteString(), "https://example.org/v.deb");
    EXPECT_EQ(release.length, 7U);
    EXPECT_EQ(release.notes, "<b>New</b> and &amp; old \nmore");

    const std::pair<std::string, const char*> cases[] = {
        {feed(""), ""},
        {feed(item("", "any:version='3'")), "3=3;"},
        {feed(item("<version>4</version><version>5</version>", "")), "5=5;"},
        {feed(item("<version>4</version>", "version='6'")), "6=6;"},
        {feed(item("<group><version>4</version></group>", "")), ""},
        {feed(item("<version>1</version>", "") + item("<version>2.0</version>", "")), "1=1;2=2.0;"},
        {feed(item("<version>x</version>", "") + item("<version>2</version>", "")), "2=2;"},
        {feed(item("<version>1</version>", "minimumSystemVersion='new'")), ""},
        {feed("<version>1</version><item/>"), ""},
        {"<rss>" + item("<version>7</version>", "") + "</rss>", "7=7;"},
        {"", "broken"},
        {"no XML", "broken"},
        {feed(item("<version>1</version>", "")) + "<", "broken"},
        {feed("<item>\xFF</item>"), "broken"},
        {"<!DOCTYPE rss [<!ENTITY e SYSTEM 'file:///etc/hostname'>]>" + feed("<title>&e;</title>"), "broken"},
        {feed(std::string(appcast::largestFeed, ' ')), "broken"},
        {feed([] {
             std::string deep;
             for (int level = 0; level < 20; ++level) deep += "<a>";
             for (int level = 0; level < 20; ++level) deep += "</a>";
             return deep;
         }()),
         "broken"},
    };
    for (const auto& [text, told] : cases) EXPECT_EQ(read(text), told) << text.substr(0, 300);

    const std::pair<const char*, const char*> attributes[] = {
        {"length='7'", "length='0'"},     {"length='7'", "length='134217729'"},
        {"length='7'", "length='7x'"},    {"length='7'", "length='-7'"},
        {zeros.c_str(), "AAAA"},          {zeros.c_str(), "*"},
        {"https://example.org", "a b"},   {"url=", "link="},
        {"s:edSignature=", "signature="},
    };
    for (const auto& [from, to] : attributes) {
        auto text = feed(item("<version>1</version>", ""));
        ASSERT_EQ(read(text), "1=1;");
        text.replace(text.find(from), std::string(from).size(), to);
        EXPECT_EQ(read(text), "") << to;
    }
}

TEST(Appcast, NotesAreOfAFewPagesAtMost) {
    std::string notes;
    while (notes.size() < 40'000) notes += "\u20AC";
    const auto items =
        appcast::read(viewOf(feed(item("<version>1</version><description>" + notes + "</description>", ""))));
    ASSERT_TRUE(items && items->size() == 1);
    EXPECT_EQ(items->front().notes.size(), 16'383U) << "whole characters";
}

TEST(VersionNumber, ItsNumbersCountOneByOne) {
    const char* const ascending[] = {"0",   "0.0.1", "0.9", "0.10", "1",        "1.0.1",
                                     "1.2", "1.10",  "2",   "10",   "999999999"};
    for (std::size_t one = 0; one < std::size(ascending); ++one) {
        for (std::size_t other = 0; other < std::size(ascending); ++other) {
            EXPECT_EQ(*VersionNumber::parse(ascending[one]) < *VersionNumber::parse(ascending[other]),
                      one < other);
        }
    }
    EXPECT_EQ(VersionNumber::parse("1.0"), VersionNumber::parse("1"));
    EXPECT_EQ(VersionNumber::parse("01.2.0")->text(), "1.2");
    for (const char* wrong :
         {"", ".", "1.", ".1", "1..2", "1a", "-1", "+1", " 1", "1 ", "1234567890", "1.1.1.1.1.1.1.1.1"}) {
        EXPECT_FALSE(VersionNumber::parse(wrong)) << wrong;
    }
}

}  // namespace
}  // namespace vellumix::linux_desktop
