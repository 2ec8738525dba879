/* cmpidt.h: the data types of the Common Manageability Programming Interface.
 *
 * CMPI_VERSION (100, 200 or 210), set before the include, picks the version of the interface; the
 * newest is taken when it is not set. A newer version only appends members, so a provider made for
 * 100 runs under every broker. */
#ifndef _CMPIDT_H_
#define _CMPIDT_H_

#include <cmpios.h>

#define CMPIVersion100 100
#define CMPIVersion200 200
#define CMPIVersion210 210

/* Older sources choose the version with CMPI_VER_100, CMPI_VER_200 or CMPI_VER_ALL instead. */
#if !defined(CMPI_VERSION)
#if defined(CMPI_VER_ALL) || defined(CMPI_VER_210)
#define CMPI_VERSION CMPIVersion210
#elif defined(CMPI_VER_200)
#define CMPI_VERSION CMPIVersion200
#elif defined(CMPI_VER_100)
#define CMPI_VERSION CMPIVersion100
#else
#define CMPI_VERSION CMPIVersion210
#endif
#endif

#undef CMPI_VER_100
#undef CMPI_VER_200
#undef CMPI_VER_210
#if CMPI_VERSION == CMPIVersion100
#define CMPI_VER_100
#elif CMPI_VERSION == CMPIVersion200
#define CMPI_VER_100
#define CMPI_VER_200
#elif CMPI_VERSION == CMPIVersion210
#define CMPI_VER_100
#define CMPI_VER_200
#define CMPI_VER_210
#else
#error "CMPI: CMPI_VERSION is 100, 200 or 210"
#endif

#define CMPICurrentVersion CMPI_VERSION

#ifdef __cplusplus
extern "C" {
#endif

/* Scalars. */
typedef unsigned char CMPIBoolean;
typedef unsigned short CMPIChar16;
typedef unsigned char CMPIUint8;
typedef unsigned short CMPIUint16;
typedef unsigned int CMPIUint32;
typedef unsigned long long CMPIUint64;
typedef signed char CMPISint8;
typedef short CMPISint16;
typedef int CMPISint32;
typedef long long CMPISint64;
typedef float CMPIReal32;
typedef double CMPIReal64;

typedef unsigned int CMPICount;
typedef unsigned int CMPIFlags;
typedef unsigned short CMPIType;
typedef unsigned short CMPIValueState;
typedef int CMPIVersion;
typedef void *CMPIMsgFileHandle;
typedef CMPI_THREAD_RETURN(CMPI_THREAD_CDECL *CMPIThreadFunc)(void *);

/* Codes of four bytes that a provider passes on to the broker's log, trace and error services. */
typedef unsigned int CMPISeverity;
typedef unsigned int CMPILevel;
#ifdef CMPI_VER_200
typedef unsigned int CMPIErrorSeverity;
typedef unsigned int CMPIErrorProbableCause;
#endif
#ifdef CMPI_VER_210
typedef int CMPICodepageID;
#endif

/* The broker and the objects that it hands out; their function tables are in cmpift.h. */
typedef struct _CMPIBroker CMPIBroker;
typedef struct _CMPIContext CMPIContext;
typedef struct _CMPIResult CMPIResult;
typedef struct _CMPIString CMPIString;
typedef struct _CMPIArray CMPIArray;
typedef struct _CMPIEnumeration CMPIEnumeration;
typedef struct _CMPIInstance CMPIInstance;
typedef struct _CMPIObjectPath CMPIObjectPath;
typedef struct _CMPIArgs CMPIArgs;
typedef struct _CMPIDateTime CMPIDateTime;
typedef struct _CMPISelectExp CMPISelectExp;
#ifdef CMPI_VER_200
typedef struct _CMPIError CMPIError;
#endif
#ifdef CMPI_VER_210
typedef struct _CMPIPropertyList CMPIPropertyList;
typedef struct _CMPIEnumerationFilter CMPIEnumerationFilter;
#endif

/* Kinds of value (CMPIType). */
#define CMPI_null 0x0000
#define CMPI_boolean 0x0002
#define CMPI_char16 0x0003
#define CMPI_real32 0x0008
#define CMPI_real64 0x000c
#define CMPI_uint8 0x0080
#define CMPI_uint16 0x0090
#define CMPI_uint32 0x00a0
#define CMPI_uint64 0x00b0
#define CMPI_sint8 0x00c0
#define CMPI_sint16 0x00d0
#define CMPI_sint32 0x00e0
#define CMPI_sint64 0x00f0
#define CMPI_instance 0x1000
#define CMPI_ref 0x1100
#define CMPI_args 0x1200
#define CMPI_class 0x1300
#define CMPI_filter 0x1400
#define CMPI_enumeration 0x1500
#define CMPI_string 0x1600
#define CMPI_chars 0x1700
#define CMPI_dateTime 0x1800
#define CMPI_ptr 0x1900
#define CMPI_charsptr 0x1a00
#define CMPI_ARRAY 0x2000 /* or-ed to the kind of the elements */

/* States of a value (CMPIValueState), or-ed. */
#define CMPI_goodValue 0x0000
#define CMPI_nullValue 0x0100
#define CMPI_keyValue 0x0200
#define CMPI_notFound 0x0400
#define CMPI_badValue 0x8000

/* What a request asks for (CMPIFlags), or-ed. */
#define CMPI_FLAG_LocalOnly 1
#define CMPI_FLAG_DeepInheritance 2
#define CMPI_FLAG_IncludeQualifiers 4
#define CMPI_FLAG_IncludeClassOrigin 8

typedef enum _CMPIrc {
  CMPI_RC_OK = 0,
  CMPI_RC_ERR_FAILED = 1,
  CMPI_RC_ERR_ACCESS_DENIED = 2,
  CMPI_RC_ERR_INVALID_NAMESPACE = 3,
  CMPI_RC_ERR_INVALID_PARAMETER = 4,
  CMPI_RC_ERR_INVALID_CLASS = 5,
  CMPI_RC_ERR_NOT_FOUND = 6,
  CMPI_RC_ERR_NOT_SUPPORTED = 7,
  CMPI_RC_ERR_CLASS_HAS_CHILDREN = 8,
  CMPI_RC_ERR_CLASS_HAS_INSTANCES = 9,
  CMPI_RC_ERR_INVALID_SUPERCLASS = 10,
  CMPI_RC_ERR_ALREADY_EXISTS = 11,
  CMPI_RC_ERR_NO_SUCH_PROPERTY = 12,
  CMPI_RC_ERR_TYPE_MISMATCH = 13,
  CMPI_RC_ERR_QUERY_LANGUAGE_NOT_SUPPORTED = 14,
  CMPI_RC_ERR_INVALID_QUERY = 15,
  CMPI_RC_ERR_METHOD_NOT_AVAILABLE = 16,
  CMPI_RC_ERR_METHOD_NOT_FOUND = 17,
#ifdef CMPI_VER_210
  CMPI_RC_NO_MORE_ELEMENTS = 18,
  CMPI_RC_ERR_SERVER_LIMITS_EXCEEDED = 27,
  CMPI_RC_ERR_QUERY_FEATURE_NOT_SUPPORTED = 29,
#endif
  CMPI_RC_DO_NOT_UNLOAD = 50,
  CMPI_RC_NEVER_UNLOAD = 51,
  CMPI_RC_ERR_INVALID_HANDLE = 60,
  CMPI_RC_ERR_INVALID_DATA_TYPE = 61,
#ifdef CMPI_VER_210
  CMPI_RC_ERR_NOT_IN_CODEPAGE = 62,
#endif
  CMPI_RC_ERROR_SYSTEM = 100,
  CMPI_RC_ERROR = 200
} CMPIrc;

typedef struct _CMPIStatus {
  CMPIrc rc;
  CMPIString *msg;
} CMPIStatus;

typedef struct _CMPIValuePtr {
  void *ptr;
  CMPICount length;
} CMPIValuePtr;

typedef union _CMPIValue {
  CMPIBoolean boolean;
  CMPIChar16 char16;
  CMPIUint8 uint8;
  CMPIUint16 uint16;
  CMPIUint32 uint32;
  CMPIUint64 uint64;
  CMPISint8 sint8;
  CMPISint16 sint16;
  CMPISint32 sint32;
  CMPISint64 sint64;
  CMPIReal32 real32;
  CMPIReal64 real64;

  CMPIInstance *inst;
  CMPIObjectPath *ref;
  CMPIArgs *args;
  CMPISelectExp *filter;
  CMPIEnumeration *Enum;
  CMPIArray *array;
  CMPIString *string;
  char *chars;
  CMPIDateTime *dateTime;
  CMPIValuePtr dataPtr;

  CMPISint8 Byte;
  CMPISint16 Short;
  CMPISint32 Int;
  CMPISint64 Long;
  CMPIReal32 Float;
  CMPIReal64 Double;
} CMPIValue;

typedef struct _CMPIData {
  CMPIType type;
  CMPIValueState state;
  CMPIValue value;
} CMPIData;

#ifdef __cplusplus
}
#endif

#endif /* _CMPIDT_H_ */
