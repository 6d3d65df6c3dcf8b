# quarn_set_up_shared_library(<target> <static>): what a shared library has in common with the static one of the same
# layer: its headers, its file name, and a version. It shows the public interface alone.
function(quarn_set_up_shared_library target static)
    get_target_property(name ${static} OUTPUT_NAME)
    get_target_property(exported ${static} EXPORT_NAME)
    target_include_directories(${target} INTERFACE $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
    target_compile_features(${target} INTERFACE cxx_std_20)
    target_link_libraries(${target} PRIVATE $<BUILD_INTERFACE:quarn_compiler_options>)
    set(public_symbols ${PROJECT_SOURCE_DIR}/cmake/public-symbols.map)
    target_link_options(${target} PRIVATE -Wl,--version-script=${public_symbols})
    set_target_properties(${target} PROPERTIES
        OUTPUT_NAME ${name}
        EXPORT_NAME ${exported}
        LINKER_LANGUAGE CXX
        LINK_DEPENDS ${public_symbols}
        VERSION ${PROJECT_VERSION}
        SOVERSION ${PROJECT_VERSION_MAJOR})
endfunction()
