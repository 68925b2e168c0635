#include "bench/Allocations.h"

#include <cstddef>

namespace {

thread_local uint64_t allocations = 0;

}  // namespace

uint64_t zelkcam::bench::allocationsSoFar() {
    return allocations;
}

extern "C" {

// The C library's own entries, which it exports for this purpose.
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);

void* malloc(size_t size) {
    ++allocations;
    return __libc_malloc(size);
}

void* calloc(size_t count, size_t size) {
    ++allocations;
    return __libc_calloc(count, size);
}

void* realloc(void* block, size_t size) {
    ++allocations;
    return __libc_realloc(block, size);
}

}  // extern "C"
