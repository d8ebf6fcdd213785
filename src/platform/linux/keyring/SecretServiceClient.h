#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/foundation/loop/Log.h"
#include "platform/linux/keyring/SecretServiceErrors.h"
#include "platform/linux/loop/PrivateContext.h"

namespace vellumix::linux_desktop {

/// The calls to the Secret Service, one round trip each, on a connection and a session that last as long as
/// the service does. Each ends by its deadline, and nothing of the program runs meanwhile.
///
/// A call that failed gives nothing; `failure` then says why, until the next call.
class SecretServiceClient {
public:
    struct Places {
        std::vector<std::string> unlocked;
        std::vector<std::string> locked;
    };
    /// An object path, or an empty text for "there is none".
    using Place = std::string;

    explicit SecretServiceClient(PrivateContext& context) : context(context) {}

    /// Connects and opens a session, if need be. False when that failed.
    bool open(Deadline deadline);
    /// Tries the same. A failure is neither told nor logged. On any thread, as long as no other uses the
    /// client or its context.
    void openQuietly(Deadline deadline);
    bool isOpen() const { return static_cast<bool>(proxy); }
    const SecretServiceFailure& failure() const { return failure_; }

    std::optional<Places> search(const KeychainItem& item, Deadline deadline);
    std::optional<Place> defaultCollection(Deadline deadline);
    std::optional<bool> isLocked(const Place& collection, Deadline deadline);
    std::optional<Bytes> secret(const Place& item, Deadline deadline);
    bool store(const KeychainItem& item, ByteView secret, Deadline deadline);
    bool remove(const Place& item, Deadline deadline);

    /// What the user had to say. Granted also when there was nothing to ask.
    enum class Answer { granted, refused, failed };
    /// Begin on the thread's default context and end with the user's answer. They need an open client.
    std::shared_ptr<Operation> beginUnlocking(const Place& place);
    std::shared_ptr<Operation> beginMakingDefaultCollection();
    Answer endUnlocking(const Operation& operation);
    Answer endMakingDefaultCollection(const Operation& operation);

private:
    bool call(const Operation::Start& start, const std::function<void(GAsyncResult*, GError**)>& finish,
              Deadline deadline);
    bool connect(Deadline deadline);
    void fail(const GError& error, SecretServiceFailure failure);

    PrivateContext& context;
    glib::Object<GDBusConnection> connection;
    glib::Object<SecretService> proxy;
    SecretServiceFailure failure_;
    std::string lastMessage;
    Log log{"Encryption"};
};

}  // namespace vellumix::linux_desktop
