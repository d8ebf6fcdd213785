#include "contract/Backend.h"
#include "platform/x11/selections/Pasteboard.h"
#include "x11/Peer.h"
#include "x11/PrivateDisplay.h"

namespace vellumix::tests {

namespace {

class X11Program final : public OtherProgram {
public:
    explicit X11Program(linux_desktop::GLibRunLoop& runLoop)
        : _runLoop(runLoop), _peer(std::make_unique<Peer>(runLoop)) {}

    void copyText(const std::string& text) override { _peer->copyText(text); }
    void copyImage(const std::string& bytes) override { _peer->copy({{"image/png", bytes}}); }
    void copyFiles(const std::vector<std::string>& paths) override {
        std::string list;
        for (const auto& path : paths) list += std::string(URL::file(path).absoluteString()) + "\r\n";
        _peer->copy({{"text/uri-list", list}});
    }
    void copyMarked(const std::string& text, const std::string& marker) override {
        _peer->copy({{"UTF8_STRING", text}, {marker, ""}});
    }
    void copyNothing() override {
        _peer->copy({{.target = "UTF8_STRING", .bytes = "", .manner = Peer::Manner::silent}});
    }
    void clear() override { _peer->clear(); }
    void die() override {
        const auto owner = _peer->clipboardOwner();
        _peer->die();
        _peer = std::make_unique<Peer>(_runLoop);
        // The server takes its time to notice. Its announcement is what the loop wakes for.
        if (owner) waitUntil(_runLoop, [&] { return _peer->clipboardOwner() != owner; });
    }

    std::optional<std::string> pasteText() override { return _peer->paste("UTF8_STRING"); }
    std::optional<std::string> pasteImage() override { return _peer->paste("image/png"); }
    std::vector<std::string> pasteFiles() override {
        std::vector<std::string> paths;
        auto list = _peer->paste("text/uri-list").value_or("");
        for (std::size_t end = 0; (end = list.find("\r\n")) != std::string::npos; list.erase(0, end + 2)) {
            if (const auto url = URL::parse(list.substr(0, end))) paths.push_back(url->path());
        }
        return paths;
    }

private:
    linux_desktop::GLibRunLoop& _runLoop;
    std::unique_ptr<Peer> _peer;
};

class X11Backend final : public Backend {
public:
    X11Backend() : _connection(x11::Connection::open(_runLoop, _trouble)) {
        if (!_connection) return;
        _pasteboard =
            std::make_unique<x11::Pasteboard>(*_connection, x11::TransferLimits{.answerSeconds = 0.2});
        _other = std::make_unique<X11Program>(_runLoop);
        settle();
    }

    std::string trouble() const override { return _trouble; }
    bool can(Ability) const override { return true; }
    NSPasteboard& pasteboard() override { return *_pasteboard; }
    OtherProgram& other() override { return *_other; }
    bool wait(const std::function<bool()>& condition) override { return waitUntil(_runLoop, condition); }
    void settle() override {
        // A new owner, a death or a write of ours each take a few turns of server and loop. One turn more
        // than the last change has shown is enough, as nothing else is under way.
        for (int turn = 0; turn < 8; ++turn) {
            x11::xcb::await<xcb_get_input_focus_reply>(_connection->xcb(),
                                                       xcb_get_input_focus(_connection->xcb()));
            bool isDone = false;
            _runLoop.post([&] { isDone = true; });
            _runLoop.runUntil([&] { return isDone; });
        }
    }

private:
    PrivateDisplay _display;
    linux_desktop::GLibRunLoop _runLoop;
    std::string _trouble;
    std::unique_ptr<x11::Connection> _connection;
    std::unique_ptr<x11::Pasteboard> _pasteboard;
    std::unique_ptr<X11Program> _other;
};

}  // namespace

std::unique_ptr<Backend> makeX11Backend() { return std::make_unique<X11Backend>(); }

}  // namespace vellumix::tests
