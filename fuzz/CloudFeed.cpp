// The feed of a cloud database, fed in pieces of two sizes: the same rows come out, none larger than it may
// be, and what is taken for a page holds none of them itself.

#include <cstdlib>
#include <string>
#include <vector>

#include "platform/linux/cloud/CouchChange.h"
#include "platform/linux/cloud/FeedSplitter.h"

using namespace vellumix;
using linux_desktop::CouchChange;
using linux_desktop::FeedSplitter;

namespace {

struct Reading {
    std::vector<std::string> rows;
    bool isPage = false;
    bool operator==(const Reading&) const = default;
};

Reading readInPieces(ByteView bytes, std::size_t size) {
    Reading reading;
    FeedSplitter splitter;
    while (!bytes.empty()) {
        auto piece = bytes.first(std::min(size, bytes.size()));
        bytes = bytes.subspan(piece.size());
        while (!piece.empty()) {
            const auto before = piece.size();
            const auto step = splitter.next(piece);
            if (step == FeedSplitter::Step::malformed) return reading;
            if (piece.size() == before) std::abort();
            if (step != FeedSplitter::Step::row) continue;
            reading.rows.emplace_back(asText(splitter.row()));
            const auto change = CouchChange::read(splitter.row());
            if (change && (change->identifier.empty() || (change->isDeleted && change->record))) std::abort();
        }
    }
    reading.isPage = splitter.frame().has_value();
    return reading;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const auto whole = readInPieces({bytes, size}, size);
    if (!(whole == readInPieces({bytes, size}, 1))) std::abort();
    // What is taken for a page is one to a reader of the whole, too, where the text is JSON and names its
    // rows once.
    const auto value = JsonValue::parse({reinterpret_cast<const char*>(bytes), size});
    const auto* const members = value ? std::get_if<JsonValue::Object>(&value->value) : nullptr;
    if (!whole.isPage || !members) return 0;
    std::vector<const JsonValue::Array*> results;
    for (const auto& [name, member] : *members)
        if (name == "results") results.push_back(std::get_if<JsonValue::Array>(&member.value));
    if (results.empty() || (results.size() == 1 && (!results[0] || results[0]->size() != whole.rows.size())))
        std::abort();
    return 0;
}
