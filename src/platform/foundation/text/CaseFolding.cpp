#include "platform/foundation/text/CaseFolding.h"

#include <unicode/utf8.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

namespace vellumix {

namespace {

using Form = FoldedForms::Form;

/// What tells a small ASCII letter from its capital.
constexpr char caseBit = 0x20;

bool isASCII(char c) { return static_cast<unsigned char>(c) < 0x80; }

char foldedASCII(char c) { return static_cast<char>(c | (c >= 'A' && c <= 'Z' ? caseBit : 0)); }

/// How many ASCII characters a block begins with.
constexpr std::size_t blockSize = 16;
std::size_t leadingASCII(const char* block) {
    for (std::size_t at = 0; at < blockSize; at += sizeof(std::uint64_t)) {
        std::uint64_t word = 0;
        std::memcpy(&word, block + at, sizeof word);
        if constexpr (std::endian::native == std::endian::big) word = __builtin_bswap64(word);
        const auto others = word & 0x8080808080808080U;
        if (others != 0) return at + static_cast<std::size_t>(std::countr_zero(others)) / 8;
    }
    return blockSize;
}

UChar32 codePointOf(const char* bytes, std::size_t length) {
    std::int32_t at = 0;
    UChar32 character = 0;
    U8_NEXT_OR_FFFD(reinterpret_cast<const std::uint8_t*>(bytes), at, static_cast<std::int32_t>(length),
                    character);
    return character;
}

}  // namespace

void FoldedText::keepLast(std::size_t count) {
    if (count >= used) return;
    std::copy(end() - count, end(), bytes.get());
    used = count;
}

void FoldedText::reserve(std::size_t size) {
    if (size <= this->size) return;
    this->size = std::max(size, this->size + this->size / 2);
    auto larger = std::make_unique_for_overwrite<char[]>(this->size);
    std::copy_n(bytes.get(), used, larger.get());
    bytes = std::move(larger);
}

void FoldedText::makeRoom(std::size_t count) {
    // The shortest characters that grow have two bytes.
    constexpr std::size_t most = Form::longest / 2;
    constexpr std::size_t beyond = 64;
    reserve(used + most * count + beyond);
}

void FoldedText::append(std::string_view bytes) {
    reserve(used + bytes.size());
    std::ranges::copy(bytes, end());
    used += bytes.size();
}

bool CaseFolding::isCombining(std::size_t at) const {
    const auto length = characterLength(text, at);
    return length > 1 && forms.of(text.data() + at, length).kind == Form::combining;
}

void CaseFolding::fold(std::size_t count, FoldedText& output) {
    const auto limit = at + std::min(count, text.size() - at);
    base = noBase;
    while (at < limit || (!isInLongRun && isCombining(at))) {
        if (isInLongRun) {
            copyLongRun(output, limit);
        } else {
            output.makeRoom(limit > at ? limit - at : 0);
            foldBlocks(output, limit);
            foldSingly(output, limit);
        }
    }
}

// The two loops below work on copies: what they write could be any member, for all that the compiler knows.

void CaseFolding::foldBlocks(FoldedText& output, std::size_t limit) {
    const auto text = this->text;
    auto at = this->at;
    auto* to = output.end();
    std::size_t count = blockSize;
    // All of a block costs less than a part of it.
    for (; count == blockSize && at < limit && at + blockSize <= text.size(); at += count, to += count) {
        const auto* const block = text.data() + at;
        std::array<char, blockSize> folded;
        std::memcpy(folded.data(), block, blockSize);
        for (auto& letter : folded) letter = foldedASCII(letter);
        std::memcpy(to, folded.data(), blockSize);
        count = leadingASCII(block);
    }
    if (count == blockSize) {
        for (; at < limit && isASCII(text[at]); ++at) *to++ = foldedASCII(text[at]);
    }
    if (at > this->at) {
        base = at - 1;
        baseSize = 1;
    }
    this->at = at;
    output.setEnd(to);
}

/// Characters beyond ASCII, and those of ASCII that stand alone among them.
void CaseFolding::foldSingly(FoldedText& output, std::size_t limit) {
    const auto text = this->text;
    auto& forms = this->forms;
    auto at = this->at;
    auto base = this->base;
    auto baseSize = this->baseSize;
    auto* to = output.end();
    const auto note = [&] {
        this->at = at;
        this->base = base;
        this->baseSize = baseSize;
        output.setEnd(to);
    };
    while (at < text.size()) {
        // Letters of two bytes, one after the other, and a blank between them.
        while (at + 2 <= text.size() && at < limit) {
            const auto* const two = text.data() + at;
            const auto lead = static_cast<unsigned char>(two[0]);
            if (lead < 0x80) {
                if (isASCII(two[1])) break;
                *to = foldedASCII(two[0]);
                baseSize = 1;
            } else {
                if (lead < 0xC2 || lead >= 0xE0 || (two[1] & 0xC0) != 0x80) break;
                const auto& form = forms.of(two, 2);
                if (form.kind > Form::longest) break;
                std::memcpy(to, form.bytes.data(), form.bytes.size());
                baseSize = form.kind;
            }
            base = at;
            to += baseSize;
            at += lead < 0x80 ? 1 : 2;
        }
        const auto* const from = text.data() + at;
        const auto length = characterLength(text, at);
        const auto* const form = length > 1 ? &forms.of(from, length) : nullptr;
        const bool isCombined = form && form->kind == Form::combining;
        if (at >= limit && !isCombined) break;
        if (isCombined || (form && form->kind == Form::longer)) {
            if (!isCombined) {
                base = at;
                baseSize = 0;
                at += length;
            }
            note();
            foldRun(output);
            if (isInLongRun) return;
            output.makeRoom(limit > this->at ? limit - this->at : 0);
            at = this->at;
            base = this->base;
            to = output.end();
            continue;
        }
        base = at;
        if (form && form->kind <= Form::longest) {
            std::memcpy(to, form->bytes.data(), form->bytes.size());
            baseSize = form->kind;
        } else if (form) {
            std::memcpy(to, from, length);
            baseSize = length;
        } else if (length == 1) {
            if (at + 1 < text.size() && isASCII(from[1])) break;
            *to = foldedASCII(*from);
            baseSize = 1;
        } else {
            *to = *from;
            baseSize = 1;
            base = noBase;
        }
        to += baseSize;
        at += std::max<std::size_t>(length, 1);
    }
    note();
}

/// What combines with the character before it.
void CaseFolding::foldRun(FoldedText& output) {
    auto end = at;
    std::size_t count = 0;
    for (; count <= longestCombiningRun && isCombining(end); ++count) end += characterLength(text, end);
    const auto begin = base == noBase ? at : base;
    isInLongRun = count > longestCombiningRun;
    if (isInLongRun) {
        // A base that has not been folded yet.
        if (baseSize == 0 && begin < at) output.append(foldedByLibrary(text.substr(begin, at - begin)));
        return;
    }
    if (!foldRunQuickly(output, end)) {
        if (base != noBase) output.takeBack(baseSize);
        output.append(foldedByLibrary(text.substr(begin, end - begin)));
    }
    at = end;
    base = noBase;
}

/// The same without the library, where the base and each mark are characters that stay what they are; false
/// where they are not.
bool CaseFolding::foldRunQuickly(FoldedText& output, std::size_t end) {
    // Without a value at first, which would take longer than the usual one or two marks.
    struct Mark {
        const char* bytes;
        std::uint8_t size;
        std::uint8_t combiningClass;
    };
    const bool hasBase = this->base != noBase;
    if (hasBase) {
        const auto length = this->at - this->base;
        if (baseSize == 0 || (length > 1 && forms.of(text.data() + this->base, length).detail == 0))
            return false;
    }
    std::array<Mark, longestCombiningRun> marks;
    std::size_t count = 0;
    for (auto at = this->at; at < end; ++count) {
        const auto size = characterLength(text, at);
        const auto combiningClass = forms.of(text.data() + at, size).detail;
        if (combiningClass == 0) return false;
        auto place = count;
        for (; place > 0 && marks[place - 1].combiningClass > combiningClass; --place)
            marks[place] = marks[place - 1];
        marks[place] = {text.data() + at, static_cast<std::uint8_t>(size), combiningClass};
        at += size;
    }
    auto starter = hasBase ? codePointOf(output.end() - baseSize, baseSize) : U_SENTINEL;
    std::array<char, U8_MAX_LENGTH*(longestCombiningRun + 1)> bytes;
    auto* kept = bytes.data() + U8_MAX_LENGTH;
    std::uint8_t lastKept = 0;
    for (std::size_t each = 0; each < count; ++each) {
        const auto& mark = marks[each];
        const auto composed = hasBase && lastKept < mark.combiningClass
                                  ? forms.composed(starter, codePointOf(mark.bytes, mark.size))
                                  : U_SENTINEL;
        if (composed >= 0) {
            starter = composed;
            continue;
        }
        kept = std::copy_n(mark.bytes, mark.size, kept);
        lastKept = mark.combiningClass;
    }
    if (hasBase) {
        std::array<char, U8_MAX_LENGTH> base;
        std::int32_t size = 0;
        U8_APPEND_UNSAFE(base.data(), size, starter);
        output.takeBack(baseSize);
        output.append({base.data(), static_cast<std::size_t>(size)});
    }
    output.append({bytes.data() + U8_MAX_LENGTH, kept});
    return true;
}

void CaseFolding::copyLongRun(FoldedText& output, std::size_t limit) {
    const auto text = this->text;
    // Those of the block that most of them are in (U+0300 to U+036F).
    const auto isUsual = [](std::string_view two) {
        return two[0] == '\xCC' || (two[0] == '\xCD' && static_cast<signed char>(two[1]) < '\xB0');
    };
    auto end = at;
    while (end < limit && isCombining(end)) {
        end += characterLength(text, end);
        while (end < limit && end + 2 <= text.size() && isUsual(text.substr(end, 2)) &&
               (text[end + 1] & 0xC0) == 0x80)
            end += 2;
    }
    isInLongRun = end >= limit && end < text.size();
    output.append(text.substr(at, end - at));
    at = end;
}

void CaseFolding::skipTo(std::size_t offset) {
    const auto isInside = [&](std::size_t at) { return (text[at] & 0xC0) == 0x80; };
    auto to = std::min(offset, text.size() - 1);
    while (to > this->at && isInside(to)) --to;
    std::size_t run = 0;
    for (; to > this->at && run <= longestCombiningRun && isCombining(to); ++run) {
        do --to;
        while (to > this->at && isInside(to));
    }
    if (to <= this->at) return;
    this->at = to;
    isInLongRun = run > longestCombiningRun;
}

}  // namespace vellumix
