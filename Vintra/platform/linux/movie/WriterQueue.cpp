#include "Vintra/platform/linux/movie/WriterQueue.h"

#include <chrono>
#include <utility>

namespace vintra {

size_t WriterQueue::addInput(int64_t capacity) {
    MutexLock lock(mutex);
    inputs.push_back({.capacity = capacity});
    return inputs.size() - 1;
}

void WriterQueue::beginSession(CMTime start) {
    MutexLock lock(mutex);
    if (!sessionStart) sessionStart = start;
}

std::optional<CMTime> WriterQueue::openSession() const {
    MutexLock lock(mutex);
    return closed ? std::nullopt : sessionStart;
}

CMTime WriterQueue::start() const {
    MutexLock lock(mutex);
    return sessionStart.value_or(kCMTimeInvalid);
}

bool WriterQueue::ready(size_t input) const {
    const Input& one = inputs[input];
    return sessionStart && !closed && !one.finished && one.waiting < one.capacity;
}

bool WriterQueue::isReady(size_t input) const {
    MutexLock lock(mutex);
    return ready(input);
}

bool WriterQueue::push(size_t input, const CMSampleBuffer& sample, int64_t cost) {
    {
        MutexLock lock(mutex);
        if (!ready(input)) return false;
        inputs[input].waiting += cost;
        items.push_back({.input = input, .sample = sample, .cost = cost});
    }
    changed.notify_one();
    return true;
}

void WriterQueue::extend(size_t input, CMTime to) {
    {
        MutexLock lock(mutex);
        if (!sessionStart || closed || inputs[input].finished) return;
        if (!items.empty() && items.back().input == input && items.back().standsUntil)
            items.back().standsUntil = to;
        else
            items.push_back({.input = input, .sample = {}, .cost = 0, .standsUntil = to});
    }
    changed.notify_one();
}

void WriterQueue::finishInput(size_t input) {
    MutexLock lock(mutex);
    inputs[input].finished = true;
}

void WriterQueue::close() {
    {
        MutexLock lock(mutex);
        closed = true;
    }
    changed.notify_all();
}

void WriterQueue::abandon() {
    std::deque<Item> dropped; // released outside the lock
    {
        MutexLock lock(mutex);
        closed = true;
        abandoned = true;
        dropped.swap(items);
    }
    changed.notify_all();
}

bool WriterQueue::isAbandoned() const {
    MutexLock lock(mutex);
    return abandoned;
}

std::optional<WriterQueue::Item> WriterQueue::pop() {
    MutexLock lock(mutex);
    while (items.empty() && !closed)
        changed.wait(lock);
    if (items.empty()) return std::nullopt;
    Item item = std::move(items.front());
    items.pop_front();
    inputs[item.input].waiting -= item.cost;
    return item;
}

void WriterQueue::pause(int64_t microseconds) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::microseconds(microseconds);
    MutexLock lock(mutex);
    while (!abandoned) {
        if (changed.wait_until(lock, end) == std::cv_status::timeout) return;
    }
}

} // namespace vintra
