// allocations: the --wrap targets. A block taken while a watch is active is
// recorded with its size in a small table of the watch; giving it back
// removes it. The table is fixed, so the wrappers themselves never allocate.
#include "allocations.h"

#include <cstring>
#include <new>

extern "C" {
void* __real_malloc(size_t size);
void* __real_calloc(size_t count, size_t size);
void* __real_realloc(void* block, size_t size);
void __real_free(void* block);
char* __real_strdup(const char* text);
char* __real_strndup(const char* text, size_t size);
}

namespace morlin_test {
namespace {

constexpr int kCapacity = 4096;

struct Live {
    void* block;
    size_t size;
};

struct Watch {
    Live live[kCapacity];
    int count = 0;
    long foreignFrees = 0;
    bool overflow = false;
    AllocationWatch::FreeHook hook = nullptr;
    void* context = nullptr;
    int allocations = 0;
    int failAt = 0;
};


thread_local Watch* watch = nullptr;

// Counts an allocation of the watch; true if this one is to fail.
bool failsNow() {
    if (watch == nullptr) return false;
    return ++watch->allocations == watch->failAt;
}

void taken(void* block, size_t size) {
    if (watch == nullptr || block == nullptr) return;
    if (watch->count == kCapacity) {
        watch->overflow = true;
        return;
    }
    watch->live[watch->count++] = {block, size};
}

// Whether the block was one of the watch's; forgets it. A block freed goes
// past the hook first.
bool givenBack(void* block, bool freed = false) {
    if (watch == nullptr || block == nullptr) return true;
    for (int i = watch->count - 1; i >= 0; --i) {
        if (watch->live[i].block == block) {
            if (freed && watch->hook != nullptr) watch->hook(block, watch->live[i].size, watch->context);
            watch->live[i] = watch->live[--watch->count];
            return true;
        }
    }
    ++watch->foreignFrees;
    return false;
}

}  // namespace

AllocationWatch::AllocationWatch() { watch = new (__real_calloc(1, sizeof(Watch))) Watch; }

AllocationWatch::~AllocationWatch() {
    Watch* w = watch;
    watch = nullptr;
    w->~Watch();
    __real_free(w);
}

AllocationTally AllocationWatch::tally() const {
    AllocationTally t;
    t.blocks = watch->count;
    for (int i = 0; i < watch->count; ++i) t.bytes += static_cast<long>(watch->live[i].size);
    t.foreignFrees = watch->foreignFrees;
    t.overflow = watch->overflow;
    return t;
}

void AllocationWatch::onFree(FreeHook hook, void* context) {
    watch->hook = hook;
    watch->context = context;
}

void AllocationWatch::failAllocation(int n) { watch->failAt = n == 0 ? 0 : watch->allocations + n; }

int AllocationWatch::allocations() const { return watch->allocations; }

}  // namespace morlin_test

using morlin_test::failsNow;
using morlin_test::givenBack;
using morlin_test::taken;

extern "C" {

void* __wrap_malloc(size_t size) {
    if (failsNow()) return nullptr;
    void* block = __real_malloc(size);
    taken(block, size);
    return block;
}

void* __wrap_calloc(size_t count, size_t size) {
    if (failsNow()) return nullptr;
    void* block = __real_calloc(count, size);
    taken(block, count * size);
    return block;
}

void* __wrap_realloc(void* block, size_t size) {
    if (failsNow()) return nullptr;
    void* moved = __real_realloc(block, size);
    if (moved != nullptr || size == 0) {
        givenBack(block);
        taken(moved, size);
    }
    return moved;
}

void __wrap_free(void* block) {
    givenBack(block, true);
    __real_free(block);
}

char* __wrap_strdup(const char* text) {
    if (failsNow()) return nullptr;
    char* copy = __real_strdup(text);
    taken(copy, copy != nullptr ? std::strlen(copy) + 1 : 0);
    return copy;
}

char* __wrap_strndup(const char* text, size_t size) {
    if (failsNow()) return nullptr;
    char* copy = __real_strndup(text, size);
    taken(copy, copy != nullptr ? std::strlen(copy) + 1 : 0);
    return copy;
}

}  // extern "C"
