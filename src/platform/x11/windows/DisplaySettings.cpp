#include "platform/x11/windows/DisplaySettings.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "platform/x11/server/RootProperties.h"

namespace vellumix::x11 {

namespace {

constexpr std::uint32_t unitsOfSettings = 64 * 1024;

/// Reads numbers and texts of a byte order until the bytes end.
class Reader {
public:
    explicit Reader(ByteView bytes) : bytes(bytes) {}

    void setBigEndian(bool isBigEndian) { this->isBigEndian = isBigEndian; }
    bool skip(std::size_t count) {
        if (count > bytes.size()) return false;
        bytes = bytes.subspan(count);
        return true;
    }
    std::optional<std::uint32_t> number(std::size_t size) {
        if (size > bytes.size()) return std::nullopt;
        std::uint32_t value = 0;
        for (std::size_t at = 0; at < size; ++at) {
            const std::size_t place = isBigEndian ? size - 1 - at : at;
            value |= std::uint32_t{bytes[at]} << (8 * place);
        }
        bytes = bytes.subspan(size);
        return value;
    }
    /// With the padding to a multiple of 4 after it.
    std::optional<std::string> text(std::size_t size) {
        if (size > bytes.size()) return std::nullopt;
        std::string value(reinterpret_cast<const char*>(bytes.data()), size);
        skip(std::min((size + 3) / 4 * 4, bytes.size()));
        return value;
    }

private:
    ByteView bytes;
    bool isBigEndian = false;
};

std::string property(Connection& connection, xcb_window_t window, xcb_atom_t name) {
    const auto reply = xcb::await<xcb_get_property_reply>(
        connection.xcb(),
        xcb_get_property(connection.xcb(), 0, window, name, XCB_GET_PROPERTY_TYPE_ANY, 0, unitsOfSettings));
    if (!reply || reply->format != 8) return {};
    return {static_cast<const char*>(xcb_get_property_value(reply.get())),
            static_cast<std::size_t>(xcb_get_property_value_length(reply.get()))};
}

}  // namespace

DisplaySettings settingsOfProperty(ByteView value) {
    enum Type : std::uint32_t { integer = 0, text = 1, colour = 2 };
    constexpr double dotsPerUnit = 1024;
    DisplaySettings settings;
    Reader reader(value);
    const auto order = reader.number(1);
    reader.setBigEndian(order == 1U);
    if (!reader.skip(7)) return settings;
    const auto count = reader.number(4);
    for (std::uint32_t at = 0; at < count.value_or(0); ++at) {
        const auto type = reader.number(1);
        if (!type || !reader.skip(1)) break;
        const auto nameSize = reader.number(2);
        const auto name = nameSize ? reader.text(*nameSize) : std::nullopt;
        if (!name || !reader.skip(4)) break;
        if (type == colour) {
            if (!reader.skip(8)) break;
            continue;
        }
        const auto number = reader.number(4);
        if (!number) break;
        if (type == integer) {
            const auto signedNumber = static_cast<std::int32_t>(*number);
            if (*name == "Xft/DPI" && signedNumber > 0) settings.dotsPerInch = signedNumber / dotsPerUnit;
            if (*name == "Gdk/WindowScalingFactor" && signedNumber > 0) settings.scalingFactor = signedNumber;
            continue;
        }
        const auto words = type == text ? reader.text(*number) : std::nullopt;
        if (!words) break;
        if (*name == "Gtk/FontName") settings.fontFamily = familyOfFontName(*words);
        if (*name == "Net/IconThemeName" && !words->empty()) settings.iconTheme = *words;
    }
    return settings;
}

std::optional<std::string> familyOfFontName(std::string_view name) {
    // The words after the family that Pango's font descriptions know.
    constexpr std::string_view styles[] = {
        "Normal",          "Roman",     "Oblique",    "Italic",         "Small-Caps",
        "Ultra-Light",     "Light",     "Medium",     "Semi-Bold",      "Bold",
        "Ultra-Bold",      "Heavy",     "Thin",       "Book",           "Regular",
        "Condensed",       "Expanded",  "Semi-Light", "Semi-Condensed", "Ultra-Condensed",
        "Extra-Condensed", "Demi-Bold", "Extra-Bold", "Black"};
    const auto isNumber = [](std::string_view word) {
        return word.find_first_not_of("0123456789.") == std::string_view::npos;
    };
    for (;;) {
        while (!name.empty() && (name.back() == ' ' || name.back() == ',')) name.remove_suffix(1);
        const auto word = name.substr(name.rfind(' ') + 1);
        const bool isStyle = std::find(std::begin(styles), std::end(styles), word) != std::end(styles);
        if (name.empty() || !(isStyle || isNumber(word))) break;
        name.remove_suffix(word.size());
    }
    return name.empty() ? std::nullopt : std::optional(std::string(name));
}

std::optional<double> dotsPerInchOfResources(std::string_view resources) {
    constexpr std::string_view name = "Xft.dpi:";
    for (std::size_t start = 0; start < resources.size();) {
        const auto end = std::min(resources.find('\n', start), resources.size());
        const auto line = resources.substr(start, end - start);
        start = end + 1;
        if (!line.starts_with(name)) continue;
        const double value = std::strtod(std::string(line.substr(name.size())).c_str(), nullptr);
        if (value > 0) return value;
    }
    return std::nullopt;
}

SettingsReader::SettingsReader(Connection& connection, int screenNumber)
    : connection(connection), manager(connection, "_XSETTINGS_S" + std::to_string(screenNumber)) {
    managerChanges = manager.observe([this] { followManager(); });
    resourceChanges = connection.rootProperties().observe(XCB_ATOM_RESOURCE_MANAGER, [this] { read(); });
    followManager();
}

void SettingsReader::followManager() {
    managerEvents.reset();
    if (manager.owner() != XCB_WINDOW_NONE) {
        managerEvents = connection.observeForeign(manager.owner(), [this](const auto& event) {
            if (xcb::typeOf(event) == XCB_PROPERTY_NOTIFY &&
                xcb::as<xcb_property_notify_event_t>(event).atom == connection.atoms().settings) {
                readLater();
            }
        });
    }
    read();
}

void SettingsReader::readLater() {
    if (std::exchange(isReading, true)) return;
    connection.runLoop().post(lifetime.weakly([this] {
        isReading = false;
        read();
    }));
}

void SettingsReader::read() {
    DisplaySettings fresh;
    if (manager.owner() != XCB_WINDOW_NONE) {
        const auto value = property(connection, manager.owner(), connection.atoms().settings);
        fresh = settingsOfProperty({reinterpret_cast<const std::uint8_t*>(value.data()), value.size()});
    }
    // The resources hold what the user has written; the manager tells what the desktop assumes.
    const auto resources = property(connection, connection.root(), XCB_ATOM_RESOURCE_MANAGER);
    if (const auto dots = dotsPerInchOfResources(resources)) fresh.dotsPerInch = dots;
    if (fresh == settings_) return;
    settings_ = std::move(fresh);
    observers.notify();
}

}  // namespace vellumix::x11
