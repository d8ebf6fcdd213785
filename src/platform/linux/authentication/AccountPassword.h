#pragma once

#include <memory>
#include <string>

namespace vellumix::linux_desktop {

/// Whether the user who runs the process has a password, as far as the machine tells its users: only the
/// superuser reads the passwords themselves, but the tool that changes them tells everybody of their own
/// (passwd(1), option -S). Main thread.
///
/// The tool is asked when the main loop is first idle and again after passwords have changed, and answers
/// from the main loop; until it has, nothing is known.
class AccountPassword {
public:
    enum class Known { unclear, present, missing };

    struct Sources {
        std::string tool = "/usr/bin/passwd";
        /// The file that changes with any password; it needn't be readable.
        std::string passwords = "/etc/shadow";
    };

    explicit AccountPassword(Sources sources);
    ~AccountPassword();
    AccountPassword(const AccountPassword&) = delete;
    AccountPassword& operator=(const AccountPassword&) = delete;

    /// At once.
    Known known();
    /// It has turned out that there is none: this holds until passwords change.
    void turnedOutMissing();

private:
    struct State;
    std::shared_ptr<State> state;
};

}  // namespace vellumix::linux_desktop
