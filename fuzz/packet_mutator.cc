// Tells libFuzzer how packets are changed: mostly by their structure, sometimes byte by byte.
#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "testing/packet_forge.h"

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t max_size);

namespace {

using quarn::fuzz::Bytes;
using quarn::fuzz::PacketForge;

std::size_t hand_back(const Bytes& packet, std::uint8_t* data) {
    std::copy(packet.begin(), packet.end(), data);
    return packet.size();
}

}  // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t max_size,
                                               unsigned int seed) {
    PacketForge forge(seed);
    switch (seed % 8) {
        case 0:
            return hand_back(forge.packet(max_size), data);
        case 1:
        case 2:
        case 3:
            return LLVMFuzzerMutate(data, size, max_size);
        default:
            return hand_back(forge.mutated({data, size}, max_size), data);
    }
}

extern "C" std::size_t LLVMFuzzerCustomCrossOver(const std::uint8_t* first, std::size_t first_size,
                                                 const std::uint8_t* second, std::size_t second_size,
                                                 std::uint8_t* out, std::size_t max_size, unsigned int seed) {
    return hand_back(PacketForge(seed).crossed({first, first_size}, {second, second_size}, max_size), out);
}
