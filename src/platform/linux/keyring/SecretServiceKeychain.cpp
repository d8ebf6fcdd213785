#include "platform/linux/keyring/SecretServiceKeychain.h"

#include <glib-unix.h>

#include <csignal>
#include <future>
#include <utility>
#include <vector>

#include "platform/foundation/cipher/AESGCM.h"
#include "platform/linux/keyring/SecretServiceClient.h"

namespace vellumix::linux_desktop {

namespace {

using Contact = SecretServiceKeychain::Contact;
using Place = SecretServiceClient::Place;

/// Notices on the thread's default context that the process is to end, and passes that on when it goes: to
/// the handlers of the main loop, or to the system where there are none.
class TerminationWatch {
public:
    TerminationWatch() {
        for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
            auto& one = _signals.emplace_back();
            one.number = signal;
            one.source.reset(g_unix_signal_source_new(signal));
        }
        for (auto& one : _signals) {
            g_source_set_callback(
                one.source.get(),
                [](gpointer data) -> gboolean {
                    *static_cast<bool*>(data) = true;
                    return G_SOURCE_CONTINUE;
                },
                &one.hasCome, nullptr);
            g_source_attach(one.source.get(), g_main_context_get_thread_default());
        }
    }
    ~TerminationWatch() {
        for (auto& one : _signals) one.source = nullptr;
        for (const auto& one : _signals)
            if (one.hasCome) std::raise(one.number);
    }

    bool hasCome() const {
        bool any = false;
        for (const auto& one : _signals) any = any || one.hasCome;
        return any;
    }

private:
    struct Signal {
        int number = 0;
        bool hasCome = false;
        glib::Source source;
    };
    std::vector<Signal> _signals;
};

}  // namespace

class SecretServiceKeychain::Service {
public:
    explicit Service(KeychainPatience patience) : _patience(std::move(patience)) {}
    ~Service() {
        if (!_question) return;
        _question->operation->cancel();
        _context.waitUntil([this] { return _question->operation->isDone(); }, Deadline::in(lastMoment));
    }

    void prepare();
    Match copy(const KeychainItem& item);
    OSStatus remove(const KeychainItem& item);
    OSStatus add(const KeychainItem& item, ByteView secret);
    Contact contact() const { return _contact; }

private:
    /// For what was called off at the end of the process.
    static constexpr double lastMoment = 0.2;
    /// For the session that nobody waits for yet. A service that is only starting takes longer, and the first
    /// call has the patience for it.
    static constexpr double forPreparation = 1;

    enum class Subject { unlocking, makingCollection };
    /// A question to the user that the desktop shows.
    struct Question {
        Subject subject;
        std::shared_ptr<Operation> operation;
    };
    struct Lookup {
        /// Success when there is an unlocked item.
        OSStatus status = errSecIO;
        std::vector<Place> unlocked = {};
        /// With `errSecInteractionNotAllowed`: what to unlock.
        Place locked = {};
    };

    void beginCall();
    template <class Attempt>
    auto attempt(Attempt once);
    OSStatus failed();
    Lookup lookUp(const KeychainItem& item, Deadline deadline);
    Match copyOnce(const KeychainItem& item, Place& locked, Deadline deadline);
    OSStatus storeOnce(const KeychainItem& item, ByteView secret, Deadline deadline);
    OSStatus ask(Subject subject, const Place& place = {});
    OSStatus waitForUser();
    std::optional<SecretServiceClient::Answer> takeAnswer();

    KeychainPatience _patience;
    PrivateContext _context;
    SecretServiceClient _client{_context};
    /// Has the client and the context to itself until it is done.
    std::future<void> _preparation;
    Contact _contact = Contact::unclear;
    std::optional<Question> _question;
    std::optional<Deadline> _silentUntil;
    std::optional<Deadline> _refusedUntil;
    bool _isFirstCall = true;
    bool _mayWaitForUser = true;
    Log _log{"Encryption"};
};

void SecretServiceKeychain::Service::prepare() {
    _preparation =
        std::async(std::launch::async, [this] { _client.openQuietly(Deadline::in(forPreparation)); });
}

void SecretServiceKeychain::Service::beginCall() {
    if (_preparation.valid()) _preparation.get();
    _contact = Contact::unclear;
    _context.catchUp();
    takeAnswer();
}

/// Runs `once` with a deadline, and again when it failed on a session that has become stale.
template <class Attempt>
auto SecretServiceKeychain::Service::attempt(Attempt once) {
    const auto deadline =
        Deadline::in(std::exchange(_isFirstCall, false) ? _patience.forServiceAtFirst : _patience.forService);
    const bool wasOpen = _client.isOpen();
    auto result = once(deadline);
    const bool isStale = wasOpen && !_client.isOpen() && !_silentUntil;
    return isStale ? once(deadline) : result;
}

OSStatus SecretServiceKeychain::Service::failed() {
    const auto& failure = _client.failure();
    if (_contact == Contact::unclear) _contact = failure.contact;
    if (failure.status == errSecTimedOut) _silentUntil = Deadline::in(_patience.afterSilence);
    return failure.status;
}

SecretServiceKeychain::Service::Lookup SecretServiceKeychain::Service::lookUp(const KeychainItem& item,
                                                                              Deadline deadline) {
    if (_silentUntil && !_silentUntil->hasPassed()) return {.status = errSecTimedOut};
    _silentUntil.reset();
    if (!_client.open(deadline)) return {.status = failed()};
    _contact = Contact::answered;
    auto places = _client.search(item, deadline);
    if (places && places->unlocked.empty() && places->locked.empty()) {
        // A locked collection may keep its items to itself, so that this means nothing yet.
        const auto collection = _client.defaultCollection(deadline);
        if (!collection) return {.status = failed()};
        if (!collection->empty()) {
            const auto isLocked = _client.isLocked(*collection, deadline);
            if (!isLocked) return {.status = failed()};
            if (*isLocked) return {.status = errSecInteractionNotAllowed, .locked = *collection};
        }
        // Again, as it may have been unlocked between the two questions.
        places = _client.search(item, deadline);
    }
    if (!places) return {.status = failed()};
    if (!places->unlocked.empty()) return {.status = errSecSuccess, .unlocked = std::move(places->unlocked)};
    if (places->locked.empty()) return {.status = errSecItemNotFound};
    return {.status = errSecInteractionNotAllowed, .locked = places->locked.front()};
}

Keychain::Match SecretServiceKeychain::Service::copyOnce(const KeychainItem& item, Place& locked,
                                                         Deadline deadline) {
    auto lookup = lookUp(item, deadline);
    locked = std::move(lookup.locked);
    if (lookup.status != errSecSuccess) return {lookup.status, std::nullopt};
    auto secret = _client.secret(lookup.unlocked.front(), deadline);
    if (!secret) return {failed(), std::nullopt};
    return {errSecSuccess, std::move(secret)};
}

Keychain::Match SecretServiceKeychain::Service::copy(const KeychainItem& item) {
    beginCall();
    Place locked;
    const auto once = [&](Deadline deadline) { return copyOnce(item, locked, deadline); };
    auto match = attempt(once);
    if (match.status == errSecSuccess) _mayWaitForUser = false;
    if (match.status != errSecInteractionNotAllowed || locked.empty()) return match;
    const auto answer = ask(Subject::unlocking, locked);
    return answer == errSecSuccess ? attempt(once) : Match{answer, std::nullopt};
}

OSStatus SecretServiceKeychain::Service::remove(const KeychainItem& item) {
    beginCall();
    return attempt([&](Deadline deadline) {
        const auto lookup = lookUp(item, deadline);
        if (lookup.status != errSecSuccess) return lookup.status;
        for (const auto& place : lookup.unlocked)
            if (!_client.remove(place, deadline)) return failed();
        return errSecSuccess;
    });
}

OSStatus SecretServiceKeychain::Service::storeOnce(const KeychainItem& item, ByteView secret,
                                                   Deadline deadline) {
    if (!_client.open(deadline)) return failed();
    _contact = Contact::answered;
    if (!_client.store(item, secret, deadline)) return failed();
    // Some services keep texts alone. A key that comes back changed would make everything enciphered with it
    // unreadable, so that it is better not kept at all.
    const auto lookup = lookUp(item, deadline);
    if (lookup.status != errSecSuccess) return lookup.status;
    auto kept = _client.secret(lookup.unlocked.front(), deadline);
    if (!kept) return failed();
    const bool isSame = sameBytes(*kept, secret);
    wipe(*kept);
    if (isSame) return errSecSuccess;
    _log.error("Secret Service: the key was kept changed and is taken back");
    for (const auto& place : lookup.unlocked)
        if (!_client.remove(place, deadline)) break;
    return errSecIO;
}

OSStatus SecretServiceKeychain::Service::add(const KeychainItem& item, ByteView secret) {
    beginCall();
    bool hasCollection = false;
    const auto once = [&](Deadline deadline) -> OSStatus {
        if (_silentUntil && !_silentUntil->hasPassed()) return errSecTimedOut;
        if (!_client.open(deadline)) return failed();
        _contact = Contact::answered;
        const auto collection = _client.defaultCollection(deadline);
        if (!collection) return failed();
        hasCollection = !collection->empty();
        return hasCollection ? storeOnce(item, secret, deadline) : errSecInteractionNotAllowed;
    };
    const auto status = attempt(once);
    if (status != errSecInteractionNotAllowed || hasCollection) return status;
    const auto answer = ask(Subject::makingCollection);
    return answer == errSecSuccess ? attempt(once) : answer;
}

OSStatus SecretServiceKeychain::Service::ask(Subject subject, const Place& place) {
    const bool isRefused = _refusedUntil && !_refusedUntil->hasPassed();
    if (_question || isRefused || !_client.isOpen()) return errSecInteractionNotAllowed;
    const auto begin = [&] {
        return Question{subject, subject == Subject::unlocking ? _client.beginUnlocking(place)
                                                               : _client.beginMakingDefaultCollection()};
    };
    const bool waits = std::exchange(_mayWaitForUser, false);
    const bool canAnswer = !_patience.canUserAnswer || _patience.canUserAnswer();
    if (!canAnswer) {
        _log.error(
            "The keyring asks for its password, which can't be typed while the panel has the keyboard: close "
            "the panel");
    }
    if (!waits || !canAnswer) {
        // On the main loop, which carries the question on while the program goes on.
        _question = begin();
        return errSecInteractionNotAllowed;
    }
    const auto pushed = _context.push();
    _question = begin();
    return waitForUser();
}

OSStatus SecretServiceKeychain::Service::waitForUser() {
    const TerminationWatch termination;
    _context.waitUntil([&] { return _question->operation->isDone() || termination.hasCome(); },
                       Deadline::in(_patience.forUser));
    if (termination.hasCome()) _question->operation->cancel();
    // Without an answer the question stays open: the user may still come to it.
    const auto answer = takeAnswer();
    if (!answer) return errSecInteractionNotAllowed;
    switch (*answer) {
        case SecretServiceClient::Answer::granted:
            return errSecSuccess;
        case SecretServiceClient::Answer::refused:
            return errSecUserCanceled;
        case SecretServiceClient::Answer::failed:
            return failed();
    }
    return errSecIO;
}

std::optional<SecretServiceClient::Answer> SecretServiceKeychain::Service::takeAnswer() {
    if (!_question || !_question->operation->isDone()) return std::nullopt;
    const auto question = *std::exchange(_question, std::nullopt);
    const auto answer = question.subject == Subject::unlocking
                            ? _client.endUnlocking(*question.operation)
                            : _client.endMakingDefaultCollection(*question.operation);
    if (answer != SecretServiceClient::Answer::granted) _refusedUntil = Deadline::in(_patience.afterRefusal);
    return answer;
}

SecretServiceKeychain::SecretServiceKeychain(KeychainPatience patience)
    : _service(std::make_unique<Service>(std::move(patience))) {}
SecretServiceKeychain::~SecretServiceKeychain() = default;

void SecretServiceKeychain::prepare() { _service->prepare(); }
Keychain::Match SecretServiceKeychain::SecItemCopyMatching(const KeychainItem& item) {
    return _service->copy(item);
}
OSStatus SecretServiceKeychain::SecItemDelete(const KeychainItem& item) { return _service->remove(item); }
OSStatus SecretServiceKeychain::SecItemAdd(const KeychainItem& item, ByteView secret) {
    return _service->add(item, secret);
}
std::string SecretServiceKeychain::description() const { return "Secret Service"; }
Contact SecretServiceKeychain::contact() const { return _service->contact(); }

}  // namespace vellumix::linux_desktop
