# What `cmake --install` puts where. All of it is below the prefix. The library, its headers and its packages find each
# other by relative paths, so that they can be moved together. Two components: "programs" is for whoever asks a server something,
# "development" for whoever builds on the library.
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

# The library. What CMake and pkg-config are told about it is named after it.
if(BUILD_SHARED_LIBS)
    set(installed_library radius-shared)
else()
    set(installed_library radius)
endif()
install(TARGETS ${installed_library} EXPORT quarn-radius
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)

install(DIRECTORY src/utils/include/ src/net/include/ src/radius/include/
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)

set(config_dir ${CMAKE_INSTALL_LIBDIR}/cmake/quarn-radius)
configure_package_config_file(cmake/quarn-radius-config.cmake.in ${PROJECT_BINARY_DIR}/quarn-radius-config.cmake
    INSTALL_DESTINATION ${config_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/quarn-radius-config-version.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/quarn-radius-config.cmake
              ${PROJECT_BINARY_DIR}/quarn-radius-config-version.cmake
    DESTINATION ${config_dir} COMPONENT development)
install(EXPORT quarn-radius FILE quarn-radius-targets.cmake NAMESPACE quarn::
    DESTINATION ${config_dir} COMPONENT development)

# Whoever links the static library links what it is made of as well.
set(pkgconfig_requires "")
if(NOT BUILD_SHARED_LIBS)
    set(pkgconfig_requires "yaml-cpp, libcrypto >= 3.0")
endif()
set(pkgconfig_dir ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH prefix_from_pkgconfig ${pkgconfig_dir} ${CMAKE_INSTALL_PREFIX})
file(RELATIVE_PATH libdir_from_prefix ${CMAKE_INSTALL_PREFIX} ${CMAKE_INSTALL_FULL_LIBDIR})
file(RELATIVE_PATH includedir_from_prefix ${CMAKE_INSTALL_PREFIX} ${CMAKE_INSTALL_FULL_INCLUDEDIR})
configure_file(cmake/quarn-radius.pc.in ${PROJECT_BINARY_DIR}/quarn-radius.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/quarn-radius.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

install(FILES docs/man/libquarn-radius.3 DESTINATION ${CMAKE_INSTALL_MANDIR}/man3 COMPONENT development)
