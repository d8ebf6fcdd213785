#include "shell/TelemetryReporter.h"

#include <utility>

#include "platform/desktop/Platform.h"
#include "platform/foundation/cipher/UUID.h"
#include "platform/foundation/files/Setting.h"
#include "shell/UpdateCoordinator.h"

namespace vellumix {

namespace {

const Setting<std::optional<std::string>> deviceIdSetting("com.tarnwick.Vellumix.deviceId");

URL withSlash(const URL& base) {
    if (base.absoluteString().ends_with('/')) return base;
    return URL::parse(std::string(base.absoluteString()) + '/').value_or(base);
}

std::string storedOrNewId() {
    if (auto stored = deviceIdSetting.get()) return *stored;
    auto id = UUID::random().uuidString();
    deviceIdSetting.set(id);
    return id;
}

/// Any value but these two counts as yes, as who sets the variable at all has a wish, and a message that
/// isn't sent harms nobody.
bool isAskedNotToTrack() {
    const auto value = platform::current().processInfo->environment("DO_NOT_TRACK").value_or("");
    return !value.empty() && value != "0";
}

/// A reference without a scheme, host or query against a base (RFC 3986 section 5.2.3).
std::optional<URL> resolved(const URL& base, std::string_view path) {
    auto folder = base.absoluteString();
    folder = folder.substr(0, folder.find_first_of("?#"));
    return URL::parse(std::string(folder.substr(0, folder.rfind('/') + 1)) + std::string(path));
}

/// Empty where something in it isn't UTF-8, which JSON has to be.
Data encoded(JsonValue::Object message) {
    const auto text = JsonValue{std::move(message)}.compact();
    return JsonValue::parse(text) ? Data(std::string_view(text)) : Data();
}

}  // namespace

TelemetryReporter::TelemetryReporter(const URL& base)
    : apiURL(withSlash(base)), deviceId(storedOrNewId()), session(*platform::current().urlSession) {}

void TelemetryReporter::send(const std::string& event, JsonValue::Object metadata) {
    if (isAskedNotToTrack()) return;
    const auto url = resolved(apiURL, "v1/telemetry");
    if (!url) return;
    const auto& process = *platform::current().processInfo;
    const auto locale = process.currentLocale();
    NSURLRequest request{
        .url = *url,
        .HTTPMethod = "POST",
        .headers = {{"Content-Type", "application/json"}},
        .HTTPBody = encoded({
            {"deviceId", JsonValue{deviceId}},
            {"event", JsonValue{event}},
            {"metadata", JsonValue{std::move(metadata)}},
            {"osVersion", JsonValue{process.operatingSystemVersionString()}},
            {"appVersion", JsonValue{appVersionText(platform::current().mainBundle)}},
            {"language", JsonValue{locale.languageCode.value_or("en")}},
            {"country", JsonValue{locale.regionCode.value_or("US")}},
        }),
        .timeoutInterval = 60,
    };
    std::erase_if(transfers, [](const auto& transfer) { return !*transfer; });
    const auto transfer = std::make_shared<std::unique_ptr<URLSessionTask>>();
    // Weakly, as the transfer keeps its handlers.
    const auto onEnd = [weak = std::weak_ptr(transfer)](std::optional<URLError>) {
        if (const auto ended = weak.lock()) ended->reset();
    };
    *transfer = session.start(std::move(request), {.onEnd = onEnd});
    transfers.push_back(transfer);
}

}  // namespace vellumix
