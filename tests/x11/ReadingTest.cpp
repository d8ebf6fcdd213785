// What becomes of copies that other programs make, well-behaved ones.

#include <numeric>

#include "platform/foundation/observation/SharedInstances.h"
#include "x11/X11Test.h"

namespace vellumix::tests {

using Answer = Peer::Answer;

class ReadingTest : public X11Test {};

struct ReadingCase {
    const char* name;
    std::vector<Answer> answers;
    std::string text = "-";
    std::string image = {};
    std::vector<std::string> files = {};
    std::vector<std::string> notAsked = {};
};

std::string textAsked(const std::vector<std::string>& names) {
    std::string text;
    for (const auto& name : names) text += name + " ";
    return text;
}

TEST_F(ReadingTest, GivesExactlyOnePayloadFromTheAllowList) {
    const std::string uri = "text/uri-list";
    const std::string copied = "x-special/gnome-copied-files";
    const std::vector<ReadingCase> cases{
        {.name = "UTF-8 before Latin-1",
         .answers = {{"STRING", "caf\xe9"}, {"UTF8_STRING", "café"}},
         .text = "café",
         .notAsked = {"STRING"}},
        {.name = "Latin-1 alone", .answers = {{"STRING", "caf\xe9"}}, .text = "café"},
        {.name = "the type tells the encoding",
         .answers = {{.target = "UTF8_STRING", .bytes = "caf\xe9", .type = "STRING"}},
         .text = "café"},
        {.name = "NULs at the end", .answers = {{"UTF8_STRING", std::string("text\0\0", 6)}}, .text = "text"},
        {.name = "broken UTF-8",
         .answers = {{"UTF8_STRING",
                      "a\xff"
                      "b"}},
         .text = "a\xEF\xBF\xBD"
                 "b"},
        {.name = "files before their names as text",
         .answers = {{"UTF8_STRING", "/tmp/a b"}, {uri, "file:///tmp/a%20b\r\nfile:///c\r\n"}},
         .files = {"/tmp/a b", "/c"},
         .notAsked = {"UTF8_STRING"}},
        {.name = "a list of addresses that holds no file",
         .answers = {{uri, "https://example.org/\r\n"}, {"UTF8_STRING", "https://example.org/"}},
         .text = "https://example.org/"},
        {.name = "announced and refused, and NUL behind the last file",
         .answers = {{.target = uri, .bytes = "", .manner = Peer::Manner::refuses},
                     {copied, std::string("copy\nfile:///tmp/x\0", 19)}},
         .files = {"/tmp/x"}},
        {.name = "an image as it is given, PNG first",
         .answers = {{"image/bmp", "BM"}, {"image/png", std::string("\x89PNG\0", 5)}, {"text/html", "<img>"}},
         .image = std::string("\x89PNG\0", 5),
         .notAsked = {"image/bmp", "text/html"}},
        {.name = "an image beside the text that it shows",
         .answers = {{"image/png", "picture of cells"}, {"UTF8_STRING", "cells"}},
         .text = "cells",
         .notAsked = {"image/png"}},
        {.name = "an image whose owner insists",
         .answers = {{"image/png", "picture"}, {"UTF8_STRING", "t"}, {"x-kde-force-image-copy", ""}},
         .image = "picture",
         .notAsked = {"UTF8_STRING", "x-kde-force-image-copy"}},
        {.name = "a drawing and its source",
         .answers = {{"text/plain", "<?xml version=\"1.0\"?><svg/>"}, {"image/png", "picture"}},
         .image = "picture"},
        {.name = "a drawing whose picture can't be had",
         .answers = {{"text/plain", "<svg/>"},
                     {.target = "image/png", .bytes = "", .manner = Peer::Manner::refuses}},
         .text = "<svg/>"},
        {.name = "the source of a drawing alone", .answers = {{"UTF8_STRING", "<svg/>"}}, .text = "<svg/>"},
        {.name = "text that is refused at first",
         .answers = {{.target = uri, .bytes = "", .manner = Peer::Manner::refuses},
                     {.target = "UTF8_STRING", .bytes = "yanked", .refusals = 1},
                     {.target = "STRING", .bytes = "", .manner = Peer::Manner::refuses}},
         .text = "yanked"},
        {.name = "a hint that says nothing secret",
         .answers = {{"x-kde-passwordManagerHint", "public"}, {"UTF8_STRING", "name"}},
         .text = "name"},
        {.name = "an owner without TARGETS",
         .answers = {{.target = "TARGETS", .bytes = "", .manner = Peer::Manner::refuses}, {"STRING", "old"}},
         .text = "old"},
        {.name = "an owner that answers everything with its text, even when that is the word of the hint",
         .answers =
             {{.target = "x-kde-passwordManagerHint", .bytes = "secret", .type = "UTF8_STRING"},
              {.target = "TARGETS", .bytes = std::string("\x1f\0\0\0", 4), .type = "ATOM", .format = 32},
              {"STRING", "secret"}},
         .text = "secret"},
    };
    open({.againSeconds = 0.01});
    for (const auto& one : cases) {
        SCOPED_TRACE(one.name);
        const auto before = pasteboard->changeCount();
        peer->copy(one.answers);
        EXPECT_EQ(nextText(), one.text);
        EXPECT_EQ(pasteboard->changeCount(), before + 1);
        EXPECT_EQ(asText(pasteboard->dataForType(NSPasteboardTypeTIFF).value_or(Data())), one.image);
        std::vector<std::string> paths;
        for (const auto& file : pasteboard->readFileURLs()) paths.push_back(file.path());
        EXPECT_EQ(paths, one.files);
        for (const auto& target : one.notAsked) {
            EXPECT_EQ(std::count(peer->asked().begin(), peer->asked().end(), target), 0)
                << textAsked(peer->asked());
        }
        EXPECT_EQ(peer->asked().front(), "x-kde-passwordManagerHint");
    }
    EXPECT_TRUE(drops.empty()) << rawValue(drops.front());
    EXPECT_EQ(peer->errors(), 0);
}

TEST_F(ReadingTest, NeverFetchesThePayloadOfMarkedContent) {
    const std::vector<std::pair<Answer, std::string>> markers{
        {{"x-kde-passwordManagerHint", "secret"}, "org.nspasteboard.ConcealedType"},
        {{"x-kde-passwordManagerHint", std::string("secret\0", 7)}, "org.nspasteboard.ConcealedType"},
        {{.target = "x-kde-passwordManagerHint", .bytes = "secret", .type = "STRING"},
         "org.nspasteboard.ConcealedType"},
        {{"x-kde-passwordManagerHint", " Secret\n"}, "org.nspasteboard.ConcealedType"},
        {{.target = "x-kde-passwordManagerHint", .bytes = "\xfe\xff\0s", .type = "STRING"},
         "org.nspasteboard.ConcealedType"},
        {{.target = "x-kde-passwordManagerHint", .bytes = "true", .type = "INTEGER", .format = 32},
         "org.nspasteboard.ConcealedType"},
        {{"x-kde-passwordManagerHint", std::string(1000, ' ')}, "org.nspasteboard.ConcealedType"},
        {{.target = "x-kde-passwordManagerHint", .bytes = "", .manner = Peer::Manner::refuses},
         "org.nspasteboard.ConcealedType"},
        {{"org.nspasteboard.ConcealedType", ""}, "org.nspasteboard.ConcealedType"},
        {{"org.nspasteboard.TransientType", ""}, "org.nspasteboard.TransientType"},
        {{"org.nspasteboard.AutoGeneratedType", ""}, "org.nspasteboard.AutoGeneratedType"},
    };
    for (const auto& [marker, type] : markers) {
        SCOPED_TRACE(marker.target);
        const auto before = pasteboard->changeCount();
        peer->copy({{"UTF8_STRING", "hunter2"}, marker, {"public.utf8-plain-text", "hunter2"}});
        EXPECT_EQ(nextText(), "-");
        EXPECT_EQ(pasteboard->changeCount(), before + 1);
        EXPECT_TRUE(hasType(type));
        EXPECT_FALSE(hasType(NSPasteboardTypeString));
        EXPECT_EQ(std::count(peer->asked().begin(), peer->asked().end(), "UTF8_STRING"), 0);
        // And nothing of it is offered when its owner ends.
        pasteboard->preserve(pasteboard->changeCount());
        peer->die();
        EXPECT_TRUE(waitForNoOwner());
        peer = std::make_unique<Peer>(runLoop);
    }
    EXPECT_EQ(log.text.find("hunter2"), std::string::npos);
}

TEST_F(ReadingTest, ReadsLargeValuesInOnePropertyAndInPieces) {
    std::string large(10'000'000, 'x');
    for (std::size_t at = 0; at < large.size(); at += 7) large[at] = static_cast<char>('a' + at % 26);
    for (const auto manner : {Peer::Manner::whole, Peer::Manner::incremental}) {
        peer->copy({{.target = "UTF8_STRING", .bytes = large, .manner = manner}});
        EXPECT_TRUE(nextText() == large);
        EXPECT_EQ(pasteboard->activeTransfers(), 0U);
    }
    EXPECT_TRUE(drops.empty());
    EXPECT_EQ(peer->errors(), 0);
}

TEST_F(ReadingTest, AnImageMayTakeItsTimeAndTextMayNot) {
    const auto later = [&] {
        waitUntil(
            runLoop, [] { return false; }, 0.2);
    };
    open({.answerSeconds = 0.05, .fetchSeconds = 0.05});
    peer->copy({{.target = "image/png", .bytes = "picture", .meanwhile = later}});
    EXPECT_EQ(nextText(), "-");
    EXPECT_EQ(asText(pasteboard->dataForType(NSPasteboardTypeTIFF).value_or(Data())), "picture");
    EXPECT_TRUE(drops.empty());

    peer->copy({{.target = "UTF8_STRING", .bytes = "text", .meanwhile = later}});
    ASSERT_TRUE(wait([&] { return !drops.empty(); }));
    // For ever is too long for an image too, and a newer copy doesn't wait for it.
    open({.imageSeconds = 0.05});
    drops.clear();
    const Answer silent{.target = "image/png", .bytes = "", .manner = Peer::Manner::silent};
    peer->copy({silent});
    ASSERT_TRUE(wait([&] { return !drops.empty(); }));
    open({});
    peer->copy({silent});
    ASSERT_TRUE(wait([&] { return !peer->asked().empty() && peer->asked().back() == "image/png"; }));
    Peer other(runLoop);
    other.copyText("newer");
    EXPECT_EQ(nextText(1), "newer");
}

TEST_F(ReadingTest, EveryCopyOfABurstIsSeenInOrder) {
    constexpr int copies = 500;
    std::vector<std::string> seen;
    onChange = [&] { seen.push_back(text()); };
    for (int number = 0; number < copies; ++number) {
        const auto before = pasteboard->changeCount();
        peer->copyText(std::to_string(number));
        // Held by its owner until it has been fetched, and not a moment longer.
        ASSERT_TRUE(wait([&] { return pasteboard->changeCount() > before; }));
    }
    ASSERT_TRUE(wait([&] { return seen.size() >= copies; }));
    for (int number = 0; number < copies; ++number) {
        EXPECT_EQ(seen[static_cast<std::size_t>(number)], std::to_string(number));
    }
    EXPECT_TRUE(drops.empty());
}

TEST_F(ReadingTest, ContentFromBeforeTheStartIsLeftAlone) {
    peer->copyText("first");
    ASSERT_EQ(nextText(), "first");
    open({});
    const auto before = changesSeen;
    settle();
    EXPECT_EQ(changesSeen, before);
    EXPECT_EQ(text(), "-");
    peer->copyText("second");
    EXPECT_EQ(nextText(), "second");
}

TEST_F(ReadingTest, AnObserverMayDestroyThePasteboard) {
    onChange = [&] { pasteboard.reset(); };
    peer->copyText("text");
    peer->copyText("more");
    EXPECT_TRUE(wait([&] { return !pasteboard; }));
    settle();
    EXPECT_EQ(changesSeen, 1);
}

TEST(DisplayTest, NoDisplayIsOneSentence) {
    linux_desktop::GLibRunLoop runLoop;
    const SharedInstances::Scope instances;
    for (const char* name : {"", ":4294967"}) {
        setenv("DISPLAY", name, 1);
        std::string error;
        EXPECT_FALSE(x11::Connection::open(runLoop, error));
        EXPECT_NE(error.find("display"), std::string::npos);
        EXPECT_EQ(error.find('\n'), std::string::npos);
        EXPECT_TRUE(error.ends_with('.'));
    }
}

TEST_F(ReadingTest, TheServersEndIsToldOnce) {
    int ends = 0;
    const auto end = connection->observeEnd([&] { ++ends; });
    peer->copy({{.target = "TARGETS", .bytes = "", .manner = Peer::Manner::silent}});
    wait([&] { return pasteboard->activeTransfers() == 1; });
    display.end();
    EXPECT_TRUE(wait([&] { return ends > 0; }));
    // What still happens afterwards does nothing and waits for nobody.
    pasteboard->clearContents();
    pasteboard->setString("text", NSPasteboardTypeString);
    bool isDone = false;
    runLoop.post([&] { isDone = true; });
    EXPECT_TRUE(wait([&] { return isDone; }));
    EXPECT_EQ(ends, 1);
}

}  // namespace vellumix::tests
