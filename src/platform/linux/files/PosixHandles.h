#pragma once

#include <dirent.h>
#include <spawn.h>
#include <unistd.h>

#include <memory>
#include <utility>

#include "platform/foundation/memory/HandleDeleter.h"

/// The handles of the system that this folder owns.
namespace vellumix::linux_desktop::posix {

/// An open file descriptor, or none (-1).
class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int number) : number(number) {}
    Descriptor(Descriptor&& other) noexcept : number(std::exchange(other.number, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(number, other.number);
        return *this;
    }
    ~Descriptor() { end(); }

    explicit operator bool() const { return number >= 0; }
    int get() const { return number; }
    int release() { return std::exchange(number, -1); }
    /// False when the system reports, only now, that something written was lost.
    bool end() {
        const int number = release();
        return number < 0 || ::close(number) == 0;
    }

private:
    int number = -1;
};

/// A folder that is being listed.
using Folder = std::unique_ptr<DIR, HandleDeleter<closedir>>;
/// Null for no descriptor, and where it is of no folder.
inline Folder listFolder(Descriptor folder) {
    Folder listing(folder ? ::fdopendir(folder.get()) : nullptr);
    if (listing) folder.release();
    return listing;
}

/// A structure of the spawning of processes, with its begin and its end.
template <class T, auto Begin, auto End>
class SpawnValue {
public:
    SpawnValue() { Begin(&value); }
    SpawnValue(const SpawnValue&) = delete;
    SpawnValue& operator=(const SpawnValue&) = delete;
    ~SpawnValue() { End(&value); }

    T* get() const { return &value; }

private:
    mutable T value;
};
using SpawnAttributes = SpawnValue<posix_spawnattr_t, posix_spawnattr_init, posix_spawnattr_destroy>;
using SpawnActions =
    SpawnValue<posix_spawn_file_actions_t, posix_spawn_file_actions_init, posix_spawn_file_actions_destroy>;

}  // namespace vellumix::linux_desktop::posix
