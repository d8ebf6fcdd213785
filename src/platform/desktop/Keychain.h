#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/foundation/bytes/Data.h"

namespace vellumix {

/// Statuses of the keychain. Only `errSecItemNotFound` means that a new key may be made.
using OSStatus = std::int32_t;
inline constexpr OSStatus errSecSuccess = 0;
/// The service answered, everything that could hold the item is unlocked, and it isn't there.
inline constexpr OSStatus errSecItemNotFound = -25300;
/// The keychain is locked; the desktop may be asking the user meanwhile.
inline constexpr OSStatus errSecInteractionNotAllowed = -25308;
/// The service that holds the key, or is to hold it, can't be reached.
inline constexpr OSStatus errSecNotAvailable = -25291;
/// The user turned down the desktop's question.
inline constexpr OSStatus errSecUserCanceled = -128;
/// The service answered with an error.
inline constexpr OSStatus errSecIO = -36;
/// The service didn't answer in time.
inline constexpr OSStatus errSecTimedOut = 100060;

/// A generic password: what `kSecClassGenericPassword` with a service and an account names.
struct KeychainItem {
    std::string service;
    std::string account;
};

/// Secrets of the user, kept by the desktop on this machine. Main thread.
///
/// Each call answers within a bounded time. What needs the user is asked by the desktop; the first read of
/// the process waits for the answer, as nothing can be shown without it; later ones, and any while a window
/// of the program has the keyboard, report `errSecInteractionNotAllowed` at once.
class Keychain {
public:
    struct Match {
        OSStatus status = errSecSuccess;
        /// Present with `errSecSuccess` alone; the caller wipes it.
        std::optional<Bytes> data;
    };

    virtual ~Keychain() = default;
    virtual Match SecItemCopyMatching(const KeychainItem& item) = 0;
    virtual OSStatus SecItemDelete(const KeychainItem& item) = 0;
    virtual OSStatus SecItemAdd(const KeychainItem& item, ByteView secret) = 0;
    /// What is in use, in words for a person: "Secret Service", "key file", "none yet".
    virtual std::string description() const = 0;
};

}  // namespace vellumix
