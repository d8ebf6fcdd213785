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
    : files(files),
      path(std::move(path)),
      file(this->files, this->path, {"Defaults", "settings file", sizeLimit}),
      queue(RunLoop::main().serialQueue("com.tarnwick.Vellumix.Defaults.Save")) {
    const auto content = file.read();
    if (!content) return;
    if (auto values = readPropertyList(*content)) {
        this->values = std::move(*values);
    } else {
        file.markUnreadable();
        Log("Defaults")
            .error("The settings file is no property list of settings, and defaults are used: " + this->path);
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
    const auto found = values.find(key);
    return found == values.end() ? std::nullopt : std::optional(found->second);
}

void UserDefaults::set(std::string_view key, PropertyValue value) {
    const auto found = values.find(key);
    if (found != values.end() && found->second == value) return;
    values.insert_or_assign(std::string(key), std::move(value));
    changed();
}

void UserDefaults::remove(std::string_view key) {
    const auto found = values.find(key);
    if (found == values.end()) return;
    values.erase(found);
    changed();
}

void UserDefaults::changed() {
    assertMainThread();
    assertNotDescribing("a setting was changed");
    if (pendingWrite) pendingWrite->cancel();
    pendingWrite = queue->asyncAfter(writeDelay, writing());
}

Work UserDefaults::writing() {
    return [this, content = writePropertyList(values)] {
        files.makeFolder(folderOf(path));
        file.write({viewOf(content)});
    };
}

bool UserDefaults::synchronize() {
    assertMainThread();
    if (pendingWrite) {
        pendingWrite->cancel();
        pendingWrite = nullptr;
        queue->sync(writing());
    }
    return !file.hasFailed();
}

}  // namespace vellumix
