# The Debian packages `authprobe`, `libquarn-radius-dev` and `libquarn-radius-client-dev`, one for each component of the
# installation, made by CPack from a build that is laid out for them; scripts/package does it all. Programs, headers and
# libraries go to /usr, where every tool finds them; the dictionaries stay in the folder that the programs know.
option(QUARN_DEBIAN_PACKAGES "Lay the installation out for Debian packages" OFF)
if(NOT QUARN_DEBIAN_PACKAGES)
    return()
endif()
if(NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr")
    message(FATAL_ERROR "Debian packages are laid out for the prefix /usr, not for ${CMAKE_INSTALL_PREFIX}.")
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_COMPONENTS_ALL programs development client)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_SET_DESTDIR ON) # the dictionaries' folder is an absolute path
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/debian/compress_documents.cmake)

set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each package has a first line of its own
set(CPACK_PACKAGE_CONTACT "Vornhelm <quarn@vornhelm.example>")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_PROGRAMS_PACKAGE_NAME authprobe)
set(CPACK_DEBIAN_PROGRAMS_PACKAGE_SECTION net)
set(CPACK_DEBIAN_PROGRAMS_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PROGRAMS_DESCRIPTION "One-shot RADIUS test client
authprobe asks a RADIUS server whether a user gets in, with PAP, CHAP, MS-CHAP,
MS-CHAPv2 or MAC authentication, and tells what came back and why not: one
command, one Access-Request, one verdict, one exit status.
.
The dictionaries that give attributes their names are in
/opt/quarn/share/quarn/radius; quarn-radius works with them.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libquarn-radius-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
# What the static library is linked with. The dictionaries come with the programs.
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libssl-dev (>= 3.0), libyaml-cpp-dev")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_RECOMMENDS authprobe)
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "RADIUS library for C++20, for development
A library that encodes, decodes and validates the RADIUS packets of the access,
accounting, status, disconnect and change-of-authorisation exchanges, by
dictionaries in YAML.
.
This package has the headers, the static library, a package for CMake's
find_package(quarn-radius) and quarn-radius.pc for pkg-config.")

set(CPACK_DEBIAN_CLIENT_PACKAGE_NAME libquarn-radius-client-dev)
set(CPACK_DEBIAN_CLIENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_CLIENT_PACKAGE_DEPENDS
    "libquarn-radius-dev (= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")
set(CPACK_DEBIAN_CLIENT_DESCRIPTION "RADIUS client library for C++20, for development
A library that sends RADIUS requests, waits for their replies, and verifies and
decodes these in one step.
.
This package has the headers, the static library, what find_package(quarn-radius
COMPONENTS client) wants, and quarn-radius-client.pc for pkg-config.")

# What Debian wants to find in every package.
string(TIMESTAMP QUARN_CHANGELOG_DATE "%a, %d %b %Y %H:%M:%S +0000" UTC) # SOURCE_DATE_EPOCH, if that is set
file(READ NOTICE QUARN_NOTICE)
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
    string(TOUPPER ${component} component_upper)
    set(package ${CPACK_DEBIAN_${component_upper}_PACKAGE_NAME})
    set(folder ${PROJECT_BINARY_DIR}/debian/${package})
    foreach(file IN ITEMS changelog.Debian copyright)
        configure_file(cmake/debian/${file}.in ${folder}/${file} @ONLY)
    endforeach()
    set(destination ${CMAKE_INSTALL_DATADIR}/doc/${package})
    install(FILES ${folder}/changelog.Debian ${folder}/copyright DESTINATION ${destination} COMPONENT ${component})
    install(FILES CHANGELOG.md RENAME changelog DESTINATION ${destination} COMPONENT ${component})
    install(FILES cmake/debian/${package}.lintian-overrides RENAME ${package}
        DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides COMPONENT ${component})
endforeach()

include(CPack)
