#include "platform/linux/loop/PrivateContext.h"

#include <algorithm>

namespace vellumix::linux_desktop {

namespace {

constexpr double microseconds = 1e6;
/// How long an operation that was called off has to report this.
constexpr double graceSeconds = 0.2;

}  // namespace

Deadline Deadline::in(double seconds) {
    return Deadline(g_get_monotonic_time() + static_cast<gint64>(seconds * microseconds));
}

std::shared_ptr<Operation> Operation::begin(const Start& start) {
    std::shared_ptr<Operation> operation(new Operation);
    auto own = std::make_unique<std::shared_ptr<Operation>>(operation);
    start(
        operation->cancellable.get(),
        [](GObject*, GAsyncResult* result, gpointer data) {
            const std::unique_ptr<std::shared_ptr<Operation>> own(
                static_cast<std::shared_ptr<Operation>*>(data));
            (*own)->result_.reset(G_ASYNC_RESULT(g_object_ref(result)));
        },
        own.release());
    return operation;
}

PrivateContext::PrivateContext() : context(g_main_context_new()) {}

PrivateContext::~PrivateContext() {
    const auto haveEnded = [this] {
        return std::all_of(abandoned.begin(), abandoned.end(), [](const auto& one) { return one->isDone(); });
    };
    waitUntil(haveEnded, Deadline::in(graceSeconds));
    // Handles that GIO lets go of through the context.
    catchUp();
}

glib::PushedContext PrivateContext::push() {
    g_main_context_push_thread_default(context.get());
    return glib::PushedContext(context.get());
}

void PrivateContext::catchUp() {
    const auto pushed = push();
    while (g_main_context_iteration(context.get(), FALSE)) continue;
}

bool PrivateContext::waitUntil(const std::function<bool()>& isDone, Deadline deadline) {
    const auto pushed = push();
    const glib::Source alarm(g_timeout_source_new(0));
    g_source_set_callback(
        alarm.get(), [](gpointer) -> gboolean { return G_SOURCE_REMOVE; }, nullptr, nullptr);
    g_source_set_ready_time(alarm.get(), deadline.moment());
    g_source_attach(alarm.get(), context.get());
    while (!isDone()) {
        if (deadline.hasPassed()) return false;
        g_main_context_iteration(context.get(), TRUE);
    }
    return true;
}

std::shared_ptr<Operation> PrivateContext::perform(const Operation::Start& start, Deadline deadline) {
    std::shared_ptr<Operation> operation;
    {
        const auto pushed = push();
        operation = Operation::begin(start);
    }
    const auto isDone = [&] { return operation->isDone(); };
    if (waitUntil(isDone, deadline)) return operation;
    operation->cancel();
    if (waitUntil(isDone, Deadline::in(graceSeconds))) return operation;
    std::erase_if(abandoned, [](const auto& one) { return one->isDone(); });
    abandoned.push_back(std::move(operation));
    return nullptr;
}

}  // namespace vellumix::linux_desktop
