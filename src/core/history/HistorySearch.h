#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/history/ClipboardItem.h"
#include "platform/foundation/observation/Published.h"
#include "platform/foundation/text/CaselessText.h"

namespace vellumix {

/// Finds entries by what a person types, and publishes what it found. Main thread only.
///
/// Locked entries are searched too. Their texts are deciphered when a search begins, all of them with one
/// read of the key, and kept until the search ends, so that the keychain isn't asked at each key press; the
/// key itself is kept by nobody. `forget`, or a question without a query, ends a search.
///
/// `found` looks, and belongs to what a person or a list does; `answer` only tells, and belongs to what is
/// shown.
class HistorySearch {
public:
    using Items = std::vector<ClipboardItem>;
    struct Question {
        /// `all` stands for every kind.
        ClipboardItem::Kind category = ClipboardItem::Kind::all;
        /// Found in a text or a file name: letter case is ignored, accents are not, blanks count.
        String query;

        friend bool operator==(const Question&, const Question&) = default;
    };

    static HistorySearch& shared();

    /// The entries of the kind in which the query is, in their order; an empty query is in all of them. It
    /// returns with the answer, which is looked for only if it isn't the last one: 2 ms for 200 texts of
    /// 10 KB. A keychain that doesn't answer costs one of its waits a search, and hides the locked entries.
    std::shared_ptr<const Items> found(const Items& items, const Question& question);
    /// What was found last, if the question was the same; null once the search has ended. Whoever asked while
    /// a view was evaluated is evaluated again when another answer has been found.
    std::shared_ptr<const Items> answer(const Question& question) const;
    void forget();

private:
    /// The text of a locked entry, or the name of its file; absent where it can't be deciphered.
    struct Deciphered {
        /// What it was made from: the entry may have been locked anew since.
        Data blob;
        std::optional<String> text;
    };
    struct Answer {
        Question question;
        /// What was searched.
        Items items;
        std::shared_ptr<const Items> found;
    };

    void decipher(const Items& items);
    bool matches(const ClipboardItem& item, const CaselessText& query) const;

    std::map<std::string, Deciphered> texts;
    std::map<std::string, Deciphered> fileURLs;
    Published<std::shared_ptr<const Answer>> answer_;
};

/// The entries of a kind, or of every kind for `all`, in their order.
HistorySearch::Items entriesOf(ClipboardItem::Kind category, const HistorySearch::Items& items);

}  // namespace vellumix
