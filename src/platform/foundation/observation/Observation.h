#pragma once

#include <functional>
#include <utility>

namespace vellumix {

/// Ends an observation when it goes. Move-only; safe to outlive what it observes.
class [[nodiscard]] Observation {
public:
    Observation() = default;
    explicit Observation(std::function<void()> end) : _end(std::move(end)) {}
    Observation(Observation&& other) noexcept : _end(std::exchange(other._end, nullptr)) {}
    Observation& operator=(Observation&& other) noexcept {
        if (this != &other) {
            cancel();
            _end = std::exchange(other._end, nullptr);
        }
        return *this;
    }
    ~Observation() { cancel(); }

    void cancel() {
        if (auto end = std::exchange(_end, nullptr)) end();
    }

private:
    std::function<void()> _end;
};

}  // namespace vellumix
