// allocations: counts the blocks that the code linked into a test program
// takes from and gives back to the C allocator, on this thread, while an
// AllocationWatch lives.
//
// The test programs that use it are linked with
//   -Wl,--wrap=malloc,--wrap=calloc,--wrap=realloc,--wrap=free,--wrap=strdup,--wrap=strndup
// so that every such call of their own objects (the bridge's among them)
// passes through here, while the JVM, the fake token library and the C++
// library, which are shared objects, allocate past it. Sizes are those the
// caller asked for. A watch can also show a test each block as it is freed,
// and fail a chosen allocation.
#ifndef MORLIN_TEST_ALLOCATIONS_H
#define MORLIN_TEST_ALLOCATIONS_H

#include <cstddef>

namespace morlin_test {

struct AllocationTally {
    long blocks = 0;        // taken and not given back
    long bytes = 0;         // their size
    long foreignFrees = 0;  // blocks given back that were taken before the watch
    bool overflow = false;  // more live blocks than the watch can follow
};

class AllocationWatch {
public:
    AllocationWatch();
    ~AllocationWatch();
    AllocationWatch(const AllocationWatch&) = delete;
    AllocationWatch& operator=(const AllocationWatch&) = delete;

    AllocationTally tally() const;

    // Calls hook with every block of the watch that is given back through
    // free, before the allocator has it again: a test can see what the code
    // left in memory it dropped.
    using FreeHook = void (*)(const void* block, size_t size, void* context);
    void onFree(FreeHook hook, void* context);
    // The n-th allocation from now (1 for the next; 0: none) fails as the C
    // allocator fails, returning null; realloc then leaves its block alone.
    void failAllocation(int n);
    // Allocations asked for since the watch began, failed ones included.
    int allocations() const;
};

}  // namespace morlin_test

#endif
