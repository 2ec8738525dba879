#pragma once

#include <cmpi/cmpidt.h>
#include <cmpi/cmpift.h>

#include "base/Export.h"

// The functions that a broker calls: the two factories that it looks up by name, and the entries of
// the MIs' function tables, with the CMPI signatures of their slots in version 1.00. Any may be
// called on any thread. Those that reach the provider answer CMPI_RC_ERR_METHOD_NOT_AVAILABLE while
// there is none or its initialisation failed.

extern "C" {

VEKSSD_EXPORT CMPIInstanceMI* SsdProvider_Create_InstanceMI(const CMPIBroker* broker,
                                                            const CMPIContext* context,
                                                            CMPIStatus* status);
VEKSSD_EXPORT CMPIIndicationMI* SsdProvider_Create_IndicationMI(const CMPIBroker* broker,
                                                                const CMPIContext* context,
                                                                CMPIStatus* status);

VEKSSD_EXPORT CMPIStatus drvInstanceCleanup(CMPIInstanceMI* mi, const CMPIContext* context,
                                            CMPIBoolean terminating);
VEKSSD_EXPORT CMPIStatus drvEnumInstanceNames(CMPIInstanceMI* mi, const CMPIContext* context,
                                              const CMPIResult* result, const CMPIObjectPath* path);
VEKSSD_EXPORT CMPIStatus drvEnumInstances(CMPIInstanceMI* mi, const CMPIContext* context,
                                          const CMPIResult* result, const CMPIObjectPath* path,
                                          const char** properties);
VEKSSD_EXPORT CMPIStatus drvGetInstance(CMPIInstanceMI* mi, const CMPIContext* context,
                                        const CMPIResult* result, const CMPIObjectPath* path,
                                        const char** properties);
VEKSSD_EXPORT CMPIStatus drvCreateInstance(CMPIInstanceMI* mi, const CMPIContext* context,
                                           const CMPIResult* result, const CMPIObjectPath* path,
                                           const CMPIInstance* instance);
VEKSSD_EXPORT CMPIStatus drvModifyInstance(CMPIInstanceMI* mi, const CMPIContext* context,
                                           const CMPIResult* result, const CMPIObjectPath* path,
                                           const CMPIInstance* instance, const char** properties);
VEKSSD_EXPORT CMPIStatus drvDeleteInstance(CMPIInstanceMI* mi, const CMPIContext* context,
                                           const CMPIResult* result, const CMPIObjectPath* path);
VEKSSD_EXPORT CMPIStatus drvExecQuery(CMPIInstanceMI* mi, const CMPIContext* context,
                                      const CMPIResult* result, const CMPIObjectPath* path,
                                      const char* query, const char* language);

VEKSSD_EXPORT CMPIStatus drvIndicationCleanup(CMPIIndicationMI* mi, const CMPIContext* context,
                                              CMPIBoolean terminating);
VEKSSD_EXPORT CMPIStatus drvAuthorizeFilter(CMPIIndicationMI* mi, const CMPIContext* context,
                                            const CMPISelectExp* filter, const char* className,
                                            const CMPIObjectPath* path, const char* owner);
VEKSSD_EXPORT CMPIStatus drvMustPoll(CMPIIndicationMI* mi, const CMPIContext* context,
                                     const CMPISelectExp* filter, const char* className,
                                     const CMPIObjectPath* path);
VEKSSD_EXPORT CMPIStatus drvActivateFilter(CMPIIndicationMI* mi, const CMPIContext* context,
                                           const CMPISelectExp* filter, const char* className,
                                           const CMPIObjectPath* path, CMPIBoolean firstActivation);
VEKSSD_EXPORT CMPIStatus drvDeActivateFilter(CMPIIndicationMI* mi, const CMPIContext* context,
                                             const CMPISelectExp* filter, const char* className,
                                             const CMPIObjectPath* path,
                                             CMPIBoolean lastActivation);
VEKSSD_EXPORT void drvEnableIndications(CMPIIndicationMI* mi, const CMPIContext* context);
VEKSSD_EXPORT void drvDisableIndications(CMPIIndicationMI* mi, const CMPIContext* context);

}  // extern "C"
