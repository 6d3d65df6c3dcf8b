// What starting costs before anything is done: the libraries that authprobe links too, and one HMAC-MD5.
#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/params.h>
#include <yaml-cpp/yaml.h>

#include <array>
#include <iostream>

int main(int argc, char*[]) {
    if (argc > 1) {
        std::cerr << YAML::Node().IsNull();  // so that the linker keeps yaml-cpp
        return 1;
    }
    EVP_MAC* const hmac = EVP_MAC_fetch(nullptr, "HMAC", nullptr);
    EVP_MAC_CTX* const context = EVP_MAC_CTX_new(hmac);
    std::array<char, 4> digest_name = {"MD5"};
    const std::array<OSSL_PARAM, 2> parameters = {
        OSSL_PARAM_construct_utf8_string(OSSL_MAC_PARAM_DIGEST, digest_name.data(), 0),
        OSSL_PARAM_construct_end()};
    const std::array<unsigned char, 106> bytes{};
    std::array<unsigned char, 16> digest{};
    std::size_t length = 0;
    const bool computed = EVP_MAC_init(context, bytes.data(), 10, parameters.data()) == 1 &&
                          EVP_MAC_update(context, bytes.data(), bytes.size()) == 1 &&
                          EVP_MAC_final(context, digest.data(), &length, digest.size()) == 1;
    EVP_MAC_CTX_free(context);
    EVP_MAC_free(hmac);
    return computed ? 0 : 1;
}
