#include <algorithm>
#include <limits>
#include <new>
#include <set>

#include "platform/foundation/bytes/Base64.h"
#include "platform/foundation/bytes/BlockBuffer.h"
#include "platform/foundation/cipher/Hasher.h"
#include "platform/foundation/cipher/UUID.h"
#include "platform/foundation/coding/Json.h"
#include "platform/foundation/coding/URL.h"
#include "platform/foundation/text/Unicode.h"
#include "support/HeadlessTest.h"

namespace vellumix {
namespace {

std::string written(const std::function<void(JsonWriter&)>& write) {
    Bytes out;
    JsonWriter writer(out);
    write(writer);
    return std::string(asText(out));
}

TEST(Json, NumbersReadBackToTheSameValue) {
    constexpr double most = std::numeric_limits<double>::max();
    const double values[] = {
        0, -0.0, 1, 0.1, 1e21, 1e-7, most, 5e-324, 1.0 / 3, 800000000.25, 123456789012345678.0};
    for (const auto value : values) {
        const auto text = written([&](JsonWriter& writer) { writer.number(value); });
        double read = 1;
        JsonReader reader(viewOf(text));
        EXPECT_TRUE(reader.number(read) && reader.end()) << text;
        EXPECT_EQ(std::memcmp(&read, &value, sizeof value), 0) << text;
    }
    EXPECT_EQ(written([](JsonWriter& writer) { writer.number(800000000); }), "800000000");
}

TEST(Json, StringsAreEscapedAndReadBackAtEveryLength) {
    EXPECT_EQ(written([](JsonWriter& writer) { writer.string("/\"\\\b\f\n\r\t\x01\x1f\x7fä€😀"); }),
              "\"\\/\\\"\\\\\\b\\f\\n\\r\\t\\u0001\\u001f\x7fä€😀\"");
    // Every position of something to escape, across the width of a block.
    for (std::size_t length = 0; length < 40; ++length) {
        for (std::size_t at = 0; at < length; ++at) {
            std::string text(length, 'x');
            text[at] = "/\n\"\x1f"[at % 4];
            const auto json = written([&](JsonWriter& writer) { writer.string(text); });
            std::string read;
            EXPECT_TRUE(JsonReader(viewOf(json)).string(read));
            EXPECT_EQ(read, text);
        }
    }
    std::string text;
    EXPECT_TRUE(JsonReader(viewOf(R"("\u00e9\ud83d\ude00\/")")).string(text));
    EXPECT_EQ(text, "é😀/");
}

TEST(Json, TheReaderIsStrict) {
    const char* const torn[] = {"",   " ", "{",  "[",  "[1",  "[1,", "[1 2]", "{a:1}", "01", "1.",
                                ".5", "-", "+1", "1e", "tru", "nul", "\"a",   "1 2",   "[]]"};
    const char* const odd[] = {"{\"a\"}",      "{\"a\":}",         "{\"a\":1,}",         "\"\x01\"",
                               "\"\\x\"",      "\"\\u12\"",        "\"\\u12g4\"",        "\"\\u-123\"",
                               "\"\\ud800\"",  "\"\\udc00\"",      "\"\\ud800\\u0041\"", "\"\xff\"",
                               "\"\xc0\x80\"", "\"\xed\xa0\x80\"", "\xEF\xBB\xBF[]"};
    for (const auto* text : torn) EXPECT_FALSE(JsonValue::parse(text)) << text;
    for (const auto* text : odd) EXPECT_FALSE(JsonValue::parse(text)) << text;
    for (const auto* text : {"0", "-0.5e+3", " [ ] ", "{ \"a\" : [ null , true , false ] }", "\"\\u0000\""}) {
        EXPECT_TRUE(JsonValue::parse(text)) << text;
    }
}

TEST(Base64, EscapedAndPlainAgreeForAllLengthsAndBytes) {
    Bytes bytes;
    std::uint32_t state = 1;
    // All short ones, and some that are decoded in several rounds.
    for (int length = 0; length < 5000; length += length < 300 ? 1 : 97) {
        // Mostly slashes in every third byte.
        while (std::ssize(bytes) < length) {
            state = state * 1664525 + 1013904223;
            bytes.push_back(bytes.size() % 3 ? static_cast<std::uint8_t>(state >> 24) : 0xFF);
        }
        const auto plain = base64::encode(bytes);
        std::string expected;
        for (const char c : plain) expected += c == '/' ? std::string("\\/") : std::string(1, c);
        Bytes escaped(base64::escapedSizeLimit(bytes.size()));
        escaped.resize(
            static_cast<std::size_t>(base64::encodeEscaped(bytes, escaped.data()) - escaped.data()));
        EXPECT_EQ(asText(escaped), expected);
        EXPECT_EQ(base64::decode(plain), bytes);

        // In its own place, with no more room than is promised.
        auto buffer = bytesOf(viewOf("{\"key12345\":" + expected + "\"rest"));
        auto text = ByteView(buffer).subspan(12);
        auto* end = buffer.data();
        EXPECT_TRUE(base64::decodeEscaped(text, end));
        EXPECT_TRUE(sameBytes({buffer.data(), end}, bytes)) << expected;
        EXPECT_EQ(asText(text), "rest");
    }
    for (const auto* bad : {"QUJD", "QUJ\"", "QU=D\"", "QUJDRA\"", "QUJDRB==\"", "QUJD\\n\"", "QUJD \"",
                            "QUJDQUJDQUJDQUJDQUJDQUJ?\"", "QUJDQU\\nJDQUJDQUJDQUJDQUJD\"",
                            "QUJDQUJDQUJDQUJ\\nQUJDQUJDQUJDQUJD\"", "QUJDQU\\\\JDQUJDQUJDQUJDQUJD\"",
                            "QUJDQUJDQUJDQUJ\\", "=\"", "====\""}) {
        auto text = viewOf(bad);
        Bytes decoded(base64::decodedSizeLimit(text.size()));
        auto* end = decoded.data();
        EXPECT_FALSE(base64::decodeEscaped(text, end)) << bad;
    }
}

#ifndef __SANITIZE_ADDRESS__
TEST(Data, MemoryThatCannotBeHadIsAnExceptionLikeAnyOther) {
    constexpr std::size_t moreThanAnyMachineHas = std::size_t{1} << 50;
    EXPECT_THROW(Bytes{}.reserve(moreThanAnyMachineHas), std::bad_alloc);
}
#endif

TEST(Hasher, FeedsAreDistinctAndChunksAreNot) {
    const auto hash = [](std::initializer_list<std::string_view> parts) {
        Hasher hasher(Hasher::Key{1, 2});
        for (const auto part : parts) hasher.combine(part);
        return hasher.finalize();
    };
    EXPECT_EQ(hash({"file", "abcdefghijk"}), hash({"file", "abcdefghijk"}));
    EXPECT_NE(hash({"ab", "c"}), hash({"a", "bc"}));
    EXPECT_NE(hash({"text", std::string_view("a\0", 2)}), hash({"text", "a"}));
    // What CPython's hash makes of the text and its length in eight bytes, with a key of zeros.
    for (const auto& [text, expected] :
         {std::pair<std::string_view, std::uint64_t>("abc", 0x4f006f022933cf13),
          {"a longer one, of blocks", 0x90e033864ad4778b}}) {
        Hasher hasher(Hasher::Key{0, 0});
        hasher.combine(text);
        EXPECT_EQ(hasher.finalize(), expected) << text;
    }
    Hasher other(Hasher::Key{1, 3});
    other.combine("a");
    EXPECT_NE(other.finalize(), hash({"a"}));
}

TEST(URL, PartsOfOddAndOrdinaryAddresses) {
    const struct {
        const char* text;
        const char* scheme;
        const char* path;
        const char* last;
    } cases[] = {
        {"file:///home/u/a%20b.txt", "file", "/home/u/a b.txt", "a b.txt"},
        {"file://localhost/etc/", "file", "/etc", "etc"},
        {"FILE:/x", "FILE", "/x", "x"},
        {"https://u@h:8080/p?q#f", "https", "/p", "p"},
        {"https://h", "https", "", ""},
        {"mailto:a@b", "mailto", "a@b", "a@b"},
        {"relative/path", "", "relative/path", "path"},
        {"file:///", "file", "/", "/"},
    };
    for (const auto& each : cases) {
        const auto url = URL::parse(each.text);
        ASSERT_TRUE(url) << each.text;
        EXPECT_EQ(url->scheme(), each.scheme) << each.text;
        EXPECT_EQ(url->path(), each.path) << each.text;
        EXPECT_EQ(url->lastPathComponent(), each.last) << each.text;
        EXPECT_EQ(url->absoluteString(), each.text);
    }
    EXPECT_TRUE(URL::parse("FILE:/x")->isFile());
    for (const auto* bad : {"", " ", "a b", "http://a\tb", "1http://x", ":x", "http://h:80a/", "http://%",
                            "a\"b", "<a>", "h\xff"}) {
        EXPECT_FALSE(URL::parse(bad)) << bad;
    }
    const auto odd = URL::file("/tmp/100% ä?#.txt");
    EXPECT_EQ(odd.absoluteString(), "file:///tmp/100%25%20%C3%A4%3F%23.txt");
    EXPECT_EQ(odd.path(), "/tmp/100% ä?#.txt");
    EXPECT_EQ(URL::parse(odd.absoluteString()), odd);
}

TEST(UUID, ReadsBothCasesAndWritesUpper) {
    const auto id = UUID::parse("e621e1f8-c36c-495a-93fc-0c247a3e6e5f");
    ASSERT_TRUE(id);
    EXPECT_EQ(id->uuidString(), "E621E1F8-C36C-495A-93FC-0C247A3E6E5F");
    EXPECT_NE(UUID::random(), UUID::random());
    EXPECT_EQ(UUID::random().uuidString()[14], '4');
    for (const auto* bad : {"", "e621e1f8c36c495a93fc0c247a3e6e5f", "e621e1f8-c36c-495a-93fc-0c247a3e6e5",
                            "g621e1f8-c36c-495a-93fc-0c247a3e6e5f", "e621e1f8-c36c-495a-93fc+0c247a3e6e5f"}) {
        EXPECT_FALSE(UUID::parse(bad)) << bad;
    }
}

TEST(Unicode, TextsThatReadTheSameAreEqual) {
    const struct {
        const char* a;
        const char* b;
        bool equal;
    } cases[] = {
        {"", "", true},
        {"abc", "abd", false},
        {"abc", "abcd", false},
        {"caf\u00e9", "cafe\u0301", true},
        {"cafe\u0301s", "caf\u00e9s", true},
        {"caf\u00e9", "cafe", false},
        {"q\u0307\u0323", "q\u0323\u0307", true},
        {"\uAC00", "\u1100\u1161", true},
        {"\u212B", "\u00C5", true},
        {"ﬁ", "fi", false},
        {"дом", "дым", false},
        {"a\u0301", "a", false},
        {"a\u0301b", "\u00e1\u0323b", false},
        {"\u1112\u1161\u11ab, e\u0323\u0302.", "\ud558\u11ab, \u1ec7.", true},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(canonicallyEqual(each.a, each.b), each.equal) << each.a << ' ' << each.b;
        EXPECT_EQ(canonicallyEqual(each.b, each.a), each.equal) << each.b << ' ' << each.a;
    }
}

/// A letter with so many marks, of classes that go down and up again.
std::string pile(std::size_t count) {
    std::string text = "Z";
    for (std::size_t at = 0; at < count; ++at) text += at % 2 == 0 ? "\u0301" : "\u0323";
    return text;
}

TEST(Unicode, TooManyMarksAreNotPutInOrder) {
    EXPECT_TRUE(canonicallyEqual("Z\u0323" + pile(28).substr(1), "\u1e92" + pile(28).substr(1)));
    const auto ordered = [](std::size_t half) {
        std::string text = "Z";
        for (const char* mark : {"\u0323", "\u0301"}) {
            for (std::size_t at = 0; at < half; ++at) text += mark;
        }
        return text;
    };
    EXPECT_TRUE(canonicallyEqual(pile(28), ordered(14)));
    EXPECT_FALSE(canonicallyEqual(pile(40), ordered(20)));
    EXPECT_TRUE(canonicallyEqual(pile(40) + "e\u0301", pile(40) + "\u00e9")) << "what follows is";
    EXPECT_EQ(withoutDiacritics(pile(1000) + "e\u0301"), "Ze");
    EXPECT_EQ(withoutDiacritics("\ud55c\u302e\u302f"), "\ud55c\u302e\u302f") << "no marks above or below";
}

TEST(Unicode, IllFormedTextIsRepairedAndBlanksAreTrimmed) {
    EXPECT_EQ(repairedUTF8("a\xff\xc3\x28z"), "a\uFFFD\uFFFD(z");
    EXPECT_EQ(repairedUTF8("\xED\xA0\x80\xE2\x82x\xF0\x9F\x98"), "\uFFFD\uFFFD\uFFFD\uFFFDx\uFFFD");
    EXPECT_EQ(fromLatin1("caf\xe9"), "café");
    EXPECT_EQ(trimmedOfWhitespaceAndNewlines("\u00a0\u2029 a\u200b \u3000\r\n"), "a\u200b");
    EXPECT_EQ(trimmedOfWhitespaceAndNewlines(" \u2003\n"), "");
}

TEST(Date, ReadsAsCalendarTime) {
    EXPECT_EQ(Date{}.iso8601(), "2001-01-01T00:00:00Z");
    EXPECT_EQ(Date::fromUnix(1795381200.9).iso8601(true), "20261122T210000Z");
}

// Memory.

TEST(BytesTest, WhatNoMachineHasIsAnErrorAndNotAnEnd) {
    for (const std::size_t size : {std::size_t{1} << 47, std::numeric_limits<std::size_t>::max() / 2})
        EXPECT_THROW(Bytes{}.reserve(size), std::bad_alloc);
}

TEST(DataTest, APartThatGoesReturnsItsPagesAndLeavesItsNeighbour) {
    constexpr std::size_t half = 100'000;
    const auto whole = std::make_shared<Bytes>(bytesOf(viewOf(std::string(2 * half, 'x'))));
    const std::span all(*whole);
    std::optional<Data> first(std::in_place, whole, all.first(half));
    const Data second(whole, all.last(half));
    auto copy = first;
    first.reset();
    EXPECT_EQ(std::ranges::count(all, 'x'), 2 * half) << "a copy needs it";
    copy.reset();
    EXPECT_LT(std::ranges::count(all.first(half), 'x'), 20'000);
    EXPECT_TRUE(sameBytes(second, viewOf(std::string(half, 'x'))));
}

TEST(BlockBufferTest, ItsBlocksAreKeptForTheNextBuffer) {
    const auto pool = std::make_shared<BlockPool>();
    const std::string text(3'000'000, 'x');
    const auto placesOf = [&] {
        BlockBuffer buffer(pool);
        EXPECT_TRUE(buffer.append(viewOf("head ")));
        EXPECT_TRUE(buffer.append(viewOf(text)));
        EXPECT_EQ(buffer.size(), text.size() + 5);
        std::string content;
        std::set<const void*> places;
        for (const auto part : buffer.parts()) {
            content += asText(part);
            places.insert(part.data());
        }
        EXPECT_EQ(content, "head " + text);
        return places;
    };
    const auto first = placesOf();
    EXPECT_GT(first.size(), 2U);
    EXPECT_EQ(placesOf(), first);
    const auto block = pool->take(std::size_t{64} << 10);
    EXPECT_TRUE(first.contains(block.data()));
    EXPECT_FALSE(placesOf().contains(block.data()));
}

}  // namespace
}  // namespace vellumix
