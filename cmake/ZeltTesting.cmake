# zelt_unoptimised_in_checked_builds(): the suites, benchmarks and their support code of the
# calling folder are compiled without optimisation, and with full debug information, in a Debug
# tree. They are half of the checked tree's compile time at -O1; the product's code keeps its
# flags, and with them the warnings that only the optimiser finds. (The checked tree gives the
# product line tables only, -g1: at -O1 a debugger shows few of its locals anyway, and the
# sanitizers' reports need no more than lines.)
function(zelt_unoptimised_in_checked_builds)
    add_compile_options($<$<CONFIG:Debug>:-O0> $<$<CONFIG:Debug>:-g>)
endfunction()

# zelt_add_test(<subject> SOURCES <files...> LIBS <targets...>)
# Builds tst_<subject> and registers it with CTest. Every suite runs offscreen,
# with its own configuration folders, and a sanitizer report ends it with failure
# (scripts/run-suite.sh says when the leak checker's own failure runs it again).
function(zelt_add_test subject)
    cmake_parse_arguments(ARG "" "TIMEOUT" "SOURCES;LIBS" ${ARGN})
    set(target tst_${subject})
    qt_add_executable(${target} ${ARG_SOURCES})
    target_link_libraries(${target} PRIVATE Qt6::Test ${ARG_LIBS})
    add_test(NAME ${subject} COMMAND bash ${PROJECT_SOURCE_DIR}/scripts/run-suite.sh $<TARGET_FILE:${target}>)
    if(NOT ARG_TIMEOUT)
        set(ARG_TIMEOUT 120)
    endif()
    set(sandbox ${CMAKE_BINARY_DIR}/test-home/${subject})
    set_tests_properties(${subject} PROPERTIES
        TIMEOUT ${ARG_TIMEOUT}
        ENVIRONMENT "QT_QPA_PLATFORM=offscreen;XDG_CONFIG_HOME=${sandbox}/config;XDG_DATA_HOME=${sandbox}/data;XDG_CACHE_HOME=${sandbox}/cache;XDG_RUNTIME_DIR=${sandbox}/runtime;ASAN_OPTIONS=detect_leaks=1:abort_on_error=0:halt_on_error=1:detect_stack_use_after_return=0;UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1;LSAN_OPTIONS=suppressions=${PROJECT_SOURCE_DIR}/scripts/lsan.supp:print_suppressions=0")
endfunction()

# zelt_add_bench(<subject> SOURCES <files...> LIBS <targets...>): bench_<subject>, never a CTest test.
function(zelt_add_bench subject)
    cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
    qt_add_executable(bench_${subject} ${ARG_SOURCES})
    target_link_libraries(bench_${subject} PRIVATE ${ARG_LIBS})
endfunction()
