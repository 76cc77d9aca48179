#pragma once

#include "Vintra/platform/Observation.h"

#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace vintra {

/// A value that notifies its observers. Main thread.
template <typename Value>
class Published {
public:
    Published() = default;
    explicit Published(Value initial)
        : value(std::move(initial)) {}
    Published(const Published&) = delete;
    Published& operator=(const Published&) = delete;

    const Value& get() const { return value; }
    const Value& operator*() const { return value; }
    const Value* operator->() const { return &value; }

    /// Sets the value; on a real change first runs the owner's change handling, then in any case tells the
    /// observers.
    void set(Value newValue) {
        const bool changed = !(newValue == value);
        const Value old = std::exchange(value, std::move(newValue));
        if (changed) {
            for (const auto& handler : didChange)
                handler(old);
        }
        notify();
    }
    /// Changes the value in place by a function, with the same consequences as `set`.
    template <typename Change>
    void update(Change change) {
        Value copy = value;
        change(copy);
        set(std::move(copy));
    }

    /// Adds to the owner's change handling: called with the old value, after the handlers added before, for
    /// as long as the value exists. Not from within a handler.
    void onChange(std::function<void(const Value& old)> handler) { didChange.push_back(std::move(handler)); }

    /// Calls the observer after every set for as long as the result is kept.
    [[nodiscard]] Observation observe(std::function<void(const Value&)> observer) {
        auto kept = std::make_shared<std::function<void(const Value&)>>(std::move(observer));
        observers.push_back(kept);
        return kept;
    }

private:
    void notify() {
        const auto current = observers;
        for (const auto& weak : current) {
            if (const auto observer = weak.lock()) (*observer)(value);
        }
        std::erase_if(observers, [](const auto& weak) { return weak.expired(); });
    }

    Value value{};
    std::vector<std::function<void(const Value&)>> didChange;
    std::vector<std::weak_ptr<std::function<void(const Value&)>>> observers;
};

} // namespace vintra
