#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace vellumix::x11 {

/// How the bytes of a target are to be read.
enum class PayloadForm { uriList, copiedFiles, image, utf8Text, latin1Text };

/// One target that could give the content.
struct PayloadCandidate {
    PayloadForm form;
    std::string_view target;
};

/// What may be read of content announced under these target names, best first: files, then an image, then
/// text. The allow-list is closed; nothing else is ever fetched.
///
/// Of the forms in which files are announced, those come first that tell a cut from a copy. An image beside
/// plain text is a picture of that text, as spreadsheets add, and is left out unless the owner says otherwise
/// with x-kde-force-image-copy. An image beside HTML alone is a real image: browsers add the HTML.
std::vector<PayloadCandidate> payloadCandidates(const std::vector<std::string>& targets);

/// The images among these names, which `payloadCandidates` may have left out.
std::vector<PayloadCandidate> imageCandidates(const std::vector<std::string>& targets);

/// What is tried with an owner that doesn't answer TARGETS, as clients older than ICCCM 2.0 don't.
std::vector<PayloadCandidate> candidatesOfSilentOwner();

bool isText(PayloadForm form);

}  // namespace vellumix::x11
