#include "platform/linux/cloud/CloudFailure.h"

#include <algorithm>

#include "platform/foundation/text/LocalizedText.h"

namespace vellumix::linux_desktop {

CloudFailure failureOf(URLError error) {
    switch (error) {
        case URLError::notAllowed:
            return CloudFailure::addressNotAllowed;
        case URLError::cannotFindHost:
            return CloudFailure::hostNotFound;
        case URLError::cannotConnectToHost:
            return CloudFailure::connectionRefused;
        case URLError::secureConnectionFailed:
            return CloudFailure::noSecureConnection;
        case URLError::certificateUntrusted:
            return CloudFailure::certificateUntrusted;
        case URLError::certificateExpired:
            return CloudFailure::certificateExpired;
        case URLError::certificateForOtherHost:
            return CloudFailure::certificateForOtherHost;
        case URLError::redirectRefused:
            return CloudFailure::redirected;
        case URLError::timedOut:
            return CloudFailure::tooSlow;
        case URLError::connectionLost:
            return CloudFailure::connectionLost;
        case URLError::dataLengthExceedsMaximum:
            return CloudFailure::tooLarge;
        case URLError::unavailable:
            return CloudFailure::noLibrary;
    }
    return CloudFailure::connectionLost;
}

CloudFailure failureOfStatus(int status) {
    if (status == 401 || status == 403) return CloudFailure::noRight;
    if (status == 404) return CloudFailure::noDatabase;
    // Too much asked for, and everything that the server blames on itself.
    return status == 429 || status >= 500 ? CloudFailure::serverFailed : CloudFailure::notCouch;
}

std::string sentenceFor(CloudFailure failure, const CouchAccount& account) {
    const auto server = serverName(account);
    switch (failure) {
        case CloudFailure::addressNotAllowed:
            return localized("cloud.addressNotAllowed", server);
        case CloudFailure::hostNotFound:
            return localized("cloud.hostNotFound", server);
        case CloudFailure::connectionRefused:
            return localized("cloud.connectionRefused", server);
        case CloudFailure::noSecureConnection:
            return localized("cloud.noSecureConnection", server);
        case CloudFailure::certificateUntrusted:
            return localized("cloud.certificateUntrusted", server);
        case CloudFailure::certificateExpired:
            return localized("cloud.certificateExpired", server);
        case CloudFailure::certificateForOtherHost:
            return localized("cloud.certificateForOtherHost", server);
        case CloudFailure::redirected:
            return localized("cloud.redirected", server);
        case CloudFailure::tooSlow:
            return localized("cloud.tooSlow", server);
        case CloudFailure::connectionLost:
            return localized("cloud.connectionLost", server);
        case CloudFailure::tooLarge:
            return localized("cloud.tooLarge", server);
        case CloudFailure::noLibrary:
            return localized("cloud.noLibrary", server);
        case CloudFailure::wrongPassword:
            return localized("cloud.wrongPassword", server);
        case CloudFailure::noRight:
            return localized("cloud.noRight", server);
        case CloudFailure::noDatabase:
            return localized("cloud.noDatabase", server);
        case CloudFailure::notCouch:
            return localized("cloud.notCouch", server);
        case CloudFailure::serverFailed:
            return localized("cloud.serverFailed", server);
        case CloudFailure::unreadable:
            return localized("cloud.unreadable", server);
    }
    return {};
}

CKError errorFor(CloudFailure failure, const CouchAccount& account) {
    return {.localizedDescription = sentenceFor(failure, account)};
}

std::string serverName(const CouchAccount& account) {
    auto text = account.address.absoluteString();
    if (const auto scheme = text.find("://"); scheme != std::string_view::npos)
        text.remove_prefix(scheme + 3);
    text = text.substr(0, text.find_first_of("/?#"));
    // What stands before the sign may hold a password, whoever wrote it there.
    if (const auto user = text.rfind('@'); user != std::string_view::npos) text.remove_prefix(user + 1);
    return std::string(text);
}

}  // namespace vellumix::linux_desktop
