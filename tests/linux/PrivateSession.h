#pragma once

#include <memory>

#include "linux/TestProcess.h"
#include "platform/linux/bus/SessionBus.h"

namespace vellumix::linux_desktop {

/// A session bus that can start nothing, with a home of its own.
class PrivateSession {
public:
    enum class Bus { running, absent };
    explicit PrivateSession(Bus bus = Bus::running);
    /// Serves what is left on the main context, which holds the process's shared connection: the next test
    /// needs another.
    ~PrivateSession();

    const std::string& home() const { return folder.path(); }
    std::string dataFolder() const { return home() + "/data/Vellumix"; }
    void endBus() { bus.reset(); }
    /// Waits until somebody owns the name, or nobody does.
    bool waitForName(const char* name, bool isOwned);
    /// A call of the test's own; nothing when it fails.
    glib::Variant call(const char* name, const char* path, const char* interface, const char* method,
                       GVariant* arguments);

private:
    TemporaryFolder folder;
    ScopedVariable home_, data, config, runtime, address, display;
    std::unique_ptr<TestProcess> bus;
    std::unique_ptr<ScopedVariable> privateAddress;
    PrivateContext context;
    glib::Connection connection;
};

/// gnome-keyring on the private bus, with the password "pw" for its login keyring. No prompter is on that
/// bus, so that what would ask the user is turned down.
class GnomeKeyring {
public:
    enum class Start { unlocked, locked };
    GnomeKeyring(PrivateSession& session, Start start);
    ~GnomeKeyring() { kill(); }

    void lock();
    void unlock();
    void kill();
    void freeze() { daemon->signal(SIGSTOP); }
    void thaw() { daemon->signal(SIGCONT); }
    /// How many items the login keyring holds, read past the program.
    int itemCount();

private:
    PrivateSession& session;
    std::unique_ptr<TestProcess> daemon;
};

}  // namespace vellumix::linux_desktop
