/* Sizes and offsets of the CMPI structures, as every broker and provider on x86-64 has them.
 *
 * Compiled once for each version of the interface, as C and as C++: a slot that moved does not
 * compile. */
#include <cmpi/cmpimacs.h>

#include <assert.h>
#include <stddef.h>

#define AT(type, member, offset) \
  static_assert(offsetof(type, member) == (offset), #type "." #member " has moved")
#define SIZE(type, size) static_assert(sizeof(type) == (size), #type " has another size")

/* The size of a table in version 1.00, 2.0 and 2.1. */
#if CMPI_VERSION == 210
#define TABLE_SIZE(type, v100, v200, v210) SIZE(type, v210)
#elif CMPI_VERSION == 200
#define TABLE_SIZE(type, v100, v200, v210) SIZE(type, v200)
#else
#define TABLE_SIZE(type, v100, v200, v210) SIZE(type, v100)
#endif

/* The version chosen names the slots that are there. */
#if !defined(CMPI_VER_100)
#error "every version contains 1.00"
#endif
#if (CMPI_VERSION >= 200) != defined(CMPI_VER_200) || (CMPI_VERSION >= 210) != defined(CMPI_VER_210)
#error "CMPI_VERSION and CMPI_VER_* disagree"
#endif
static_assert(CMPICurrentVersion == CMPI_VERSION, "the current version is the chosen one");

/* ---- Scalars ---- */
SIZE(CMPIBoolean, 1);
SIZE(CMPIChar16, 2);
SIZE(CMPIUint8, 1);
SIZE(CMPIUint16, 2);
SIZE(CMPIUint32, 4);
SIZE(CMPIUint64, 8);
SIZE(CMPISint8, 1);
SIZE(CMPISint16, 2);
SIZE(CMPISint32, 4);
SIZE(CMPISint64, 8);
SIZE(CMPIReal32, 4);
SIZE(CMPIReal64, 8);
SIZE(CMPICount, 4);
SIZE(CMPIFlags, 4);
SIZE(CMPIVersion, 4);
SIZE(CMPIType, 2);
SIZE(CMPIValueState, 2);
SIZE(CMPIrc, 4);

/* ---- Values ---- */
SIZE(CMPIStatus, 16);
AT(CMPIStatus, rc, 0);
AT(CMPIStatus, msg, 8);
SIZE(CMPIValuePtr, 16);
AT(CMPIValuePtr, ptr, 0);
AT(CMPIValuePtr, length, 8);
SIZE(CMPIValue, 16);
AT(CMPIValue, uint8, 0);
AT(CMPIValue, uint64, 0);
AT(CMPIValue, chars, 0);
AT(CMPIValue, dataPtr, 0);
SIZE(CMPIData, 24);
AT(CMPIData, type, 0);
AT(CMPIData, state, 2);
AT(CMPIData, value, 8);

/* ---- Objects ---- */
TABLE_SIZE(CMPIBroker, 32, 40, 40);
AT(CMPIBroker, hdl, 0);
AT(CMPIBroker, bft, 8);
AT(CMPIBroker, eft, 16);
AT(CMPIBroker, xft, 24);
#if defined(CMPI_VER_200)
AT(CMPIBroker, mft, 32);
#endif
SIZE(CMPIContext, 16);
AT(CMPIContext, hdl, 0);
AT(CMPIContext, ft, 8);
SIZE(CMPIResult, 16);
AT(CMPIResult, hdl, 0);
AT(CMPIResult, ft, 8);
SIZE(CMPIString, 16);
AT(CMPIString, hdl, 0);
AT(CMPIString, ft, 8);
SIZE(CMPIArray, 16);
AT(CMPIArray, hdl, 0);
AT(CMPIArray, ft, 8);
SIZE(CMPIEnumeration, 16);
AT(CMPIEnumeration, hdl, 0);
AT(CMPIEnumeration, ft, 8);
SIZE(CMPIInstance, 16);
AT(CMPIInstance, hdl, 0);
AT(CMPIInstance, ft, 8);
SIZE(CMPIObjectPath, 16);
AT(CMPIObjectPath, hdl, 0);
AT(CMPIObjectPath, ft, 8);
SIZE(CMPIArgs, 16);
AT(CMPIArgs, hdl, 0);
AT(CMPIArgs, ft, 8);
SIZE(CMPIDateTime, 16);
AT(CMPIDateTime, hdl, 0);
AT(CMPIDateTime, ft, 8);
SIZE(CMPISelectExp, 16);
AT(CMPISelectExp, hdl, 0);
AT(CMPISelectExp, ft, 8);
SIZE(CMPIInstanceMI, 16);
AT(CMPIInstanceMI, hdl, 0);
AT(CMPIInstanceMI, ft, 8);
SIZE(CMPIIndicationMI, 16);
AT(CMPIIndicationMI, hdl, 0);
AT(CMPIIndicationMI, ft, 8);

/* ---- CMPIBrokerFT ---- */
TABLE_SIZE(CMPIBrokerFT, 160, 160, 184);
AT(CMPIBrokerFT, brokerCapabilities, 0);
AT(CMPIBrokerFT, brokerVersion, 4);
AT(CMPIBrokerFT, brokerName, 8);
AT(CMPIBrokerFT, prepareAttachThread, 16);
AT(CMPIBrokerFT, attachThread, 24);
AT(CMPIBrokerFT, detachThread, 32);
AT(CMPIBrokerFT, deliverIndication, 40);
AT(CMPIBrokerFT, enumerateInstanceNames, 48);
AT(CMPIBrokerFT, getInstance, 56);
AT(CMPIBrokerFT, createInstance, 64);
AT(CMPIBrokerFT, modifyInstance, 72);
AT(CMPIBrokerFT, deleteInstance, 80);
AT(CMPIBrokerFT, execQuery, 88);
AT(CMPIBrokerFT, enumerateInstances, 96);
AT(CMPIBrokerFT, associators, 104);
AT(CMPIBrokerFT, associatorNames, 112);
AT(CMPIBrokerFT, references, 120);
AT(CMPIBrokerFT, referenceNames, 128);
AT(CMPIBrokerFT, invokeMethod, 136);
AT(CMPIBrokerFT, setProperty, 144);
AT(CMPIBrokerFT, getProperty, 152);
#if defined(CMPI_VER_210)
AT(CMPIBrokerFT, enumerateInstancesFiltered, 160);
AT(CMPIBrokerFT, associatorsFiltered, 168);
AT(CMPIBrokerFT, referencesFiltered, 176);
#endif

/* ---- CMPIBrokerEncFT ---- */
TABLE_SIZE(CMPIBrokerEncFT, 136, 168, 192);
AT(CMPIBrokerEncFT, ftVersion, 0);
AT(CMPIBrokerEncFT, newInstance, 8);
AT(CMPIBrokerEncFT, newObjectPath, 16);
AT(CMPIBrokerEncFT, newArgs, 24);
AT(CMPIBrokerEncFT, newString, 32);
AT(CMPIBrokerEncFT, newArray, 40);
AT(CMPIBrokerEncFT, newDateTime, 48);
AT(CMPIBrokerEncFT, newDateTimeFromBinary, 56);
AT(CMPIBrokerEncFT, newDateTimeFromChars, 64);
AT(CMPIBrokerEncFT, newSelectExp, 72);
AT(CMPIBrokerEncFT, classPathIsA, 80);
AT(CMPIBrokerEncFT, toString, 88);
AT(CMPIBrokerEncFT, isOfType, 96);
AT(CMPIBrokerEncFT, getType, 104);
AT(CMPIBrokerEncFT, getMessage, 112);
AT(CMPIBrokerEncFT, logMessage, 120);
AT(CMPIBrokerEncFT, trace, 128);
#if defined(CMPI_VER_200)
AT(CMPIBrokerEncFT, newCMPIError, 136);
AT(CMPIBrokerEncFT, openMessageFile, 144);
AT(CMPIBrokerEncFT, closeMessageFile, 152);
AT(CMPIBrokerEncFT, getMessage2, 160);
#endif
#if defined(CMPI_VER_210)
AT(CMPIBrokerEncFT, newPropertyList, 168);
AT(CMPIBrokerEncFT, newStringCP, 176);
AT(CMPIBrokerEncFT, newEnumerationFilter, 184);
#endif

/* ---- CMPIBrokerExtFT ---- */
TABLE_SIZE(CMPIBrokerExtFT, 168, 168, 200);
AT(CMPIBrokerExtFT, ftVersion, 0);
AT(CMPIBrokerExtFT, resolveFileName, 8);
AT(CMPIBrokerExtFT, newThread, 16);
AT(CMPIBrokerExtFT, joinThread, 24);
AT(CMPIBrokerExtFT, exitThread, 32);
AT(CMPIBrokerExtFT, cancelThread, 40);
AT(CMPIBrokerExtFT, threadSleep, 48);
AT(CMPIBrokerExtFT, threadOnce, 56);
AT(CMPIBrokerExtFT, createThreadKey, 64);
AT(CMPIBrokerExtFT, destroyThreadKey, 72);
AT(CMPIBrokerExtFT, getThreadSpecific, 80);
AT(CMPIBrokerExtFT, setThreadSpecific, 88);
AT(CMPIBrokerExtFT, newMutex, 96);
AT(CMPIBrokerExtFT, destroyMutex, 104);
AT(CMPIBrokerExtFT, lockMutex, 112);
AT(CMPIBrokerExtFT, unlockMutex, 120);
AT(CMPIBrokerExtFT, newCondition, 128);
AT(CMPIBrokerExtFT, destroyCondition, 136);
AT(CMPIBrokerExtFT, condWait, 144);
AT(CMPIBrokerExtFT, timedCondWait, 152);
AT(CMPIBrokerExtFT, signalCondition, 160);
#if defined(CMPI_VER_210)
AT(CMPIBrokerExtFT, destroyMutex2, 168);
AT(CMPIBrokerExtFT, lockMutex2, 176);
AT(CMPIBrokerExtFT, unlockMutex2, 184);
AT(CMPIBrokerExtFT, destroyCondition2, 192);
#endif

/* ---- CMPIContextFT ---- */
TABLE_SIZE(CMPIContextFT, 56, 56, 56);
AT(CMPIContextFT, ftVersion, 0);
AT(CMPIContextFT, release, 8);
AT(CMPIContextFT, clone, 16);
AT(CMPIContextFT, getEntry, 24);
AT(CMPIContextFT, getEntryAt, 32);
AT(CMPIContextFT, getEntryCount, 40);
AT(CMPIContextFT, addEntry, 48);

/* ---- CMPIResultFT ---- */
TABLE_SIZE(CMPIResultFT, 56, 64, 64);
AT(CMPIResultFT, ftVersion, 0);
AT(CMPIResultFT, release, 8);
AT(CMPIResultFT, clone, 16);
AT(CMPIResultFT, returnData, 24);
AT(CMPIResultFT, returnInstance, 32);
AT(CMPIResultFT, returnObjectPath, 40);
AT(CMPIResultFT, returnDone, 48);
#if defined(CMPI_VER_200)
AT(CMPIResultFT, returnError, 56);
#endif

/* ---- CMPIStringFT ---- */
TABLE_SIZE(CMPIStringFT, 32, 32, 40);
AT(CMPIStringFT, ftVersion, 0);
AT(CMPIStringFT, release, 8);
AT(CMPIStringFT, clone, 16);
AT(CMPIStringFT, getCharPtr, 24);
#if defined(CMPI_VER_210)
AT(CMPIStringFT, newCharsCP, 32);
#endif

/* ---- CMPIInstanceFT ---- */
TABLE_SIZE(CMPIInstanceFT, 80, 88, 88);
AT(CMPIInstanceFT, ftVersion, 0);
AT(CMPIInstanceFT, release, 8);
AT(CMPIInstanceFT, clone, 16);
AT(CMPIInstanceFT, getProperty, 24);
AT(CMPIInstanceFT, getPropertyAt, 32);
AT(CMPIInstanceFT, getPropertyCount, 40);
AT(CMPIInstanceFT, setProperty, 48);
AT(CMPIInstanceFT, getObjectPath, 56);
AT(CMPIInstanceFT, setPropertyFilter, 64);
AT(CMPIInstanceFT, setObjectPath, 72);
#if defined(CMPI_VER_200)
AT(CMPIInstanceFT, setPropertyWithOrigin, 80);
#endif

/* ---- CMPIObjectPathFT ---- */
TABLE_SIZE(CMPIObjectPathFT, 160, 160, 160);
AT(CMPIObjectPathFT, ftVersion, 0);
AT(CMPIObjectPathFT, release, 8);
AT(CMPIObjectPathFT, clone, 16);
AT(CMPIObjectPathFT, setNameSpace, 24);
AT(CMPIObjectPathFT, getNameSpace, 32);
AT(CMPIObjectPathFT, setHostname, 40);
AT(CMPIObjectPathFT, getHostname, 48);
AT(CMPIObjectPathFT, setClassName, 56);
AT(CMPIObjectPathFT, getClassName, 64);
AT(CMPIObjectPathFT, addKey, 72);
AT(CMPIObjectPathFT, getKey, 80);
AT(CMPIObjectPathFT, getKeyAt, 88);
AT(CMPIObjectPathFT, getKeyCount, 96);
AT(CMPIObjectPathFT, setNameSpaceFromObjectPath, 104);
AT(CMPIObjectPathFT, setHostAndNameSpaceFromObjectPath, 112);
AT(CMPIObjectPathFT, getClassQualifier, 120);
AT(CMPIObjectPathFT, getPropertyQualifier, 128);
AT(CMPIObjectPathFT, getMethodQualifier, 136);
AT(CMPIObjectPathFT, getParameterQualifier, 144);
AT(CMPIObjectPathFT, toString, 152);

/* ---- CMPIDateTimeFT ---- */
TABLE_SIZE(CMPIDateTimeFT, 48, 48, 48);
AT(CMPIDateTimeFT, ftVersion, 0);
AT(CMPIDateTimeFT, release, 8);
AT(CMPIDateTimeFT, clone, 16);
AT(CMPIDateTimeFT, getBinaryFormat, 24);
AT(CMPIDateTimeFT, getStringFormat, 32);
AT(CMPIDateTimeFT, isInterval, 40);

/* ---- CMPIInstanceMIFT ---- */
TABLE_SIZE(CMPIInstanceMIFT, 80, 80, 88);
AT(CMPIInstanceMIFT, ftVersion, 0);
AT(CMPIInstanceMIFT, miVersion, 4);
AT(CMPIInstanceMIFT, miName, 8);
AT(CMPIInstanceMIFT, cleanup, 16);
AT(CMPIInstanceMIFT, enumerateInstanceNames, 24);
AT(CMPIInstanceMIFT, enumerateInstances, 32);
AT(CMPIInstanceMIFT, getInstance, 40);
AT(CMPIInstanceMIFT, createInstance, 48);
AT(CMPIInstanceMIFT, modifyInstance, 56);
AT(CMPIInstanceMIFT, deleteInstance, 64);
AT(CMPIInstanceMIFT, execQuery, 72);
#if defined(CMPI_VER_210)
AT(CMPIInstanceMIFT, enumerateInstancesFiltered, 80);
#endif

/* ---- CMPIIndicationMIFT ---- */
TABLE_SIZE(CMPIIndicationMIFT, 72, 72, 96);
AT(CMPIIndicationMIFT, ftVersion, 0);
AT(CMPIIndicationMIFT, miVersion, 4);
AT(CMPIIndicationMIFT, miName, 8);
AT(CMPIIndicationMIFT, cleanup, 16);
AT(CMPIIndicationMIFT, authorizeFilter, 24);
AT(CMPIIndicationMIFT, mustPoll, 32);
AT(CMPIIndicationMIFT, activateFilter, 40);
AT(CMPIIndicationMIFT, deActivateFilter, 48);
AT(CMPIIndicationMIFT, enableIndications, 56);
AT(CMPIIndicationMIFT, disableIndications, 64);
#if defined(CMPI_VER_210)
AT(CMPIIndicationMIFT, authorizeFilterCollection, 72);
AT(CMPIIndicationMIFT, activateFilterCollection, 80);
AT(CMPIIndicationMIFT, deActivateFilterCollection, 88);
#endif

/* ---- Codes ---- */
#define CODE(name, value) static_assert((name) == (value), #name " has another value")
CODE(CMPI_null, 0x0000);
CODE(CMPI_uint8, 0x0080);
CODE(CMPI_instance, 0x1000);
CODE(CMPI_boolean, 0x0002);
CODE(CMPI_uint16, 0x0090);
CODE(CMPI_ref, 0x1100);
CODE(CMPI_char16, 0x0003);
CODE(CMPI_uint32, 0x00a0);
CODE(CMPI_args, 0x1200);
CODE(CMPI_real32, 0x0008);
CODE(CMPI_uint64, 0x00b0);
CODE(CMPI_class, 0x1300);
CODE(CMPI_real64, 0x000c);
CODE(CMPI_sint8, 0x00c0);
CODE(CMPI_filter, 0x1400);
CODE(CMPI_sint16, 0x00d0);
CODE(CMPI_enumeration, 0x1500);
CODE(CMPI_sint32, 0x00e0);
CODE(CMPI_string, 0x1600);
CODE(CMPI_sint64, 0x00f0);
CODE(CMPI_chars, 0x1700);
CODE(CMPI_ARRAY, 0x2000);
CODE(CMPI_dateTime, 0x1800);
CODE(CMPI_ptr, 0x1900);
CODE(CMPI_charsptr, 0x1a00);
CODE(CMPI_goodValue, 0);
CODE(CMPI_nullValue, 0x0100);
CODE(CMPI_keyValue, 0x0200);
CODE(CMPI_notFound, 0x0400);
CODE(CMPI_badValue, 0x8000);
CODE(CMPI_RC_OK, 0);
CODE(CMPI_RC_ERR_FAILED, 1);
CODE(CMPI_RC_ERR_ACCESS_DENIED, 2);
CODE(CMPI_RC_ERR_INVALID_NAMESPACE, 3);
CODE(CMPI_RC_ERR_INVALID_PARAMETER, 4);
CODE(CMPI_RC_ERR_INVALID_CLASS, 5);
CODE(CMPI_RC_ERR_NOT_FOUND, 6);
CODE(CMPI_RC_ERR_NOT_SUPPORTED, 7);
CODE(CMPI_RC_ERR_CLASS_HAS_CHILDREN, 8);
CODE(CMPI_RC_ERR_CLASS_HAS_INSTANCES, 9);
CODE(CMPI_RC_ERR_INVALID_SUPERCLASS, 10);
CODE(CMPI_RC_ERR_ALREADY_EXISTS, 11);
CODE(CMPI_RC_ERR_NO_SUCH_PROPERTY, 12);
CODE(CMPI_RC_ERR_TYPE_MISMATCH, 13);
CODE(CMPI_RC_ERR_QUERY_LANGUAGE_NOT_SUPPORTED, 14);
CODE(CMPI_RC_ERR_INVALID_QUERY, 15);
CODE(CMPI_RC_ERR_METHOD_NOT_AVAILABLE, 16);
CODE(CMPI_RC_ERR_METHOD_NOT_FOUND, 17);
CODE(CMPI_RC_DO_NOT_UNLOAD, 50);
CODE(CMPI_RC_NEVER_UNLOAD, 51);
CODE(CMPI_RC_ERR_INVALID_HANDLE, 60);
CODE(CMPI_RC_ERR_INVALID_DATA_TYPE, 61);
CODE(CMPI_RC_ERROR_SYSTEM, 100);
CODE(CMPI_RC_ERROR, 200);
#if defined(CMPI_VER_210)
CODE(CMPI_RC_NO_MORE_ELEMENTS, 18);
CODE(CMPI_RC_ERR_SERVER_LIMITS_EXCEEDED, 27);
CODE(CMPI_RC_ERR_QUERY_FEATURE_NOT_SUPPORTED, 29);
CODE(CMPI_RC_ERR_NOT_IN_CODEPAGE, 62);
#endif
CODE(CMPI_FLAG_LocalOnly, 1);
CODE(CMPI_FLAG_DeepInheritance, 2);
CODE(CMPI_FLAG_IncludeQualifiers, 4);
CODE(CMPI_FLAG_IncludeClassOrigin, 8);
