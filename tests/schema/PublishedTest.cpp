#include <chrono>
#include <map>
#include <string>

#include <gtest/gtest.h>

#include "host/Broker.h"
#include "host/Provider.h"
#include "tests/schema/Mof.h"
#include "tests/schema/SchemaFiles.h"

// The schema against what the built library publishes on the simulated till in till.json.

namespace {

using Types = std::map<std::string, std::string>;

// The type that a declaration needs for a value set with this CMPI type. OpenPegasus refuses a
// property whose declared type is another.
std::string declarationOf(const cmpihost::Value& value) {
  const std::string type = cmpihost::typeName(value.type());
  return type == "chars" ? "string" : type == "dateTime" ? "datetime" : type;
}

Types setTypes(const cmpihost::Instance& instance) {
  Types types;
  for (const cmpihost::NamedValue& property : instance.properties) {
    const std::string type = declarationOf(property.value);
    EXPECT_EQ(types.emplace(property.name, type).first->second, type) << property.name;
  }
  return types;
}

Types declaredTypes(const mof::Class& cls) {
  Types types;
  for (const mof::Property& property : cls.properties) {
    types[property.name] = property.type;
  }
  return types;
}

class Published : public testing::Test {
 protected:
  const mof::File file_ = mof::parse(schemafiles::read("KAV_SSDLifeMonitor.mof"));
  cmpihost::Broker broker_;
  cmpihost::Provider provider_{broker_, PROVIDER_LIBRARY, "SsdProvider"};
};

TEST_F(Published, InstancesSetExactlyTheDeclaredPropertiesWithTheirTypes) {
  const cmpihost::Reply reply =
      provider_.enumerateInstances({"root/cimv2", "KAV_SSDLifeMonitor", {}, ""});
  ASSERT_TRUE(reply.status.ok()) << reply.status.describe();
  ASSERT_EQ(reply.instances.size(), 2U);
  for (const cmpihost::Instance& instance : reply.instances) {
    EXPECT_EQ(setTypes(instance), declaredTypes(file_.classNamed(instance.path.className)));
  }
}

TEST_F(Published, PathsCarryTheDeclaredKeyAlone) {
  const cmpihost::Reply reply =
      provider_.enumerateInstanceNames({"root/cimv2", "KAV_SSDLifeMonitor", {}, ""});
  ASSERT_TRUE(reply.status.ok()) << reply.status.describe();
  ASSERT_EQ(reply.paths.size(), 2U);
  for (const cmpihost::ObjectPath& path : reply.paths) {
    ASSERT_EQ(path.keys.size(), 1U);
    const mof::Property* key = file_.classNamed(path.className).property(path.keys.front().name);
    ASSERT_NE(key, nullptr);
    EXPECT_EQ(key->qualifiers.count("Key"), 1U);
    EXPECT_EQ(key->type, declarationOf(path.keys.front().value));
  }
}

TEST_F(Published, TheIndicationSetsTheDeclaredPropertiesAndItsInheritedTime) {
  const cmpihost::Filter filter{"KAV_SSDLifeMonitorFailureImminent"};
  ASSERT_TRUE(provider_.authorizeFilter(filter).ok());
  ASSERT_TRUE(provider_.activateFilter(filter, 1).ok());
  provider_.enableIndications();
  const auto indication = broker_.waitForIndication(std::chrono::seconds(30));
  ASSERT_TRUE(indication.has_value());
  EXPECT_EQ(indication->nameSpace, "root/cimv2");
  Types expected = declaredTypes(file_.classNamed(indication->instance.path.className));
  expected["IndicationTime"] = "datetime";  // of CIM_Indication
  EXPECT_EQ(setTypes(indication->instance), expected);
}

}  // namespace
