#include "provider/FunctionTables.h"

#include "provider/EntryPoints.h"

namespace {

/// CMPI 1.00, of the tables and of the MIs.
constexpr int kCmpiVersion = 100;

/// Puts a function of the 1.00 form into a slot that newer headers type otherwise: they give
/// mustPoll a result, which brokers don't pass, and enable and disable a status, which brokers
/// don't read.
template <typename Slot, typename Function>
Slot inSlot(Function* function) {
  return reinterpret_cast<Slot>(reinterpret_cast<void (*)()>(function));
}

CMPIInstanceMIFT makeInstanceTable() {
  CMPIInstanceMIFT table{};
  table.ftVersion = kCmpiVersion;
  table.miVersion = kCmpiVersion;
  table.miName = "instanceSsdProvider";
  table.cleanup = drvInstanceCleanup;
  table.enumerateInstanceNames = drvEnumInstanceNames;
  table.enumerateInstances = drvEnumInstances;
  table.getInstance = drvGetInstance;
  table.createInstance = drvCreateInstance;
  table.modifyInstance = drvModifyInstance;
  table.deleteInstance = drvDeleteInstance;
  table.execQuery = drvExecQuery;
  return table;
}

CMPIIndicationMIFT makeIndicationTable() {
  CMPIIndicationMIFT table{};
  table.ftVersion = kCmpiVersion;
  table.miVersion = kCmpiVersion;
  table.miName = "indicationSsdProvider";
  table.cleanup = drvIndicationCleanup;
  table.authorizeFilter = drvAuthorizeFilter;
  table.mustPoll = inSlot<decltype(table.mustPoll)>(drvMustPoll);
  table.activateFilter = drvActivateFilter;
  table.deActivateFilter = drvDeActivateFilter;
  table.enableIndications = inSlot<decltype(table.enableIndications)>(drvEnableIndications);
  table.disableIndications = inSlot<decltype(table.disableIndications)>(drvDisableIndications);
  return table;
}

CMPIInstanceMIFT instanceTable = makeInstanceTable();
CMPIIndicationMIFT indicationTable = makeIndicationTable();

}  // namespace

CMPIInstanceMI instanceMI = {nullptr, &instanceTable};
CMPIIndicationMI indicationMI = {nullptr, &indicationTable};
