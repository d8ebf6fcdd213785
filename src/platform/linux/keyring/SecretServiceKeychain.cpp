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
            auto& one = signals.emplace_back();
            one.number = signal;
            one.source.reset(g_unix_signal_source_new(signal));
        }
        for (auto& one : signals) {
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
        for (auto& one : signals) one.source = nullptr;
        for (const auto& one : signals)
            if (one.hasCome) std::raise(one.number);
    }

    bool hasCome() const {
        bool any = false;
        for (const auto& one : signals) any = any || one.hasCome;
        return any;
    }

private:
    struct Signal {
        int number = 0;
        bool hasCome = false;
        glib::Source source;
    };
    std::vector<Signal> signals;
};

}  // namespace

class SecretServiceKeychain::Service {
public:
    explicit Service(KeychainPatience patience) : patience(std::move(patience)) {}
    ~Service() {
        if (!question) return;
        question->operation->cancel();
        context.waitUntil([this] { return question->operation->isDone(); }, Deadline::in(lastMoment));
    }

    void prepare();
    Match copy(const KeychainItem& item);
    OSStatus remove(const KeychainItem& item);
    OSStatus add(const KeychainItem& item, ByteView secret);
    Contact contact() const { return contact_; }

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

    KeychainPatience patience;
    PrivateContext context;
    SecretServiceClient client{context};
    /// Has the client and the context to itself until it is done.
    std::future<void> preparation;
    Contact contact_ = Contact::unclear;
    std::optional<Question> question;
    std::optional<Deadline> silentUntil;
    std::optional<Deadline> refusedUntil;
    bool isFirstCall = true;
    bool mayWaitForUser = true;
    Log log{"Encryption"};
};

void SecretServiceKeychain::Service::prepare() {
    preparation =
        std::async(std::launch::async, [this] { client.openQuietly(Deadline::in(forPreparation)); });
}

void SecretServiceKeychain::Service::beginCall() {
    if (preparation.valid()) preparation.get();
    contact_ = Contact::unclear;
    context.catchUp();
    takeAnswer();
}

/// Runs `once` with a deadline, and again when it failed on a session that has become stale.
template <class Attempt>
auto SecretServiceKeychain::Service::attempt(Attempt once) {
    const auto deadline =
        Deadline::in(std::exchange(isFirstCall, false) ? patience.forServiceAtFirst : patience.forService);
    const bool wasOpen = client.isOpen();
    auto result = once(deadline);
    const bool isStale = wasOpen && !client.isOpen() && !silentUntil;
    return isStale ? once(deadline) : result;
}

OSStatus SecretServiceKeychain::Service::failed() {
    const auto& failure = client.failure();
    if (contact_ == Contact::unclear) contact_ = failure.contact;
    if (failure.status == errSecTimedOut) silentUntil = Deadline::in(patience.afterSilence);
    return failure.status;
}

SecretServiceKeychain::Service::Lookup SecretServiceKeychain::Service::lookUp(const KeychainItem& item,
                                                                              Deadline deadline) {
    if (silentUntil && !silentUntil->hasPassed()) return {.status = errSecTimedOut};
    silentUntil.reset();
    if (!client.open(deadline)) return {.status = failed()};
    contact_ = Contact::answered;
    auto places = client.search(item, deadline);
    if (places && places->unlocked.empty() && places->locked.empty()) {
        // A locked collection may keep its items to itself, so that this means nothing yet.
        const auto collection = client.defaultCollection(deadline);
        if (!collection) return {.status = failed()};
        if (!collection->empty()) {
            const auto isLocked = client.isLocked(*collection, deadline);
            if (!isLocked) return {.status = failed()};
            if (*isLocked) return {.status = errSecInteractionNotAllowed, .locked = *collection};
        }
        // Again, as it may have been unlocked between the two questions.
        places = client.search(item, deadline);
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
    auto secret = client.secret(lookup.unlocked.front(), deadline);
    if (!secret) return {failed(), std::nullopt};
    return {errSecSuccess, std::move(secret)};
}

Keychain::Match SecretServiceKeychain::Service::copy(const KeychainItem& item) {
    beginCall();
    Place locked;
    const auto once = [&](Deadline deadline) { return copyOnce(item, locked, deadline); };
    auto match = attempt(once);
    if (match.status == errSecSuccess) mayWaitForUser = false;
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
            if (!client.remove(place, deadline)) return failed();
        return errSecSuccess;
    });
}

OSStatus SecretServiceKeychain::Service::storeOnce(const KeychainItem& item, ByteView secret,
                                                   Deadline deadline) {
    if (!client.open(deadline)) return failed();
    contact_ = Contact::answered;
    if (!client.store(item, secret, deadline)) return failed();
    // Some services keep texts alone. A key that comes back changed would make everything enciphered with it
    // unreadable, so that it is better not kept at all.
    const auto lookup = lookUp(item, deadline);
    if (lookup.status != errSecSuccess) return lookup.status;
    auto kept = client.secret(lookup.unlocked.front(), deadline);
    if (!kept) return failed();
    const bool isSame = sameBytes(*kept, secret);
    wipe(*kept);
    if (isSame) return errSecSuccess;
    log.error("Secret Service: the key was kept changed and is taken back");
    for (const auto& place : lookup.unlocked)
        if (!client.remove(place, deadline)) break;
    return errSecIO;
}

OSStatus SecretServiceKeychain::Service::add(const KeychainItem& item, ByteView secret) {
    beginCall();
    bool hasCollection = false;
    const auto once = [&](Deadline deadline) -> OSStatus {
        if (silentUntil && !silentUntil->hasPassed()) return errSecTimedOut;
        if (!client.open(deadline)) return failed();
        contact_ = Contact::answered;
        const auto collection = client.defaultCollection(deadline);
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
    const bool isRefused = refusedUntil && !refusedUntil->hasPassed();
    if (question || isRefused || !client.isOpen()) return errSecInteractionNotAllowed;
    const auto begin = [&] {
        return Question{subject, subject == Subject::unlocking ? client.beginUnlocking(place)
                                                               : client.beginMakingDefaultCollection()};
    };
    const bool waits = std::exchange(mayWaitForUser, false);
    const bool canAnswer = !patience.canUserAnswer || patience.canUserAnswer();
    if (!canAnswer) {
        log.error(
            "The keyring asks for its password, which can't be typed while the panel has the keyboard: close "
            "the panel");
    }
    if (!waits || !canAnswer) {
        // On the main loop, which carries the question on while the program goes on.
        question = begin();
        return errSecInteractionNotAllowed;
    }
    const auto pushed = context.push();
    question = begin();
    return waitForUser();
}

OSStatus SecretServiceKeychain::Service::waitForUser() {
    const TerminationWatch termination;
    context.waitUntil([&] { return question->operation->isDone() || termination.hasCome(); },
                      Deadline::in(patience.forUser));
    if (termination.hasCome()) question->operation->cancel();
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
    if (!this->question || !this->question->operation->isDone()) return std::nullopt;
    const auto question = *std::exchange(this->question, std::nullopt);
    const auto answer = question.subject == Subject::unlocking
                            ? client.endUnlocking(*question.operation)
                            : client.endMakingDefaultCollection(*question.operation);
    if (answer != SecretServiceClient::Answer::granted) refusedUntil = Deadline::in(patience.afterRefusal);
    return answer;
}

SecretServiceKeychain::SecretServiceKeychain(KeychainPatience patience)
    : service(std::make_unique<Service>(std::move(patience))) {}
SecretServiceKeychain::~SecretServiceKeychain() = default;

void SecretServiceKeychain::prepare() { service->prepare(); }
Keychain::Match SecretServiceKeychain::SecItemCopyMatching(const KeychainItem& item) {
    return service->copy(item);
}
OSStatus SecretServiceKeychain::SecItemDelete(const KeychainItem& item) { return service->remove(item); }
OSStatus SecretServiceKeychain::SecItemAdd(const KeychainItem& item, ByteView secret) {
    return service->add(item, secret);
}
std::string SecretServiceKeychain::description() const { return "Secret Service"; }
Contact SecretServiceKeychain::contact() const { return service->contact(); }

}  // namespace vellumix::linux_desktop
