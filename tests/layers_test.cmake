# Fails for an include that points up: tools use radius, radius uses net and utils, and nothing points back.
#
#     cmake -D SOURCE_DIR=<src> -P layers_test.cmake
cmake_minimum_required(VERSION 3.25)

set(utils_may_use utils)
set(net_may_use utils net)
set(radius_may_use utils net radius)
set(tools_may_use utils net radius tools)

set(checked 0)
foreach(layer IN ITEMS utils net radius tools)
    file(GLOB_RECURSE sources ${SOURCE_DIR}/${layer}/*.h ${SOURCE_DIR}/${layer}/*.cc)
    foreach(source IN LISTS sources)
        file(STRINGS ${source} includes REGEX "^#include \"")
        foreach(include IN LISTS includes)
            math(EXPR checked "${checked} + 1")
            if(NOT include MATCHES "^#include \"quarn/([a-z]+)/.*\"$")
                message(SEND_ERROR "${source}: ${include} does not name a layer")
            elseif(NOT CMAKE_MATCH_1 IN_LIST ${layer}_may_use)
                message(SEND_ERROR "${source}: ${layer} must not use ${CMAKE_MATCH_1}: ${include}")
            endif()
        endforeach()
    endforeach()
endforeach()
if(checked EQUAL 0)
    message(FATAL_ERROR "no include found under ${SOURCE_DIR}")
endif()
