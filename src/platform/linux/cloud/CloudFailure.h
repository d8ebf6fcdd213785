#pragma once

#include <string>

#include "platform/linux/cloud/CouchAccount.h"

namespace vellumix::linux_desktop {

/// Why something could not be had from the server of an account.
enum class CloudFailure {
    addressNotAllowed,
    hostNotFound,
    connectionRefused,
    noSecureConnection,
    certificateUntrusted,
    certificateExpired,
    certificateForOtherHost,
    redirected,
    tooSlow,
    connectionLost,
    tooLarge,
    noLibrary,
    wrongPassword,
    noRight,
    noDatabase,
    notCouch,
    serverFailed,
    unreadable,
};

CloudFailure failureOf(URLError error);
/// Of an answer with a status that isn't the expected one.
CloudFailure failureOfStatus(int status);
/// One sentence for the person, in their language.
std::string sentenceFor(CloudFailure failure, const CouchAccount& account);
CKError errorFor(CloudFailure failure, const CouchAccount& account);

/// The account's server as a person knows it: host and port, and never a password.
std::string serverName(const CouchAccount& account);

}  // namespace vellumix::linux_desktop
