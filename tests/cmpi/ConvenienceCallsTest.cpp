#include <cmpi/cmpimacs.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

// Compiled once for each version of the interface. Each convenience call must end up in its slot
// with its arguments in order; the tables below note what arrives.
namespace {

std::vector<std::string> arrived;
const void* arrivedValue = nullptr;
int objectReturned = 0;

template <typename T>
T* returned() {
  return reinterpret_cast<T*>(&objectReturned);
}

CMPIStatus answer(const char* slot, CMPIStatus status = {CMPI_RC_ERR_NOT_FOUND, nullptr}) {
  arrived.emplace_back(slot);
  return status;
}

void fill(CMPIStatus* rc) {
  if (rc != nullptr) {
    *rc = {CMPI_RC_ERR_FAILED, nullptr};
  }
}

class ConvenienceCalls : public testing::Test {
 protected:
  ConvenienceCalls() {
    arrived.clear();
    arrivedValue = nullptr;
    broker.bft = &bft;
    broker.eft = &eft;
    path.ft = &pathTable;
    instance.ft = &instanceTable;
    string.ft = &stringTable;
    result.ft = &resultTable;
    context.ft = &contextTable;
  }

  CMPIBrokerFT bft{};
  CMPIBrokerEncFT eft{};
  CMPIObjectPathFT pathTable{};
  CMPIInstanceFT instanceTable{};
  CMPIStringFT stringTable{};
  CMPIResultFT resultTable{};
  CMPIContextFT contextTable{};
  CMPIBroker broker{};
  CMPIObjectPath path{};
  CMPIInstance instance{};
  CMPIString string{};
  CMPIResult result{};
  CMPIContext context{};
  CMPIStatus rc{CMPI_RC_OK, nullptr};
};

TEST_F(ConvenienceCalls, MakingObjectsGoesThroughTheEncapsulationTable) {
  eft.newInstance = [](const CMPIBroker*, const CMPIObjectPath*, CMPIStatus* st) {
    fill(st);
    answer("newInstance");
    return returned<CMPIInstance>();
  };
  eft.newObjectPath = [](const CMPIBroker*, const char* ns, const char* cn, CMPIStatus*) {
    answer((std::string("newObjectPath ") + ns + ' ' + cn).c_str());
    return returned<CMPIObjectPath>();
  };
  eft.newDateTime = [](const CMPIBroker*, CMPIStatus*) {
    answer("newDateTime");
    return returned<CMPIDateTime>();
  };
  eft.newString = [](const CMPIBroker*, const char* text, CMPIStatus*) {
    answer((std::string("newString ") + text).c_str());
    return returned<CMPIString>();
  };
  EXPECT_EQ(CMNewInstance(&broker, &path, &rc), returned<CMPIInstance>());
  EXPECT_EQ(rc.rc, CMPI_RC_ERR_FAILED);
  EXPECT_EQ(CMNewObjectPath(&broker, "root/cimv2", "A_Class", nullptr), returned<CMPIObjectPath>());
  EXPECT_EQ(CMNewDateTime(&broker, nullptr), returned<CMPIDateTime>());
  EXPECT_EQ(CMNewString(&broker, "text", nullptr), returned<CMPIString>());
  EXPECT_EQ(arrived, (std::vector<std::string>{"newInstance", "newObjectPath root/cimv2 A_Class",
                                               "newDateTime", "newString text"}));
}

TEST_F(ConvenienceCalls, ValuesReachSetPropertyAndAddKeyAsTheAddressThatWasGiven) {
  instanceTable.setProperty = [](const CMPIInstance*, const char* name, const CMPIValue* value,
                                 CMPIType type) {
    arrivedValue = value;
    return answer((std::string("setProperty ") + name + ' ' + std::to_string(type)).c_str());
  };
  pathTable.addKey = [](const CMPIObjectPath*, const char* name, const CMPIValue* value,
                        CMPIType type) {
    arrivedValue = value;
    return answer((std::string("addKey ") + name + ' ' + std::to_string(type)).c_str());
  };
  const CMPIUint8 percent = 34;
  EXPECT_EQ(CMSetProperty(&instance, "PercentageUsed", &percent, CMPI_uint8).rc,
            CMPI_RC_ERR_NOT_FOUND);
  EXPECT_EQ(arrivedValue, &percent);
  const char* const text = "characters";
  EXPECT_EQ(CMAddKey(&path, "DeviceID", text, CMPI_chars).rc, CMPI_RC_ERR_NOT_FOUND);
  EXPECT_EQ(arrivedValue, text);
  EXPECT_EQ(arrived,
            (std::vector<std::string>{"setProperty PercentageUsed 128", "addKey DeviceID 5888"}));
}

TEST_F(ConvenienceCalls, ReadingGoesThroughTheObjectsOwnTable) {
  instanceTable.getProperty = [](const CMPIInstance*, const char*, CMPIStatus*) {
    answer("getProperty");
    return CMPIData{CMPI_uint8, CMPI_goodValue, {}};
  };
  pathTable.getKey = [](const CMPIObjectPath*, const char*, CMPIStatus*) {
    answer("getKey");
    return CMPIData{CMPI_string, CMPI_keyValue, {}};
  };
  pathTable.getNameSpace = [](const CMPIObjectPath*, CMPIStatus*) {
    answer("getNameSpace");
    return returned<CMPIString>();
  };
  pathTable.getClassName = [](const CMPIObjectPath*, CMPIStatus*) {
    answer("getClassName");
    return returned<CMPIString>();
  };
  stringTable.getCharPtr = [](const CMPIString*, CMPIStatus* st) -> const char* {
    answer(st != nullptr ? "getCharPtr with status" : "getCharPtr");
    return "abc";
  };
  EXPECT_EQ(CMGetProperty(&instance, "a", &rc).type, CMPI_uint8);
  EXPECT_EQ(CMGetKey(&path, "a", &rc).state, CMPI_keyValue);
  EXPECT_EQ(CMGetNameSpace(&path, &rc), returned<CMPIString>());
  EXPECT_EQ(CMGetClassName(&path, &rc), returned<CMPIString>());
  EXPECT_STREQ(CMGetCharsPtr(&string, &rc), "abc");
  EXPECT_STREQ(CMGetCharPtr(&string), "abc");
  EXPECT_EQ(arrived,
            (std::vector<std::string>{"getProperty", "getKey", "getNameSpace", "getClassName",
                                      "getCharPtr with status", "getCharPtr"}));
}

TEST_F(ConvenienceCalls, ReturningGoesThroughTheResult) {
  resultTable.returnInstance = [](const CMPIResult*, const CMPIInstance*) {
    return answer("returnInstance");
  };
  resultTable.returnObjectPath = [](const CMPIResult*, const CMPIObjectPath*) {
    return answer("returnObjectPath");
  };
  resultTable.returnData = [](const CMPIResult*, const CMPIValue*, CMPIType) {
    return answer("returnData");
  };
  resultTable.returnDone = [](const CMPIResult*) { return answer("returnDone"); };
  const CMPIUint32 number = 7;
  EXPECT_EQ(CMReturnInstance(&result, &instance).rc, CMPI_RC_ERR_NOT_FOUND);
  EXPECT_EQ(CMReturnObjectPath(&result, &path).rc, CMPI_RC_ERR_NOT_FOUND);
  EXPECT_EQ(CMReturnData(&result, &number, CMPI_uint32).rc, CMPI_RC_ERR_NOT_FOUND);
  EXPECT_EQ(CMReturnDone(&result).rc, CMPI_RC_ERR_NOT_FOUND);
  EXPECT_EQ(arrived, (std::vector<std::string>{"returnInstance", "returnObjectPath", "returnData",
                                               "returnDone"}));
}

TEST_F(ConvenienceCalls, ThreadsAndIndicationsGoThroughTheBroker) {
  bft.prepareAttachThread = [](const CMPIBroker*, const CMPIContext*) {
    answer("prepareAttachThread");
    return returned<CMPIContext>();
  };
  bft.attachThread = [](const CMPIBroker*, const CMPIContext*) { return answer("attachThread"); };
  bft.detachThread = [](const CMPIBroker*, const CMPIContext*) { return answer("detachThread"); };
  bft.deliverIndication = [](const CMPIBroker*, const CMPIContext*, const char* ns,
                             const CMPIInstance*) {
    return answer((std::string("deliverIndication ") + ns).c_str());
  };
  EXPECT_EQ(CBPrepareAttachThread(&broker, &context), returned<CMPIContext>());
  EXPECT_EQ(CBAttachThread(&broker, &context).rc, CMPI_RC_ERR_NOT_FOUND);
  EXPECT_EQ(CBDetachThread(&broker, &context).rc, CMPI_RC_ERR_NOT_FOUND);
  EXPECT_EQ(CBDeliverIndication(&broker, &context, "root/cimv2", &instance).rc,
            CMPI_RC_ERR_NOT_FOUND);
  EXPECT_EQ(arrived, (std::vector<std::string>{"prepareAttachThread", "attachThread",
                                               "detachThread", "deliverIndication root/cimv2"}));
}

TEST_F(ConvenienceCalls, ReleaseAndCloneWorkOnAnyObjectContextsIncluded) {
  contextTable.release = [](CMPIContext*) { return answer("release context"); };
  contextTable.clone = [](const CMPIContext*, CMPIStatus*) {
    answer("clone context");
    return returned<CMPIContext>();
  };
  stringTable.release = [](CMPIString*) { return answer("release string"); };
  EXPECT_EQ(CMClone(&context, &rc), returned<CMPIContext>());
  EXPECT_EQ(CMRelease(&context).rc, CMPI_RC_ERR_NOT_FOUND);
  EXPECT_EQ(CMRelease(&string).rc, CMPI_RC_ERR_NOT_FOUND);
  EXPECT_EQ(arrived,
            (std::vector<std::string>{"clone context", "release context", "release string"}));
}

CMPIStatus refused() { CMReturn(CMPI_RC_ERR_NOT_SUPPORTED); }

TEST_F(ConvenienceCalls, StatusHelpersLeaveNoMessage) {
  rc.msg = &string;
  CMSetStatus(&rc, CMPI_RC_DO_NOT_UNLOAD);
  EXPECT_EQ(rc.rc, CMPI_RC_DO_NOT_UNLOAD);
  EXPECT_EQ(rc.msg, nullptr);
  CMSetStatus(nullptr, CMPI_RC_OK);
  EXPECT_EQ(refused().rc, CMPI_RC_ERR_NOT_SUPPORTED);
  EXPECT_EQ(refused().msg, nullptr);
}

#if CMPI_VERSION == 100
// A provider of the first version fills these two with functions that return nothing.
TEST_F(ConvenienceCalls, TheFirstVersionEnablesIndicationsWithoutAStatus) {
  CMPIIndicationMIFT table{};
  table.enableIndications = [](CMPIIndicationMI*, const CMPIContext*) { answer("enable"); };
  table.disableIndications = [](CMPIIndicationMI*, const CMPIContext*) { answer("disable"); };
  table.enableIndications(nullptr, nullptr);
  table.disableIndications(nullptr, nullptr);
  EXPECT_EQ(arrived, (std::vector<std::string>{"enable", "disable"}));
}
#endif

#if CMPI_VERSION == 210
TEST_F(ConvenienceCalls, TheNewestVersionGivesMustPollAResult) {
  CMPIIndicationMIFT table{};
  table.mustPoll = [](CMPIIndicationMI*, const CMPIContext*, const CMPIResult*,
                      const CMPISelectExp*, const char* cn,
                      const CMPIObjectPath*) { return answer(cn); };
  EXPECT_EQ(table.mustPoll(nullptr, &context, &result, nullptr, "A_Class", &path).rc,
            CMPI_RC_ERR_NOT_FOUND);
  EXPECT_EQ(arrived, (std::vector<std::string>{"A_Class"}));
}
#endif

}  // namespace
