// Makes calls of a program fail that has this library preloaded. The environment variable FAILING_CALLS says
// which:
//
//     poll=4@2          the second call of poll fails, with the error number 4
//     recv=11           every call of recv does
//     RAND_bytes=0@1    the first one does; OpenSSL's functions have no error number
//     EVP_MD_fetch(MD5)=0   every call does that names this algorithm
//     write=stop@3      before the third call of write the program stops; SIGCONT lets it go on
//
// Several are separated by ",". What is not to fail goes on to where it was going.
#include <dlfcn.h>
#include <openssl/evp.h>
#include <openssl/provider.h>
#include <openssl/rand.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

namespace {

struct Order {
    std::string call;
    bool stops = false;
    int error_number = 0;
    int which = 0;  ///< 0 for all
    int seen = 0;
};

std::vector<Order>& orders() {
    static std::vector<Order> given;
    return given;
}

/// Reads the orders before the program starts, which may well clear its environment.
__attribute__((constructor)) void read_orders() {
    const char* const text = std::getenv("FAILING_CALLS");
    std::string_view rest = text == nullptr ? "" : text;
    while (!rest.empty()) {
        const std::string order(rest.substr(0, rest.find(',')));
        rest.remove_prefix(std::min(rest.size(), order.size() + 1));
        const std::size_t equals = order.find('=');
        const std::size_t at = order.find('@');
        const std::string deed = order.substr(equals + 1, at - equals - 1);
        const bool stops = deed == "stop";
        orders().push_back({order.substr(0, equals), stops, stops ? 0 : std::stoi(deed),
                            at == std::string::npos ? 0 : std::stoi(order.substr(at + 1))});
    }
}

/// Whether this call is to fail. Sets the error number, then. Stops the program if it is to stop here.
bool fails(std::string_view call) {
    for (Order& order : orders()) {
        if (order.call == call && (++order.seen == order.which || order.which == 0)) {
            if (order.stops) {
                static_cast<void>(std::raise(SIGSTOP));
                return false;
            }
            errno = order.error_number;
            return true;
        }
    }
    return false;
}

bool fails(std::string_view call, const char* argument) {
    return fails(std::string(call) + "(" + argument + ")");
}

/// The function that the program would have called without this library.
template <typename Function>
Function* original(const char* name, Function*) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {

int socket(int domain, int type, int protocol) noexcept {
    return fails("socket") ? -1 : original("socket", &socket)(domain, type, protocol);
}

int bind(int descriptor, const sockaddr* address, socklen_t length) noexcept {
    return fails("bind") ? -1 : original("bind", &bind)(descriptor, address, length);
}

int connect(int descriptor, const sockaddr* address, socklen_t length) {
    return fails("connect") ? -1 : original("connect", &connect)(descriptor, address, length);
}

int getsockname(int descriptor, sockaddr* address, socklen_t* length) noexcept {
    return fails("getsockname") ? -1 : original("getsockname", &getsockname)(descriptor, address, length);
}

ssize_t send(int descriptor, const void* bytes, size_t size, int flags) {
    return fails("send") ? -1 : original("send", &send)(descriptor, bytes, size, flags);
}

ssize_t recv(int descriptor, void* bytes, size_t size, int flags) {
    return fails("recv") ? -1 : original("recv", &recv)(descriptor, bytes, size, flags);
}

int poll(pollfd* descriptors, nfds_t count, int timeout) {
    return fails("poll") ? -1 : original("poll", &poll)(descriptors, count, timeout);
}

ssize_t write(int descriptor, const void* bytes, size_t size) {
    return fails("write") ? -1 : original("write", &write)(descriptor, bytes, size);
}

int close(int descriptor) {
    const int result = original("close", &close)(descriptor);
    return fails("close") ? -1 : result;  // it is closed all the same
}

FILE* fopen(const char* path, const char* mode) {
    return fails("fopen", path) ? nullptr : original("fopen", &fopen)(path, mode);
}

FILE* fopen64(const char* path, const char* mode) {
    return fails("fopen", path) ? nullptr : original("fopen64", &fopen64)(path, mode);
}

int rename(const char* from, const char* to) noexcept {
    return fails("rename") ? -1 : original("rename", &rename)(from, to);
}

int RAND_bytes(unsigned char* bytes, int size) {
    return fails("RAND_bytes") ? 0 : original("RAND_bytes", &RAND_bytes)(bytes, size);
}

EVP_MD* EVP_MD_fetch(OSSL_LIB_CTX* context, const char* algorithm, const char* properties) {
    return fails("EVP_MD_fetch", algorithm)
               ? nullptr
               : original("EVP_MD_fetch", &EVP_MD_fetch)(context, algorithm, properties);
}

EVP_MAC* EVP_MAC_fetch(OSSL_LIB_CTX* context, const char* algorithm, const char* properties) {
    return fails("EVP_MAC_fetch", algorithm)
               ? nullptr
               : original("EVP_MAC_fetch", &EVP_MAC_fetch)(context, algorithm, properties);
}

EVP_CIPHER* EVP_CIPHER_fetch(OSSL_LIB_CTX* context, const char* algorithm, const char* properties) {
    return fails("EVP_CIPHER_fetch", algorithm)
               ? nullptr
               : original("EVP_CIPHER_fetch", &EVP_CIPHER_fetch)(context, algorithm, properties);
}

OSSL_PROVIDER* OSSL_PROVIDER_load(OSSL_LIB_CTX* context, const char* name) {
    return fails("OSSL_PROVIDER_load", name)
               ? nullptr
               : original("OSSL_PROVIDER_load", &OSSL_PROVIDER_load)(context, name);
}

}  // extern "C"
