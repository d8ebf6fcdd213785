#pragma once

#include <functional>
#include <variant>

#include "platform/desktop/CloudKit.h"
#include "platform/desktop/URLSession.h"

namespace vellumix::linux_desktop {

/// Where a person's database is, and who they are there.
struct CouchAccount {
    /// Of the server, or of a path on it under which its databases are.
    URL address;
    /// Without a name in it, nobody is named to the server.
    URLCredential credential;
};

/// The account of the moment, nothing where there is none, or why it can't be had. Main thread; asked at the
/// beginning of every operation.
using CouchAccountSource = std::function<std::variant<std::monostate, CouchAccount, CKError>()>;

}  // namespace vellumix::linux_desktop
