#include "provider/FunctionTables.h"

#include "provider/EntryPoints.h"

// Newer headers append slots, which stay null.
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"

namespace {

/// CMPI 1.00, of the tables and of the MIs.
constexpr int kCmpiVersion = 100;

/// Newer headers type three slots otherwise than 1.00: they give mustPoll a result, which brokers
/// don't pass, and enable and disable a status, which brokers don't read.
using AnyFunction = void (*)();
using MustPoll = decltype(CMPIIndicationMIFT::mustPoll);
using Enable = decltype(CMPIIndicationMIFT::enableIndications);

const CMPIInstanceMIFT kInstanceTable = {
    kCmpiVersion,           // ftVersion
    kCmpiVersion,           // miVersion
    "instanceSsdProvider",  // miName
    drvInstanceCleanup,    drvEnumInstanceNames, drvEnumInstances,  drvGetInstance,
    drvCreateInstance,     drvModifyInstance,    drvDeleteInstance, drvExecQuery,
};

const CMPIIndicationMIFT kIndicationTable = {
    kCmpiVersion,             // ftVersion
    kCmpiVersion,             // miVersion
    "indicationSsdProvider",  // miName
    drvIndicationCleanup,
    drvAuthorizeFilter,
    reinterpret_cast<MustPoll>(reinterpret_cast<AnyFunction>(drvMustPoll)),
    drvActivateFilter,
    drvDeActivateFilter,
    reinterpret_cast<Enable>(reinterpret_cast<AnyFunction>(drvEnableIndications)),
    reinterpret_cast<Enable>(reinterpret_cast<AnyFunction>(drvDisableIndications)),
};

}  // namespace

// The interface takes tables that may be written; nobody does.
CMPIInstanceMI instanceMI = {nullptr, const_cast<CMPIInstanceMIFT*>(&kInstanceTable)};
CMPIIndicationMI indicationMI = {nullptr, const_cast<CMPIIndicationMIFT*>(&kIndicationTable)};
