// A read that the compiler cannot prove to stay within its buffer. The program makes no such call itself:
// what the options of its build do to one shows here.
#include <unistd.h>

#include <array>

int main(int argc, char* /*argv*/[]) {
    std::array<char, 16> buffer{};
    return read(STDIN_FILENO, buffer.data(), static_cast<std::size_t>(argc)) == 0 ? buffer[0] : 1;
}
