#pragma once

#include <cstddef>
#include <deque>
#include <map>
#include <utility>

namespace vellumix {

/// What clients wait for. It is taken one by one: the clients in turn, each one's in the order in which it
/// came. So nobody waits the longer because another asks for more. The caller bounds how much of one client
/// waits.
template <class Client, class Item>
class FairQueue {
public:
    void add(const Client& client, Item item) {
        auto& waiting = this->waiting[client];
        if (waiting.empty()) turns.push_back(client);
        waiting.push_back(std::move(item));
    }

    bool empty() const { return turns.empty(); }
    /// How much of the client's waits.
    std::size_t countOf(const Client& client) const {
        const auto found = waiting.find(client);
        return found == waiting.end() ? 0 : found->second.size();
    }

    /// The next one; there must be one.
    Item take() {
        const auto at = waiting.find(turns.front());
        turns.pop_front();
        auto item = std::move(at->second.front());
        at->second.pop_front();
        if (at->second.empty()) {
            waiting.erase(at);
        } else {
            turns.push_back(at->first);
        }
        return item;
    }

private:
    std::map<Client, std::deque<Item>> waiting;
    /// Each client that waits for something, once.
    std::deque<Client> turns;
};

}  // namespace vellumix
