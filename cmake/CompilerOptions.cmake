# What every target of this project is compiled and linked with.

add_library(quarn_compiler_options INTERFACE)
target_compile_options(quarn_compiler_options INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion)
if(QUARN_WARNINGS_AS_ERRORS)
    target_compile_options(quarn_compiler_options INTERFACE -Werror)
endif()

# What is built tells nothing of the folder it was built in. Debug builds do: a debugger wants its sources.
target_compile_options(quarn_compiler_options INTERFACE
    $<$<NOT:$<CONFIG:Debug>>:-ffile-prefix-map=${PROJECT_BINARY_DIR}/= -ffile-prefix-map=${PROJECT_SOURCE_DIR}/=>)

if(QUARN_SANITIZE)
    set(sanitizers -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_compile_options(quarn_compiler_options INTERFACE ${sanitizers})
    target_link_options(quarn_compiler_options INTERFACE ${sanitizers})
else()
    # Hardening. _FORTIFY_SOURCE needs optimisation, and sanitizers bring checks of their own.
    target_compile_options(quarn_compiler_options INTERFACE
        -fstack-protector-strong $<$<CONFIG:Release,RelWithDebInfo>:-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2>)
    target_link_options(quarn_compiler_options INTERFACE -Wl,-z,relro,-z,now)
endif()

include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX)
