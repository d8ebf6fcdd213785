#pragma once

#include <functional>
#include <utility>

namespace vellumix {

/// Ends an observation when it goes. Move-only; safe to outlive what it observes.
class [[nodiscard]] Observation {
public:
    Observation() = default;
    explicit Observation(std::function<void()> end) : end(std::move(end)) {}
    Observation(Observation&& other) noexcept : end(std::exchange(other.end, nullptr)) {}
    Observation& operator=(Observation&& other) noexcept {
        if (this != &other) {
            cancel();
            end = std::exchange(other.end, nullptr);
        }
        return *this;
    }
    ~Observation() { cancel(); }

    void cancel() {
        if (auto end = std::exchange(this->end, nullptr)) end();
    }

private:
    std::function<void()> end;
};

}  // namespace vellumix
