// Whatever another program puts into a property must be read without harm. The first byte picks the reader.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/desktop/Pasteboard.h"
#include "platform/foundation/text/Unicode.h"
#include "platform/x11/selections/PayloadChoice.h"
#include "platform/x11/server/PropertyValues.h"

namespace {

void require(bool holds) {
    if (!holds) __builtin_trap();
}

void requireLocalFiles(const std::vector<vellumix::URL>& files) {
    for (const auto& file : files) require(file.isFile() && file.path().starts_with('/'));
}

std::vector<std::string> linesOf(std::string_view text) {
    std::vector<std::string> lines(1);
    for (const char c : text) c == '\n' ? lines.emplace_back() : lines.back() += c;
    return lines;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    using namespace vellumix;
    if (size == 0) return 0;
    const ByteView value(bytes + 1, size - 1);
    switch (bytes[0] % 6) {
        case 0:
            for (const auto atom : x11::atomsOf(value)) require(atom != 0);
            break;
        case 1:
            requireLocalFiles(x11::filesOfURIList(value, "here"));
            break;
        case 2:
            requireLocalFiles(x11::filesOfCopiedFiles(value, "here").files);
            break;
        case 3: {
            const auto text = x11::textOfUTF8(value);
            require(isValidUTF8(text) && !text.ends_with('\0'));
            require(x11::latin1Of(text).size() <= text.size());
            break;
        }
        case 4: {
            const auto text = x11::textOfLatin1(value);
            require(isValidUTF8(text) && x11::textOfLatin1(viewOf(x11::latin1Of(text))) == text);
            break;
        }
        default:
            require(!x11::isSVGDocument(asText(value)) ||
                    asText(value).find("svg") != std::string_view::npos);
            require(x11::passwordHintOf(value) != x11::PasswordHint::secret || size > 6);
            for (const auto& candidate : x11::payloadCandidates(linesOf(asText(value)))) {
                require(!isMarkerType(candidate.target));
            }
    }
    return 0;
}
