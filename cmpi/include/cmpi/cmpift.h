/* cmpift.h: the function tables of the Common Manageability Programming Interface.
 *
 * The broker's tables come first, then those of the objects that it hands out, then those that a
 * provider fills in. `CMPIStatus *rc` arguments may be null. */
#ifndef _CMPIFT_H_
#define _CMPIFT_H_

#include <cmpidt.h>

#include <time.h>

#ifdef __cplusplus
extern "C" {
#endif

/* From 2.1 on nobody but the owner changes a handle or a table; the layout is the same. */
#ifdef CMPI_VER_210
#define CMPI_OWNER_CONST const
#else
#define CMPI_OWNER_CONST
#endif

typedef struct _CMPIBrokerFT CMPIBrokerFT;
typedef struct _CMPIBrokerEncFT CMPIBrokerEncFT;
typedef struct _CMPIBrokerExtFT CMPIBrokerExtFT;
typedef struct _CMPIContextFT CMPIContextFT;
typedef struct _CMPIResultFT CMPIResultFT;
typedef struct _CMPIStringFT CMPIStringFT;
typedef struct _CMPIInstanceFT CMPIInstanceFT;
typedef struct _CMPIObjectPathFT CMPIObjectPathFT;
typedef struct _CMPIDateTimeFT CMPIDateTimeFT;
typedef struct _CMPIInstanceMI CMPIInstanceMI;
typedef struct _CMPIInstanceMIFT CMPIInstanceMIFT;
typedef struct _CMPIIndicationMI CMPIIndicationMI;
typedef struct _CMPIIndicationMIFT CMPIIndicationMIFT;

/* Tables that are only passed around here stay opaque. */
typedef struct _CMPIArrayFT CMPIArrayFT;
typedef struct _CMPIEnumerationFT CMPIEnumerationFT;
typedef struct _CMPIArgsFT CMPIArgsFT;
typedef struct _CMPISelectExpFT CMPISelectExpFT;
#ifdef CMPI_VER_200
typedef struct _CMPIBrokerMemFT CMPIBrokerMemFT;
typedef struct _CMPIErrorFT CMPIErrorFT;
#endif
#ifdef CMPI_VER_210
typedef struct _CMPIPropertyListFT CMPIPropertyListFT;
typedef struct _CMPIEnumerationFilterFT CMPIEnumerationFilterFT;
#endif

/* ---- Objects ------------------------------------------------------------------------------- */

struct _CMPIBroker {
  CMPI_OWNER_CONST void *hdl;
  CMPI_OWNER_CONST CMPIBrokerFT *bft;
  CMPI_OWNER_CONST CMPIBrokerEncFT *eft;
  CMPI_OWNER_CONST CMPIBrokerExtFT *xft;
#ifdef CMPI_VER_200
  CMPI_OWNER_CONST CMPIBrokerMemFT *mft;
#endif
};

struct _CMPIContext {
  CMPI_OWNER_CONST void *hdl;
  CMPI_OWNER_CONST CMPIContextFT *ft;
};

struct _CMPIResult {
  CMPI_OWNER_CONST void *hdl;
  CMPI_OWNER_CONST CMPIResultFT *ft;
};

struct _CMPIString {
  CMPI_OWNER_CONST void *hdl;
  CMPI_OWNER_CONST CMPIStringFT *ft;
};

struct _CMPIArray {
  CMPI_OWNER_CONST void *hdl;
  CMPI_OWNER_CONST CMPIArrayFT *ft;
};

struct _CMPIEnumeration {
  CMPI_OWNER_CONST void *hdl;
  CMPI_OWNER_CONST CMPIEnumerationFT *ft;
};

struct _CMPIInstance {
  CMPI_OWNER_CONST void *hdl;
  CMPI_OWNER_CONST CMPIInstanceFT *ft;
};

struct _CMPIObjectPath {
  CMPI_OWNER_CONST void *hdl;
  CMPI_OWNER_CONST CMPIObjectPathFT *ft;
};

struct _CMPIArgs {
  CMPI_OWNER_CONST void *hdl;
  CMPI_OWNER_CONST CMPIArgsFT *ft;
};

struct _CMPIDateTime {
  CMPI_OWNER_CONST void *hdl;
  CMPI_OWNER_CONST CMPIDateTimeFT *ft;
};

struct _CMPISelectExp {
  CMPI_OWNER_CONST void *hdl;
  CMPI_OWNER_CONST CMPISelectExpFT *ft;
};

#ifdef CMPI_VER_200
struct _CMPIError {
  CMPI_OWNER_CONST void *hdl;
  CMPI_OWNER_CONST CMPIErrorFT *ft;
};
#endif

#ifdef CMPI_VER_210
struct _CMPIPropertyList {
  CMPI_OWNER_CONST void *hdl;
  CMPI_OWNER_CONST CMPIPropertyListFT *ft;
};

struct _CMPIEnumerationFilter {
  CMPI_OWNER_CONST void *hdl;
  CMPI_OWNER_CONST CMPIEnumerationFilterFT *ft;
};
#endif

struct _CMPIInstanceMI {
  CMPI_OWNER_CONST void *hdl;
  CMPI_OWNER_CONST CMPIInstanceMIFT *ft;
};

struct _CMPIIndicationMI {
  CMPI_OWNER_CONST void *hdl;
  CMPI_OWNER_CONST CMPIIndicationMIFT *ft;
};

/* ---- The broker's services ------------------------------------------------------------------ */

/* Threads, indications and requests upwards to the broker. */
struct _CMPIBrokerFT {
  unsigned int brokerCapabilities;
  CMPIVersion brokerVersion;
  const char *brokerName;
  CMPIContext *(*prepareAttachThread)(const CMPIBroker *, const CMPIContext *);
  CMPIStatus (*attachThread)(const CMPIBroker *, const CMPIContext *);
  CMPIStatus (*detachThread)(const CMPIBroker *, const CMPIContext *);
  CMPIStatus (*deliverIndication)(const CMPIBroker *, const CMPIContext *, const char *ns,
                                  const CMPIInstance *ind);
  CMPIEnumeration *(*enumerateInstanceNames)(const CMPIBroker *, const CMPIContext *,
                                             const CMPIObjectPath *, CMPIStatus *rc);
  CMPIInstance *(*getInstance)(const CMPIBroker *, const CMPIContext *, const CMPIObjectPath *,
                               const char **properties, CMPIStatus *rc);
  CMPIObjectPath *(*createInstance)(const CMPIBroker *, const CMPIContext *,
                                    const CMPIObjectPath *, const CMPIInstance *, CMPIStatus *rc);
  CMPIStatus (*modifyInstance)(const CMPIBroker *, const CMPIContext *, const CMPIObjectPath *,
                               const CMPIInstance *, const char **properties);
  CMPIStatus (*deleteInstance)(const CMPIBroker *, const CMPIContext *, const CMPIObjectPath *);
  CMPIEnumeration *(*execQuery)(const CMPIBroker *, const CMPIContext *, const CMPIObjectPath *,
                                const char *query, const char *lang, CMPIStatus *rc);
  CMPIEnumeration *(*enumerateInstances)(const CMPIBroker *, const CMPIContext *,
                                         const CMPIObjectPath *, const char **properties,
                                         CMPIStatus *rc);
  CMPIEnumeration *(*associators)(const CMPIBroker *, const CMPIContext *, const CMPIObjectPath *,
                                  const char *assocClass, const char *resultClass,
                                  const char *role, const char *resultRole,
                                  const char **properties, CMPIStatus *rc);
  CMPIEnumeration *(*associatorNames)(const CMPIBroker *, const CMPIContext *,
                                      const CMPIObjectPath *, const char *assocClass,
                                      const char *resultClass, const char *role,
                                      const char *resultRole, CMPIStatus *rc);
  CMPIEnumeration *(*references)(const CMPIBroker *, const CMPIContext *, const CMPIObjectPath *,
                                 const char *resultClass, const char *role,
                                 const char **properties, CMPIStatus *rc);
  CMPIEnumeration *(*referenceNames)(const CMPIBroker *, const CMPIContext *,
                                     const CMPIObjectPath *, const char *resultClass,
                                     const char *role, CMPIStatus *rc);
  CMPIData (*invokeMethod)(const CMPIBroker *, const CMPIContext *, const CMPIObjectPath *,
                           const char *method, const CMPIArgs *in, CMPIArgs *out, CMPIStatus *rc);
  CMPIStatus (*setProperty)(const CMPIBroker *, const CMPIContext *, const CMPIObjectPath *,
                            const char *name, const CMPIValue *, CMPIType);
  CMPIData (*getProperty)(const CMPIBroker *, const CMPIContext *, const CMPIObjectPath *,
                          const char *name, CMPIStatus *rc);
#ifdef CMPI_VER_210
  CMPIEnumeration *(*enumerateInstancesFiltered)(const CMPIBroker *, const CMPIContext *,
                                                 const CMPIObjectPath *, const char **properties,
                                                 const char *lang, const char *query,
                                                 CMPIStatus *rc);
  CMPIEnumeration *(*associatorsFiltered)(const CMPIBroker *, const CMPIContext *,
                                          const CMPIObjectPath *, const char *assocClass,
                                          const char *resultClass, const char *role,
                                          const char *resultRole, const char **properties,
                                          const char *lang, const char *query, CMPIStatus *rc);
  CMPIEnumeration *(*referencesFiltered)(const CMPIBroker *, const CMPIContext *,
                                         const CMPIObjectPath *, const char *resultClass,
                                         const char *role, const char **properties,
                                         const char *lang, const char *query, CMPIStatus *rc);
#endif
};

/* Makes and examines objects. */
struct _CMPIBrokerEncFT {
  CMPIVersion ftVersion;
  CMPIInstance *(*newInstance)(const CMPIBroker *, const CMPIObjectPath *, CMPIStatus *rc);
  CMPIObjectPath *(*newObjectPath)(const CMPIBroker *, const char *ns, const char *cn,
                                   CMPIStatus *rc);
  CMPIArgs *(*newArgs)(const CMPIBroker *, CMPIStatus *rc);
  CMPIString *(*newString)(const CMPIBroker *, const char *, CMPIStatus *rc);
  CMPIArray *(*newArray)(const CMPIBroker *, CMPICount, CMPIType, CMPIStatus *rc);
  CMPIDateTime *(*newDateTime)(const CMPIBroker *, CMPIStatus *rc);
  CMPIDateTime *(*newDateTimeFromBinary)(const CMPIBroker *, CMPIUint64 microseconds,
                                         CMPIBoolean interval, CMPIStatus *rc);
  CMPIDateTime *(*newDateTimeFromChars)(const CMPIBroker *, const char *, CMPIStatus *rc);
  CMPISelectExp *(*newSelectExp)(const CMPIBroker *, const char *query, const char *lang,
                                 CMPIArray **projection, CMPIStatus *rc);
  CMPIBoolean (*classPathIsA)(const CMPIBroker *, const CMPIObjectPath *, const char *cn,
                              CMPIStatus *rc);
  CMPIString *(*toString)(const CMPIBroker *, const void *object, CMPIStatus *rc);
  CMPIBoolean (*isOfType)(const CMPIBroker *, const void *object, const char *type,
                          CMPIStatus *rc);
  CMPIString *(*getType)(const CMPIBroker *, const void *object, CMPIStatus *rc);
  CMPIString *(*getMessage)(const CMPIBroker *, const char *id, const char *defaultText,
                            CMPIStatus *rc, CMPICount, ...);
  CMPIStatus (*logMessage)(const CMPIBroker *, CMPISeverity, const char *id, const char *text,
                           const CMPIString *);
  CMPIStatus (*trace)(const CMPIBroker *, CMPILevel, const char *component, const char *text,
                      const CMPIString *);
#ifdef CMPI_VER_200
  CMPIError *(*newCMPIError)(const CMPIBroker *, const char *owner, const char *id,
                             const char *text, CMPIErrorSeverity, CMPIErrorProbableCause, CMPIrc,
                             CMPIStatus *rc);
  CMPIStatus (*openMessageFile)(const CMPIBroker *, const char *file, CMPIMsgFileHandle *);
  CMPIStatus (*closeMessageFile)(const CMPIBroker *, CMPIMsgFileHandle);
  CMPIString *(*getMessage2)(const CMPIBroker *, const char *id, CMPIMsgFileHandle,
                             const char *defaultText, CMPIStatus *rc, CMPICount, ...);
#endif
#ifdef CMPI_VER_210
  CMPIPropertyList *(*newPropertyList)(const CMPIBroker *, const char **properties,
                                       CMPIStatus *rc);
  CMPIString *(*newStringCP)(const CMPIBroker *, const char *, CMPICodepageID, CMPIStatus *rc);
  CMPIEnumerationFilter *(*newEnumerationFilter)(const CMPIBroker *, const char *lang,
                                                 const char *query, CMPIStatus *rc);
#endif
};

/* The operating system as the broker presents it. */
struct _CMPIBrokerExtFT {
  CMPIVersion ftVersion;
  char *(*resolveFileName)(const char *library);
  CMPI_THREAD_TYPE (*newThread)(CMPIThreadFunc start, void *parameter, int detached);
  int (*joinThread)(CMPI_THREAD_TYPE, CMPI_THREAD_RETURN *);
  int (*exitThread)(CMPI_THREAD_RETURN);
  int (*cancelThread)(CMPI_THREAD_TYPE);
  int (*threadSleep)(CMPIUint32 milliseconds);
  int (*threadOnce)(int *once, void (*function)(void));
  int (*createThreadKey)(CMPI_THREAD_KEY_TYPE *, void (*cleanup)(void *));
  int (*destroyThreadKey)(CMPI_THREAD_KEY_TYPE);
  void *(*getThreadSpecific)(CMPI_THREAD_KEY_TYPE);
  int (*setThreadSpecific)(CMPI_THREAD_KEY_TYPE, void *);
  CMPI_MUTEX_TYPE (*newMutex)(int option);
  void (*destroyMutex)(CMPI_MUTEX_TYPE);
  void (*lockMutex)(CMPI_MUTEX_TYPE);
  void (*unlockMutex)(CMPI_MUTEX_TYPE);
  CMPI_COND_TYPE (*newCondition)(int option);
  void (*destroyCondition)(CMPI_COND_TYPE);
  int (*condWait)(CMPI_COND_TYPE, CMPI_MUTEX_TYPE);
  int (*timedCondWait)(CMPI_COND_TYPE, CMPI_MUTEX_TYPE, struct timespec *);
  int (*signalCondition)(CMPI_COND_TYPE);
#ifdef CMPI_VER_210
  int (*destroyMutex2)(CMPI_MUTEX_TYPE);
  int (*lockMutex2)(CMPI_MUTEX_TYPE);
  int (*unlockMutex2)(CMPI_MUTEX_TYPE);
  int (*destroyCondition2)(CMPI_COND_TYPE);
#endif
};

/* ---- What objects can do -------------------------------------------------------------------- */

struct _CMPIContextFT {
  CMPIVersion ftVersion;
  CMPIStatus (*release)(CMPIContext *);
  CMPIContext *(*clone)(const CMPIContext *, CMPIStatus *rc);
  CMPIData (*getEntry)(const CMPIContext *, const char *name, CMPIStatus *rc);
  CMPIData (*getEntryAt)(const CMPIContext *, CMPICount, CMPIString **name, CMPIStatus *rc);
  CMPICount (*getEntryCount)(const CMPIContext *, CMPIStatus *rc);
  CMPIStatus (*addEntry)(const CMPIContext *, const char *name, const CMPIValue *, const CMPIType);
};

struct _CMPIResultFT {
  CMPIVersion ftVersion;
  CMPIStatus (*release)(CMPIResult *);
  CMPIResult *(*clone)(const CMPIResult *, CMPIStatus *rc);
  CMPIStatus (*returnData)(const CMPIResult *, const CMPIValue *, const CMPIType);
  CMPIStatus (*returnInstance)(const CMPIResult *, const CMPIInstance *);
  CMPIStatus (*returnObjectPath)(const CMPIResult *, const CMPIObjectPath *);
  CMPIStatus (*returnDone)(const CMPIResult *);
#ifdef CMPI_VER_200
  CMPIStatus (*returnError)(const CMPIResult *, const CMPIError *);
#endif
};

struct _CMPIStringFT {
  CMPIVersion ftVersion;
  CMPIStatus (*release)(CMPIString *);
  CMPIString *(*clone)(const CMPIString *, CMPIStatus *rc);
  const char *(*getCharPtr)(const CMPIString *, CMPIStatus *rc);
#ifdef CMPI_VER_210
  char *(*newCharsCP)(const CMPIString *, CMPICodepageID, CMPIStatus *rc);
#endif
};

struct _CMPIInstanceFT {
  CMPIVersion ftVersion;
  CMPIStatus (*release)(CMPIInstance *);
  CMPIInstance *(*clone)(const CMPIInstance *, CMPIStatus *rc);
  CMPIData (*getProperty)(const CMPIInstance *, const char *name, CMPIStatus *rc);
  CMPIData (*getPropertyAt)(const CMPIInstance *, CMPICount, CMPIString **name, CMPIStatus *rc);
  CMPICount (*getPropertyCount)(const CMPIInstance *, CMPIStatus *rc);
  CMPIStatus (*setProperty)(const CMPIInstance *, const char *name, const CMPIValue *, CMPIType);
  CMPIObjectPath *(*getObjectPath)(const CMPIInstance *, CMPIStatus *rc);
  CMPIStatus (*setPropertyFilter)(const CMPIInstance *, const char **properties,
                                  const char **keys);
  CMPIStatus (*setObjectPath)(const CMPIInstance *, const CMPIObjectPath *);
#ifdef CMPI_VER_200
  CMPIStatus (*setPropertyWithOrigin)(const CMPIInstance *, const char *name, const CMPIValue *,
                                      CMPIType, const char *origin);
#endif
};

struct _CMPIObjectPathFT {
  CMPIVersion ftVersion;
  CMPIStatus (*release)(CMPIObjectPath *);
  CMPIObjectPath *(*clone)(const CMPIObjectPath *, CMPIStatus *rc);
  CMPIStatus (*setNameSpace)(const CMPIObjectPath *, const char *);
  CMPIString *(*getNameSpace)(const CMPIObjectPath *, CMPIStatus *rc);
  CMPIStatus (*setHostname)(const CMPIObjectPath *, const char *);
  CMPIString *(*getHostname)(const CMPIObjectPath *, CMPIStatus *rc);
  CMPIStatus (*setClassName)(const CMPIObjectPath *, const char *);
  CMPIString *(*getClassName)(const CMPIObjectPath *, CMPIStatus *rc);
  CMPIStatus (*addKey)(const CMPIObjectPath *, const char *key, const CMPIValue *, const CMPIType);
  CMPIData (*getKey)(const CMPIObjectPath *, const char *key, CMPIStatus *rc);
  CMPIData (*getKeyAt)(const CMPIObjectPath *, CMPICount, CMPIString **name, CMPIStatus *rc);
  CMPICount (*getKeyCount)(const CMPIObjectPath *, CMPIStatus *rc);
  CMPIStatus (*setNameSpaceFromObjectPath)(const CMPIObjectPath *, const CMPIObjectPath *source);
  CMPIStatus (*setHostAndNameSpaceFromObjectPath)(const CMPIObjectPath *,
                                                  const CMPIObjectPath *source);
  CMPIData (*getClassQualifier)(const CMPIObjectPath *, const char *qualifier, CMPIStatus *rc);
  CMPIData (*getPropertyQualifier)(const CMPIObjectPath *, const char *property,
                                   const char *qualifier, CMPIStatus *rc);
  CMPIData (*getMethodQualifier)(const CMPIObjectPath *, const char *method,
                                 const char *qualifier, CMPIStatus *rc);
  CMPIData (*getParameterQualifier)(const CMPIObjectPath *, const char *method,
                                    const char *parameter, const char *qualifier, CMPIStatus *rc);
  CMPIString *(*toString)(const CMPIObjectPath *, CMPIStatus *rc);
};

struct _CMPIDateTimeFT {
  CMPIVersion ftVersion;
  CMPIStatus (*release)(CMPIDateTime *);
  CMPIDateTime *(*clone)(const CMPIDateTime *, CMPIStatus *rc);
  CMPIUint64 (*getBinaryFormat)(const CMPIDateTime *, CMPIStatus *rc);
  CMPIString *(*getStringFormat)(const CMPIDateTime *, CMPIStatus *rc);
  CMPIBoolean (*isInterval)(const CMPIDateTime *, CMPIStatus *rc);
};

/* ---- What a provider fills in --------------------------------------------------------------- */

struct _CMPIInstanceMIFT {
  CMPIVersion ftVersion;
  int miVersion;
  const char *miName;
  CMPIStatus (*cleanup)(CMPIInstanceMI *, const CMPIContext *, CMPIBoolean terminating);
  CMPIStatus (*enumerateInstanceNames)(CMPIInstanceMI *, const CMPIContext *, const CMPIResult *,
                                       const CMPIObjectPath *);
  CMPIStatus (*enumerateInstances)(CMPIInstanceMI *, const CMPIContext *, const CMPIResult *,
                                   const CMPIObjectPath *, const char **properties);
  CMPIStatus (*getInstance)(CMPIInstanceMI *, const CMPIContext *, const CMPIResult *,
                            const CMPIObjectPath *, const char **properties);
  CMPIStatus (*createInstance)(CMPIInstanceMI *, const CMPIContext *, const CMPIResult *,
                               const CMPIObjectPath *, const CMPIInstance *);
  CMPIStatus (*modifyInstance)(CMPIInstanceMI *, const CMPIContext *, const CMPIResult *,
                               const CMPIObjectPath *, const CMPIInstance *,
                               const char **properties);
  CMPIStatus (*deleteInstance)(CMPIInstanceMI *, const CMPIContext *, const CMPIResult *,
                               const CMPIObjectPath *);
  CMPIStatus (*execQuery)(CMPIInstanceMI *, const CMPIContext *, const CMPIResult *,
                          const CMPIObjectPath *, const char *query, const char *lang);
#ifdef CMPI_VER_210
  CMPIStatus (*enumerateInstancesFiltered)(CMPIInstanceMI *, const CMPIContext *,
                                           const CMPIResult *, const CMPIObjectPath *,
                                           const char **properties, const char *lang,
                                           const char *query);
#endif
};

struct _CMPIIndicationMIFT {
  CMPIVersion ftVersion;
  int miVersion;
  const char *miName;
  CMPIStatus (*cleanup)(CMPIIndicationMI *, const CMPIContext *, CMPIBoolean terminating);
  CMPIStatus (*authorizeFilter)(CMPIIndicationMI *, const CMPIContext *, const CMPISelectExp *,
                                const char *className, const CMPIObjectPath *, const char *owner);
#ifdef CMPI_VER_210
  /* Brokers go on calling with the five arguments of the earlier versions. */
  CMPIStatus (*mustPoll)(CMPIIndicationMI *, const CMPIContext *, const CMPIResult *,
                         const CMPISelectExp *, const char *className, const CMPIObjectPath *);
#else
  CMPIStatus (*mustPoll)(CMPIIndicationMI *, const CMPIContext *, const CMPISelectExp *,
                         const char *className, const CMPIObjectPath *);
#endif
  CMPIStatus (*activateFilter)(CMPIIndicationMI *, const CMPIContext *, const CMPISelectExp *,
                               const char *className, const CMPIObjectPath *, CMPIBoolean first);
  CMPIStatus (*deActivateFilter)(CMPIIndicationMI *, const CMPIContext *, const CMPISelectExp *,
                                 const char *className, const CMPIObjectPath *, CMPIBoolean last);
#ifdef CMPI_VER_200
  CMPIStatus (*enableIndications)(CMPIIndicationMI *, const CMPIContext *);
  CMPIStatus (*disableIndications)(CMPIIndicationMI *, const CMPIContext *);
#else
  void (*enableIndications)(CMPIIndicationMI *, const CMPIContext *);
  void (*disableIndications)(CMPIIndicationMI *, const CMPIContext *);
#endif
#ifdef CMPI_VER_210
  /* Filter collections: no provider here has them, the slots only hold their place. */
  void (*authorizeFilterCollection)(void);
  void (*activateFilterCollection)(void);
  void (*deActivateFilterCollection)(void);
#endif
};

#ifdef __cplusplus
}
#endif

#endif /* _CMPIFT_H_ */
