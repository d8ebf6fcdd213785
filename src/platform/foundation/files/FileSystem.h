#pragma once

#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include "platform/foundation/bytes/Data.h"

namespace vellumix {

/// The file operations that the program is built from, one system call each, so that a test can fail any of
/// them.
///
/// Blocking; any thread. Paths are absolute. Every result is an error code that compares with `std::errc`;
/// none throws.
class FileSystem {
public:
    using Handle = int;

    virtual ~FileSystem() = default;

    /// Where the bytes of a file of the user's own lie: `path`, or what its last part leads to by symbolic
    /// links, there already or not. `belongsToOther` for a link to another user's file, and for a folder of
    /// anybody's but this user's or the superuser's: whoever owns a folder can put another file there. An
    /// error too where a link leads to anything but a regular file.
    virtual std::error_code locate(const std::string& path, std::string& place) = 0;
    /// The whole regular file at the place that `locate` gives; anything else is an error, and so is one of
    /// more than `limit` bytes (`file_too_large`), for which no memory is taken. An error leaves nothing in
    /// `content`.
    virtual std::error_code read(const std::string& path, std::size_t limit, Bytes& content) = 0;
    /// Opens for writing, made or emptied, readable by its owner alone (0600) whatever the umask; never
    /// through a symbolic link.
    virtual std::error_code openForWriting(const std::string& path, Handle& handle) = 0;
    /// The same for a file that isn't there yet; `file_exists` where anything has the name.
    virtual std::error_code openNew(const std::string& path, Handle& handle) = 0;
    virtual std::error_code write(Handle handle, ByteView bytes) = 0;
    /// Returns when the file's bytes are on the disk.
    virtual std::error_code sync(Handle handle) = 0;
    virtual std::error_code close(Handle handle) = 0;
    /// Replaces `to` in one step.
    virtual std::error_code rename(const std::string& from, const std::string& to) = 0;
    /// Returns when the folder's entries are on the disk.
    virtual std::error_code syncFolder(const std::string& path) = 0;
    virtual std::error_code remove(const std::string& path) = 0;
    /// Makes the folder and those above it, each for its owner alone (0700). No error if it is there and
    /// belongs to this user or the superuser.
    virtual std::error_code makeFolder(const std::string& path) = 0;
    virtual bool exists(const std::string& path) = 0;
    /// Takes from the file that `read` reads every right of anybody but its owner; `wasOpen` says whether
    /// there was one.
    virtual std::error_code makePrivate(const std::string& path, bool& wasOpen) = 0;
};

/// The error for what another user owns; it compares equal to `std::errc::permission_denied`.
std::error_code belongsToOther();

/// The folder that holds `path`.
std::string folderOf(const std::string& path);

/// Replaces a file so that after any failure or power cut either the old or the new content is there, whole:
/// a temporary file beside the place that `locate` gives, synced, renamed over it, and the folder synced. On
/// an error the temporary file is gone. What has the temporary file's name is removed, or left where it is
/// for another name.
std::error_code writeAtomically(FileSystem& files, const std::string& path, ByteView content);
/// The same for content in parts.
std::error_code writeAtomically(FileSystem& files, const std::string& path,
                                const std::vector<ByteView>& parts);

/// Removes the temporary file that a write killed halfway left behind.
void removeLeftovers(FileSystem& files, const std::string& path);

/// Renames a file that couldn't be read to "<stem>.unreadable-<time>.<extension>" beside it, with the time in
/// UTC and a number where that name is taken, and gives the new path, or an empty one when there was no file.
/// Of a link it renames what it leads to, or the link itself where that is none of the user's own files.
/// Nothing when it can't be renamed: it is still in its place and must not be replaced.
std::optional<std::string> moveAside(FileSystem& files, const std::string& path, const std::string& time);

}  // namespace vellumix
