#include "contract/Backend.h"
#include "platform/x11/selections/Pasteboard.h"
#include "x11/DisplayRig.h"

namespace vellumix::tests {

namespace {

class X11Program final : public OtherProgram {
public:
    explicit X11Program(linux_desktop::GLibRunLoop& runLoop)
        : runLoop(runLoop), peer(std::make_unique<Peer>(runLoop)) {}

    void copyText(const std::string& text) override { peer->copyText(text); }
    void copyImage(const std::string& bytes) override { peer->copy({{"image/png", bytes}}); }
    void copyFiles(const std::vector<std::string>& paths) override {
        std::string list;
        for (const auto& path : paths) list += std::string(URL::file(path).absoluteString()) + "\r\n";
        peer->copy({{"text/uri-list", list}});
    }
    void copyMarked(const std::string& text, const std::string& marker) override {
        peer->copy({{"UTF8_STRING", text}, {marker, ""}});
    }
    void copyNothing() override {
        peer->copy({{.target = "UTF8_STRING", .bytes = "", .manner = Peer::Manner::silent}});
    }
    void clear() override { peer->clear(); }
    void die() override {
        const auto owner = peer->clipboardOwner();
        peer->die();
        peer = std::make_unique<Peer>(runLoop);
        // The server takes its time to notice. Its announcement is what the loop wakes for.
        if (owner) waitUntil(runLoop, [&] { return peer->clipboardOwner() != owner; });
    }

    std::optional<std::string> pasteText() override { return peer->paste("UTF8_STRING"); }
    std::optional<std::string> pasteImage() override { return peer->paste("image/png"); }
    std::vector<std::string> pasteFiles() override {
        std::vector<std::string> paths;
        auto list = peer->paste("text/uri-list").value_or("");
        for (std::size_t end = 0; (end = list.find("\r\n")) != std::string::npos; list.erase(0, end + 2)) {
            if (const auto url = URL::parse(list.substr(0, end))) paths.push_back(url->path());
        }
        return paths;
    }

private:
    linux_desktop::GLibRunLoop& runLoop;
    std::unique_ptr<Peer> peer;
};

class X11Backend final : public Backend {
public:
    X11Backend() {
        if (!rig.connection) return;
        pasteboard_ =
            std::make_unique<x11::Pasteboard>(*rig.connection, x11::TransferLimits{.answerSeconds = 0.2});
        other_ = std::make_unique<X11Program>(rig.runLoop);
        settle();
    }

    std::string trouble() const override { return rig.trouble; }
    bool can(Ability) const override { return true; }
    NSPasteboard& pasteboard() override { return *pasteboard_; }
    OtherProgram& other() override { return *other_; }
    bool wait(const std::function<bool()>& condition) override { return rig.wait(condition); }
    void settle() override { rig.settle(); }

private:
    DisplayRig rig;
    std::unique_ptr<x11::Pasteboard> pasteboard_;
    std::unique_ptr<X11Program> other_;
};

}  // namespace

std::unique_ptr<Backend> makeX11Backend() { return std::make_unique<X11Backend>(); }

}  // namespace vellumix::tests
