#pragma once

#include <memory>
#include <utility>

namespace vellumix {

/// A member that lets closures hold their owner weakly: what `weakly` returns does nothing once the owner has
/// gone. Owner and closures live on the main thread. Declare it last, so that it goes first.
class Lifetime {
public:
    Lifetime() = default;
    Lifetime(const Lifetime&) = delete;
    Lifetime& operator=(const Lifetime&) = delete;

    template <class Closure>
    auto weakly(Closure closure) const {
        return [alive = std::weak_ptr<const bool>(this->alive),
                closure = std::move(closure)](auto&&... arguments) mutable {
            if (!alive.expired()) closure(std::forward<decltype(arguments)>(arguments)...);
        };
    }

    /// Expires with the owner, for an operation that calls what may destroy it.
    std::weak_ptr<const void> watch() const { return alive; }

private:
    std::shared_ptr<const bool> alive = std::make_shared<const bool>(true);
};

}  // namespace vellumix
