#pragma once

#include <coroutine>
#include <exception>
#include <memory>
#include <optional>
#include <utility>

#include "platform/foundation/loop/RunLoop.h"

namespace vellumix {

/// A coroutine that starts at once and lets go of itself at its end: nobody waits for it and it returns
/// nothing. It begins on the main thread and, after each suspension, goes on there.
struct Task {
    struct promise_type {
        Task get_return_object() { return {}; }
        std::suspend_never initial_suspend() noexcept { return {}; }
        std::suspend_never final_suspend() noexcept { return {}; }
        void return_void() {}
        void unhandled_exception() { std::terminate(); }
    };
};

/// `co_await inBackground(work)`: runs `work` off the main thread and resumes on it with the result.
template <class Function>
auto inBackground(Function work) {
    using Result = std::invoke_result_t<Function>;
    struct Awaiter {
        Function work;
        std::optional<Result> result;

        bool await_ready() const noexcept { return false; }
        void await_suspend(std::coroutine_handle<> waiting) {
            RunLoop::main().background([this, waiting, loop = &RunLoop::main()] {
                result.emplace(work());
                loop->post([waiting] { waiting.resume(); });
            });
        }
        Result await_resume() { return std::move(*result); }
    };
    return Awaiter{std::move(work), std::nullopt};
}

}  // namespace vellumix
