#include "tests/platform/linux/pipewire/AllocationWatch.h"

#include <atomic>
#include <cerrno>
#include <cstddef>

namespace vintra::allocationWatch {
namespace {

std::atomic<bool> on{false};
std::atomic<int64_t> count{0};
// Of the program itself, so that looking at it allocates nothing.
__attribute__((tls_model("initial-exec"))) thread_local bool isWatched = false;

[[maybe_unused]] void note() {
    if (isWatched && on.load(std::memory_order_relaxed)) count.fetch_add(1, std::memory_order_relaxed);
}

} // namespace

void watchThisThread() {
    isWatched = true;
}

void setOn(bool isOn) {
    on = isOn;
}

int64_t calls() {
    return count;
}

#ifdef VINTRA_SANITIZED

bool counts() {
    return false;
}

} // namespace vintra::allocationWatch

#else

bool counts() {
    return true;
}

} // namespace vintra::allocationWatch

// The program's own come before those of the C library, for every library that it has loaded too.
extern "C" {

void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* memory, size_t size);
void* __libc_memalign(size_t alignment, size_t size);
void __libc_free(void* memory);

void* malloc(size_t size) {
    vintra::allocationWatch::note();
    return __libc_malloc(size);
}
void* calloc(size_t count, size_t size) {
    vintra::allocationWatch::note();
    return __libc_calloc(count, size);
}
void* realloc(void* memory, size_t size) {
    vintra::allocationWatch::note();
    return __libc_realloc(memory, size);
}
void* memalign(size_t alignment, size_t size) {
    vintra::allocationWatch::note();
    return __libc_memalign(alignment, size);
}
void* aligned_alloc(size_t alignment, size_t size) {
    vintra::allocationWatch::note();
    return __libc_memalign(alignment, size);
}
int posix_memalign(void** memory, size_t alignment, size_t size) {
    vintra::allocationWatch::note();
    *memory = __libc_memalign(alignment, size);
    return *memory != nullptr ? 0 : ENOMEM;
}
void free(void* memory) {
    if (memory != nullptr) vintra::allocationWatch::note();
    __libc_free(memory);
}

} // extern "C"

#endif
