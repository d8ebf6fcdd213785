// What other programs get when they paste: our own content, and content whose owner has ended.

#include "x11/X11Test.h"

namespace vellumix::tests {

using Answer = Peer::Answer;
using Manner = Peer::Manner;

class OwningTest : public X11Test {
protected:
    void newPeer() { peer = std::make_unique<Peer>(runLoop); }
    void copyAndPreserve(const std::vector<Answer>& answers) {
        peer->copy(answers);
        const auto seen = changesSeen;
        ASSERT_TRUE(wait([&] { return changesSeen > seen; }));
        pasteboard->preserve(pasteboard->changeCount());
    }
};

TEST_F(OwningTest, ContentGoesOutUnderEveryTargetThatProgramsAskFor) {
    struct Case {
        std::function<void()> write;
        std::vector<std::array<std::string, 3>> expected;
    };
    const std::vector<URL> files{URL::file("/tmp/a b"), URL::file("/tmp/ż")};
    const std::string uris = "file:///tmp/a%20b\r\nfile:///tmp/%C5%BC\r\n";
    const Case cases[] = {
        {[&] { pasteboard->setString("zł é", NSPasteboardTypeString); },
         {{"UTF8_STRING", "UTF8_STRING", "zł é"},
          {"text/plain;charset=utf-8", "text/plain;charset=utf-8", "zł é"},
          {"text/plain", "text/plain", "zł é"},
          {"TEXT", "UTF8_STRING", "zł é"},
          {"STRING", "STRING", "z? \xe9"}}},
        {[&] { pasteboard->writeImage(Data(std::string_view("\x89PNG"))); },
         {{"image/png", "image/png", "\x89PNG"}}},
        {[&] { pasteboard->writeFileURLs(files); },
         {{"text/uri-list", "text/uri-list", uris},
          {"x-special/gnome-copied-files", "x-special/gnome-copied-files",
           "copy\nfile:///tmp/a%20b\nfile:///tmp/%C5%BC"},
          {"x-special/mate-copied-files", "x-special/mate-copied-files",
           "copy\nfile:///tmp/a%20b\nfile:///tmp/%C5%BC"},
          {"application/x-kde-cutselection", "application/x-kde-cutselection", "0"},
          {"UTF8_STRING", "UTF8_STRING", "/tmp/a b\n/tmp/ż"}}},
    };
    for (const auto& one : cases) {
        pasteboard->clearContents();
        one.write();
        ASSERT_TRUE(waitForOurOwnership());
        const auto targets = peer->pasteTargets();
        for (const char* name : {"TARGETS", "TIMESTAMP", "MULTIPLE"}) {
            EXPECT_EQ(std::count(targets.begin(), targets.end(), name), 1) << name;
        }
        for (const auto& [target, type, bytes] : one.expected) {
            SCOPED_TRACE(target);
            EXPECT_EQ(std::count(targets.begin(), targets.end(), target), 1);
            EXPECT_EQ(peer->paste(target), bytes);
            EXPECT_EQ(peer->pastedType(), type);
        }
        EXPECT_FALSE(peer->paste("image/x-unknown"));
    }
}

TEST_F(OwningTest, MultipleServesWhatItCanAndNamesWhatItCannot) {
    write("text");
    EXPECT_EQ(peer->pasteMultiple({"UTF8_STRING", "image/png", "STRING", "TIMESTAMP"}),
              (std::vector<bool>{true, false, true, true}));
}

TEST_F(OwningTest, LargeContentGoesToSeveralAtATimeAndOutlivesItsOwnership) {
    std::string large(5'000'000, 'x');
    for (std::size_t at = 0; at < large.size(); at += 11) large[at] = static_cast<char>('a' + at % 26);
    write(large);
    Peer other(runLoop);
    const auto first = peer->beginPaste("UTF8_STRING");
    const auto second = peer->beginPaste("text/plain");
    const auto third = other.beginPaste("UTF8_STRING");
    ASSERT_TRUE(wait([&] { return pasteboard->activeTransfers() == 3; }));
    Peer next(runLoop);
    next.copyText("next");
    EXPECT_EQ(nextText(), "next");
    ASSERT_TRUE(wait([&] { return first->isDone && second->isDone && third->isDone; }));
    EXPECT_TRUE(first->bytes == large);
    EXPECT_TRUE(second->bytes == large);
    EXPECT_TRUE(third->bytes == large);
    EXPECT_TRUE(wait([&] { return pasteboard->activeTransfers() == 0; }));
}

TEST_F(OwningTest, LosingTheClipboardEndsOurContentAtOnce) {
    write("ours");
    peer->copy({{.target = "UTF8_STRING", .bytes = "", .manner = Manner::silent}});
    ASSERT_TRUE(wait([&] { return pasteboard->activeTransfers() == 1; }));
    EXPECT_FALSE(pasteboard->setString("more", NSPasteboardTypeString)) << "while theirs is being read";
}

TEST_F(OwningTest, TheClipboardOutlivesItsWindowsAndForgedEnds) {
    write("ours");
    const auto count = pasteboard->changeCount();
    const auto destroyAll = [&] {
        for (const auto window : peer->windowsOfOthers()) xcb_destroy_window(peer->xcb(), window);
        peer->synchronize();
    };
    const std::pair<const char*, std::function<void()>> ends[] = {
        {"destroyed", destroyAll},
        {"said to be lost",
         [&] {
             xcb_selection_clear_event_t clear{};
             clear.response_type = XCB_SELECTION_CLEAR;
             clear.owner = presentOwner();
             clear.selection = connection->atoms().clipboard;
             peer->forge(clear.owner, clear);
         }},
    };
    for (const auto& [name, end] : ends) {
        SCOPED_TRACE(name);
        end();
        settle();
        ASSERT_TRUE(waitForOurOwnership());
        EXPECT_EQ(peer->paste("UTF8_STRING"), "ours");
        EXPECT_EQ(pasteboard->changeCount(), count);
    }
    // Nor does it take the clipboard from a program that copies in that moment.
    for (const char* copied : {"theirs", "the next"}) {
        destroyAll();
        Peer other(runLoop);
        other.copyText(copied);
        EXPECT_EQ(nextText(), copied);
        settle();
        EXPECT_TRUE(other.isOwner());
    }
    write("ours again");
    EXPECT_EQ(peer->paste("UTF8_STRING"), "ours again");
}

TEST_F(OwningTest, PreservedContentOutlivesItsOwnerInItsOwnForm) {
    const std::vector<std::pair<Answer, std::string>> contents{
        {{"UTF8_STRING", "kept"}, "UTF8_STRING"},
        {{"image/tiff", "II*"}, "image/tiff"},
        {{"text/uri-list", "file:///a%20b\r\n"}, "x-special/gnome-copied-files"},
    };
    const auto die = [&] { peer->die(); };
    const auto destroy = [&] { peer->destroyWindow(); };
    for (const auto& end : {std::function<void()>(die), std::function<void()>(destroy)}) {
        for (const auto& [answer, target] : contents) {
            SCOPED_TRACE(target);
            copyAndPreserve({answer});
            const auto count = pasteboard->changeCount();
            const auto seen = changesSeen;
            EXPECT_TRUE(peer->isOwner());
            end();
            ASSERT_TRUE(waitForOurOwnership());
            newPeer();
            const auto expected =
                target == "x-special/gnome-copied-files" ? "copy\nfile:///a%20b" : answer.bytes;
            EXPECT_EQ(peer->paste(target), expected);
            EXPECT_EQ(pasteboard->changeCount(), count);
            EXPECT_EQ(changesSeen, seen);
        }
    }
}

TEST_F(OwningTest, FilesThatWereCutStayACut) {
    const std::string list = "text/uri-list";
    const std::vector<std::vector<Answer>> cuts{
        {{list, "file:///0\r\n"}, {"x-special/gnome-copied-files", "cut\nfile:///0"}},
        {{"x-special/mate-copied-files", "cut\nfile:///1"}, {list, "file:///1\r\n"}},
        {{list, "file:///2\r\n"}, {"application/x-kde-cutselection", "1"}},
    };
    for (std::size_t number = 0; number < cuts.size(); ++number) {
        copyAndPreserve(cuts[number]);
        peer->die();
        ASSERT_TRUE(waitForOurOwnership());
        newPeer();
        const auto expected = "cut\nfile:///" + std::to_string(number);
        EXPECT_EQ(peer->paste("x-special/gnome-copied-files"), expected);
        EXPECT_EQ(peer->paste("x-special/mate-copied-files"), expected);
        EXPECT_EQ(peer->paste("application/x-kde-cutselection"), "1");
    }
    copyAndPreserve(
        {{list, "file:///copied"}, {"application/x-kde-cutselection", "", {}, 8, Manner::refuses}});
    peer->die();
    ASSERT_TRUE(waitForOurOwnership());
    newPeer();
    EXPECT_EQ(peer->paste("application/x-kde-cutselection"), "0");
}

class SavingTest : public OwningTest {
protected:
    /// The program asks for its copy to be kept; returns when it has been answered.
    void save() {
        const auto saved = peer->beginPaste("SAVE_TARGETS", "CLIPBOARD_MANAGER");
        ASSERT_TRUE(wait([&] { return saved->isDone; }));
        EXPECT_TRUE(saved->bytes);
    }
    void saveAndDie() {
        save();
        peer->die();
        ASSERT_TRUE(waitForOurOwnership());
        newPeer();
    }
    long timesAsked(const std::string& target) {
        return std::count(peer->asked().begin(), peer->asked().end(), target);
    }

    const std::string rich = std::string(2'000'000, 'r');
    const std::vector<Answer> formats{
        {"UTF8_STRING", "text"},
        {"image/png", "a picture of it"},
        {"text/html", "<b>text</b>"},
        {.target = "text/rtf", .bytes = rich, .manner = Manner::incremental},
        {.target = "application/x-color",
         .bytes = std::string(8, '\7'),
         .type = "application/x-color",
         .format = 16},
        {.target = "PIXMAP", .bytes = std::string(4, '\7'), .type = "PIXMAP", .format = 32},
        {.target = "announced", .bytes = "", .manner = Manner::refuses},
        {"DELETE", ""},
    };
};

TEST_F(SavingTest, EveryFormatOutlivesTheProgramThatAsksForIt) {
    copyAndPreserve(formats);
    saveAndDie();
    const std::vector<std::string> kept{"text/html", "text/rtf", "application/x-color", "image/png",
                                        "UTF8_STRING"};
    const auto targets = peer->pasteTargets();
    for (const auto& target : kept)
        EXPECT_EQ(std::count(targets.begin(), targets.end(), target), 1) << target;
    EXPECT_EQ(peer->paste("text/html"), "<b>text</b>");
    EXPECT_TRUE(peer->paste("text/rtf") == rich);
    EXPECT_EQ(peer->paste("application/x-color"), std::string(8, '\7'));
    EXPECT_EQ(peer->paste("image/png"), "a picture of it");
    EXPECT_EQ(peer->paste("UTF8_STRING"), "text");
    for (const char* target : {"PIXMAP", "announced", "DELETE"}) {
        EXPECT_EQ(std::count(targets.begin(), targets.end(), target), 0) << target;
    }
    // It goes with the content that it belongs to.
    copyAndPreserve({{"UTF8_STRING", "next"}});
    peer->die();
    ASSERT_TRUE(waitForOurOwnership());
    newPeer();
    EXPECT_FALSE(peer->paste("text/html"));
}

TEST_F(SavingTest, NothingIsFetchedThatMustNotBeKeptOrIsThereAlready) {
    // Refused, and asked for by somebody else than its program.
    peer->copy(formats);
    ASSERT_EQ(nextText(), "text");
    save();
    EXPECT_EQ(timesAsked("text/html"), 0);
    pasteboard->preserve(pasteboard->changeCount());
    const auto stranger = std::make_unique<Peer>(runLoop);
    EXPECT_TRUE(stranger->paste("SAVE_TARGETS", "CLIPBOARD_MANAGER"));
    EXPECT_EQ(timesAsked("text/html"), 0);
    save();
    save();
    EXPECT_EQ(timesAsked("text/html"), 1);
    EXPECT_EQ(timesAsked("DELETE"), 0);
    // The same picture once more would be megabytes for nothing.
    copyAndPreserve({{"image/png", "picture"}, {"image/bmp", "the same"}, {"image/svg+xml", "<svg/>"}});
    saveAndDie();
    EXPECT_FALSE(peer->paste("image/bmp"));
    EXPECT_EQ(peer->paste("image/svg+xml"), "<svg/>");
}

TEST_F(SavingTest, FormatsAreBoundedTogetherInBytesAndInTime) {
    open({.savedBytes = 100'000});
    copyAndPreserve(formats);
    saveAndDie();
    EXPECT_FALSE(peer->paste("text/rtf"));
    EXPECT_EQ(peer->paste("image/png"), "a picture of it");

    open({.saveSeconds = 0.1});
    copyAndPreserve({{"UTF8_STRING", "text"},
                     {"text/html", "<b>"},
                     {.target = "slow", .bytes = "", .manner = Manner::silent}});
    saveAndDie();
    EXPECT_EQ(peer->paste("text/html"), "<b>");
}

class ClearingTest : public OwningTest {
protected:
    void copyInWindow() {
        copyAndPreserve({{"UTF8_STRING", "cleared"}});
        peer->setRootWindow("_NET_CLIENT_LIST", peer->makeWindow({}, 1));
        copyAndPreserve({{"UTF8_STRING", "kept"}});
    }
};

TEST_F(ClearingTest, AClearByAProgramThatEndsIsItsEnd) {
    open({.endSeconds = 100});
    copyInWindow();
    const auto before = pasteboard->changeCount();
    peer->clear();
    peer->die();
    ASSERT_TRUE(waitForOurOwnership());
    newPeer();
    EXPECT_EQ(peer->paste("UTF8_STRING"), "kept");
    EXPECT_EQ(pasteboard->changeCount(), before);
    EXPECT_EQ(text(), "kept");
}

TEST_F(ClearingTest, AnyOtherClearIsFinal) {
    // Its program lives on.
    open({.endSeconds = 0.05});
    copyInWindow();
    peer->clear();
    EXPECT_EQ(nextText(), "-");
    peer->die();
    EXPECT_TRUE(waitForNoOwner());
    newPeer();
    // Somebody else is quicker.
    open({.endSeconds = 100});
    copyInWindow();
    Peer other(runLoop);
    peer->clear();
    other.copyText("next");
    EXPECT_EQ(nextText(), "next");
    peer->die();
    newPeer();
    settle();
    EXPECT_TRUE(other.isOwner());
    // A tool that ends because another one has cleared has no window.
    peer->setRootWindow("_NET_CLIENT_LIST", other.makeWindow({}, 1));
    copyAndPreserve({{"UTF8_STRING", "cleared"}});
    peer->clear();
    peer->die();
    EXPECT_EQ(nextText(), "-");
    EXPECT_TRUE(waitForNoOwner());
}

class TakingUpTest : public OwningTest {
protected:
    TakingUpTest() {
        copies = pasteboard->observeCopies([this] { ++copiesSeen; });
    }
    /// Another program has the part of the clipboard manager.
    void useManager() {
        pasteboard.reset();
        peer->synchronize();
        manager = std::make_unique<Peer>(runLoop);
        manager->take("CLIPBOARD_MANAGER");
        open({});
        copies = pasteboard->observeCopies([this] { ++copiesSeen; });
    }
    void expectNoChange(const std::function<void()>& act) {
        const auto before = pasteboard->changeCount();
        const auto seen = copiesSeen;
        act();
        settle();
        ASSERT_TRUE(wait([&] { return pasteboard->activeTransfers() == 0; }));
        settle();
        EXPECT_EQ(pasteboard->changeCount(), before);
        EXPECT_EQ(copiesSeen, seen);
    }

    std::unique_ptr<Peer> manager;
    int copiesSeen = 0;
    Observation copies;
};

TEST_F(TakingUpTest, WhatTheManagerTakesUpIsTheSameCopy) {
    useManager();
    peer->copyText("refused");
    ASSERT_EQ(nextText(), "refused");
    EXPECT_EQ(copiesSeen, 1);
    // While its program lives, after its end, and a while later.
    expectNoChange([&] { manager->copyText("refused"); });
    peer->die();
    expectNoChange([&] { manager->copyText("refused"); });
    // What a person chose there is another copy.
    manager->copyText("chosen");
    EXPECT_EQ(nextText(), "chosen");
    EXPECT_EQ(copiesSeen, 2);

    // Marked content can't be compared: nothing is asked for.
    newPeer();
    peer->copy({{"UTF8_STRING", "hunter2"}, {"x-kde-passwordManagerHint", "secret"}});
    EXPECT_EQ(nextText(), "-");
    peer->die();
    expectNoChange([&] { manager->copyText("hunter2"); });
    EXPECT_TRUE(manager->asked().empty());
    newPeer();
    peer->copyText("hunter2");
    EXPECT_EQ(nextText(), "hunter2");
}

TEST_F(TakingUpTest, WhatIsTakenUpAtAProgramsEndIsTheSameCopy) {
    peer->copyText("refused");
    ASSERT_EQ(nextText(), "refused");
    Peer other(runLoop);
    peer->die();
    // The server takes its time to notice; a copy that reaches it before is not taken up from anybody.
    ASSERT_TRUE(wait([&] { return presentOwner() == XCB_WINDOW_NONE; }));
    expectNoChange([&] { other.copyText("refused"); });
    newPeer();
    // Other content is another copy, also after one that can't be compared.
    peer->copy({{"UTF8_STRING", "hunter2"}, {"x-kde-passwordManagerHint", "secret"}});
    EXPECT_EQ(nextText(), "-");
    const auto seen = copiesSeen;
    peer->die();
    other.copyText("mine");
    EXPECT_EQ(nextText(), "mine");
    EXPECT_EQ(copiesSeen, seen + 1);
}

TEST_F(OwningTest, WhoeverCopiesInTheMomentOfTheDeathKeepsTheClipboard) {
    copyAndPreserve({{"UTF8_STRING", "old"}});
    Peer other(runLoop);
    other.waitForNextServerTime();
    peer->die();
    other.copyText("new");
    EXPECT_EQ(nextText(), "new");
    newPeer();
    settle();
    EXPECT_TRUE(other.isOwner());
}

TEST_F(OwningTest, ProgramsThatEndAreAnsweredAtOnceButNotBeforeTheirCopyIsRead) {
    peer->copyText("kept");
    ASSERT_EQ(nextText(), "kept");
    auto saved = peer->beginPaste("SAVE_TARGETS", "CLIPBOARD_MANAGER");
    ASSERT_TRUE(wait([&] { return saved->isDone; }, 1));
    EXPECT_TRUE(saved->bytes);

    // A program that copies and ends in one breath: it is still asked for everything before it may go.
    std::string large(2'000'000, 'x');
    peer->copy({{.target = "UTF8_STRING", .bytes = large, .manner = Manner::incremental}});
    Peer insistent(runLoop);
    for (int time = 0; time < 40; ++time) insistent.beginPaste("SAVE_TARGETS", "CLIPBOARD_MANAGER");
    insistent.synchronize();
    saved = peer->beginPaste("SAVE_TARGETS", "CLIPBOARD_MANAGER");
    std::int64_t countAtAnswer = 0;
    const auto before = pasteboard->changeCount();
    ASSERT_TRUE(wait([&] {
        if (saved->isDone && !countAtAnswer) countAtAnswer = pasteboard->changeCount();
        return saved->isDone;
    }));
    EXPECT_EQ(countAtAnswer, before + 1);
    EXPECT_TRUE(text() == large);

    // One that never gives its copy isn't held longer than the reading.
    open({.answerSeconds = 0.05});
    peer->copy({{.target = "UTF8_STRING", .bytes = "", .manner = Manner::silent}});
    saved = peer->beginPaste("SAVE_TARGETS", "CLIPBOARD_MANAGER");
    EXPECT_TRUE(wait([&] { return saved->isDone && !drops.empty(); }));
}

}  // namespace vellumix::tests
