#include "platform/linux/updates/Appcast.h"

#include <charconv>
#include <map>
#include <utility>

#include "platform/linux/loop/GLibHandles.h"

namespace vellumix::linux_desktop::appcast {

namespace {

constexpr std::size_t deepest = 16;
/// More than anybody reads before an update.
constexpr std::size_t longestNotes = 16 * 1024;
constexpr std::size_t longestVersion = 40;

/// Whoever writes a feed is free to choose the prefix of a namespace.
std::string_view localName(std::string_view name) { return name.substr(name.rfind(':') + 1); }

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
    while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
    return text;
}

/// Not longer than the limit, and whole characters (RFC 3629 section 3).
std::string_view cut(std::string_view text, std::size_t limit) {
    if (text.size() <= limit) return text;
    while ((static_cast<unsigned char>(text[limit]) & 0xC0) == 0x80) --limit;
    return text.substr(0, limit);
}

/// Control characters, which have no look, become blanks; of line breaks one form stays.
std::string plain(std::string_view text, std::size_t limit) {
    std::string out;
    for (const char c : cut(trimmed(text), limit)) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '\r') continue;
        out += (byte < 0x20 && c != '\n') || byte == 0x7F ? ' ' : c;
    }
    return out;
}

/// By local name.
using Fields = std::map<std::string, std::string, std::less<>>;

/// A release says what it is in elements or in attributes of its enclosure, which count first.
std::optional<AppcastItem> itemOf(const Fields& elements, const Fields& enclosure) {
    const auto value = [&](std::string_view name) {
        for (const auto* fields : {&enclosure, &elements}) {
            if (const auto found = fields->find(name); found != fields->end()) return trimmed(found->second);
        }
        return std::string_view();
    };
    const auto build = VersionNumber::parse(value("version"));
    const auto url = URL::parse(value("url"));
    const auto signature = ed25519::signatureOf(value("edSignature"));
    const auto length = value("length");
    std::uint64_t bytes = 0;
    const auto* const end = length.data() + length.size();
    const bool isLength = !length.empty() && std::from_chars(length.data(), end, bytes).ptr == end;
    const auto minimum = value("minimumSystemVersion");
    const auto minimumSystem = VersionNumber::parse(minimum);
    // A least system that can't be read is one that this may not be.
    const bool isForSystems = minimum.empty() || minimumSystem;
    if (!build || !url || !signature || !isLength || bytes == 0 || bytes > largestFile || !isForSystems)
        return std::nullopt;
    auto shown = value("shortVersionString");
    if (shown.empty()) shown = value("version");
    return AppcastItem{.build = *build,
                       .shortVersion = plain(shown, longestVersion),
                       .minimumSystem = minimumSystem,
                       .url = *url,
                       .length = bytes,
                       .signature = *signature,
                       .notes = plain(value("description"), longestNotes)};
}

class Reader {
public:
    std::vector<AppcastItem> items;

    bool begin(std::string_view name, const char** names, const char** values) {
        if (open.size() == deepest) return false;
        open.emplace_back(localName(name));
        if (open.back() == "item") {
            elements.clear();
            enclosure.clear();
            itemDepth = open.size();
        }
        if (isInItem()) elements[open.back()].clear();
        if (isInItem() && open.back() == "enclosure") {
            for (; *names; ++names, ++values) enclosure.emplace(localName(*names), *values);
        }
        return true;
    }
    void end() {
        if (open.size() == itemDepth) {
            itemDepth = 0;
            if (auto item = itemOf(elements, enclosure)) items.push_back(std::move(*item));
        }
        open.pop_back();
    }
    void text(std::string_view text) {
        if (isInItem()) elements[open.back()] += text;
    }

private:
    /// In an element of the item's own: what is deeper is none of the release's.
    bool isInItem() const { return itemDepth && open.size() == itemDepth + 1; }

    std::vector<std::string> open;
    /// Of the item that is being read; 0 outside of one.
    std::size_t itemDepth = 0;
    Fields elements;
    Fields enclosure;
};

Reader& readerOf(gpointer data) { return *static_cast<Reader*>(data); }

constexpr GMarkupParser parser{
    .start_element =
        [](GMarkupParseContext*, const char* name, const char** names, const char** values, gpointer data,
           GError** error) {
            if (readerOf(data).begin(name, names, values)) return;
            g_set_error_literal(error, G_MARKUP_ERROR, G_MARKUP_ERROR_INVALID_CONTENT, "too deep");
        },
    .end_element = [](GMarkupParseContext*, const char*, gpointer data, GError**) { readerOf(data).end(); },
    .text =
        [](GMarkupParseContext*, const char* text, gsize size, gpointer data, GError**) {
            readerOf(data).text({text, size});
        },
    .passthrough = nullptr,
    .error = nullptr,
};

}  // namespace

std::optional<std::vector<AppcastItem>> read(ByteView feed) {
    if (feed.empty() || feed.size() > largestFeed) return std::nullopt;
    Reader reader;
    const glib::MarkupContext context(
        g_markup_parse_context_new(&parser, G_MARKUP_TREAT_CDATA_AS_TEXT, &reader, nullptr));
    const auto text = asText(feed);
    const bool isRead =
        g_markup_parse_context_parse(context.get(), text.data(), static_cast<gssize>(text.size()), nullptr) &&
        g_markup_parse_context_end_parse(context.get(), nullptr);
    if (!isRead) return std::nullopt;
    return std::move(reader.items);
}

}  // namespace vellumix::linux_desktop::appcast
