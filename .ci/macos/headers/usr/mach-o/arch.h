#pragma once
// arch(3). "NXGetLocalArchInfo" is marked deprecated since macOS 13.
#include <Availability.h>
#include <stdint.h>
#ifdef __cplusplus
extern "C" {
#endif
enum NXByteOrder { NX_UnknownByteOrder, NX_LittleEndian, NX_BigEndian };
typedef struct {
    const char* name;
    int cputype;
    int cpusubtype;
    enum NXByteOrder byteorder;
    const char* description;
} NXArchInfo;
const NXArchInfo* NXGetLocalArchInfo(void) API_DEPRECATED_MACOS("use <mach-o/utils.h>", 10.0, 13.0);
#ifdef __cplusplus
}
#endif
