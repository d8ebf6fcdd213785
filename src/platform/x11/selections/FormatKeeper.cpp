#include "platform/x11/selections/FormatKeeper.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace vellumix::x11 {

namespace {

constexpr std::string_view neverKept[] = {
    "TARGETS", "TIMESTAMP", "MULTIPLE", "SAVE_TARGETS", "DELETE", "INSERT_SELECTION", "INSERT_PROPERTY",
};

/// An encoding of a picture in pixels; a drawing is more than its picture.
bool isPicture(std::string_view name) {
    return name.starts_with("image/") && name.find("svg") == std::string_view::npos;
}

/// Values that name what the server keeps for a program, and forgets with it.
bool isHandle(xcb_atom_t type) {
    constexpr xcb_atom_t handles[] = {XCB_ATOM_BITMAP, XCB_ATOM_COLORMAP, XCB_ATOM_CURSOR, XCB_ATOM_DRAWABLE,
                                      XCB_ATOM_FONT,   XCB_ATOM_PIXMAP,   XCB_ATOM_WINDOW};
    return std::ranges::find(handles, type) != std::end(handles);
}

}  // namespace

std::deque<xcb_atom_t> targetsToKeep(const Content& content, const Offer& offer,
                                     const std::vector<std::uint32_t>& wanted) {
    std::deque<xcb_atom_t> others;
    std::deque<xcb_atom_t> pictures;
    for (std::size_t at = 0; at < content.ownerTargets.size(); ++at) {
        const auto target = content.ownerTargets[at];
        const std::string_view name = content.ownerTypes[at];
        const bool isWanted = wanted.empty() || std::ranges::find(wanted, target) != wanted.end();
        if (!isWanted || std::ranges::find(neverKept, name) != std::end(neverKept) || offer.find(target)) {
            continue;
        }
        if (!isPicture(name)) {
            others.push_back(target);
        } else if (!content.image) {
            pictures.push_back(target);
        }
    }
    others.insert(others.end(), pictures.begin(), pictures.end());
    return others;
}

FormatKeeper::FormatKeeper(Connection& connection, const TransferLimits& limits, xcb_atom_t selection,
                           xcb_timestamp_t time, std::deque<xcb_atom_t> targets, Completion completion)
    : connection(connection),
      limits(limits),
      selection(selection),
      time(time),
      targets(std::move(targets)),
      completion(std::move(completion)),
      bytesLeft(limits.savedBytes) {
    deadline = connection.runLoop().oneShotTimer(limits.saveSeconds, [this] { end(); });
    askNext();
}

void FormatKeeper::askNext() {
    if (targets.empty()) {
        // From the loop, also when there was nothing to ask for.
        deadline = connection.runLoop().oneShotTimer(0, [this] { end(); });
        return;
    }
    const auto target = targets.front();
    targets.pop_front();
    // They stay until the end: owners commonly touch the window once more after the last byte.
    windows.push_back(std::make_unique<Window>(connection));
    const Conversion::Request request{windows.back()->id(), selection, target, time, bytesLeft,
                                      limits.answerSeconds};
    conversion = std::make_unique<Conversion>(
        connection, request, limits, [this, target](Conversion::Ending ending, ConvertedValue value) {
            came(target, ending, std::move(value));
        });
}

void FormatKeeper::came(xcb_atom_t target, Conversion::Ending ending, ConvertedValue value) {
    if (ending == Conversion::Ending::late) return end();
    if (ending == Conversion::Ending::value && !isHandle(value.type)) {
        bytesLeft -= value.bytes.size();
        kept.push_back({target, value.type,
                        [bytes = Data(std::move(value.bytes))] { return SharedBytes::of(bytes); },
                        value.format});
    }
    askNext();
}

void FormatKeeper::end() {
    deadline.reset();
    conversion.reset();
    const auto completion = std::exchange(this->completion, nullptr);
    completion(std::move(kept));
}

}  // namespace vellumix::x11
