#include "shell/StatusReport.h"

#include <algorithm>
#include <map>

#include "platform/desktop/Platform.h"
#include "platform/foundation/Json.h"
#include "shell/AppDelegate.h"

namespace vellumix {

namespace {

std::size_t count(const std::vector<ClipboardItem>& items, bool ClipboardItem::*flag) {
    return static_cast<std::size_t>(std::ranges::count(items, true, flag));
}

void writeCount(JsonWriter& writer, std::string_view key, std::size_t value) {
    writer.key(key);
    writer.number(static_cast<double>(value));
}

/// {"date": …, <name>: <value>}, or null.
void writeEvent(JsonWriter& writer, std::string_view key, const std::optional<Date>& date,
                std::string_view name, std::string_view value) {
    writer.key(key);
    if (!date) return writer.null();
    writer.beginObject();
    writer.key("date");
    writer.string(date->iso8601());
    writer.key(name);
    writer.string(value);
    writer.endObject();
}

std::string textOf(const JsonValue* value) {
    if (!value) return {};
    if (const auto* text = std::get_if<std::string>(&value->value)) return *text;
    if (const auto* number = std::get_if<JsonValue::Number>(&value->value)) return number->text;
    return {};
}

std::string eventText(const JsonValue* event, std::string_view name) {
    if (!event || !(*event)["date"]) return "none since the start";
    return textOf((*event)[name]) + ", " + textOf((*event)["date"]);
}

}  // namespace

std::string statusReport(AppDelegate& application) {
    const auto& items = application.store().items().get();
    Bytes out;
    JsonWriter writer(out);
    writer.beginObject();
    writer.key("entries");
    writer.beginObject();
    for (const auto kind : ClipboardItem::allKinds) {
        if (kind == ClipboardItem::Kind::all) continue;
        writeCount(writer, rawValue(kind),
                   static_cast<std::size_t>(std::ranges::count(items, kind, &ClipboardItem::kind)));
    }
    writer.endObject();
    writeCount(writer, "pinned", count(items, &ClipboardItem::pinned));
    writeCount(writer, "locked", count(items, &ClipboardItem::locked));
    writer.key("file");
    writer.string(application.store().url().path());
    writer.key("keychain");
    writer.string(platform::current().keychain.description());
    writer.key("panel");
    const auto* statusBar = application.statusBar();
    writer.string(statusBar && statusBar->isPanelVisible() ? "visible" : "hidden");
    std::optional<PasteboardWatcher::Capture> capture;
    std::optional<PasteboardWatcher::Refusal> refusal;
    if (const auto* watcher = application.watcher()) {
        capture = watcher->lastCapture();
        refusal = watcher->lastRefusal();
    }
    writeEvent(writer, "lastCapture", capture ? std::optional(capture->date) : std::nullopt, "kind",
               capture ? rawValue(capture->kind) : "");
    writeEvent(writer, "lastRefusal", refusal ? std::optional(refusal->date) : std::nullopt, "reason",
               refusal ? std::string_view(refusal->reason) : "");
    writer.endObject();
    return std::string(asText(out));
}

std::string readableStatus(std::string_view json) {
    const auto status = JsonValue::parse(json);
    const auto* const entries = status ? (*status)["entries"] : nullptr;
    const auto* const kinds = entries ? std::get_if<JsonValue::Object>(&entries->value) : nullptr;
    if (!kinds) return {};
    std::string counts;
    for (const auto& [kind, number] : *kinds) {
        if (!counts.empty()) counts += ", ";
        counts += textOf(&number) + ' ' + kind;
    }
    return "Vellumix is running.\n"
           "Entries:       " +
           counts + "\n" + "Pinned:        " + textOf((*status)["pinned"]) + "\n" +
           "Locked:        " + textOf((*status)["locked"]) + "\n" +
           "File:          " + textOf((*status)["file"]) + "\n" +
           "Keychain:      " + textOf((*status)["keychain"]) + "\n" +
           "Panel:         " + textOf((*status)["panel"]) + "\n" +
           "Last capture:  " + eventText((*status)["lastCapture"], "kind") + "\n" +
           "Last refusal:  " + eventText((*status)["lastRefusal"], "reason") + "\n";
}

}  // namespace vellumix
