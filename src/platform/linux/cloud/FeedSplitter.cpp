#include "platform/linux/cloud/FeedSplitter.h"

#include <utility>

namespace vellumix::linux_desktop {

namespace {

/// The object of the answer, and the array in it.
constexpr std::size_t depthOfResults = 2;

bool isBlank(char c) { return c == ' ' || c == '\n' || c == '\r' || c == '\t'; }

std::string_view withoutBlanks(std::string_view text) {
    while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
    return text;
}

}  // namespace

FeedSplitter::Step FeedSplitter::next(ByteView& bytes) {
    if (place != Place::inRow) row_ = {};
    while (!bytes.empty()) {
        if (place == Place::inRow) {
            if (const auto step = takeRow(bytes)) return *step;
            continue;
        }
        const char byte = static_cast<char>(bytes.front());
        if (place == Place::frame) {
            if (!takeFrameByte(byte)) return Step::malformed;
        } else if (byte == ']' && place != Place::behindComma) {
            place = Place::frame;
            if (!takeFrameByte(byte)) return Step::malformed;
        } else if (byte == ',' && place == Place::behindRow) {
            place = Place::behindComma;
        } else if (byte == '{' && place != Place::behindRow) {
            place = Place::inRow;
            isOversized = false;
            continue;
        } else if (!isBlank(byte)) {
            return Step::malformed;
        }
        bytes = bytes.subspan(1);
    }
    return Step::wantsMore;
}

bool FeedSplitter::takeFrameByte(char byte) {
    if (frame_.size() == largestFrame) return false;
    if (isInString) {
        if (!isEscaped && byte == '"') isInString = false;
        isEscaped = !isEscaped && byte == '\\';
    } else if (byte == '"') {
        isInString = true;
    } else if (byte == '{' || byte == '[') {
        if (byte == '[' && depth == 1 && opensResults()) {
            if (std::exchange(hasResults, true)) return false;
            place = Place::atFirstRow;
        }
        ++depth;
    } else if (byte == '}' || byte == ']') {
        if (depth == 0) return false;
        --depth;
    }
    frame_.push_back(static_cast<std::uint8_t>(byte));
    return true;
}

bool FeedSplitter::opensResults() const {
    auto text = withoutBlanks(asText(frame_));
    if (!text.ends_with(':')) return false;
    text.remove_suffix(1);
    return withoutBlanks(text).ends_with("\"results\"");
}

std::optional<FeedSplitter::Step> FeedSplitter::takeRow(ByteView& bytes) {
    std::size_t at = 0;
    const auto part = [&] {
        keep(bytes.first(at));
        bytes = bytes.subspan(at);
    };
    while (at < bytes.size()) {
        if (isInString) {
            if (!passString(bytes, at)) break;
            continue;
        }
        const char byte = static_cast<char>(bytes[at++]);
        if (byte == '"') {
            isInString = true;
        } else if (byte == '{' || byte == '[') {
            ++depth;
        } else if (byte == '}' || byte == ']') {
            if (--depth > depthOfResults) continue;
            part();
            place = Place::behindRow;
            return isOversized ? Step::oversizedRow : Step::row;
        }
    }
    part();
    return std::nullopt;
}

bool FeedSplitter::passString(ByteView bytes, std::size_t& at) {
    while (at < bytes.size()) {
        const char byte = static_cast<char>(bytes[at++]);
        if (isEscaped) {
            isEscaped = false;
        } else if (byte == '\\') {
            isEscaped = true;
        } else if (byte == '"') {
            isInString = false;
            return true;
        }
    }
    return false;
}

void FeedSplitter::keep(ByteView part) {
    if (!isOversized && row_.size() + part.size() > largestRow) {
        isOversized = true;
        row_ = {};
    }
    if (!isOversized) append(row_, part);
}

std::optional<JsonValue> FeedSplitter::frame() const {
    if (place != Place::frame) return std::nullopt;
    auto value = JsonValue::parse(asText(frame_));
    const auto* const results = value ? (*value)["results"] : nullptr;
    const auto* const rows = results ? std::get_if<JsonValue::Array>(&results->value) : nullptr;
    return rows && rows->empty() ? std::move(value) : std::nullopt;
}

}  // namespace vellumix::linux_desktop
