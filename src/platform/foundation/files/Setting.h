#pragma once

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "platform/foundation/files/UserDefaults.h"
#include "platform/foundation/observation/Published.h"

/// What the program keeps between its starts. Each setting is one `Setting` in the source of its owner, and
/// one line in docs/settings.md, which says how to add one. Main thread only.
namespace vellumix {

/// An absent value removes the key.
template <class T>
void saveJSONSetting(const std::optional<T>& value, std::string_view key, UserDefaults& defaults) {
    defaults.set(key, value ? std::optional(value->encode()) : std::nullopt);
}
/// Absent where nothing is stored that can be read.
template <class T>
std::optional<T> loadJSONSetting(std::string_view key, const UserDefaults& defaults) {
    const auto data = defaults.value<Data>(key);
    return data ? T::decode(*data) : std::nullopt;
}

// How a value is written. A form that has no `save` is of a setting that the program only reads.

/// As the settings file has it: a type of `PropertyValue`.
template <class T>
struct AsValue {
    static std::optional<T> load(std::string_view key, const UserDefaults& defaults) {
        return defaults.value<T>(key);
    }
    static void save(const T& value, std::string_view key, UserDefaults& defaults) {
        defaults.set(key, PropertyValue(value));
    }
};

/// A value that may be absent; then the key is, too.
template <class T>
struct AsValue<std::optional<T>> {
    static std::optional<std::optional<T>> load(std::string_view key, const UserDefaults& defaults) {
        return defaults.value<T>(key);
    }
    static void save(const std::optional<T>& value, std::string_view key, UserDefaults& defaults) {
        defaults.set(key, value);
    }
};

/// As data that hold JSON (RFC 8259), which `encode` of the type writes and `decode` reads.
template <class T>
struct AsJSON {
    static std::optional<T> load(std::string_view key, const UserDefaults& defaults) {
        return loadJSONSetting<T>(key, defaults);
    }
    static void save(const T& value, std::string_view key, UserDefaults& defaults) {
        saveJSONSetting(std::optional(value), key, defaults);
    }
};

/// As the `rawValue` of one of the cases of an enumeration, a string. Any other string can't be read.
template <const auto& cases>
struct AsName {
    using Case = std::remove_cvref_t<decltype(cases[0])>;

    static std::optional<Case> named(std::string_view name) {
        const auto found =
            std::ranges::find_if(cases, [&](Case each) { return std::string_view(rawValue(each)) == name; });
        return found == std::ranges::end(cases) ? std::nullopt : std::optional(*found);
    }
    static std::optional<Case> load(std::string_view key, const UserDefaults& defaults) {
        const auto name = defaults.value<std::string>(key);
        return name ? named(*name) : std::nullopt;
    }
    static void save(Case value, std::string_view key, UserDefaults& defaults) {
        defaults.set(key, PropertyValue(std::string(rawValue(value))));
    }
};

/// One key of the user defaults, with what it is while nothing is stored that can be read.
template <class T, class Form = AsValue<T>>
class Setting {
public:
    constexpr explicit Setting(std::string_view key, T standard = T())
        : key_(key), standard(std::move(standard)) {}

    std::string_view key() const { return key_; }
    T get() const { return stored().value_or(standard); }
    /// Absent where nothing is stored that can be read.
    std::optional<T> stored() const { return Form::load(key_, UserDefaults::standard()); }

    void set(const T& value) const { Form::save(value, key_, UserDefaults::standard()); }
    void remove() const { UserDefaults::standard().remove(key_); }

private:
    std::string_view key_;
    T standard;
};

/// A property that begins as it is stored, and stores every assignment and every change in place before its
/// observers hear of it.
template <class T, class Form = AsValue<T>>
class PublishedSetting : public Published<T> {
public:
    explicit PublishedSetting(const Setting<T, Form>& setting)
        : Published<T>(setting.get()),
          storing(this->observe([this, setting] { setting.set(this->get()); })) {}
    PublishedSetting(const PublishedSetting&) = delete;
    PublishedSetting& operator=(const PublishedSetting&) = delete;

private:
    Observation storing;
};

}  // namespace vellumix
