// What the panel costs: from the tree to the painted frame, without a display. The history has 200 entries,
// and the list shows them as the panel does. Medians, in milliseconds, and heap allocations a frame.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "bench/Allocations.h"
#include "bench/PanelList.h"
#include "core/history/HistorySearch.h"
#include "core/history/Store.h"
#include "gallery/GallerySamples.h"
#include "platform/foundation/loop/RunLoop.h"
#include "platform/headless/Desktop.h"
#include "platform/view/values/Views.h"
#include "platform/view/windows/HostingView.h"
#include "views/controls/Looks.h"
#include "views/list/ClipboardListView.h"

namespace {

using namespace vellumix;
using namespace vellumix::view;
using Kind = ClipboardItem::Kind;
using Items = std::vector<ClipboardItem>;

constexpr int entryCount = 200;
constexpr Size panelSize{520, 620};

ClipboardItem written(Kind kind, std::string text) {
    ClipboardItem item{.id = UUID::random(), .date = RunLoop::main().now(), .kind = kind};
    item._text = String(std::move(text));
    return item;
}

/// A text of which no sign but the last is a "%".
std::string words(int number, std::size_t size, const std::string& sentence) {
    std::string text = "Entry " + std::to_string(number) + ":";
    while (text.size() < size) text += sentence;
    return text + '%';
}

constexpr auto english = " the quick brown fox jumps over the lazy dog,";
constexpr auto portuguese = " a ligação não é tão rápida às três da manhã, avô,";
constexpr auto greek = " ξεσκεπάζω την ψυχοφθόρα βδελυγμία,";

/// All kinds in turn, every fifth an image.
Items mixedHistory() {
    const auto samples = Samples::make().history();
    Items items;
    for (int number = 0; number < entryCount; ++number) {
        const auto at = static_cast<std::size_t>(number) % samples.size();
        auto item = samples[at];
        item.id = UUID::random();
        if (item.kind == Kind::text && item._text) {
            item._text = String(std::to_string(number) + ' ' + item._text->string());
        }
        if (number % 5 == 0) {
            item = {.id = UUID::random(), .date = item.date, .kind = Kind::image};
            item._imageData = Data(std::string_view("landscape 400x200"));
        }
        items.push_back(std::move(item));
    }
    return items;
}

Items textHistory(std::size_t size, const std::string& sentence = english) {
    Items items;
    for (int number = 0; number < entryCount; ++number)
        items.push_back(written(Kind::text, words(number, size, sentence)));
    return items;
}

/// 200 texts of 10 KB, a quarter of them locked.
Items searchedHistory(const std::string& sentence) {
    constexpr std::size_t size = 10240;
    auto items = textHistory(size, sentence);
    for (std::size_t at = 0; at < items.size(); at += 4) {
        items[at].locked = true;
        items[at].encryptContent();
    }
    return items;
}

double milliseconds(const std::function<void()>& work) {
    using Clock = std::chrono::steady_clock;
    const auto start = Clock::now();
    work();
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

double median(std::vector<double> values) {
    std::ranges::sort(values);
    return values[values.size() / 2];
}

/// What was done again and again: how long each took, and how often it asked for memory.
struct Series {
    std::vector<double> times;
    std::vector<double> counts;

    void add(const std::function<void()>& work) {
        const auto before = bench::allocationCount();
        times.push_back(milliseconds(work));
        counts.push_back(static_cast<double>(bench::allocationCount() - before));
    }
    void print(const std::string& what, const char* meant) const {
        std::printf("%-52s %8.2f ms %8.2f at most %8.0f allocations   %s\n", what.c_str(), median(times),
                    *std::ranges::max_element(times), median(counts), meant);
    }
};

/// A panel in a headless window.
class Stage {
public:
    Stage(headless::Desktop& desktop, Renderer& renderer, Store& store)
        : desktop(desktop),
          window(desktop.windows.makeWindow(
              {.kind = NSWindow::Kind::panel, .frame = {{}, panelSize}, .title = {}})),
          view(*window, bench::listOf(store), renderer) {}

    ViewTree& tree() { return view.tree(); }
    void open() { view.orderFront(); }
    /// Lets pictures come and animations end.
    void settle() { desktop.runLoop.advance(2); }
    /// Does something and draws what has changed.
    void step(const std::function<void()>& work) {
        work();
        view.drawNow();
    }
    Series steps(int rounds, const std::function<void(int)>& work) {
        Series series;
        for (int round = 0; round < rounds; ++round) {
            series.add([&] { step([&] { work(round); }); });
            settle();
        }
        return series;
    }

private:
    headless::Desktop& desktop;
    std::unique_ptr<NSWindow> window;
    HostingView view;
};

constexpr Point overCards{260, 400};

void type(ViewTree& tree, int round) {
    const KeyEvent sign{.text = "%"};
    const KeyEvent erase{.key = Key::backspace};
    tree.keyPressed(round % 2 == 0 ? sign : erase);
}

void measureOpening(headless::Desktop& desktop, const Items& items, const std::string& what) {
    Store store;
    store.replaceAll(items);
    Series first;
    Series later;
    for (int round = 0; round < 9; ++round) {
        Renderer renderer;
        std::optional<Stage> stage;
        first.add([&] {
            stage.emplace(desktop, renderer, store);
            stage->open();
        });
        for (int again = 0; again < 3; ++again) {
            stage.reset();
            later.add([&] {
                stage.emplace(desktop, renderer, store);
                stage->open();
            });
        }
    }
    first.print(what + ": first open", "60 ms");
    later.print(what + ": later open", "16 ms");
}

void measureScrolling(headless::Desktop& desktop, const Items& items, const std::string& what,
                      const char* meant) {
    Store store;
    store.replaceAll(items);
    Renderer renderer;
    Stage stage(desktop, renderer, store);
    stage.open();
    stage.settle();
    auto& tree = stage.tree();
    constexpr int rounds = 150;
    stage.steps(rounds, [&](int) { tree.scrolled(overCards, 53); }).print(what + ": scroll down", meant);
    stage.steps(rounds, [&](int) { tree.scrolled(overCards, -53); }).print(what + ": scroll back", meant);
    stage
        .steps(rounds,
               [&](int round) {
                   tree.pointerMoved(overCards + Point{0, round % 2 == 0 ? 0.0 : 100.0});
               })
        .print(what + ": hover", meant);
    stage.steps(rounds, [&](int round) { tree.keyPressed({.key = round % 2 == 0 ? Key::down : Key::up}); })
        .print(what + ": arrow key", meant);
    stage.steps(rounds, [](int) {}).print(what + ": nothing has changed", meant);
}

void measureTyping(headless::Desktop& desktop, const std::string& sentence, const std::string& what) {
    const auto items = searchedHistory(sentence);
    Store store;
    store.replaceAll(items);
    Renderer renderer;
    Stage stage(desktop, renderer, store);
    stage.open();
    stage.tree().focusNext();
    // The first sign begins a search, and has the locked entries deciphered.
    Series first;
    first.add([&] { stage.step([&] { type(stage.tree(), 0); }); });
    first.print(what + ": first sign", "8 ms");
    stage.steps(60, [&](int round) { type(stage.tree(), round); }).print(what + ": sign", "8 ms");
    constexpr int rounds = 31;
    Series search;
    for (int round = 0; round < rounds; ++round)
        search.add([&] { HistorySearch::shared().found(items, {.query = round % 2 == 0 ? "%%" : "%%%"}); });
    search.print(what + ": search alone", "");
}

}  // namespace

int main() {
    headless::Desktop desktop;
    SampleImageDecoder images;
    SampleFileIcons icons;
    auto platform = desktop.platform();
    platform.imageDecoder = &images;
    platform.fileIcons = &icons;
    const platform::Scope scope(std::move(platform));

    const auto mixed = mixedHistory();
    for (const double scale : {1.0, 2.0}) {
        desktop.windows.scale = scale;
        const auto words = "mixed, scale " + std::to_string(static_cast<int>(scale));
        measureOpening(desktop, mixed, words);
        measureScrolling(desktop, mixed, words, scale == 1 ? "4 ms" : "8 ms");
    }
    desktop.windows.scale = 1;
    for (const auto& [size, what] : {std::pair{200, "short texts"}, {1 << 20, "texts of 1 MB"}}) {
        const auto items = textHistory(static_cast<std::size_t>(size));
        measureOpening(desktop, items, what);
        measureScrolling(desktop, items, what, "4 ms");
    }
    measureOpening(desktop, {written(Kind::text, std::string(1'000'000, 'm'))}, "a line of a million");
    measureTyping(desktop, english, "English");
    measureTyping(desktop, portuguese, "Portuguese");
    measureTyping(desktop, greek, "Greek");
}
