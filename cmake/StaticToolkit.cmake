# Included when $QN_TOOLKIT names a folder of static libraries that tools/release/toolkit.py made: links everything but
# glibc into the programs. What is found here is found before what the system has, archives before shared libraries.
list(PREPEND CMAKE_PREFIX_PATH ${QN_TOOLKIT})
set(ENV{PKG_CONFIG_PATH} ${QN_TOOLKIT}/lib/pkgconfig)
set(CMAKE_FIND_LIBRARY_SUFFIXES .a .so)

# Of glibc only what is shared.
foreach(module PLIST XCB FONTCONFIG BROTLI DEFLATE FUSE3 BFIO FSAPFS NETTLE UTF8PROC)
    foreach(part c dl m pthread rt)
        set(pkgcfg_lib_${module}_${part} ${part} CACHE INTERNAL "")
    endforeach()
endforeach()

# What archives need of each other, of which neither they nor their packages tell. Put behind everything else.
set(CMAKE_CXX_STANDARD_LIBRARIES "-Wl,--start-group \
-l:libxcb-util.a -l:libxcb.a -l:libXau.a -l:libXdmcp.a -l:libexpat.a -l:libfreetype.a -l:libpng16.a -l:libz.a -l:libbrotlidec.a -l:libbrotlicommon.a \
-Wl,--end-group")

set(CMAKE_CXX_FLAGS_RELEASE "-O2 -DNDEBUG -ffunction-sections -fdata-sections -ffile-prefix-map=${CMAKE_SOURCE_DIR}=. \
-ffile-prefix-map=${CMAKE_BINARY_DIR}=build -ffile-prefix-map=${QN_TOOLKIT}=toolkit")
# Relative relocations in their packed form, which glibc 2.36 understands, and no symbols.
set(CMAKE_EXE_LINKER_FLAGS "-static-libstdc++ -static-libgcc -Wl,--gc-sections -Wl,-z,relro,-z,now \
-Wl,-z,pack-relative-relocs -Wl,--build-id=none -Wl,-s")
set(CMAKE_MODULE_LINKER_FLAGS "${CMAKE_EXE_LINKER_FLAGS}")
# Tells tools/release/contents.py which archives something was taken from.
add_link_options("LINKER:-Map=${CMAKE_BINARY_DIR}/$<TARGET_PROPERTY:NAME>.map")
