#include "contract/Backend.h"
#include "platform/headless/Desktop.h"

namespace vellumix::tests {

namespace {

class HeadlessProgram final : public OtherProgram {
public:
    explicit HeadlessProgram(headless::Pasteboard& pasteboard) : _pasteboard(pasteboard) {}

    void copyText(const std::string& text) override { _pasteboard.copyElsewhere({.text = String(text)}); }
    void copyImage(const std::string& bytes) override {
        _pasteboard.copyElsewhere({.image = Data(std::string_view(bytes))});
    }
    void copyFiles(const std::vector<std::string>& paths) override {
        headless::Pasteboard::Content content;
        for (const auto& path : paths) content.files.push_back(URL::file(path));
        _pasteboard.copyElsewhere(std::move(content));
    }
    void copyMarked(const std::string& text, const std::string& marker) override {
        _pasteboard.copyElsewhere({.text = String(text), .otherTypes = {marker}});
    }
    void copyNothing() override { _pasteboard.dropElsewhere(RefusalReason::noAnswer); }
    void clear() override { _pasteboard.clearElsewhere(); }
    void die() override { _pasteboard.ownerDies(); }

    std::optional<std::string> pasteText() override {
        const auto& text = _pasteboard.offered().text;
        return text ? std::optional(text->string()) : std::nullopt;
    }
    std::optional<std::string> pasteImage() override {
        const auto& image = _pasteboard.offered().image;
        return image ? std::optional(std::string(asText(*image))) : std::nullopt;
    }
    std::vector<std::string> pasteFiles() override {
        std::vector<std::string> paths;
        for (const auto& file : _pasteboard.offered().files) paths.push_back(file.path());
        return paths;
    }

private:
    headless::Pasteboard& _pasteboard;
};

class HeadlessBackend final : public Backend {
public:
    explicit HeadlessBackend(NSPasteboard::Capabilities capabilities)
        : _desktop(capabilities), _scope(_desktop.platform()), _other(_desktop.pasteboard) {}

    bool can(Ability ability) const override {
        return ability == Ability::announceChanges && _desktop.pasteboard.capabilities().announcesChanges;
    }
    NSPasteboard& pasteboard() override { return _desktop.pasteboard; }
    OtherProgram& other() override { return _other; }
    bool wait(const std::function<bool()>& condition) override {
        settle();
        return condition();
    }
    void settle() override { _desktop.runLoop.advance(60); }

private:
    headless::Desktop _desktop;
    platform::Scope _scope;
    HeadlessProgram _other;
};

}  // namespace

std::unique_ptr<Backend> makeHeadlessBackend(NSPasteboard::Capabilities capabilities) {
    return std::make_unique<HeadlessBackend>(capabilities);
}

}  // namespace vellumix::tests
