# The compiler's and the linker's options: quarn_compiler_options for libraries and programs, and quarn_common_options,
# which are those of them that the sources of tests share.
add_library(quarn_common_options INTERFACE)
add_library(quarn_compiler_options INTERFACE)
target_link_libraries(quarn_compiler_options INTERFACE quarn_common_options)

target_compile_options(quarn_common_options INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion)
# GCC 12 takes `"text" + std::move(string)` for overlapping copies (its bug 105329).
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    target_compile_options(quarn_common_options INTERFACE -Wno-restrict)
endif()
if(QUARN_WARNINGS_AS_ERRORS)
    target_compile_options(quarn_common_options INTERFACE -Werror)
endif()

# What is built tells nothing of the folder it was built in. Debug builds do: a debugger wants its sources.
target_compile_options(quarn_common_options INTERFACE
    $<$<NOT:$<CONFIG:Debug>>:-ffile-prefix-map=${PROJECT_BINARY_DIR}/= -ffile-prefix-map=${PROJECT_SOURCE_DIR}/=>)

if(QUARN_SANITIZE)
    set(sanitizers -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_compile_options(quarn_common_options INTERFACE ${sanitizers}
        $<$<CXX_COMPILER_ID:Clang>:-fsanitize-ignorelist=${PROJECT_SOURCE_DIR}/cmake/sanitizer-ignorelist.txt>)
    target_link_options(quarn_common_options INTERFACE ${sanitizers})
else()
    # Hardening. _FORTIFY_SOURCE needs optimisation, and sanitizers bring checks of their own.
    target_compile_options(quarn_common_options INTERFACE -fstack-protector-strong)
    target_compile_options(quarn_compiler_options INTERFACE
        $<$<CONFIG:Release,RelWithDebInfo>:-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2>)
endif()

# Hardening, and more: a function that is bound at its first call leaves vector registers on the stack, and with them
# what was copied last, which may be a secret.
target_link_options(quarn_common_options INTERFACE -Wl,-z,relro,-z,now)

# What tells libFuzzer which code an input reached, and checks of the standard library's own beside.
if(QUARN_BUILD_FUZZERS)
    target_compile_options(quarn_common_options INTERFACE -fsanitize=fuzzer-no-link -D_GLIBCXX_ASSERTIONS)
endif()

# Stricter than the standard: unsigned numbers that wrap and conversions that lose a bit or a sign are reported too.
if(QUARN_SANITIZE_INTEGERS)
    set(sanitizers -fsanitize=undefined,integer,nullability,bounds -fno-sanitize-recover=all)
    target_compile_options(quarn_common_options INTERFACE ${sanitizers}
        -fsanitize-ignorelist=${PROJECT_SOURCE_DIR}/cmake/sanitizer-ignorelist.txt
        -fsanitize-ignorelist=${PROJECT_SOURCE_DIR}/cmake/integer-sanitizer-ignorelist.txt)
    target_link_options(quarn_common_options INTERFACE ${sanitizers})
endif()

# Counters beside each object, added up over all processes that ran it.
if(QUARN_COVERAGE)
    target_compile_options(quarn_common_options INTERFACE --coverage -fprofile-abs-path -fprofile-update=atomic)
    target_link_options(quarn_common_options INTERFACE --coverage)
endif()

include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX)
