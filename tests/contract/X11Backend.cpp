#include "contract/Backend.h"
#include "platform/x11/selections/Pasteboard.h"
#include "x11/DisplayRig.h"

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
    X11Backend() {
        if (!_rig.connection) return;
        _pasteboard =
            std::make_unique<x11::Pasteboard>(*_rig.connection, x11::TransferLimits{.answerSeconds = 0.2});
        _other = std::make_unique<X11Program>(_rig.runLoop);
        settle();
    }

    std::string trouble() const override { return _rig.trouble; }
    bool can(Ability) const override { return true; }
    NSPasteboard& pasteboard() override { return *_pasteboard; }
    OtherProgram& other() override { return *_other; }
    bool wait(const std::function<bool()>& condition) override { return _rig.wait(condition); }
    void settle() override { _rig.settle(); }

private:
    DisplayRig _rig;
    std::unique_ptr<x11::Pasteboard> _pasteboard;
    std::unique_ptr<X11Program> _other;
};

}  // namespace

std::unique_ptr<Backend> makeX11Backend() { return std::make_unique<X11Backend>(); }

}  // namespace vellumix::tests
