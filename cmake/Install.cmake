# What `cmake --install` puts where. All of it is below the prefix. The library, its headers and its packages find each
# other by relative paths, so that they can be moved together. Three components: "programs" is for whoever asks a server
# something, "development" for whoever builds on the library, "client" for whoever builds on the client library as well.
include(CMakePackageConfigHelpers)

install(TARGETS authprobe quarn-radius
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT programs)

# Programs look below /opt/quarn for their dictionary, wherever they are installed themselves.
set(QUARN_DICTIONARY_DIR ${CMAKE_INSTALL_DATADIR}/quarn/radius CACHE STRING "Where to install the dictionaries")
install(DIRECTORY share/quarn/radius/ DESTINATION ${QUARN_DICTIONARY_DIR} COMPONENT programs)

install(FILES NOTICE DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT programs)
install(FILES docs/man/authprobe.1 docs/man/quarn-radius.1
    DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT programs)
install(FILES docs/man/quarn-radius-dictionary.5 DESTINATION ${CMAKE_INSTALL_MANDIR}/man5 COMPONENT programs)

# The folders below a prefix in which the shells look for completions.
set(QUARN_ZSH_COMPLETIONS_DIR ${CMAKE_INSTALL_DATADIR}/zsh/site-functions
    CACHE STRING "Where to install the completions for zsh")
foreach(program IN ITEMS authprobe quarn-radius)
    install(FILES share/completions/${program}.bash RENAME ${program}
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT programs)
    install(FILES share/completions/_${program} DESTINATION ${QUARN_ZSH_COMPLETIONS_DIR} COMPONENT programs)
    install(FILES share/completions/${program}.fish
        DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d COMPONENT programs)
endforeach()

# The libraries. A program finds both with find_package(quarn-radius), or each with pkg-config.
set(config_dir ${CMAKE_INSTALL_LIBDIR}/cmake/quarn-radius)
set(pkgconfig_dir ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH prefix_from_pkgconfig ${pkgconfig_dir} ${CMAKE_INSTALL_PREFIX})
file(RELATIVE_PATH libdir_from_prefix ${CMAKE_INSTALL_PREFIX} ${CMAKE_INSTALL_FULL_LIBDIR})
file(RELATIVE_PATH includedir_from_prefix ${CMAKE_INSTALL_PREFIX} ${CMAKE_INSTALL_FULL_INCLUDEDIR})

# quarn_install_library(<target> NAME <name> COMPONENT <component> DESCRIPTION <text> REQUIRES <list> HEADERS <folder>...)
# The archive or shared library, its headers, what CMake and pkg-config are told, and the manual page lib<name>(3).
function(quarn_install_library target)
    cmake_parse_arguments(arg "" "NAME;COMPONENT;DESCRIPTION;REQUIRES" "HEADERS" ${ARGN})
    set(installed ${target})
    if(BUILD_SHARED_LIBS)
        set(installed ${target}-shared)
    endif()
    install(TARGETS ${installed} EXPORT ${arg_NAME}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT ${arg_COMPONENT}
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT ${arg_COMPONENT})
    install(DIRECTORY ${arg_HEADERS} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT ${arg_COMPONENT})
    install(EXPORT ${arg_NAME} FILE ${arg_NAME}-targets.cmake NAMESPACE quarn::
        DESTINATION ${config_dir} COMPONENT ${arg_COMPONENT})
    configure_file(cmake/library.pc.in ${PROJECT_BINARY_DIR}/${arg_NAME}.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/${arg_NAME}.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT ${arg_COMPONENT})
    install(FILES docs/man/lib${arg_NAME}.3
        DESTINATION ${CMAKE_INSTALL_MANDIR}/man3 COMPONENT ${arg_COMPONENT})
endfunction()

# Whoever links the static library links what it is made of as well.
set(static_requires "")
if(NOT BUILD_SHARED_LIBS)
    set(static_requires "yaml-cpp, libcrypto >= 3.0")
endif()
quarn_install_library(radius NAME quarn-radius COMPONENT development
    DESCRIPTION "RADIUS library: dictionaries, and packets encoded, decoded and validated (C++20)"
    REQUIRES "${static_requires}"
    HEADERS src/utils/include/ src/net/include/ src/radius/include/)
quarn_install_library(radius-client NAME quarn-radius-client COMPONENT client
    DESCRIPTION "RADIUS client library: requests sent, replies verified (C++20)"
    REQUIRES "quarn-radius = ${PROJECT_VERSION}"
    HEADERS src/client/include/)

configure_package_config_file(cmake/quarn-radius-config.cmake.in ${PROJECT_BINARY_DIR}/quarn-radius-config.cmake
    INSTALL_DESTINATION ${config_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/quarn-radius-config-version.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/quarn-radius-config.cmake
              ${PROJECT_BINARY_DIR}/quarn-radius-config-version.cmake
    DESTINATION ${config_dir} COMPONENT development)
