#include "x11/Peer.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace vellumix::tests {

using x11::xcb::await;

bool waitUntil(RunLoop& runLoop, const std::function<bool()>& condition, double seconds) {
    bool isLate = false;
    const auto deadline = runLoop.oneShotTimer(seconds, [&] { isLate = true; });
    // A condition that serves the loop itself may take the very event that it is looked at again for.
    const auto again = runLoop.repeatingTimer(0.02, [] {});
    runLoop.runUntil([&] { return isLate || condition(); });
    return condition();
}

struct Peer::Sending {
    xcb_window_t requestor;
    xcb_atom_t property;
    Answer answer;
    std::size_t offset = 0;
};

struct Peer::Receiving {
    xcb_window_t window;
    std::shared_ptr<Received> received;
    std::string bytes;
    bool isIncremental = false;
    bool hangs = false;
};

Peer::Peer(linux_desktop::GLibRunLoop& runLoop) : runLoop(runLoop), xcb_(xcb_connect(nullptr, nullptr)) {
    if (xcb_connection_has_error(xcb_.get())) return;
    root = xcb_setup_roots_iterator(xcb_get_setup(xcb_.get())).data->root;
    window = newWindow();
    watch = runLoop.watch(
        xcb_get_file_descriptor(xcb_.get()), [this] { return prepare(); }, [this] { dispatch(); });
}

Peer::~Peer() { die(); }

void Peer::die() {
    watch.cancel();
    sendings.clear();
    isOwner_ = false;
    if (xcb_) xcb_flush(xcb_.get());
    xcb_.reset();
}

xcb_window_t Peer::newWindow() {
    const auto window = xcb_generate_id(xcb_.get());
    const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_create_window(xcb_.get(), XCB_COPY_FROM_PARENT, window, root, 0, 0, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &mask);
    return window;
}

xcb_atom_t Peer::atom(const std::string& name) {
    auto& known = atoms[name];
    if (!known) {
        const auto reply = await<xcb_intern_atom_reply>(
            xcb_.get(), xcb_intern_atom(xcb_.get(), 0, static_cast<std::uint16_t>(name.size()), name.data()));
        known = reply ? reply->atom : xcb_atom_t{};
    }
    return known;
}

std::string Peer::name(xcb_atom_t atom) {
    const auto reply = await<xcb_get_atom_name_reply>(xcb_.get(), xcb_get_atom_name(xcb_.get(), atom));
    if (!reply) return {};
    return {xcb_get_atom_name_name(reply.get()),
            static_cast<std::size_t>(xcb_get_atom_name_name_length(reply.get()))};
}

void Peer::copy(std::vector<Answer> answers) {
    answers_ = std::move(answers);
    asked_.clear();
    if (!window) window = newWindow();
    xcb_set_selection_owner(xcb_.get(), window, atom("CLIPBOARD"), XCB_CURRENT_TIME);
    // The server serves its clients in no particular order: only an answer tells that this has happened.
    isOwner_ = clipboardOwner() == window;
}

std::uint32_t Peer::clipboardOwner() {
    const auto reply = await<xcb_get_selection_owner_reply>(
        xcb_.get(), xcb_get_selection_owner(xcb_.get(), atom("CLIPBOARD")));
    return reply ? reply->owner : xcb_window_t{XCB_WINDOW_NONE};
}

xcb_timestamp_t Peer::serverTime() {
    serverTime_.reset();
    xcb_change_property(xcb_.get(), XCB_PROP_MODE_APPEND, window, atom("PEER_CLOCK"), XCB_ATOM_INTEGER, 32, 0,
                        nullptr);
    waitUntil(runLoop, [&] { return serverTime_.has_value(); });
    return serverTime_.value_or(0);
}

void Peer::waitForNextServerTime() {
    const auto before = serverTime();
    while (serverTime() == before) {
    }
}

void Peer::synchronize() {
    if (xcb_) await<xcb_get_input_focus_reply>(xcb_.get(), xcb_get_input_focus(xcb_.get()));
}

void Peer::take(const std::string& selection) {
    xcb_set_selection_owner(xcb_.get(), window, atom(selection), XCB_CURRENT_TIME);
    synchronize();
}

void Peer::clear() {
    xcb_set_selection_owner(xcb_.get(), XCB_WINDOW_NONE, atom("CLIPBOARD"), XCB_CURRENT_TIME);
    // A connection that ends may take along what the server hasn't read of it.
    synchronize();
    isOwner_ = false;
}

void Peer::destroyWindow() {
    xcb_destroy_window(xcb_.get(), std::exchange(window, 0));
    xcb_flush(xcb_.get());
    isOwner_ = false;
}

bool Peer::prepare() {
    if (!xcb_) return false;
    xcb_flush(xcb_.get());
    if (!readAhead) readAhead.reset(xcb_poll_for_queued_event(xcb_.get()));
    return readAhead != nullptr;
}

void Peer::dispatch() {
    while (xcb_) {
        auto event = std::exchange(readAhead, nullptr);
        if (!event) event.reset(xcb_poll_for_event(xcb_.get()));
        if (!event) break;
        handle(*event);
    }
    if (xcb_ && xcb_connection_has_error(xcb_.get())) die();
}

void Peer::handle(const xcb_generic_event_t& event) {
    switch (event.response_type & 0x7F) {
        case 0:
            ++errors_;
            return;
        case XCB_SELECTION_CLEAR:
            isOwner_ = false;
            return;
        case XCB_SELECTION_REQUEST:
            return serve(reinterpret_cast<const xcb_selection_request_event_t&>(event));
        case XCB_SELECTION_NOTIFY: {
            const auto& notify = reinterpret_cast<const xcb_selection_notify_event_t&>(event);
            if (notify.property != XCB_ATOM_NONE) ++answered;
            for (auto& receiving : receivings) {
                if (receiving.window != notify.requestor) continue;
                if (notify.property == XCB_ATOM_NONE || receiving.hangs) {
                    receiving.received->isDone = true;
                    if (notify.property != XCB_ATOM_NONE) receiving.received->bytes.emplace();
                } else {
                    receive(receiving);
                }
            }
            return;
        }
        case XCB_PROPERTY_NOTIFY: {
            const auto& change = reinterpret_cast<const xcb_property_notify_event_t&>(event);
            if (change.window == window && change.atom == atom("PEER_CLOCK")) serverTime_ = change.time;
            if (change.state == XCB_PROPERTY_NEW_VALUE) {
                for (auto& receiving : receivings) {
                    if (receiving.window == change.window && receiving.isIncremental) receive(receiving);
                }
                return;
            }
            for (auto at = sendings.begin(); xcb_ && at != sendings.end();) {
                auto& sending = *at++;
                if (sending.requestor == change.window && sending.property == change.atom) sendPiece(sending);
            }
            return;
        }
        default:
            return;
    }
}

void Peer::serve(const xcb_selection_request_event_t& request) {
    const auto target = name(request.target);
    asked_.push_back(target);
    auto found = std::find_if(answers_.begin(), answers_.end(),
                              [&](const Answer& answer) { return answer.target == target; });
    if (found == answers_.end()) {
        if (target != "TARGETS") return answer(request, false);
        std::vector<xcb_atom_t> targets{request.target};
        for (const auto& one : answers_) targets.push_back(atom(one.target));
        xcb_change_property(xcb_.get(), XCB_PROP_MODE_REPLACE, request.requestor, request.property,
                            XCB_ATOM_ATOM, 32, static_cast<std::uint32_t>(targets.size()), targets.data());
        return answer(request, true);
    }
    if (found->refusals > 0) {
        --found->refusals;
        return answer(request, false);
    }
    const auto given = *found;
    if (given.meanwhile) given.meanwhile();
    if (!xcb_) return;
    const auto type = atom(given.type.empty() ? given.target : given.type);
    const auto put = [&](std::uint8_t mode, std::string_view bytes) {
        xcb_change_property(xcb_.get(), mode, request.requestor, request.property, type, given.format,
                            static_cast<std::uint32_t>(bytes.size() * 8 / given.format), bytes.data());
    };
    switch (given.manner) {
        case Manner::silent:
            return;
        case Manner::refuses:
            return answer(request, false);
        case Manner::empty:
            return answer(request, true);
        case Manner::whole:
            put(XCB_PROP_MODE_REPLACE, given.bytes);
            return answer(request, true);
        case Manner::appended:
            for (std::size_t at = 0; at < given.sent.value_or(0); at += given.bytes.size()) {
                put(XCB_PROP_MODE_APPEND, given.bytes);
            }
            return answer(request, true);
        case Manner::incremental:
            break;
    }
    const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(xcb_.get(), request.requestor, XCB_CW_EVENT_MASK, &mask);
    xcb_change_property(xcb_.get(), XCB_PROP_MODE_REPLACE, request.requestor, request.property, atom("INCR"),
                        32, 1, &given.announced);
    sendings.push_back({request.requestor, request.property, given});
    answer(request, true);
}

void Peer::answer(const xcb_selection_request_event_t& request, bool isServed) {
    union {
        xcb_selection_notify_event_t event;
        char bytes[32];
    } notify{};
    notify.event.response_type = XCB_SELECTION_NOTIFY;
    notify.event.time = request.time;
    notify.event.requestor = request.requestor;
    notify.event.selection = request.selection;
    notify.event.target = request.target;
    notify.event.property = isServed ? request.property : xcb_atom_t{XCB_ATOM_NONE};
    xcb_send_event(xcb_.get(), 0, request.requestor, XCB_EVENT_MASK_NO_EVENT, notify.bytes);
    xcb_flush(xcb_.get());
}

void Peer::sendPiece(Sending& sending) {
    const auto& given = sending.answer;
    const auto total = given.sent.value_or(given.bytes.size());
    const auto type = atom(given.type.empty() ? given.target : given.type);
    std::string piece;
    while (piece.size() < given.pieceBytes && sending.offset < total) {
        const auto start = sending.offset % given.bytes.size();
        const auto size =
            std::min({given.pieceBytes - piece.size(), total - sending.offset, given.bytes.size() - start});
        piece.append(given.bytes, start, size);
        sending.offset += size;
    }
    if (piece.empty() && given.atStop == AtStop::hangs) return;
    if (piece.empty() && given.atStop == AtStop::dies) return die();
    xcb_change_property(xcb_.get(), XCB_PROP_MODE_REPLACE, sending.requestor, sending.property, type,
                        given.format, static_cast<std::uint32_t>(piece.size() * 8 / given.format),
                        piece.data());
    xcb_flush(xcb_.get());
    if (!piece.empty()) return;
    sendings.remove_if([&](const Sending& one) { return &one == &sending; });
}

std::string Peer::takeProperty(xcb_window_t window, xcb_atom_t property, xcb_atom_t& type) {
    const auto reply = await<xcb_get_property_reply>(
        xcb_.get(),
        xcb_get_property(xcb_.get(), 1, window, property, XCB_GET_PROPERTY_TYPE_ANY, 0, 64 << 20));
    if (!reply) return {};
    type = reply->type;
    return {static_cast<const char*>(xcb_get_property_value(reply.get())),
            static_cast<std::size_t>(xcb_get_property_value_length(reply.get()))};
}

void Peer::receive(Receiving& receiving) {
    xcb_atom_t type = XCB_ATOM_NONE;
    auto bytes = takeProperty(receiving.window, atom("PEER"), type);
    if (type == XCB_ATOM_NONE) return;
    if (type == atom("INCR")) {
        receiving.isIncremental = true;
        return;
    }
    if (receiving.isIncremental && !bytes.empty()) {
        receiving.bytes += bytes;
        return;
    }
    receiving.bytes += bytes;
    receiving.received->type = name(type);
    receiving.received->bytes = std::move(receiving.bytes);
    receiving.received->isDone = true;
    receiving.isIncremental = false;
}

std::shared_ptr<Peer::Received> Peer::beginPaste(const std::string& target, const std::string& selection) {
    auto received = std::make_shared<Received>();
    receivings.push_back({newWindow(), received, {}});
    xcb_convert_selection(xcb_.get(), receivings.back().window, atom(selection), atom(target), atom("PEER"),
                          XCB_CURRENT_TIME);
    xcb_flush(xcb_.get());
    return received;
}

std::optional<std::string> Peer::paste(const std::string& target, const std::string& selection) {
    const auto received = beginPaste(target, selection);
    waitUntil(runLoop, [&] { return received->isDone; });
    pastedType_ = received->type;
    return received->bytes;
}

std::vector<std::string> Peer::pasteTargets() {
    const auto value = paste("TARGETS").value_or("");
    std::vector<std::string> names;
    for (std::size_t at = 0; at + 4 <= value.size(); at += 4) {
        xcb_atom_t one = XCB_ATOM_NONE;
        std::memcpy(&one, value.data() + at, sizeof one);
        names.push_back(name(one));
    }
    return names;
}

void Peer::askForPairs(xcb_window_t window, const std::vector<std::string>& targets) {
    std::vector<xcb_atom_t> pairs;
    for (const auto& target : targets) {
        pairs.push_back(atom(target));
        pairs.push_back(atom("PEER_" + target));
    }
    xcb_change_property(xcb_.get(), XCB_PROP_MODE_REPLACE, window, atom("PEER"), atom("ATOM_PAIR"), 32,
                        static_cast<std::uint32_t>(pairs.size()), pairs.data());
    xcb_convert_selection(xcb_.get(), window, atom("CLIPBOARD"), atom("MULTIPLE"), atom("PEER"),
                          XCB_CURRENT_TIME);
    xcb_flush(xcb_.get());
}

void Peer::flood(int requests, const std::vector<std::string>& targets) {
    while (requests-- > 0) askForPairs(window, targets);
    synchronize();
}

std::vector<bool> Peer::pasteMultiple(const std::vector<std::string>& targets) {
    auto received = std::make_shared<Received>();
    receivings.push_back({newWindow(), received, {}});
    const auto window = receivings.back().window;
    askForPairs(window, targets);
    waitUntil(runLoop, [&] { return received->isDone; });
    std::vector<bool> served;
    const auto answer = received->bytes.value_or("");
    for (std::size_t at = 4; at + 4 <= answer.size(); at += 8) {
        xcb_atom_t place = XCB_ATOM_NONE;
        std::memcpy(&place, answer.data() + at, sizeof place);
        xcb_atom_t type = XCB_ATOM_NONE;
        served.push_back(place != XCB_ATOM_NONE &&
                         (takeProperty(window, place, type), type != XCB_ATOM_NONE));
    }
    return served;
}

bool Peer::pasteAndHang(const std::string& target) {
    const auto received = beginPaste(target);
    receivings.back().hangs = true;
    waitUntil(runLoop, [&] { return received->isDone; });
    return received->bytes.has_value();
}

std::vector<std::uint32_t> Peer::windowsOfOthers() {
    const auto tree = await<xcb_query_tree_reply>(xcb_.get(), xcb_query_tree(xcb_.get(), root));
    if (!tree) return {};
    const auto* const all = xcb_query_tree_children(tree.get());
    std::vector<std::uint32_t> others(all, all + xcb_query_tree_children_length(tree.get()));
    const auto* setup = xcb_get_setup(xcb_.get());
    std::erase_if(others, [&](xcb_window_t window) {
        return (window & ~setup->resource_id_mask) == setup->resource_id_base;
    });
    return others;
}

void Peer::send(xcb_window_t window, const char* event) {
    xcb_send_event(xcb_.get(), 0, window, XCB_EVENT_MASK_NO_EVENT, event);
    synchronize();
}

bool Peer::hasRootProperty(const std::string& property) {
    const auto reply = await<xcb_get_property_reply>(
        xcb_.get(), xcb_get_property(xcb_.get(), 0, root, atom(property), XCB_GET_PROPERTY_TYPE_ANY, 0, 0));
    return reply && reply->type != XCB_ATOM_NONE;
}

void Peer::setRootWindow(const std::string& property, std::uint32_t window) {
    xcb_change_property(xcb_.get(), XCB_PROP_MODE_REPLACE, root, atom(property), XCB_ATOM_WINDOW, 32, 1,
                        &window);
    xcb_flush(xcb_.get());
}

void Peer::tellsWindows() {
    const auto window = newWindow();
    for (const auto place : {window, root}) {
        xcb_change_property(xcb_.get(), XCB_PROP_MODE_REPLACE, place, atom("_NET_SUPPORTING_WM_CHECK"),
                            XCB_ATOM_WINDOW, 32, 1, &window);
    }
    xcb_flush(xcb_.get());
}

std::uint32_t Peer::makeWindow(const std::map<std::string, std::string>& texts, std::uint32_t process) {
    const auto window = newWindow();
    for (const auto& [property, text] : texts) {
        xcb_change_property(xcb_.get(), XCB_PROP_MODE_REPLACE, window, atom(property), atom("UTF8_STRING"), 8,
                            static_cast<std::uint32_t>(text.size()), text.data());
    }
    xcb_change_property(xcb_.get(), XCB_PROP_MODE_REPLACE, window, atom("_NET_WM_PID"), XCB_ATOM_CARDINAL, 32,
                        1, &process);
    xcb_flush(xcb_.get());
    return window;
}

}  // namespace vellumix::tests
