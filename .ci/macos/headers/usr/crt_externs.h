#pragma once
#ifdef __cplusplus
extern "C" {
#endif
char*** _NSGetArgv(void);
int* _NSGetArgc(void);
char*** _NSGetEnviron(void);
#ifdef __cplusplus
}
#endif
