#pragma once

#include <string>
#include <vector>

#include "platform/desktop/Pasteboard.h"
#include "platform/foundation/memory/Lifetime.h"
#include "platform/foundation/observation/ObserverList.h"

namespace vellumix::headless {

/// The clipboard in memory, with other programs' side of it.
class Pasteboard final : public NSPasteboard {
public:
    /// What one owner offers.
    struct Content {
        std::optional<String> text;
        std::optional<Data> image;
        std::vector<URL> files;
        /// Names beside those of what is offered, markers among them.
        std::vector<std::string> otherTypes;

        bool isMarked() const;
    };

    explicit Pasteboard(Capabilities capabilities = {}) : capabilities_(capabilities) {}

    Capabilities capabilities() const override { return capabilities_; }
    std::int64_t changeCount() const override { return changeCount_; }
    bool isOurs() const override { return isOurs_; }
    Observation observeCopies(std::function<void()> observer) override {
        return copies.add(std::move(observer));
    }
    Observation observeChanges(std::function<void()> observer) override {
        return changes.add(std::move(observer));
    }
    Observation observeDrops(std::function<void(RefusalReason)> observer) override {
        return drops.add(std::move(observer));
    }
    std::vector<std::string> types() const override;
    std::vector<URL> readFileURLs() const override;
    std::optional<Data> dataForType(std::string_view type) const override;
    std::optional<String> stringForType(std::string_view type) const override;
    std::int64_t clearContents() override;
    bool setString(const String& text, std::string_view type) override;
    bool writeImage(const Data& png) override;
    bool writeFileURLs(const std::vector<URL>& urls) override;
    void preserve(std::int64_t changeCount) override;

    /// Another program copies; its content is still on its way.
    void beginCopyElsewhere() { copies.notify(); }
    /// Another program copies, and its content is here.
    void copyElsewhere(Content content);
    /// The content of a copy that was begun is here.
    void endCopyElsewhere(Content content);
    /// Another program empties the clipboard on purpose.
    void clearElsewhere() { copyElsewhere({}); }
    /// The program that copied last ends. Preserved content stays.
    void ownerDies();
    /// Another program's content never arrives.
    void dropElsewhere(RefusalReason reason) { drops.notify(reason); }
    /// What another program gets when it pastes, markers and all.
    Content offered() const { return isOffered ? content : Content(); }

private:
    void changed();

    Capabilities capabilities_;
    std::int64_t changeCount_ = 0;
    Content content;
    bool isOurs_ = false;
    bool isOffered = true;
    bool isPreserved = false;
    ObserverList<> copies;
    ObserverList<> changes;
    ObserverList<RefusalReason> drops;
    Lifetime lifetime;
};

}  // namespace vellumix::headless
