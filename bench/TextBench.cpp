// What a hostile or foreign text costs beside English of the same size: everything that the main loop does
// with a text, for texts of 2 MB (or of so many bytes as the first argument says). Times are the least of
// several rounds, in milliseconds of the processor, with their ratio to English; nothing should stand
// above 1.5.
#include <time.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "bench/PanelList.h"
#include "core/capture/TextClassification.h"
#include "core/history/HistorySearch.h"
#include "core/history/Store.h"
#include "core/transforms/TextTransform.h"
#include "platform/foundation/cipher/Hasher.h"
#include "platform/foundation/text/CaselessText.h"
#include "platform/foundation/text/Unicode.h"
#include "platform/headless/Desktop.h"
#include "platform/view/paint/PangoTextSetter.h"
#include "platform/view/windows/HostingView.h"
#include "views/controls/Looks.h"
#include "views/list/ClipboardListView.h"

namespace {

using namespace vellumix;
using namespace vellumix::view;

std::string repeated(const std::string& part, std::size_t size) {
    std::string text;
    text.reserve(size + part.size());
    while (text.size() < size) text += part;
    return text;
}

/// A kind of text, and words of its own letters that are not in it.
struct Family {
    const char* name;
    std::string text;
    std::string absent;
};

std::vector<Family> families(std::size_t size) {
    const std::string pangram = "the quick brown fox jumps over the lazy dog, ";
    const std::string surrogate = "\xED\xA0\x80";
    return {
        {"English", repeated(pangram + "\n", size), "dog fox"},
        {"marks", "Z" + repeated("\u0301\u0323\u0334", size), "\u0334\u0334"},
        {"marks between letters", repeated("a\u0301o\u0323z\u0323\u0301", size), "zz\u0323"},
        {"one letter", std::string(size, 'm'), "mmn"},
        {"surrogates", repeated(surrogate, size), "a"},
        {"repaired surrogates", repairedUTF8(repeated(surrogate, size / 3)), "\uFFFDa"},
        {"one line", repeated(pangram, size), "dog fox"},
        {"right to left, embedded", repeated("\u202B\u05D0\u05D1 ab\u202A\u05D2\u202C\u202C", size),
         "\u05D1\u05D2"},
        {"accents", repeated("a liga\u00e7\u00e3o n\u00e3o \u00e9 t\u00e3o r\u00e1pida, av\u00f4,\n", size),
         "\u00e3o liga\u00e3o"},
        {"Greek",
         repeated("\u03be\u03b5\u03c3\u03ba\u03b5\u03c0\u03ac\u03b6\u03c9 \u03c4\u03b7\u03bd,\n", size),
         "\u03c9 \u03be\u03b5"},
        {"Thai", repeated("\u0e1b\u0e35\u0e48\u0e19\u0e49\u0e33\u0e17\u0e35\u0e48 ", size), "\u0e19\u0e35"},
        {"ideographs", repeated("\u6f22\u5b57\u304b\u306a\u3002", size), "\u5b57\u6f22"},
        {"emoji", repeated("\U0001F469\u200D\U0001F4BB\U0001F1F5\U0001F1F9", size), "\U0001F4BB\U0001F469"},
        {"slashes", "a\n" + std::string(size, '/'), "a/"},
    };
}

using Work = std::function<void(const Family&)>;

double milliseconds(const Work& work, const Family& family) {
    const auto now = [] {
        timespec time{};
        ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
        return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
    };
    const auto start = now();
    work(family);
    return now() - start;
}

/// The families in turn, round by round, so that what else the machine does falls on all of them.
void measure(const std::string& what, const std::vector<Family>& families, int rounds, const Work& prepare,
             const Work& work) {
    std::vector<double> least(families.size(), std::numeric_limits<double>::max());
    for (int round = 0; round < rounds; ++round) {
        for (std::size_t at = 0; at < families.size(); ++at) {
            prepare(families[at]);
            least[at] = std::min(least[at], milliseconds(work, families[at]));
        }
    }
    std::printf("%s\n", what.c_str());
    for (std::size_t at = 0; at < families.size(); ++at) {
        const double ratio = least[at] / least.front();
        std::printf("    %-28s %9.3f ms %8.2f%s\n", families[at].name, least[at], ratio,
                    ratio > 1.5 ? "  *" : "");
    }
}

void measure(const std::string& what, const std::vector<Family>& families, const Work& work, int rounds = 7) {
    measure(
        what, families, rounds, [](const Family&) {}, work);
}

/// A panel over a history that holds a text of the family twenty times.
class Panel {
public:
    explicit Panel(headless::Desktop& desktop, const Family& family)
        : desktop(desktop),
          window(desktop.windows.makeWindow(
              {.kind = NSWindow::Kind::panel, .frame = {{}, {520, 620}}, .title = {}})) {
        std::vector<ClipboardItem> items;
        const String text(family.text);
        for (int number = 0; number < 20; ++number) {
            ClipboardItem item{.id = UUID::random(), .date = RunLoop::main().now()};
            item._text = text;
            items.push_back(std::move(item));
        }
        store.replaceAll(std::move(items));
        view.emplace(*window, bench::listOf(store), renderer);
    }

    void open() { view->orderFront(); }
    void settle() { desktop.runLoop.advance(2); }
    void focusSearch() { view->tree().focusNext(); }
    void type(const std::string& sign) {
        view->tree().keyPressed({.text = sign});
        view->drawNow();
    }
    void expandFirst() {
        constexpr Point firstCard{200, 160};
        view->tree().pointerMoved(firstCard);
        view->tree().pointerPressed({.at = firstCard});
        view->tree().pointerReleased(firstCard, PointerButton::primary);
        view->drawNow();
    }
    void scroll() {
        view->tree().scrolled({200, 400}, 53);
        view->drawNow();
    }

private:
    headless::Desktop& desktop;
    Store store;
    Renderer renderer;
    std::unique_ptr<NSWindow> window;
    std::optional<HostingView> view;
};

void measurePanel(headless::Desktop& desktop, const std::vector<Family>& all) {
    constexpr int rounds = 3;
    std::optional<Panel> panel;
    const auto make = [&](const Family& family) { panel.emplace(desktop, family); };
    const auto open = [&](const Family& family) {
        make(family);
        panel->open();
        panel->settle();
    };
    const auto search = [&](const Family& family) {
        open(family);
        panel->focusSearch();
    };
    const auto expand = [&](const Family& family) {
        open(family);
        panel->expandFirst();
        panel->settle();
    };
    measure("panel: opened", all, rounds, make, [&](const Family&) { panel->open(); });
    measure("panel: a sign typed that no text has", all, rounds, search,
            [&](const Family&) { panel->type("%"); });
    measure("panel: a card expanded", all, rounds, open, [&](const Family&) { panel->expandFirst(); });
    measure("panel: scrolled over an expanded card", all, rounds, expand,
            [&](const Family&) { panel->scroll(); });
}

}  // namespace

int main(int count, char** words) {
    const auto size = count > 1 ? std::strtoul(words[1], nullptr, 10) : std::size_t{2} << 20;
    headless::Desktop desktop;
    const platform::Scope scope(desktop.platform());
    const auto all = families(size);

    measure("search for a sign that no text has", all, [](const Family& family) {
        if (CaselessText("%%").isIn(family.text)) std::abort();
    });
    measure("search for what has the text's own letters", all, [](const Family& family) {
        if (CaselessText(family.absent).isIn(family.text)) std::abort();
    });
    std::vector<std::string> others;
    for (const auto& family : all) others.push_back(family.text + "x");
    measure("equality with a text that ends otherwise", all, [&](const Family& family) {
        if (canonicallyEqual(family.text, others[static_cast<std::size_t>(&family - all.data())]))
            std::abort();
    });
    measure("hash", all, [](const Family& family) {
        Hasher hasher;
        hasher.combine(family.text);
        hasher.finalize();
    });
    measure("classification", all, [](const Family& family) { classify(family.text); });
    measure("trim", all, [](const Family& family) { trimmedOfWhitespaceAndNewlines(family.text); });
    measure("repair", all, [](const Family& family) { repairedUTF8(family.text); });
    measure("blanks", all, [](const Family& family) { containsWhitespace(family.text); });
    measure("right to left", all, [](const Family& family) { containsRightToLeft(family.text); });
    for (const auto transform : allTextTransforms) {
        measure(
            "transform " + std::string(rawValue(transform)), all,
            [&](const Family& family) { vellumix::apply(transform, family.text); }, 2);
    }
    measure("letters and words round the middle", all, [](const Family& family) {
        const auto middle = family.text.size() / 2;
        graphemeBoundaryBefore(family.text, middle);
        graphemeBoundaryAfter(family.text, middle);
        wordSegmentAt(family.text, middle);
        wordStartBefore(family.text, middle);
        wordEndAfter(family.text, middle);
    });
    measurePanel(desktop, all);
}
