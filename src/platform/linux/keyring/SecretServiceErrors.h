#pragma once

#include "platform/linux/keyring/SecretHandles.h"
#include "platform/linux/keyring/SecretServiceKeychain.h"

namespace vellumix::linux_desktop {

/// What a failed call says about the item and about the service.
struct SecretServiceFailure {
    OSStatus status = errSecIO;
    SecretServiceKeychain::Contact contact = SecretServiceKeychain::Contact::unclear;
};

/// For an error of a call to the service.
SecretServiceFailure failureOfCall(const GError& error);
/// For an error of connecting to the bus.
SecretServiceFailure failureOfConnecting(const GError& error);

}  // namespace vellumix::linux_desktop
