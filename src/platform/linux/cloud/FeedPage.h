#pragma once

#include <functional>
#include <string>

#include "platform/foundation/loop/RunLoop.h"
#include "platform/foundation/memory/Lifetime.h"
#include "platform/linux/cloud/CouchRequests.h"
#include "platform/linux/cloud/FeedSplitter.h"

namespace vellumix::linux_desktop {

/// One page of the feed, read while it comes: a few rows in each turn of the loop, for which the transfer
/// waits.
class FeedPage {
public:
    /// Gets each row, and an empty view for one that was too large. False when it wants no more.
    using RowTaker = std::function<bool(ByteView row)>;

    FeedPage(RunLoop& runLoop, RowTaker onRow) : runLoop(runLoop), onRow(std::move(onRow)) {}

    /// For `CouchRequests::stream`.
    bool take(ByteView piece, URLSessionTask& task);
    /// The taker wanted no more.
    bool isCutShort() const { return isCutShort_; }
    /// In this page, those that were too large among them.
    std::size_t rowCount() const { return rowCount_; }
    /// What stands round the rows of a page that has come whole; nothing where it is no page of a feed.
    std::optional<JsonValue> frame() const;

private:
    /// Seconds of work in one turn of the loop.
    static constexpr double longestTurn = 0.0003;

    void work(URLSessionTask& task);

    RunLoop& runLoop;
    const RowTaker onRow;
    FeedSplitter splitter;
    /// What a turn has left over.
    Bytes rest;
    std::size_t rowCount_ = 0;
    bool isMalformed = false;
    bool isCutShort_ = false;
    Lifetime lifetime;
};

}  // namespace vellumix::linux_desktop
