#include "platform/x11/selections/PayloadChoice.h"

#include <algorithm>
#include <span>

namespace vellumix::x11 {

namespace {

constexpr PayloadCandidate files[] = {
    {PayloadForm::copiedFiles, "x-special/gnome-copied-files"},
    {PayloadForm::copiedFiles, "x-special/mate-copied-files"},
    {PayloadForm::uriList, "text/uri-list"},
};
// PNG first, as it is what is kept and needs no conversion; then what loses nothing.
constexpr PayloadCandidate images[] = {
    {PayloadForm::image, "image/png"}, {PayloadForm::image, "image/tiff"},
    {PayloadForm::image, "image/bmp"}, {PayloadForm::image, "image/jpeg"},
    {PayloadForm::image, "image/gif"}, {PayloadForm::image, "image/webp"},
};
constexpr PayloadCandidate texts[] = {
    {PayloadForm::utf8Text, "UTF8_STRING"},
    {PayloadForm::utf8Text, "text/plain;charset=utf-8"},
    {PayloadForm::latin1Text, "STRING"},
    {PayloadForm::utf8Text, "text/plain"},
};
constexpr std::string_view forceImage = "x-kde-force-image-copy";

bool contains(const std::vector<std::string>& targets, std::string_view target) {
    return std::find(targets.begin(), targets.end(), target) != targets.end();
}

bool appendAnnounced(std::span<const PayloadCandidate> allowed, const std::vector<std::string>& targets,
                     std::vector<PayloadCandidate>& chosen) {
    const auto before = chosen.size();
    for (const auto& candidate : allowed) {
        if (contains(targets, candidate.target)) chosen.push_back(candidate);
    }
    return chosen.size() > before;
}

}  // namespace

std::vector<PayloadCandidate> payloadCandidates(const std::vector<std::string>& targets) {
    std::vector<PayloadCandidate> chosen;
    std::vector<PayloadCandidate> chosenTexts;
    appendAnnounced(files, targets, chosen);
    const bool hasText = appendAnnounced(texts, targets, chosenTexts);
    if (!hasText || contains(targets, forceImage)) appendAnnounced(images, targets, chosen);
    chosen.insert(chosen.end(), chosenTexts.begin(), chosenTexts.end());
    return chosen;
}

std::vector<PayloadCandidate> imageCandidates(const std::vector<std::string>& targets) {
    std::vector<PayloadCandidate> chosen;
    appendAnnounced(images, targets, chosen);
    return chosen;
}

std::vector<PayloadCandidate> candidatesOfSilentOwner() {
    return {{PayloadForm::utf8Text, "UTF8_STRING"}, {PayloadForm::latin1Text, "STRING"}};
}

bool isText(PayloadForm form) { return form == PayloadForm::utf8Text || form == PayloadForm::latin1Text; }

}  // namespace vellumix::x11
