#include "platform/linux/cloud/FeedPage.h"

#include <utility>

namespace vellumix::linux_desktop {

bool FeedPage::take(ByteView piece, URLSessionTask& task) {
    if (isMalformed || isCutShort_) return false;
    append(rest, piece);
    work(task);
    return !isMalformed && !isCutShort_;
}

void FeedPage::work(URLSessionTask& task) {
    const auto end = runLoop.uptime() + longestTurn;
    ByteView bytes = rest;
    while (!bytes.empty() && !isMalformed && !isCutShort_ && runLoop.uptime() < end) {
        const auto step = splitter.next(bytes);
        if (step == FeedSplitter::Step::malformed) {
            isMalformed = true;
        } else if (step != FeedSplitter::Step::wantsMore) {
            ++rowCount_;
            isCutShort_ = !onRow(step == FeedSplitter::Step::row ? splitter.row() : ByteView());
        }
    }
    if (bytes.empty() || isMalformed || isCutShort_) {
        rest.clear();
        // What is wrong is told by the next piece, or by the end.
        task.resume();
        return;
    }
    rest.erase(rest.begin(), rest.end() - static_cast<std::ptrdiff_t>(bytes.size()));
    task.suspend();
    runLoop.postBehind(lifetime.weakly([this, &task] { work(task); }));
}

std::optional<JsonValue> FeedPage::frame() const { return isMalformed ? std::nullopt : splitter.frame(); }

}  // namespace vellumix::linux_desktop
