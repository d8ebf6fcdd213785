#include "platform/foundation/files/UserDefaults.h"

#include "platform/foundation/loop/Log.h"
#include "platform/foundation/promises/Describing.h"
#include "platform/foundation/promises/MainThread.h"

namespace vellumix {

namespace {

/// Long enough for the keys that one action of a person changes, too short for the person to notice.
constexpr double writeDelay = 0.05;
/// In bytes; some hundred times what the program and a person write there.
constexpr std::size_t sizeLimit = std::size_t{1} << 20;

UserDefaults* installed = nullptr;

}  // namespace

UserDefaults::UserDefaults(FileSystem& files, std::string path)
    : _files(files),
      _path(std::move(path)),
      _file(_files, _path, {"Defaults", "settings file", sizeLimit}),
      _queue(RunLoop::main().serialQueue("com.tarnwick.Vellumix.Defaults.Save")) {
    const auto content = _file.read();
    if (!content) return;
    if (auto values = readPropertyList(*content)) {
        _values = std::move(*values);
    } else {
        _file.markUnreadable();
        Log("Defaults")
            .error("The settings file is no property list of settings, and defaults are used: " + _path);
    }
}

PropertyDictionary UserDefaults::stored(FileSystem& files, const std::string& path) {
    Bytes content;
    if (files.read(path, sizeLimit, content)) return {};
    return readPropertyList(content).value_or(PropertyDictionary());
}

UserDefaults& UserDefaults::standard() { return *installed; }
UserDefaults* UserDefaults::install(UserDefaults* defaults) { return std::exchange(installed, defaults); }

std::optional<PropertyValue> UserDefaults::object(std::string_view key) const {
    assertMainThread();
    const auto found = _values.find(key);
    return found == _values.end() ? std::nullopt : std::optional(found->second);
}

void UserDefaults::set(std::string_view key, PropertyValue value) {
    const auto found = _values.find(key);
    if (found != _values.end() && found->second == value) return;
    _values.insert_or_assign(std::string(key), std::move(value));
    changed();
}

void UserDefaults::remove(std::string_view key) {
    const auto found = _values.find(key);
    if (found == _values.end()) return;
    _values.erase(found);
    changed();
}

void UserDefaults::changed() {
    assertMainThread();
    assertNotDescribing("a setting was changed");
    if (_pendingWrite) _pendingWrite->cancel();
    _pendingWrite = _queue->asyncAfter(writeDelay, writing());
}

Work UserDefaults::writing() {
    return [this, content = writePropertyList(_values)] {
        _files.makeFolder(folderOf(_path));
        _file.write({viewOf(content)});
    };
}

void UserDefaults::synchronize() {
    assertMainThread();
    if (!_pendingWrite) return;
    _pendingWrite->cancel();
    _pendingWrite = nullptr;
    _queue->sync(writing());
}

}  // namespace vellumix
