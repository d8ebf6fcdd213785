#include "platform/x11/server/PropertyValues.h"

#include <gtest/gtest.h>

namespace vellumix::x11 {

namespace {

std::string pathsOf(const std::vector<URL>& files) {
    std::string paths;
    for (const auto& file : files) paths += file.path() + "|";
    return paths;
}

}  // namespace

TEST(PropertyValuesTest, FilesAreLocalFileURLsAndNothingElse) {
    struct Case {
        std::string_view value;
        std::string_view uriList;
        std::string_view copiedFiles;
    };
    using namespace std::string_view_literals;
    const Case cases[] = {
        {"", "", ""},
        {"file:///a\r\nfile:///b\r\n", "/a|/b|", ""},
        {"file:///a\nfile:///b", "/a|/b|", ""},
        {"# comment\r\nfile:///a\r\n\r\n", "/a|", ""},
        {"file:///a%20b\r\n\0\0"sv, "/a b|", ""},
        {"copy\nfile:///a\nfile:///b", "/a|/b|", "/a|/b|"},
        {"cut\nfile:///a\0"sv, "/a|", "/a|"},
        {"move\nfile:///a", "/a|", ""},
        {"file://localhost/a\r\nfile://here/b\r\nfile://elsewhere/c\r\nfile:/d\r\n", "/a|/b|/d|", ""},
        {"https://example.org/\r\nmailto:a@b\r\nfile:relative\r\nfile://\r\n/plain/path\r\n", "", ""},
        {"file:///tmp/a%00b\r\nfile:///tmp/%c3%a9\r\n", "/tmp/\xc3\xa9|", ""},
        {"file:///raw space\r\nfile:///%zz\r\nfile:///ok\r\n", "/ok|", ""},
    };
    for (const auto& one : cases) {
        EXPECT_EQ(pathsOf(filesOfURIList(viewOf(one.value), "here")), one.uriList) << one.value;
        EXPECT_EQ(pathsOf(filesOfCopiedFiles(viewOf(one.value), "here").files), one.copiedFiles) << one.value;
    }
}

TEST(PropertyValuesTest, AHintIsAWordOrUnreadable) {
    using enum PasswordHint;
    using namespace std::string_view_literals;
    const std::pair<std::string_view, PasswordHint> cases[] = {
        {"secret", secret},       {"Secret", secret},
        {" secret", secret},      {"SECRET\r\n\0"sv, secret},
        {"public", otherWord},    {"secrets", otherWord},
        {"0", otherWord},         {"", unreadable},
        {" \n\0"sv, unreadable},  {"s\0e\0c\0"sv, unreadable},
        {"\xff\xfe", unreadable}, {"żółw", unreadable},
    };
    for (const auto& [value, meaning] : cases) EXPECT_EQ(passwordHintOf(viewOf(value)), meaning) << value;
}

TEST(PropertyValuesTest, AnSVGDocumentIsToldByItsRoot) {
    const std::pair<std::string_view, bool> cases[] = {
        {"<svg/>", true},
        {"\xEF\xBB\xBF\n<?xml version=\"1.0\"?>\n<!-- a > b -->\n<svg:svg xmlns:svg=\"s\">", true},
        {"<!DOCTYPE svg PUBLIC \"a\" \"b\" [ <!ENTITY x \"y\"> ]>\n<svg width=\"1\">", true},
        {"<svgs/>", false},
        {"<html><svg/></html>", false},
        {"<!-- <svg/>", false},
        {"an <svg/>", false},
        {"", false},
    };
    for (const auto& [text, isOne] : cases) EXPECT_EQ(isSVGDocument(text), isOne) << text;
}

TEST(PropertyValuesTest, EveryLatin1CharacterSurvivesARoundTrip) {
    std::string latin1;
    for (int c = 1; c < 256; ++c) latin1 += static_cast<char>(c);
    EXPECT_EQ(latin1Of(textOfLatin1(viewOf(latin1))), latin1);
    EXPECT_EQ(latin1Of("a€ż😀é"), "a???\xe9");
}

TEST(PropertyValuesTest, AtomsStandOnceAndWhole) {
    const std::uint32_t atoms[] = {5, 0, 7, 5, 9};
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(atoms);
    EXPECT_EQ(atomsOf({bytes, sizeof atoms - 1}), (std::vector<std::uint32_t>{5, 7}));
}

}  // namespace vellumix::x11
