#include "platform/headless/Pasteboard.h"

#include <algorithm>

#include "platform/foundation/loop/RunLoop.h"

namespace vellumix::headless {

bool Pasteboard::Content::isMarked() const { return std::ranges::any_of(otherTypes, isMarkerType); }

std::vector<std::string> Pasteboard::types() const {
    auto types = _content.otherTypes;
    if (_content.isMarked()) return types;
    if (!_content.files.empty()) types.emplace_back(NSPasteboardTypeFileURL);
    if (_content.image) types.emplace_back(NSPasteboardTypeTIFF);
    if (_content.text) types.emplace_back(NSPasteboardTypeString);
    return types;
}

std::vector<URL> Pasteboard::readFileURLs() const {
    return _content.isMarked() ? std::vector<URL>() : _content.files;
}

std::optional<Data> Pasteboard::dataForType(std::string_view type) const {
    return type == NSPasteboardTypeTIFF && !_content.isMarked() ? _content.image : std::nullopt;
}

std::optional<String> Pasteboard::stringForType(std::string_view type) const {
    return type == NSPasteboardTypeString && !_content.isMarked() ? _content.text : std::nullopt;
}

void Pasteboard::changed() {
    ++_changeCount;
    _isOffered = true;
    _isPreserved = false;
    if (_capabilities.announcesChanges) onMain(_lifetime.weakly([this] { _changes.notify(); }));
}

std::int64_t Pasteboard::clearContents() {
    _content = {};
    _isOurs = true;
    changed();
    return _changeCount;
}

bool Pasteboard::setString(const String& text, std::string_view type) {
    if (!_isOurs || type != NSPasteboardTypeString) return false;
    _content.text = text;
    return true;
}

bool Pasteboard::writeImage(const Data& png) {
    if (!_isOurs) return false;
    _content.image = png;
    return true;
}

bool Pasteboard::writeFileURLs(const std::vector<URL>& urls) {
    if (!_isOurs) return false;
    _content.files = urls;
    return true;
}

void Pasteboard::preserve(std::int64_t changeCount) {
    if (changeCount != _changeCount) return;
    _isPreserved = true;
    _isOffered = true;
}

void Pasteboard::copyElsewhere(Content content) {
    beginCopyElsewhere();
    endCopyElsewhere(std::move(content));
}

void Pasteboard::endCopyElsewhere(Content content) {
    _content = std::move(content);
    _isOurs = false;
    changed();
}

void Pasteboard::ownerDies() {
    if (_isOurs) return;
    _isOffered = _isPreserved;
}

}  // namespace vellumix::headless
