#include "quarn/net/resolve.h"

#include <netdb.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <new>
#include <system_error>
#include <thread>
#include <utility>

#include "socket_address.h"

namespace quarn::net {

namespace {

/// What a resolving thread and whoever waits for it share. The last of the two destroys it.
struct Resolving {
    std::mutex mutex;
    std::condition_variable done;
    std::optional<Resolved> result;
};

/// What `getaddrinfo` says of a numeric address: itself, or that it is not of the family wanted.
Resolved numeric_address(const Address& address, const ResolveOptions& options) {
    if (options.family.value_or(address.family()) != address.family()) {
        return ResolveError{EAI_ADDRFAMILY, 0};
    }
    return std::vector{address};
}

/// For a thread, which nothing may be thrown out of.
Resolved resolve_or_report(const std::string& host, std::uint16_t port, const ResolveOptions& options) {
    try {
        return resolve(host, port, options);
    } catch (const std::bad_alloc&) {
        return ResolveError{EAI_MEMORY, 0};
    }
}

/// The answer is there at once for a numeric address, and when no thread can be started.
std::shared_ptr<Resolving> begin_resolving(const ResolveQuestion& question) {
    auto resolving = std::make_shared<Resolving>();
    if (const auto address = Address::parse(question.host, question.port)) {
        resolving->result = numeric_address(*address, question.options);
        return resolving;
    }
    try {
        std::thread([resolving, question] {
            Resolved result = resolve_or_report(question.host, question.port, question.options);
            const std::lock_guard lock(resolving->mutex);
            resolving->result = std::move(result);
            resolving->done.notify_one();
        }).detach();
    } catch (const std::system_error& error) {
        resolving->result = ResolveError{EAI_SYSTEM, error.code().value()};
    }
    return resolving;
}

}  // namespace

std::string ResolveError::text() const {
    return gai_strerror(code);
}

utils::Result<std::vector<Address>, ResolveError> resolve(std::string_view host, std::uint16_t port,
                                                          const ResolveOptions& options) {
    if (host.find('\0') != host.npos) {
        return ResolveError{EAI_NONAME, 0};
    }
    addrinfo hints{};
    hints.ai_family = options.family ? system_family(*options.family) : AF_UNSPEC;
    hints.ai_socktype = options.socket_type == SocketType::Datagram ? SOCK_DGRAM : SOCK_STREAM;
    addrinfo* found = nullptr;
    const int code = getaddrinfo(std::string(host).c_str(), std::to_string(port).c_str(), &hints, &found);
    const int system_error = code == EAI_SYSTEM ? errno : 0;
    const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> list(found, freeaddrinfo);

    std::vector<Address> addresses;
    if (code == 0) {
        for (const addrinfo* entry = found; entry != nullptr; entry = entry->ai_next) {
            if (const auto address = SocketAddress::address_of(entry->ai_addr)) {
                addresses.push_back(*address);
            }
        }
    }
    if (addresses.empty()) {
        return ResolveError{code, system_error};
    }
    return addresses;
}

std::vector<Resolved> resolve_within(std::span<const ResolveQuestion> questions,
                                     std::chrono::nanoseconds time) {
    // Longer waits than this would overflow the clock.
    constexpr std::chrono::nanoseconds longest = std::chrono::hours(24 * 365);
    const auto deadline =
        std::chrono::steady_clock::now() + std::clamp(time, std::chrono::nanoseconds::zero(), longest);
    std::vector<std::shared_ptr<Resolving>> begun;
    begun.reserve(questions.size());
    for (const ResolveQuestion& question : questions) {
        begun.push_back(begin_resolving(question));
    }
    std::vector<Resolved> answers;
    answers.reserve(questions.size());
    for (const std::shared_ptr<Resolving>& resolving : begun) {
        std::unique_lock lock(resolving->mutex);
        const bool is_there =
            resolving->done.wait_until(lock, deadline, [&] { return resolving->result.has_value(); });
        answers.push_back(is_there ? *std::move(resolving->result) : ResolveError{EAI_AGAIN, ETIMEDOUT});
    }
    return answers;
}

}  // namespace quarn::net
