#pragma once

#include <memory>
#include <string>

#include "platform/foundation/loop/RunLoop.h"

namespace vellumix::linux_desktop {

/// A serial queue on a thread of its own, which starts with the first work and sleeps while nothing is due.
class ThreadSerialQueue final : public SerialQueue {
public:
    /// The end of the label, after its last dot, names the thread.
    explicit ThreadSerialQueue(const std::string& label);
    ~ThreadSerialQueue() override;

    std::shared_ptr<WorkItem> asyncAfter(double seconds, Work work) override;
    void sync(const Work& work) override;

private:
    struct State;
    class Item;
    std::shared_ptr<State> state;
};

}  // namespace vellumix::linux_desktop
