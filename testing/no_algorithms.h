// An OpenSSL without any algorithm.
#pragma once

#include <openssl/evp.h>

#include <thread>
#include <utility>

namespace quarn::test {

/// Runs `work` while OpenSSL finds no algorithm, not even MD5. It runs in a thread of its own, because a
/// thread keeps the algorithms that it has found before.
template <typename Work>
void without_algorithms(Work work) {
    EVP_set_default_properties(nullptr, "provider=none");
    std::thread(std::move(work)).join();
    EVP_set_default_properties(nullptr, "");
}

}  // namespace quarn::test
