# zelt_add_plugin(<target> [SOURCES <files...>] [LIBS <targets...>])
# A plug-in module that the host loads by file from <libdir>/zelt/plugins. Only the entry points
# of Q_PLUGIN_METADATA are visible; it finds the framework libraries two folders up once
# installed. Part of the installed Zelt package as well, for plug-ins built elsewhere.
function(zelt_add_plugin target)
    cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
    include(GNUInstallDirs)
    add_library(${target} MODULE ${ARG_SOURCES})
    target_link_libraries(${target} PRIVATE ${ARG_LIBS})
    if(NOT ZELT_PLUGIN_OUTPUT_DIRECTORY)
        set(ZELT_PLUGIN_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib/zelt/plugins)
    endif()
    set_target_properties(${target} PROPERTIES
        LIBRARY_OUTPUT_DIRECTORY ${ZELT_PLUGIN_OUTPUT_DIRECTORY}
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON
        INSTALL_RPATH "$ORIGIN/../..")
    install(TARGETS ${target} LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/zelt/plugins)
endfunction()
