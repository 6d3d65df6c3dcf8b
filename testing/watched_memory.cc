#include "testing/watched_memory.h"

#include <malloc.h>
#include <openssl/crypto.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdlib>
#include <mutex>
#include <new>

namespace quarn::test {

namespace {

struct Plan {
    bool armed = false;
    Shortage shortage = Shortage::Once;
    std::size_t left = 0;  ///< allocations until the one that fails
    bool happened = false;
};

thread_local std::array<Plan, 2> plans;

std::atomic<std::size_t> blocks = 0;

std::atomic<bool> searching = false;
std::string_view searched_marker;
std::atomic<std::size_t> marker_findings = 0;

Plan& plan_of(Allocator allocator) {
    return plans[static_cast<std::size_t>(allocator)];
}

bool fails_now(Allocator allocator) {
    Plan& plan = plan_of(allocator);
    if (!plan.armed) {
        return false;
    }
    if (plan.happened) {
        return plan.shortage == Shortage::Lasts;
    }
    plan.happened = --plan.left == 0;
    return plan.happened;
}

void* take(Allocator allocator, std::size_t size) {
    if (fails_now(allocator)) {
        return nullptr;
    }
    void* const block = std::malloc(size == 0 ? 1 : size);
    blocks += block == nullptr ? 0 : 1;
    return block;
}

void search(void* block) {
    const std::string_view content(static_cast<const char*>(block), malloc_usable_size(block));
    marker_findings += content.find(searched_marker) == std::string_view::npos ? 0 : 1;
}

void give_back(void* block) {
    if (block == nullptr) {
        return;
    }
    if (searching) {
        search(block);
    }
    --blocks;
    std::free(block);
}

void* openssl_malloc(std::size_t size, const char*, int) {
    return size == 0 ? nullptr : take(Allocator::OpenSsl, size);
}

void openssl_free(void* block, const char*, int) {
    give_back(block);
}

/// Always moves, so that what is left behind is searched as well.
void* openssl_realloc(void* block, std::size_t size, const char* file, int line) {
    if (size == 0) {
        openssl_free(block, file, line);
        return nullptr;
    }
    void* const moved = openssl_malloc(size, file, line);
    if (moved != nullptr && block != nullptr) {
        std::copy_n(static_cast<const char*>(block), std::min(size, malloc_usable_size(block)),
                    static_cast<char*>(moved));
        give_back(block);
    }
    return moved;
}

// OpenSSL takes other functions only before its first allocation.
const bool openssl_is_watched = CRYPTO_set_mem_functions(openssl_malloc, openssl_realloc, openssl_free) == 1;

}  // namespace

FailingAllocation::FailingAllocation(Allocator allocator, Shortage shortage, std::size_t number) {
    if (!openssl_is_watched) {
        std::abort();
    }
    plans = {};
    plan_of(allocator) = {.armed = true, .shortage = shortage, .left = number};
}

FailingAllocation::~FailingAllocation() {
    for (Plan& plan : plans) {
        plan.armed = false;
    }
}

bool FailingAllocation::happened() const {
    return plans[0].happened || plans[1].happened;
}

std::size_t live_blocks() {
    return blocks;
}

FreedMemorySearch::FreedMemorySearch(std::string_view marker) {
    searched_marker = marker;
    marker_findings = 0;
    searching = true;
}

FreedMemorySearch::~FreedMemorySearch() {
    searching = false;
}

std::size_t FreedMemorySearch::findings() const {
    return marker_findings;
}

}  // namespace quarn::test

void* operator new(std::size_t size) {
    void* const block = quarn::test::take(quarn::test::Allocator::Cpp, size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

void* operator new[](std::size_t size) {
    return operator new(size);
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return quarn::test::take(quarn::test::Allocator::Cpp, size);
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return quarn::test::take(quarn::test::Allocator::Cpp, size);
}

void operator delete(void* block) noexcept {
    quarn::test::give_back(block);
}

void operator delete[](void* block) noexcept {
    quarn::test::give_back(block);
}

void operator delete(void* block, std::size_t) noexcept {
    quarn::test::give_back(block);
}

void operator delete[](void* block, std::size_t) noexcept {
    quarn::test::give_back(block);
}

void operator delete(void* block, const std::nothrow_t&) noexcept {
    quarn::test::give_back(block);
}

void operator delete[](void* block, const std::nothrow_t&) noexcept {
    quarn::test::give_back(block);
}
