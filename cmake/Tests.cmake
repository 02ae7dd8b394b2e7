include_guard(GLOBAL)
include(GoogleTest)
find_package(GTest REQUIRED)

# qn_add_test(<name> SOURCES a.cpp … [LIBRARIES lib …] [LABELS label …] [OWN_DISPLAY])
#
# A GoogleTest program; ctest runs each of its cases in a process of its own, so that process-wide slots are fresh.
# The label `threads` puts its cases into the ThreadSanitizer run. With OWN_DISPLAY each case gets an X display to itself:
# keyboard, mouse and pixels belong to one window at a time, and other tests run beside it.
function(qn_add_test name)
    cmake_parse_arguments(ARG "OWN_DISPLAY" "" "SOURCES;LIBRARIES;LABELS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE project_flags ${ARG_LIBRARIES} GTest::gmock)
    # Tests are compiled often and run for milliseconds.
    target_compile_options(${name} PRIVATE -O0 -g1)
    if("test_main" IN_LIST ARG_LIBRARIES OR "test_main_console" IN_LIST ARG_LIBRARIES)
        target_precompile_headers(${name} REUSE_FROM test_headers)
    endif()
    if(ARG_OWN_DISPLAY)
        # What this property names is put before the command of each case.
        set_target_properties(${name} PROPERTIES CROSSCOMPILING_EMULATOR ${CMAKE_SOURCE_DIR}/.ci/with-display)
    endif()
    # A case that another one starts, in a process with another language or scale, is named DISABLED_ and not run alone.
    gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST TEST_FILTER -*.DISABLED_*
                         PROPERTIES TIMEOUT 120 LABELS "${ARG_LABELS}")
endfunction()
