#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/foundation/coding/PropertyList.h"
#include "platform/foundation/files/KeptFile.h"
#include "platform/foundation/loop/RunLoop.h"
#include "platform/foundation/promises/MainThread.h"

namespace vellumix {

/// The settings of the process: string keys with typed values, and an absent state that differs from every
/// value. What the program keeps goes through a `Setting`, and none of it comes here by itself.
///
/// Main thread only. Changes that follow each other closely go to the file in one write, off the main thread;
/// a failed write is logged, and the next change writes everything again. A getter gives nothing when the key
/// is absent or holds another type.
class UserDefaults {
public:
    /// Reads the file at once. A file that is no property list is left alone until the first write, which
    /// moves it aside and says so in the log.
    UserDefaults(FileSystem& files, std::string path);

    /// What the file holds, for a process that only looks: nothing is made, moved or removed. Empty when it
    /// can't be read.
    static PropertyDictionary stored(FileSystem& files, const std::string& path);

    /// Those of the platform in force.
    static UserDefaults& standard();
    /// Called by the platform's scope alone; returns what was in force.
    static UserDefaults* install(UserDefaults* defaults);

    std::optional<PropertyValue> object(std::string_view key) const;
    template <class T>
    std::optional<T> value(std::string_view key) const {
        assertMainThread();
        const auto found = values.find(key);
        if (found == values.end()) return std::nullopt;
        const auto* typed = std::get_if<T>(&found->second);
        return typed ? std::optional<T>(*typed) : std::nullopt;
    }

    void set(std::string_view key, PropertyValue value);
    void set(std::string_view key, const char* text) { set(key, PropertyValue(std::string(text))); }
    /// An absent value removes the key.
    template <class T>
    void set(std::string_view key, const std::optional<T>& value) {
        value ? set(key, PropertyValue(*value)) : remove(key);
    }
    void remove(std::string_view key);

    /// Writes what is still to be written before it returns. False where the file isn't what it should be.
    bool synchronize();

private:
    void changed();
    Work writing();

    FileSystem& files;
    const std::string path;
    KeptFile file;
    PropertyDictionary values;
    std::unique_ptr<SerialQueue> queue;
    std::shared_ptr<WorkItem> pendingWrite;
};

}  // namespace vellumix
