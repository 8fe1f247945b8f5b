# Most sources spend more time reading Qt's headers than compiling their own lines. Three
# targets precompile those headers, once each: one compiled as the libraries and plug-ins are
# (position-independent, hidden symbols), one as the executables and the static libraries they
# link, one as the unoptimised suites and benchmarks. Every other target reuses the matching one;
# GCC's -Winvalid-pch, an error in a checked tree, says so when a target's flags stop matching.
option(ZELT_PRECOMPILE_HEADERS "Precompile the Qt headers that most sources include" ON)

# QtCore only: the headers of another module change what a target that does not link it means
# (<QApplication> makes qApp a QApplication, a cast that UBSan checks against QApplication's
# type information).
set(zelt_pch_headers
    <QByteArray> <QCoreApplication> <QDateTime> <QDir> <QElapsedTimer> <QFile> <QFileInfo>
    <QHash> <QList> <QMetaType> <QObject> <QPointer> <QSettings> <QSharedPointer> <QString>
    <QStringList> <QTemporaryDir> <QThread> <QTimer> <QVariant>)

# zelt_precompile_donor(<name> <Qt targets...>): an object library that only precompiles the
# headers. It takes the include folders of the Qt modules but not their macros: GCC rejects a
# precompiled header made with a macro that a target does not define or defines otherwise, and
# the targets link different modules (Qt Test even defines a folder of each suite's own, which
# is why qtest.h is not precompiled).
function(zelt_precompile_donor name)
    set(source ${CMAKE_BINARY_DIR}/${name}.cpp)
    if(NOT EXISTS ${source})
        file(WRITE ${source} "// Only precompiles the headers that other targets reuse.\n")
    endif()
    add_library(${name} OBJECT ${source})
    foreach(module IN LISTS ARGN)
        target_include_directories(${name} SYSTEM PRIVATE
            $<TARGET_PROPERTY:${module},INTERFACE_INCLUDE_DIRECTORIES>)
    endforeach()
    # Except the one that every target linking Qt gets in an optimised build.
    target_compile_definitions(${name} PRIVATE $<$<NOT:$<CONFIG:Debug>>:QT_NO_DEBUG>)
    # Qt's targets make everything that links them position-independent.
    set_target_properties(${name} PROPERTIES
        POSITION_INDEPENDENT_CODE ON AUTOMOC OFF AUTOUIC OFF AUTORCC OFF)
endfunction()

# zelt_precompile_headers(<folders...>): every C++ target defined in folders (recursively)
# reuses the precompiled headers that match how it is compiled.
function(zelt_precompile_headers)
    if(NOT ZELT_PRECOMPILE_HEADERS)
        return()
    endif()
    set(modules Qt6::Core)
    zelt_precompile_donor(zelt_pch_library ${modules})
    set_target_properties(zelt_pch_library PROPERTIES
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON)
    target_precompile_headers(zelt_pch_library PRIVATE ${zelt_pch_headers})

    zelt_precompile_donor(zelt_pch_executable ${modules})
    target_precompile_headers(zelt_pch_executable PRIVATE ${zelt_pch_headers})

    # For the code that zelt_unoptimised_in_checked_builds() compiles without optimisation.
    zelt_precompile_donor(zelt_pch_unoptimised ${modules})
    target_precompile_headers(zelt_pch_unoptimised PRIVATE ${zelt_pch_headers})
    target_compile_options(zelt_pch_unoptimised PRIVATE $<$<CONFIG:Debug>:-O0> $<$<CONFIG:Debug>:-g>)
    # The same for those that link Qt Widgets: the suites include the whole module, which is
    # most of their compile time. Not Qt Test: qtest.h tests a macro that each suite sets itself.
    zelt_precompile_donor(zelt_pch_unoptimised_widgets Qt6::Core Qt6::Gui Qt6::Widgets)
    target_precompile_headers(zelt_pch_unoptimised_widgets PRIVATE ${zelt_pch_headers} <QtWidgets>)
    target_compile_options(zelt_pch_unoptimised_widgets PRIVATE $<$<CONFIG:Debug>:-O0> $<$<CONFIG:Debug>:-g>)

    foreach(folder IN LISTS ARGN)
        zelt_precompile_folder(${folder})
    endforeach()
endfunction()

function(zelt_precompile_folder folder)
    get_directory_property(targets DIRECTORY ${folder} BUILDSYSTEM_TARGETS)
    foreach(target IN LISTS targets)
        get_target_property(type ${target} TYPE)
        get_target_property(visibility ${target} CXX_VISIBILITY_PRESET)
        get_target_property(links ${target} LINK_LIBRARIES)
        get_target_property(options ${target} COMPILE_OPTIONS)
        if(target MATCHES "^zelt_pch_" OR NOT links MATCHES "Qt6::|zelt_|kvr9000_")
            # The precompiling targets, and plain C++ such as the stand-in VISA library.
            continue()
        elseif(options MATCHES "-O0")
            zelt_links_widgets(${target} widgets)
            if(widgets)
                target_precompile_headers(${target} REUSE_FROM zelt_pch_unoptimised_widgets)
            else()
                target_precompile_headers(${target} REUSE_FROM zelt_pch_unoptimised)
            endif()
        elseif(visibility STREQUAL "hidden")
            target_precompile_headers(${target} REUSE_FROM zelt_pch_library)
        elseif(type MATCHES "EXECUTABLE|STATIC_LIBRARY")
            target_precompile_headers(${target} REUSE_FROM zelt_pch_executable)
        endif()
    endforeach()
    get_directory_property(subfolders DIRECTORY ${folder} SUBDIRECTORIES)
    foreach(subfolder IN LISTS subfolders)
        zelt_precompile_folder(${subfolder})
    endforeach()
endfunction()

# zelt_links_widgets(<target> <out>): whether target links Qt Widgets, itself or through the
# project's libraries. A source that does not may not see <QApplication>: it turns qApp into
# a QApplication, a cast that UBSan checks against type information such a target lacks.
function(zelt_links_widgets target out)
    set(${out} FALSE PARENT_SCOPE)
    set(pending ${target})
    set(seen)
    while(pending)
        list(POP_FRONT pending current)
        if(current STREQUAL "Qt6::Widgets")
            set(${out} TRUE PARENT_SCOPE)
            return()
        endif()
        if(NOT TARGET ${current} OR current IN_LIST seen OR current MATCHES "^Qt6::")
            continue()
        endif()
        list(APPEND seen ${current})
        foreach(property LINK_LIBRARIES INTERFACE_LINK_LIBRARIES)
            get_target_property(links ${current} ${property})
            if(links)
                list(APPEND pending ${links})
            endif()
        endforeach()
    endwhile()
endfunction()
