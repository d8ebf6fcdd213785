#include "core/history/HistorySearch.h"

#include "core/history/Store.h"
#include "support/HeadlessTest.h"

namespace vellumix {
namespace {

using Kind = ClipboardItem::Kind;

class HistorySearchTest : public HeadlessTest {
protected:
    std::vector<std::string> found(const std::string& query, Kind category = Kind::all) {
        return textsOf(*HistorySearch::shared().found(store.items().get(), {category, String(query)}));
    }

    Store store;
};

TEST_F(HistorySearchTest, FindsWhateverTheCaseAndNotWithoutTheAccent) {
    struct Case {
        const char* text;
        const char* query;
        bool isFound;
    };
    std::string iotas = " f";
    std::string foldedIotas = " f";
    for (int count = 0; count < 10; ++count) {
        iotas = "\u1fbe\u0308\u0301" + iotas;
        foldedIotas = "\u0390" + foldedIotas;
    }
    const Case cases[] = {
        {"Meeting NOTES", "notes", true},
        {"meeting notes", "NOTES", true},
        {"a  b", "a b", false},
        {"caf\u00e9", "cafe", false},
        {"cafe\u0301", "cafe", false},
        {"CAFE\u0301 au lait", "caf\u00e9 AU", true},
        {"STRASSE", "stra\u00dfe", true},
        {"\u0395\u03bb\u03bb\u03ac\u03b4\u03b1", "\u0395\u039b\u039b\u0386\u0394\u0391", true},
        {"300 \u212a", "k", true},
        {"x\u0301\u0301y", "xy", false},
        {"\u00e0s tr\u00caS da manh\u00e3", "tr\u00eas DA MANH\u00c3", true},
        {"\u304b\u3099", "\u304b", false},
        {"\u304b\u3099", "\u304c", true},
        {"\u1112\u1161\u11ab", "\ud55c", true},
        {"o\u0301\u0323", "\u1ecd\u0301", true},
        {"\u03b1\u0345\u0301", "\u03ac\u03b9", true},
        {iotas.c_str(), foldedIotas.c_str(), true},
        {"\ufb03x", "FFI", true},
        {"\u037e", ";", true},
        {"\xED\xA0\x80 z\u0323", "\u1e93", true},
    };
    for (const auto& one : cases) {
        EXPECT_EQ(CaselessText(one.query).isIn(one.text), one.isFound) << one.text << " / " << one.query;
        // Wherever it lies to the blocks and pieces in which a text is searched.
        for (const std::size_t before : {1, 12, 15, 16, 17, 16380, 16383, 16384, 40000}) {
            const auto text = std::string(before, '.') + one.text + std::string(20000, 'i');
            EXPECT_EQ(CaselessText(one.query).isIn(text), one.isFound) << one.query << " after " << before;
        }
    }
    // What has too many marks to be put in order is found as it stands, from wherever it is come upon.
    std::string pile = "Q";
    for (int mark = 0; mark < 5000; ++mark) pile += "\u0301\u0323\u0334";
    EXPECT_TRUE(CaselessText("\u0334x1").isIn(std::string(300, '.') + pile + "X1"));
    EXPECT_FALSE(CaselessText("\u0323\u0301").isIn(pile)) << "not in that order";
    EXPECT_TRUE(CaselessText(pile + '1').isIn(std::string(300, '.') + pile + "1"));
    EXPECT_TRUE(CaselessText("").isIn(""));
    EXPECT_FALSE(CaselessText("\u00e9").isIn(std::string(100000, 'e')));
}

TEST_F(HistorySearchTest, FiltersByKindAndFindsFilesByTheirName) {
    store.add(textItem("report about cats"));
    store.add(textItem("report(cats)", Kind::code));
    store.add(fileItem("/home/cats/Report.odt"));
    EXPECT_EQ(found("report"), (std::vector<std::string>{"Report.odt", "report(cats)", "report about cats"}));
    EXPECT_EQ(found("cats", Kind::file), std::vector<std::string>()) << "the folder isn't the name";
    EXPECT_EQ(found("", Kind::code), std::vector<std::string>{"report(cats)"});
}

TEST_F(HistorySearchTest, LockedEntriesAreFoundWithOneReadOfTheKeyASearch) {
    for (const auto* text : {"first secret", "second secret", "open"}) store.add(textItem(text));
    store.setLocked(store.items().get()[1], true);
    store.setLocked(store.items().get()[2], true);
    const auto readsBefore = desktop.keychain.reads;
    EXPECT_EQ(found("s").size(), 2u);
    EXPECT_EQ(found("sec").size(), 2u);
    EXPECT_EQ(found("second").size(), 1u);
    EXPECT_EQ(desktop.keychain.reads - readsBefore, 1);

    store.add(fileItem("/home/ana/Tax return.pdf"));
    store.setLocked(store.items()->front(), true);
    EXPECT_EQ(found("tax RETURN").size(), 1u) << "by the name of a file, too";
    EXPECT_EQ(found("return.pdf", Kind::file).size(), 1u);
    EXPECT_EQ(found("ana").size(), 0u) << "the folder isn't the name";

    HistorySearch::shared().forget();
    desktop.keychain.refusal = errSecInteractionNotAllowed;
    const auto readsUntilRefused = desktop.keychain.reads;
    EXPECT_EQ(found("secret").size(), 0u) << "a locked keyring hides them, and nothing else";
    EXPECT_EQ(found("open").size(), 1u);
    EXPECT_EQ(desktop.keychain.reads - readsUntilRefused, 1) << "nor is it asked again and again";
}

TEST_F(HistorySearchTest, TellsWhatItFoundUntilTheQuestionOrTheEntriesAreOthers) {
    auto& search = HistorySearch::shared();
    for (const auto* text : {"apple", "pear"}) store.add(textItem(text));
    const HistorySearch::Question question{.query = "pp"};
    EXPECT_FALSE(search.answer(question)) << "who is shown looks for nothing";
    const auto first = search.found(store.items().get(), question);
    EXPECT_EQ(search.answer(question), first);
    EXPECT_EQ(search.found(store.items().get(), question), first) << "looked for once";
    EXPECT_FALSE(search.answer({.query = "p"}));
    EXPECT_FALSE(search.answer({Kind::code, "pp"}));
    store.add(textItem("pepper"));
    EXPECT_EQ(textsOf(*search.found(store.items().get(), question)),
              (std::vector<std::string>{"pepper", "apple"}));
    for (const auto& end : std::vector<std::function<void()>>{[&] { search.forget(); }, [&] { found(""); }}) {
        found("pp");
        end();
        EXPECT_FALSE(search.answer(question));
    }
}

}  // namespace
}  // namespace vellumix
