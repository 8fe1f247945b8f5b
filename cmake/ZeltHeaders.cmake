# zelt_export_headers(<target> <prefix> [PRIVATE] [SOURCE_DIR <dir>])
# Sources name a header by its folder: "driver/mydmm.h", "measure/measureinst.h".
# Each target gets an include root of its own in the build tree that holds one
# link, <prefix>, to the folder of its sources (or SOURCE_DIR), so that exactly
# that folder is reachable through the target and no parent folder with it.
function(zelt_export_headers target prefix)
    cmake_parse_arguments(ARG "PRIVATE" "SOURCE_DIR" "" ${ARGN})
    if(NOT ARG_SOURCE_DIR)
        set(ARG_SOURCE_DIR ${CMAKE_CURRENT_SOURCE_DIR})
    endif()
    get_target_property(type ${target} TYPE)
    if(ARG_PRIVATE)
        set(scope PRIVATE)
    elseif(type STREQUAL "INTERFACE_LIBRARY")
        set(scope INTERFACE)
    else()
        set(scope PUBLIC)
    endif()
    set(include_root ${CMAKE_BINARY_DIR}/include/${target})
    get_filename_component(link_parent ${include_root}/${prefix} DIRECTORY)
    file(MAKE_DIRECTORY ${link_parent})
    file(CREATE_LINK ${ARG_SOURCE_DIR} ${include_root}/${prefix} SYMBOLIC)
    target_include_directories(${target} ${scope} $<BUILD_INTERFACE:${include_root}>)
endfunction()
