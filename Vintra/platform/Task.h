#pragma once

#include "Vintra/platform/MainThread.h"

#include <coroutine>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <type_traits>
#include <unordered_set>
#include <utility>

namespace vintra {

// Long operations of the main thread: coroutines that give the thread up while they wait.
//
//     Task<bool> Recorder::askPermission() {
//         co_return co_await awaitCompletion<bool>(mainThread, [&](auto done) { devices.requestAccess(audio,
//         done); });
//     }
//
// A task does nothing until it is awaited or started in a `TaskScope`. The awaiting coroutine owns it, so
// letting go of the outermost one ends the whole chain at its suspension point. Everything here belongs to
// the main thread; only the function that `awaitCompletion` hands out may be called on any.
//
// GCC 12 destroys a temporary twice if it is written inside a `co_await` expression, is a closure or is
// initialised with braces, and has a destructor that does something. Give such a value a name first:
//
//     auto begin = [device](auto done) { device->open(done); };
//     co_await awaitCompletion<void>(mainThread, begin);

template <typename Result>
class Task;

namespace detail {

struct TaskPromiseBase {
    std::coroutine_handle<> continuation = std::noop_coroutine();
    std::exception_ptr failure;

    struct FinalAwaiter {
        bool await_ready() const noexcept { return false; }
        template <typename Promise>
        std::coroutine_handle<> await_suspend(std::coroutine_handle<Promise> ended) const noexcept {
            return ended.promise().continuation;
        }
        void await_resume() const noexcept {}
    };

    std::suspend_always initial_suspend() const noexcept { return {}; }
    FinalAwaiter final_suspend() const noexcept { return {}; }
    void unhandled_exception() { failure = std::current_exception(); }
};

template <typename Result>
struct TaskPromise : TaskPromiseBase {
    std::optional<Result> result;
    Task<Result> get_return_object();
    template <typename Value>
    void return_value(Value&& value) {
        result.emplace(std::forward<Value>(value));
    }
    Result take() {
        if (failure) std::rethrow_exception(failure);
        return std::move(*result);
    }
};

template <>
struct TaskPromise<void> : TaskPromiseBase {
    Task<void> get_return_object();
    void return_void() const noexcept {}
    void take() const {
        if (failure) std::rethrow_exception(failure);
    }
};

} // namespace detail

/// An operation that ends later, with a result or an exception.
template <typename Result = void>
class [[nodiscard]] Task {
public:
    using promise_type = detail::TaskPromise<Result>;
    using Handle = std::coroutine_handle<promise_type>;

    Task(Task&& other) noexcept
        : handle(std::exchange(other.handle, {})) {}
    Task& operator=(Task&&) = delete;
    ~Task() {
        if (handle) handle.destroy();
    }

    struct Awaiter {
        Handle handle;
        bool await_ready() const noexcept { return false; }
        std::coroutine_handle<> await_suspend(std::coroutine_handle<> awaiting) const noexcept {
            handle.promise().continuation = awaiting;
            return handle;
        }
        Result await_resume() const { return handle.promise().take(); }
    };
    Awaiter operator co_await() && noexcept { return {handle}; }

private:
    friend promise_type;
    explicit Task(Handle handle)
        : handle(handle) {}
    Handle handle;
};

namespace detail {
template <typename Result>
Task<Result> TaskPromise<Result>::get_return_object() {
    return Task<Result>(std::coroutine_handle<TaskPromise>::from_promise(*this));
}
inline Task<void> TaskPromise<void>::get_return_object() {
    return Task<void>(std::coroutine_handle<TaskPromise>::from_promise(*this));
}
} // namespace detail

/// Runs tasks that nobody awaits, and ends at its own end those that still wait: what they captured may then
/// go. Owned by the object whose members the tasks touch, as its last member. Not destroyed from within one
/// of its tasks.
class TaskScope {
public:
    TaskScope() = default;
    TaskScope(const TaskScope&) = delete;
    TaskScope& operator=(const TaskScope&) = delete;
    ~TaskScope() { cancelAll(); }

    /// Runs the task up to its first suspension, and on from there as it is resumed. An exception that leaves
    /// the task ends the process.
    void start(Task<void> task) { run(*this, std::move(task)); }

    bool isIdle() const { return running.empty(); }
    /// Destroys every task that waits, at its suspension point.
    void cancelAll() {
        while (!running.empty()) {
            const auto handle = std::coroutine_handle<>::from_address(*running.begin());
            handle.destroy();
        }
    }

private:
    struct Root {
        struct promise_type {
            promise_type(TaskScope& scope, Task<void>&)
                : scope(scope) {
                scope.running.insert(address());
            }
            ~promise_type() { scope.running.erase(address()); }
            void* address() { return std::coroutine_handle<promise_type>::from_promise(*this).address(); }
            Root get_return_object() const noexcept { return {}; }
            std::suspend_never initial_suspend() const noexcept { return {}; }
            std::suspend_never final_suspend() const noexcept { return {}; }
            void return_void() const noexcept {}
            [[noreturn]] void unhandled_exception() const noexcept { std::terminate(); }
            TaskScope& scope;
        };
    };
    static Root run(TaskScope&, Task<void> task) { co_await std::move(task); }

    std::unordered_set<void*> running;
};

namespace detail {

/// The value of a completion that carries none.
struct Nothing {};
template <typename Value>
using CompletionValue = std::conditional_t<std::is_void_v<Value>, Nothing, Value>;

template <typename Value>
struct CompletionState {
    std::coroutine_handle<> waiting; ///< null once resumed, or when the waiting coroutine is gone
    std::optional<CompletionValue<Value>> value;
};

template <typename Value>
struct CompletionAwaiter {
    using Function = std::conditional_t<std::is_void_v<Value>, std::function<void()>,
                                        std::function<void(CompletionValue<Value>)>>;

    CompletionAwaiter(MainThread& mainThread, std::function<void(Function)> begin)
        : mainThread(mainThread)
        , begin(std::move(begin)) {}
    CompletionAwaiter(const CompletionAwaiter&) = delete;
    CompletionAwaiter& operator=(const CompletionAwaiter&) = delete;
    ~CompletionAwaiter() { state->waiting = nullptr; }

    bool await_ready() const noexcept { return false; }
    void await_suspend(std::coroutine_handle<> awaiting) {
        state->waiting = awaiting;
        if constexpr (std::is_void_v<Value>) {
            begin([main = &mainThread, state = state] { main->post([state] { resume(*state, {}); }); });
        } else {
            begin([main = &mainThread, state = state](CompletionValue<Value> value) {
                main->post([state, value = std::move(value)]() mutable { resume(*state, std::move(value)); });
            });
        }
    }
    Value await_resume() {
        if constexpr (!std::is_void_v<Value>) return std::move(*state->value);
    }

private:
    static void resume(CompletionState<Value>& completed, CompletionValue<Value> value) {
        const auto waiting = std::exchange(completed.waiting, nullptr);
        if (!waiting) return;
        completed.value.emplace(std::move(value));
        waiting.resume();
    }

    MainThread& mainThread;
    std::function<void(Function)> begin;
    std::shared_ptr<CompletionState<Value>> state = std::make_shared<CompletionState<Value>>();
};

} // namespace detail

/// Awaits a call that ends by a completion function. `begin` is handed that function and makes the call; the
/// function may be called on any thread, even at once; the coroutine resumes later on the main thread. A
/// second call of it does nothing. A `begin` whose captures have destructors must be a named value (see
/// above).
template <typename Value, typename Begin>
requires(std::is_lvalue_reference_v<Begin> || std::is_trivially_destructible_v<Begin>)
    detail::CompletionAwaiter<Value> awaitCompletion(MainThread& mainThread, Begin&& begin) {
    return {mainThread, std::function<void(typename detail::CompletionAwaiter<Value>::Function)>(
                            std::forward<Begin>(begin))};
}

} // namespace vintra
