#pragma once

#include <concepts>
#include <cstddef>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace vellumix {

/// A bounded in-memory cache by string; the least recently used values go first. Any thread.
template <class Value>
class NSCache {
public:
    /// 0 is no limit.
    NSCache(std::size_t countLimit, std::size_t totalCostLimit)
        : countLimit(countLimit), totalCostLimit(totalCostLimit) {}

    const std::size_t countLimit;
    const std::size_t totalCostLimit;

    /// A value dearer than the whole cache isn't kept.
    void setObject(std::shared_ptr<const Value> value, const std::string& key, std::size_t cost = 0) {
        const std::scoped_lock lock(mutex);
        erase(key);
        order.push_front({key, std::move(value), cost});
        byKey[key] = order.begin();
        totalCost += cost;
        while (!order.empty() && isOverLimit()) erase(std::string(order.back().key));
    }

    std::shared_ptr<const Value> objectForKey(const std::string& key) {
        const std::scoped_lock lock(mutex);
        const auto found = byKey.find(key);
        if (found == byKey.end()) return nullptr;
        order.splice(order.begin(), order, found->second);
        return found->second->value;
    }

    void removeAllObjects() {
        const std::scoped_lock lock(mutex);
        byKey.clear();
        order.clear();
        totalCost = 0;
    }

    /// Harmless when the key isn't there.
    void removeObjectForKey(const std::string& key) {
        const std::scoped_lock lock(mutex);
        erase(key);
    }

private:
    struct Entry {
        std::string key;
        std::shared_ptr<const Value> value;
        std::size_t cost;
    };

    bool isOverLimit() const {
        return (countLimit && order.size() > countLimit) || (totalCostLimit && totalCost > totalCostLimit);
    }
    void erase(const std::string& key) {
        const auto found = byKey.find(key);
        if (found == byKey.end()) return;
        totalCost -= found->second->cost;
        order.erase(found->second);
        byKey.erase(found);
    }

    std::mutex mutex;
    std::list<Entry> order;
    std::unordered_map<std::string, typename std::list<Entry>::iterator> byKey;
    std::size_t totalCost = 0;
};

/// Composes keys in one string, so that a look into a cache asks for no memory.
class CacheKey {
public:
    /// The parts, texts and whole numbers, with a blank behind each; it holds until the next call.
    template <class... Parts>
    const std::string& of(const Parts&... parts) {
        key.clear();
        (append(parts), ...);
        return key;
    }

private:
    void append(std::string_view text) { (key += text) += ' '; }
    template <std::integral Number>
    void append(Number number) {
        // No longer than what a string holds in itself, but for the longest numbers.
        append(std::string_view(std::to_string(number)));
    }

    std::string key;
};

}  // namespace vellumix
