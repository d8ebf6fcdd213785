#include "platform/headless/Pasteboard.h"

#include <algorithm>

#include "platform/foundation/loop/RunLoop.h"

namespace vellumix::headless {

bool Pasteboard::Content::isMarked() const { return std::ranges::any_of(otherTypes, isMarkerType); }

std::vector<std::string> Pasteboard::types() const {
    auto types = content.otherTypes;
    if (content.isMarked()) return types;
    if (!content.files.empty()) types.emplace_back(NSPasteboardTypeFileURL);
    if (content.image) types.emplace_back(NSPasteboardTypeTIFF);
    if (content.text) types.emplace_back(NSPasteboardTypeString);
    return types;
}

std::vector<URL> Pasteboard::readFileURLs() const {
    return content.isMarked() ? std::vector<URL>() : content.files;
}

std::optional<Data> Pasteboard::dataForType(std::string_view type) const {
    return type == NSPasteboardTypeTIFF && !content.isMarked() ? content.image : std::nullopt;
}

std::optional<String> Pasteboard::stringForType(std::string_view type) const {
    return type == NSPasteboardTypeString && !content.isMarked() ? content.text : std::nullopt;
}

void Pasteboard::changed() {
    ++changeCount_;
    isOffered = true;
    isPreserved = false;
    if (capabilities_.announcesChanges) onMain(lifetime.weakly([this] { changes.notify(); }));
}

std::int64_t Pasteboard::clearContents() {
    content = {};
    isOurs_ = true;
    changed();
    return changeCount_;
}

bool Pasteboard::setString(const String& text, std::string_view type) {
    if (!isOurs_ || type != NSPasteboardTypeString) return false;
    content.text = text;
    return true;
}

bool Pasteboard::writeImage(const Data& png) {
    if (!isOurs_) return false;
    content.image = png;
    return true;
}

bool Pasteboard::writeFileURLs(const std::vector<URL>& urls) {
    if (!isOurs_) return false;
    content.files = urls;
    return true;
}

void Pasteboard::preserve(std::int64_t changeCount) {
    if (changeCount != changeCount_) return;
    isPreserved = true;
    isOffered = true;
}

void Pasteboard::copyElsewhere(Content content) {
    beginCopyElsewhere();
    endCopyElsewhere(std::move(content));
}

void Pasteboard::endCopyElsewhere(Content content) {
    this->content = std::move(content);
    isOurs_ = false;
    changed();
}

void Pasteboard::ownerDies() {
    if (isOurs_) return;
    isOffered = isPreserved;
}

}  // namespace vellumix::headless
