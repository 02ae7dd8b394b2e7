include(GoogleTest)

# qn_add_test(<name> SOURCES a.cpp … [LIBRARIES lib …] [LABELS label …] [RUN_ALONE_ON resource])
#
# A GoogleTest program; ctest runs each of its cases in a process of its own, so that process-wide slots are fresh.
# The label `threads` puts its cases into the ThreadSanitizer run. Of the cases that name the same resource to run alone
# on, such as the display with its one keyboard, one runs at a time.
function(qn_add_test name)
    cmake_parse_arguments(ARG "" "RUN_ALONE_ON" "SOURCES;LIBRARIES;LABELS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE project_flags ${ARG_LIBRARIES} GTest::gmock)
    # Tests are compiled often and run for milliseconds.
    target_compile_options(${name} PRIVATE -O0 -g1)
    if("test_main" IN_LIST ARG_LIBRARIES OR "test_main_console" IN_LIST ARG_LIBRARIES)
        target_precompile_headers(${name} REUSE_FROM test_headers)
    endif()
    gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST
                         PROPERTIES TIMEOUT 120 LABELS "${ARG_LABELS}" RESOURCE_LOCK "${ARG_RUN_ALONE_ON}")
endfunction()
