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
        const std::scoped_lock lock(_mutex);
        erase(key);
        _order.push_front({key, std::move(value), cost});
        _byKey[key] = _order.begin();
        _totalCost += cost;
        while (!_order.empty() && isOverLimit()) erase(std::string(_order.back().key));
    }

    std::shared_ptr<const Value> objectForKey(const std::string& key) {
        const std::scoped_lock lock(_mutex);
        const auto found = _byKey.find(key);
        if (found == _byKey.end()) return nullptr;
        _order.splice(_order.begin(), _order, found->second);
        return found->second->value;
    }

    void removeAllObjects() {
        const std::scoped_lock lock(_mutex);
        _byKey.clear();
        _order.clear();
        _totalCost = 0;
    }

    /// Harmless when the key isn't there.
    void removeObjectForKey(const std::string& key) {
        const std::scoped_lock lock(_mutex);
        erase(key);
    }

private:
    struct Entry {
        std::string key;
        std::shared_ptr<const Value> value;
        std::size_t cost;
    };

    bool isOverLimit() const {
        return (countLimit && _order.size() > countLimit) || (totalCostLimit && _totalCost > totalCostLimit);
    }
    void erase(const std::string& key) {
        const auto found = _byKey.find(key);
        if (found == _byKey.end()) return;
        _totalCost -= found->second->cost;
        _order.erase(found->second);
        _byKey.erase(found);
    }

    std::mutex _mutex;
    std::list<Entry> _order;
    std::unordered_map<std::string, typename std::list<Entry>::iterator> _byKey;
    std::size_t _totalCost = 0;
};

/// Composes keys in one string, so that a look into a cache asks for no memory.
class CacheKey {
public:
    /// The parts, texts and whole numbers, with a blank behind each; it holds until the next call.
    template <class... Parts>
    const std::string& of(const Parts&... parts) {
        _key.clear();
        (append(parts), ...);
        return _key;
    }

private:
    void append(std::string_view text) { (_key += text) += ' '; }
    template <std::integral Number>
    void append(Number number) {
        // No longer than what a string holds in itself, but for the longest numbers.
        append(std::string_view(std::to_string(number)));
    }

    std::string _key;
};

}  // namespace vellumix
