#pragma once

#include <atomic>
#include <functional>
#include <thread>

#include "linux/PrivateSession.h"

namespace vellumix::linux_desktop {

/// A Secret Service on the private bus whose user and storage do as the test says. One collection, plain
/// sessions; served by a thread of its own.
class FakeSecretService {
public:
    enum class User { agrees, refuses, isAway };
    enum class Storage { exact, textOnly };
    struct Manners {
        User user = User::agrees;
        Storage storage = Storage::exact;
        bool isLocked = false;
        bool hasCollection = true;
        /// Opens sessions and answers nothing else.
        bool isMute = false;
    };

    explicit FakeSecretService(Manners manners);
    ~FakeSecretService();

    std::atomic<int> prompts = 0;
    std::atomic<int> dismissals = 0;
    std::atomic<int> stored = 0;
    std::atomic<int> calls = 0;
    /// The user comes back and answers the open question.
    void answerPrompt();
    void lock();
    void set(Manners manners);

private:
    struct State;
    void inItsThread(const std::function<void()>& work);

    Manners manners;
    glib::Context context;
    std::unique_ptr<State> state;
    std::atomic<bool> isEnding = false;
    std::thread thread;
};

}  // namespace vellumix::linux_desktop
