#include "testing/counted_memory.h"

#include <algorithm>
#include <cstdlib>
#include <new>

namespace {

thread_local quarn::test::Memory memory;

/// In front of every block, to know its size when it is given back.
constexpr std::size_t prefix = alignof(std::max_align_t);

void* allocate(std::size_t size) {
    void* const block = std::malloc(prefix + size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    *static_cast<std::size_t*>(block) = size;
    ++memory.allocations;
    memory.bytes += size;
    memory.held += static_cast<std::ptrdiff_t>(size);
    memory.most_held = std::max(memory.most_held, memory.held);
    return static_cast<char*>(block) + prefix;
}

void release(void* place) {
    if (place != nullptr) {
        void* const block = static_cast<char*>(place) - prefix;
        memory.held -= static_cast<std::ptrdiff_t>(*static_cast<std::size_t*>(block));
        std::free(block);
    }
}

}  // namespace

void* operator new(std::size_t size) {
    return allocate(size);
}
void* operator new[](std::size_t size) {
    return allocate(size);
}
void operator delete(void* place) noexcept {
    release(place);
}
void operator delete[](void* place) noexcept {
    release(place);
}
void operator delete(void* place, std::size_t) noexcept {
    release(place);
}
void operator delete[](void* place, std::size_t) noexcept {
    release(place);
}

namespace quarn::test {

Memory& counted_memory() {
    return memory;
}

}  // namespace quarn::test
