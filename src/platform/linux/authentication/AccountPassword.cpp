#include "platform/linux/authentication/AccountPassword.h"

#include <sys/stat.h>

#include <string_view>
#include <utility>

#include "platform/linux/loop/GLibHandles.h"

namespace vellumix::linux_desktop {

namespace {

/// The second word of the line is "NP" for an account without a password; a locked one has "L" or "LK", and
/// one with a password "P" or "PS".
AccountPassword::Known knownFrom(std::string_view line) {
    const auto afterName = line.find(' ');
    if (afterName == std::string_view::npos) return AccountPassword::Known::unclear;
    const auto word = line.substr(afterName + 1, line.find(' ', afterName + 1) - afterName - 1);
    if (word == "NP") return AccountPassword::Known::missing;
    // Modules may know the owner of a locked account by something else than a password.
    return word.starts_with('P') || word.starts_with('L') ? AccountPassword::Known::present
                                                          : AccountPassword::Known::unclear;
}

}  // namespace

struct AccountPassword::State : std::enable_shared_from_this<State> {
    using Version = std::pair<std::int64_t, std::int64_t>;

    explicit State(Sources given) : sources(std::move(given)) {}
    ~State() { breakOff(); }

    Version version() const {
        struct stat facts {};
        if (::stat(sources.passwords.c_str(), &facts) != 0) return {};
        return {facts.st_ctim.tv_sec, facts.st_ctim.tv_nsec};
    }
    /// As soon as the main loop has nothing else to do: a fork while the history is being loaded slows that
    /// down.
    void askWhenIdle() {
        asked = version();
        idleness.reset(g_idle_source_new());
        g_source_set_callback(
            idleness.get(),
            [](gpointer state) -> gboolean {
                static_cast<State*>(state)->ask();
                return G_SOURCE_REMOVE;
            },
            this, nullptr);
        g_source_attach(idleness.get(), g_main_context_get_thread_default());
    }
    void ask() {
        breakOff();
        known = Known::unclear;
        asked = version();
        process.reset(g_subprocess_new(
            static_cast<GSubprocessFlags>(G_SUBPROCESS_FLAGS_STDOUT_PIPE | G_SUBPROCESS_FLAGS_STDERR_SILENCE),
            nullptr, sources.tool.c_str(), "-S", nullptr));
        if (!process) return;
        g_subprocess_communicate_utf8_async(
            process.get(), nullptr, nullptr,
            [](GObject* source, GAsyncResult* result, gpointer weak) {
                const std::unique_ptr<std::weak_ptr<State>> owner(static_cast<std::weak_ptr<State>*>(weak));
                glib::Text output;
                g_subprocess_communicate_utf8_finish(G_SUBPROCESS(source), result, glib::Out(output), nullptr,
                                                     nullptr);
                const auto self = owner->lock();
                // Another one may have been asked since.
                if (self && self->process.get() == G_SUBPROCESS(source)) self->answer(output.get());
            },
            new std::weak_ptr<State>(weak_from_this()));
    }
    void answer(const char* line) {
        process.reset();
        known = knownFrom(line ? line : "");
    }
    void breakOff() {
        if (process) g_subprocess_force_exit(process.get());
        process.reset();
        idleness.reset();
    }

    const Sources sources;
    glib::Source idleness;
    glib::Object<GSubprocess> process;
    Known known = Known::unclear;
    Version asked;
};

AccountPassword::AccountPassword(Sources sources) : state(std::make_shared<State>(std::move(sources))) {
    state->askWhenIdle();
}

AccountPassword::~AccountPassword() = default;

AccountPassword::Known AccountPassword::known() {
    if (state->asked != state->version()) state->ask();
    return state->known;
}

void AccountPassword::turnedOutMissing() {
    state->breakOff();
    state->known = Known::missing;
}

}  // namespace vellumix::linux_desktop
