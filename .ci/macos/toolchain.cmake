# macOS as far as Debian can stand for it: clang and lld, and the folder that make_sysroot.py laid out. One architecture,
# from QN_MACOS_ARCHITECTURE (arm64, x86_64); the deployment target is the project's.
set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_PROCESSOR ${QN_MACOS_ARCHITECTURE})
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES QN_MACOS_ARCHITECTURE QN_MACOS_SYSROOT)

set(CMAKE_CXX_COMPILER /usr/bin/clang++-14)
set(CMAKE_OBJCXX_COMPILER /usr/bin/clang++-14)
set(CMAKE_CXX_COMPILER_TARGET ${QN_MACOS_ARCHITECTURE}-apple-macos)
set(CMAKE_OBJCXX_COMPILER_TARGET ${QN_MACOS_ARCHITECTURE}-apple-macos)
set(CMAKE_OSX_SYSROOT ${QN_MACOS_SYSROOT} CACHE PATH "")
set(llvm /usr/lib/llvm-14/bin)
set(CMAKE_AR ${llvm}/llvm-ar CACHE FILEPATH "")
set(CMAKE_RANLIB ${llvm}/llvm-ranlib CACHE FILEPATH "")
set(CMAKE_INSTALL_NAME_TOOL ${llvm}/llvm-install-name-tool CACHE FILEPATH "")

# libc++'s headers are the folder's own, and clang's own before them all.
string(CONCAT flags "-stdlib=libc++ -nostdinc++ -isystem ${QN_MACOS_SYSROOT}/usr/include/c++/v1 "
                    "-Wundeclared-selector -Wno-unused-command-line-argument")
set(CMAKE_CXX_FLAGS_INIT ${flags})
set(CMAKE_OBJCXX_FLAGS_INIT ${flags})
set(CMAKE_EXE_LINKER_FLAGS_INIT "-Wl,--error-limit=0 --ld-path=${llvm}/ld64.lld -mlinker-version=609 -L${QN_MACOS_SYSROOT}/usr/lib")
set(CMAKE_MODULE_LINKER_FLAGS_INIT ${CMAKE_EXE_LINKER_FLAGS_INIT})
set(CMAKE_SHARED_LINKER_FLAGS_INIT ${CMAKE_EXE_LINKER_FLAGS_INIT})

# Qt is ours; what the tests need, and programs, may be the host's: they are not linked.
set(CMAKE_FIND_ROOT_PATH ${QN_MACOS_SYSROOT})
set(CMAKE_FRAMEWORK_PATH ${QN_MACOS_SYSROOT}/System/Library/Frameworks)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY BOTH)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE BOTH)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE BOTH)
set(Qt6_DIR ${CMAKE_CURRENT_LIST_DIR}/packages CACHE PATH "")
set(nlohmann_json_DIR ${CMAKE_CURRENT_LIST_DIR}/packages CACHE PATH "")
set(CMAKE_PREFIX_PATH /usr/lib/x86_64-linux-gnu) # GoogleTest's package
