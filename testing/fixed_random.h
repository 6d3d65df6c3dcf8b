// A random generator that tests foresee.
#pragma once

#include <openssl/rand.h>

#include <cstdint>

namespace quarn::test {

// OpenSSL 3 would rather have a provider for this; replacing the method is still the whole of what is needed.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

/// While it lives, OpenSSL's generator gives `first`, `first` + 1, ... modulo 256, one a byte.
class FixedRandom {
  public:
    explicit FixedRandom(std::uint8_t first) : FixedRandom(count_up) { next_byte_ = first; }

    FixedRandom(const FixedRandom&) = delete;
    FixedRandom& operator=(const FixedRandom&) = delete;
    ~FixedRandom() { RAND_set_rand_method(RAND_OpenSSL()); }

  protected:
    explicit FixedRandom(int (*bytes)(unsigned char*, int)) {
        method_.bytes = bytes;
        RAND_set_rand_method(&method_);
    }

  private:
    static int count_up(unsigned char* bytes, int size) {
        for (int i = 0; i < size; ++i) {
            bytes[i] = next_byte_;
            next_byte_ = static_cast<std::uint8_t>(next_byte_ + 1);
        }
        return 1;
    }

    inline static std::uint8_t next_byte_ = 0;
    RAND_METHOD method_{};
};

/// While it lives, OpenSSL's generator fails.
class NoRandom : public FixedRandom {
  public:
    NoRandom() : FixedRandom([](unsigned char*, int) { return 0; }) {}
};

#pragma GCC diagnostic pop

}  // namespace quarn::test
