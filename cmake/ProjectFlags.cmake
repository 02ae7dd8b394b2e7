# What every target of the repository shares; included by each project that can be configured alone.
include_guard(GLOBAL)

option(QN_WARNINGS_AS_ERRORS "Fail the build on a warning" OFF)
set(QN_SANITIZE "" CACHE STRING "Value for -fsanitize=, empty for none")

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)

find_program(CCACHE ccache)
if(CCACHE)
    set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE})
    set(CMAKE_OBJCXX_COMPILER_LAUNCHER ${CCACHE})
endif()

# One interface target carries the flags of every target. Includes are written from the top of the repository.
add_library(project_flags INTERFACE)
target_compile_features(project_flags INTERFACE cxx_std_20)
target_include_directories(project_flags INTERFACE ${CMAKE_CURRENT_LIST_DIR}/..)
target_compile_options(project_flags INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor
                                               -Wsuggest-override $<$<BOOL:${QN_WARNINGS_AS_ERRORS}>:-Werror>)
# A macro of Qt that turns its keywords into words of the global namespace is not wanted in any file.
target_compile_definitions(project_flags INTERFACE QT_NO_KEYWORDS QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII)

if(QN_SANITIZE)
    # g++ 12 takes the instrumented moves of std::optional for reads of what was never written.
    target_compile_options(project_flags INTERFACE -fsanitize=${QN_SANITIZE} -fno-omit-frame-pointer
                                                   -fno-sanitize-recover=all -Wno-maybe-uninitialized)
    target_link_options(project_flags INTERFACE -fsanitize=${QN_SANITIZE})
endif()
