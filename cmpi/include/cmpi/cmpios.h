/* cmpios.h: what CMPI takes from the operating system. */
#ifndef _CMPIOS_H_
#define _CMPIOS_H_

#include <cmpipl.h>

#define CMPI_THREAD_TYPE void *
#define CMPI_THREAD_RETURN void *
#define CMPI_THREAD_KEY_TYPE unsigned int
#define CMPI_MUTEX_TYPE void *
#define CMPI_COND_TYPE void *
#define CMPI_THREAD_CDECL

#define CMPI_EXPORT __attribute__((visibility("default")))

#ifdef __cplusplus
#define CMPI_EXTERN_C extern "C"
#else
#define CMPI_EXTERN_C extern
#endif

#endif /* _CMPIOS_H_ */
