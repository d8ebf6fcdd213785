#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "platform/desktop/Trash.h"
#include "platform/foundation/loop/RunLoop.h"
#include "platform/foundation/memory/Lifetime.h"
#include "platform/foundation/observation/Observation.h"

namespace vellumix {

/// What becomes of a file entry on the pasteboard whose file isn't in its place any more, as after a cut:
/// where the trash holds it, that is written instead.
///
/// Main thread only. A file is written before anybody looks for it, so that the ordinary paste is as fast as
/// any; a disk that doesn't answer costs a paste `presenceSeconds`.
class FileOffer {
public:
    static FileOffer& shared();

    using Write = std::function<void(const URL&)>;
    /// The file has just been written to the general pasteboard. `write` does so again with another file, if
    /// need be and as long as nothing else has been copied.
    void follow(const URL& file, Write write);
    /// Runs the paste at once where there is nothing to wait for; otherwise when the pasteboard is ready, and
    /// never when the file turns out to be gone.
    void whenReady(Work paste);

    /// Posted when the file of an entry on the pasteboard is neither in its place nor found in the trash, and
    /// when it comes under the name that the trash has for it.
    static constexpr const char* goneNotification = "FileGone";
    static constexpr const char* otherNameNotification = "FileHasOtherName";

    /// For a disk to tell whether the file is there; then the paste goes on as if it were.
    static constexpr double presenceSeconds = 0.25;
    /// For the trash to be searched and the copy to be made; what has not been found then counts as gone.
    static constexpr double searchSeconds = 10;
    /// From the next copy of anything until what was offered goes: a file manager may still be at it.
    static constexpr double margin = 600;

private:
    enum class Step { ready, looking, searching, gone };

    bool isUnderWay() const { return step == Step::looking || step == Step::searching; }

    void search(const URL& file, const Write& write, std::int64_t changeCount);
    void arrive(const std::optional<Trash::Offer>& offer, const Write& write, std::int64_t changeCount);
    /// The end of whatever is under way.
    void settle(bool isGone);
    void releaseLater();
    /// What an answer does, unless it comes too late.
    template <class Answer>
    auto current(Answer answer) {
        return lifetime.weakly([this, number = number, answer = std::move(answer)](const auto& value) {
            if (number == this->number && isUnderWay()) answer(value);
        });
    }

    Step step = Step::ready;
    /// Of the files that were followed; answers about earlier ones are out of date.
    int number = 0;
    std::vector<Work> waiting;
    std::unique_ptr<NSTimer> deadline;
    /// What the trash gave is on the pasteboard, or was until a moment ago.
    std::unique_ptr<NSTimer> release;
    Observation changes;
    Lifetime lifetime;
};

}  // namespace vellumix
