#include "contract/Backend.h"
#include "platform/headless/Desktop.h"

namespace vellumix::tests {

namespace {

class HeadlessProgram final : public OtherProgram {
public:
    explicit HeadlessProgram(headless::Pasteboard& pasteboard) : pasteboard(pasteboard) {}

    void copyText(const std::string& text) override { pasteboard.copyElsewhere({.text = String(text)}); }
    void copyImage(const std::string& bytes) override {
        pasteboard.copyElsewhere({.image = Data(std::string_view(bytes))});
    }
    void copyFiles(const std::vector<std::string>& paths) override {
        headless::Pasteboard::Content content;
        for (const auto& path : paths) content.files.push_back(URL::file(path));
        pasteboard.copyElsewhere(std::move(content));
    }
    void copyMarked(const std::string& text, const std::string& marker) override {
        pasteboard.copyElsewhere({.text = String(text), .otherTypes = {marker}});
    }
    void copyNothing() override { pasteboard.dropElsewhere(RefusalReason::noAnswer); }
    void clear() override { pasteboard.clearElsewhere(); }
    void die() override { pasteboard.ownerDies(); }

    std::optional<std::string> pasteText() override {
        const auto& text = pasteboard.offered().text;
        return text ? std::optional(text->string()) : std::nullopt;
    }
    std::optional<std::string> pasteImage() override {
        const auto& image = pasteboard.offered().image;
        return image ? std::optional(std::string(asText(*image))) : std::nullopt;
    }
    std::vector<std::string> pasteFiles() override {
        std::vector<std::string> paths;
        for (const auto& file : pasteboard.offered().files) paths.push_back(file.path());
        return paths;
    }

private:
    headless::Pasteboard& pasteboard;
};

class HeadlessBackend final : public Backend {
public:
    explicit HeadlessBackend(NSPasteboard::Capabilities capabilities)
        : desktop(capabilities), scope(desktop.platform()), other_(desktop.pasteboard) {}

    bool can(Ability ability) const override {
        return ability == Ability::announceChanges && desktop.pasteboard.capabilities().announcesChanges;
    }
    NSPasteboard& pasteboard() override { return desktop.pasteboard; }
    OtherProgram& other() override { return other_; }
    bool wait(const std::function<bool()>& condition) override {
        settle();
        return condition();
    }
    void settle() override { desktop.runLoop.advance(60); }

private:
    headless::Desktop desktop;
    platform::Scope scope;
    HeadlessProgram other_;
};

}  // namespace

std::unique_ptr<Backend> makeHeadlessBackend(NSPasteboard::Capabilities capabilities) {
    return std::make_unique<HeadlessBackend>(capabilities);
}

}  // namespace vellumix::tests
