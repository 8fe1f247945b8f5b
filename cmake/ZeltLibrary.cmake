include(GenerateExportHeader)
include(CMakePackageConfigHelpers)

# Where the framework's headers, libraries and package files go: headers under include/zelt
# keep the folder names that sources include ("measure/measureinst.h").
set(ZELT_INSTALL_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR}/zelt)
set(ZELT_INSTALL_CMAKEDIR ${CMAKE_INSTALL_LIBDIR}/cmake/Zelt)

# zelt_add_library(<target> <prefix> [STATIC] SOURCES <files...>)
# A framework library: shared, versioned with the project, only what its headers mark with
# <TARGET>_EXPORT visible, installed with its headers and export header in the Zelt export set
# as Zelt::<prefix>. With STATIC, a part that a plug-in links in: position-independent and
# hidden as well, never installed.
function(zelt_add_library target prefix)
    cmake_parse_arguments(ARG "STATIC" "" "SOURCES" ${ARGN})
    if(ARG_STATIC)
        add_library(${target} STATIC ${ARG_SOURCES})
    else()
        add_library(${target} SHARED ${ARG_SOURCES})
    endif()
    set_target_properties(${target} PROPERTIES
        POSITION_INDEPENDENT_CODE ON
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON)
    zelt_export_headers(${target} ${prefix})
    if(ARG_STATIC)
        return()
    endif()

    set(export_root ${CMAKE_BINARY_DIR}/exports/${target})
    string(TOUPPER ${target} base)
    generate_export_header(${target} BASE_NAME ${base}
        EXPORT_FILE_NAME ${export_root}/${prefix}/${target}_export.h)
    target_include_directories(${target} PUBLIC
        $<BUILD_INTERFACE:${export_root}>
        $<INSTALL_INTERFACE:${ZELT_INSTALL_INCLUDEDIR}>)
    set_target_properties(${target} PROPERTIES
        VERSION ${PROJECT_VERSION}
        SOVERSION ${PROJECT_VERSION_MAJOR}
        EXPORT_NAME ${prefix}
        INSTALL_RPATH "$ORIGIN")
    install(TARGETS ${target} EXPORT ZeltTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} NAMELINK_COMPONENT Development)
    zelt_install_headers(${prefix} ${ARG_SOURCES})
    install(FILES ${export_root}/${prefix}/${target}_export.h
        DESTINATION ${ZELT_INSTALL_INCLUDEDIR}/${prefix} COMPONENT Development)
endfunction()

# zelt_install_headers(<prefix> <files...>): the headers among files, each in its subfolder.
function(zelt_install_headers prefix)
    foreach(file IN LISTS ARGN)
        if(file MATCHES "\\.h$")
            get_filename_component(subfolder ${file} DIRECTORY)
            install(FILES ${file} DESTINATION ${ZELT_INSTALL_INCLUDEDIR}/${prefix}/${subfolder}
                COMPONENT Development)
        endif()
    endforeach()
endfunction()

# zelt_install_package(): ZeltConfig.cmake and its version file, so that a plug-in of another
# family builds against the installed framework with find_package(Zelt).
function(zelt_install_package)
    install(EXPORT ZeltTargets NAMESPACE Zelt:: DESTINATION ${ZELT_INSTALL_CMAKEDIR}
        COMPONENT Development)
    write_basic_package_version_file(${CMAKE_BINARY_DIR}/ZeltConfigVersion.cmake
        VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)
    install(FILES
        ${PROJECT_SOURCE_DIR}/cmake/ZeltConfig.cmake
        ${PROJECT_SOURCE_DIR}/cmake/ZeltPlugin.cmake
        ${CMAKE_BINARY_DIR}/ZeltConfigVersion.cmake
        DESTINATION ${ZELT_INSTALL_CMAKEDIR} COMPONENT Development)
endfunction()
