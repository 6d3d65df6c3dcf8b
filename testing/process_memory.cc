#include "testing/process_memory.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "testing/descriptor.h"

namespace quarn::test {

namespace {

/// Reads what there is of a range; pages that were never touched may be missing.
std::vector<char> read_range(int memory, std::uint64_t start, std::uint64_t end) {
    std::vector<char> bytes(end - start);
    std::size_t size = 0;
    while (size < bytes.size()) {
        const ssize_t count =
            pread(memory, bytes.data() + size, bytes.size() - size, static_cast<off_t>(start + size));
        if (count <= 0) {
            break;
        }
        size += static_cast<std::size_t>(count);
    }
    bytes.resize(size);
    return bytes;
}

}  // namespace

std::size_t copies_in_memory(pid_t pid, std::string_view text) {
    const std::string process = "/proc/" + std::to_string(pid);
    const Descriptor memory(open((process + "/mem").c_str(), O_RDONLY | O_CLOEXEC));
    std::ifstream maps(process + "/maps");
    if (!memory.is_open() || !maps) {
        throw std::runtime_error("cannot look into the memory of process " + std::to_string(pid));
    }
    const std::boyer_moore_horspool_searcher searcher(text.begin(), text.end());
    std::size_t copies = 0;
    std::size_t searched = 0;
    for (std::string line; std::getline(maps, line);) {
        std::uint64_t start = 0;
        std::uint64_t end = 0;
        char permissions[5] = {};
        // The sanitizers reserve terabytes, which they hardly use.
        constexpr std::uint64_t largest = std::uint64_t{1} << 30;
        // NOLINTNEXTLINE(cert-err34-c): the kernel writes these numbers
        if (std::sscanf(line.c_str(), "%" SCNx64 "-%" SCNx64 " %4s", &start, &end, permissions) != 3 ||
            permissions[1] != 'w' || end - start > largest) {
            continue;
        }
        const std::vector<char> bytes = read_range(memory.get(), start, end);
        searched += bytes.size();
        for (auto place = bytes.begin(); (place = std::search(place, bytes.end(), searcher)) != bytes.end();
             ++place) {
            ++copies;
        }
    }
    if (searched == 0) {
        throw std::runtime_error("the memory of process " + std::to_string(pid) + " cannot be read");
    }
    return copies;
}

}  // namespace quarn::test
