#include "platform/linux/keyring/SecretServiceErrors.h"

namespace vellumix::linux_desktop {

namespace {

using Contact = SecretServiceKeychain::Contact;

SecretServiceFailure failureOfBus(int code) {
    switch (code) {
        case G_DBUS_ERROR_SERVICE_UNKNOWN:
        case G_DBUS_ERROR_NAME_HAS_NO_OWNER:
        case G_DBUS_ERROR_SPAWN_EXEC_FAILED:
        case G_DBUS_ERROR_SPAWN_FORK_FAILED:
        case G_DBUS_ERROR_SPAWN_CHILD_EXITED:
        case G_DBUS_ERROR_SPAWN_CHILD_SIGNALED:
        case G_DBUS_ERROR_SPAWN_FAILED:
        case G_DBUS_ERROR_SPAWN_SETUP_FAILED:
        case G_DBUS_ERROR_SPAWN_CONFIG_INVALID:
        case G_DBUS_ERROR_SPAWN_SERVICE_INVALID:
        case G_DBUS_ERROR_SPAWN_SERVICE_NOT_FOUND:
        case G_DBUS_ERROR_SPAWN_PERMISSIONS_INVALID:
        case G_DBUS_ERROR_SPAWN_FILE_INVALID:
            return {errSecNotAvailable, Contact::impossible};
        case G_DBUS_ERROR_TIMEOUT:
        case G_DBUS_ERROR_TIMED_OUT:
            return {errSecTimedOut, Contact::unclear};
        // The service died over the call, or the bus did, or a policy is between us.
        case G_DBUS_ERROR_NO_REPLY:
        case G_DBUS_ERROR_DISCONNECTED:
        case G_DBUS_ERROR_NO_SERVER:
        case G_DBUS_ERROR_ACCESS_DENIED:
        case G_DBUS_ERROR_SPAWN_NO_MEMORY:
            return {errSecNotAvailable, Contact::unclear};
        default:
            return {errSecIO, Contact::answered};
    }
}

}  // namespace

SecretServiceFailure failureOfCall(const GError& error) {
    if (error.domain == G_DBUS_ERROR) return failureOfBus(error.code);
    if (error.domain == SECRET_ERROR)
        return {error.code == SECRET_ERROR_IS_LOCKED ? errSecInteractionNotAllowed : errSecIO,
                Contact::answered};
    if (error.domain != G_IO_ERROR) return {errSecIO, Contact::unclear};
    switch (error.code) {
        case G_IO_ERROR_CANCELLED:
        case G_IO_ERROR_TIMED_OUT:
            return {errSecTimedOut, Contact::unclear};
        // An error of the service that has a name of its own.
        case G_IO_ERROR_DBUS_ERROR:
            return {errSecIO, Contact::answered};
        default:
            return {errSecNotAvailable, Contact::unclear};
    }
}

SecretServiceFailure failureOfConnecting(const GError& error) {
    const bool isSilent = g_error_matches(&error, G_IO_ERROR, G_IO_ERROR_CANCELLED) ||
                          g_error_matches(&error, G_IO_ERROR, G_IO_ERROR_TIMED_OUT);
    if (isSilent) return {errSecTimedOut, Contact::unclear};
    return {errSecNotAvailable, Contact::impossible};
}

}  // namespace vellumix::linux_desktop
