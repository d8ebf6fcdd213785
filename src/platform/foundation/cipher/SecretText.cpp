#include "platform/foundation/cipher/SecretText.h"

#include <algorithm>
#include <iterator>

#include "platform/foundation/text/Unicode.h"

namespace vellumix {

namespace {

/// The first byte of a code point (Unicode Standard section 3.9, table 3-6).
bool isFirstByte(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) != 0x80; }

}  // namespace

std::size_t SecretText::letterCount() const {
    return static_cast<std::size_t>(std::ranges::count_if(bytes, isFirstByte));
}

std::size_t SecretText::offsetOf(std::size_t letter) const {
    auto at = bytes.begin();
    for (; at != bytes.end(); ++at) {
        if (isFirstByte(*at) && letter-- == 0) break;
    }
    return static_cast<std::size_t>(at - bytes.begin());
}

std::size_t SecretText::replaceLetters(std::size_t begin, std::size_t end, std::string_view text) {
    SecretText changed(view().substr(0, offsetOf(begin)));
    const auto kept = changed.letterCount();
    if (isValidUTF8(text)) {
        std::ranges::copy_if(text, std::back_inserter(changed.bytes),
                             [](char byte) { return byte != '\n' && byte != '\r' && byte != '\0'; });
    }
    const auto inserted = changed.letterCount() - kept;
    const auto rest = view().substr(offsetOf(std::max(begin, end)));
    changed.bytes.insert(changed.bytes.end(), rest.begin(), rest.end());
    *this = std::move(changed);
    return inserted;
}

}  // namespace vellumix
