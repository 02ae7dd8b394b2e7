# One interface target carries the flags of every target of the project.
add_library(project_flags INTERFACE)
target_compile_features(project_flags INTERFACE cxx_std_20)
target_include_directories(project_flags INTERFACE ${PROJECT_SOURCE_DIR})
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
