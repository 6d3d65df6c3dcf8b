// Hostile datagrams for a tool that counts instructions.
//
//     process-datagram                      lists the shapes, each with the smallest number of parts
//     process-datagram SHAPE PARTS >FILE    makes one
//     process-datagram FILE                 processes it

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iostream>
#include <iterator>
#include <stdexcept>
#include <string>

#include "testing/hostile_datagrams.h"

/// What is counted; by this name the tool finds it.
extern "C" [[gnu::noinline]] std::size_t measured_work(const quarn::utils::Bytes* datagram);
extern "C" std::size_t measured_work(const quarn::utils::Bytes* datagram) {
    return quarn::test::process(*datagram);
}

namespace {

using quarn::test::hostile_shapes;
using quarn::test::HostileShape;

void list() {
    for (const HostileShape& shape : hostile_shapes()) {
        std::cout << shape.name << ' ' << shape.parts << '\n';
    }
}

void make(const std::string& name, std::size_t parts) {
    const auto shapes = hostile_shapes();
    const auto shape = std::find_if(shapes.begin(), shapes.end(),
                                    [&name](const HostileShape& row) { return row.name == name; });
    if (shape == shapes.end()) {
        throw std::invalid_argument("no shape " + name);
    }
    std::cout << quarn::utils::to_text(shape->build(parts));
}

void process(const std::string& file) {
    std::ifstream stream(file, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    const quarn::utils::Bytes datagram = quarn::utils::to_bytes(text);
    quarn::test::process(hostile_shapes().front().build(1));  // what is set up once is there then
    std::cout << measured_work(&datagram) << " values\n";
}

}  // namespace

int main(int argc, char* argv[]) {
    try {
        if (argc == 1) {
            list();
        } else if (argc == 2) {
            process(argv[1]);
        } else {
            make(argv[1], std::stoul(argv[2]));
        }
    } catch (const std::exception& error) {
        std::cerr << "process-datagram: " << error.what() << '\n';
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
