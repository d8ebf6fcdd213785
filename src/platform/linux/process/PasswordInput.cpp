#include "platform/linux/process/PasswordInput.h"

#include <termios.h>
#include <unistd.h>

#include <array>
#include <cstdio>

#include "platform/foundation/cipher/AESGCM.h"

namespace vellumix::linux_desktop {

namespace {

constexpr std::size_t longest = 1024;

/// A terminal that shows nothing of what is typed, and gives it back as it was. An interruption is a
/// character like any other meanwhile: it would leave the terminal so.
class UnseenInput {
public:
    explicit UnseenInput(const std::string& question) : isTerminal(::tcgetattr(STDIN_FILENO, &before) == 0) {
        if (!isTerminal) return;
        auto unseen = before;
        unseen.c_lflag &= ~static_cast<tcflag_t>(ECHO | ISIG);
        ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &unseen);
        std::fputs(question.c_str(), stderr);
    }
    ~UnseenInput() {
        if (!isTerminal) return;
        ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &before);
        std::fputc('\n', stderr);
    }
    UnseenInput(const UnseenInput&) = delete;
    UnseenInput& operator=(const UnseenInput&) = delete;

    bool isTyped() const { return isTerminal; }
    /// Whether the person breaks off with it.
    bool isInterruption(char typed) const {
        return isTerminal && (typed == static_cast<char>(before.c_cc[VINTR]) ||
                              typed == static_cast<char>(before.c_cc[VQUIT]));
    }

private:
    termios before{};
    const bool isTerminal;
};

}  // namespace

std::optional<SecretText> readPassword(const std::string& question) {
    const UnseenInput input(question);
    std::array<char, longest> line;
    std::size_t size = 0;
    std::optional<SecretText> password;
    const auto take = [&] { password.emplace(std::string_view(line.data(), size)); };
    while (size < line.size()) {
        char typed = 0;
        // One at a time: what stands behind the line is somebody else's.
        const bool isRead = ::read(STDIN_FILENO, &typed, 1) == 1;
        // A file may end without a line's end; a person who ends the input wants nothing.
        if (typed == '\n' || (!isRead && !input.isTyped() && size > 0)) take();
        if (!isRead || typed == '\n' || input.isInterruption(typed)) break;
        line[size++] = typed;
    }
    wipe({reinterpret_cast<std::uint8_t*>(line.data()), line.size()});
    return password;
}

}  // namespace vellumix::linux_desktop
