include(GoogleTest)

# qn_add_test(<name> SOURCES a.cpp … [LIBRARIES lib …] [LABELS label …])
#
# A GoogleTest program; ctest runs each of its cases in a process of its own, so that process-wide slots are fresh.
# The label `threads` puts its cases into the ThreadSanitizer run.
function(qn_add_test name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LIBRARIES;LABELS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE project_flags ${ARG_LIBRARIES} GTest::gmock)
    gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST
                         PROPERTIES TIMEOUT 120 LABELS "${ARG_LABELS}")
endfunction()
