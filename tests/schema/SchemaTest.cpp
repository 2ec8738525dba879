#include <map>
#include <set>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/schema/Mof.h"
#include "tests/schema/SchemaFiles.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Key;
using testing::Not;
using testing::UnorderedElementsAre;

const mof::Qualifiers& qualifiersOf(const mof::Class& cls, const std::string& property) {
  const mof::Property* found = cls.property(property);
  if (found == nullptr) {
    throw mof::Error(cls.name + " has no property " + property);
  }
  return found->qualifiers;
}

class Schema : public testing::Test {
 protected:
  const mof::File file_ = mof::parse(schemafiles::read("KAV_SSDLifeMonitor.mof"));
  const mof::Class& monitor_ = file_.classNamed("KAV_SSDLifeMonitor");
  const mof::Class& event_ = file_.classNamed("KAV_SSDLifeMonitorFailureImminent");
};

TEST_F(Schema, DeclaresTheTwoClassesAndNothingElse) {
  EXPECT_EQ(file_.classes.size(), 2U);
  EXPECT_THAT(file_.instances, IsEmpty());
}

TEST_F(Schema, TheInstanceClassHasNoSuperclassSoThatAnEmptyTillFailsNobodyElsesEnumeration) {
  EXPECT_EQ(monitor_.superclass, "");
}

TEST_F(Schema, TheIndicationClassIsOneThatBothManagersTakeSubscriptionsTo) {
  EXPECT_EQ(event_.superclass, "CIM_ProcessIndication");
  EXPECT_THAT(event_.qualifiers, Contains(Key("Indication")));
  EXPECT_THAT(monitor_.qualifiers, Not(Contains(Key("Indication"))));
}

TEST_F(Schema, DeviceIDIsTheOnlyKey) {
  std::vector<std::string> keys;
  for (const mof::Class& cls : file_.classes) {
    for (const mof::Property& property : cls.properties) {
      if (property.qualifiers.count("Key") != 0) {
        keys.push_back(cls.name + "." + property.name);
      }
    }
  }
  EXPECT_THAT(keys, ElementsAre("KAV_SSDLifeMonitor.DeviceID"));
}

TEST_F(Schema, EveryClassAndPropertyIsDescribed) {
  for (const mof::Class& cls : file_.classes) {
    EXPECT_THAT(cls.qualifiers, Contains(Key("Description"))) << cls.name;
    for (const mof::Property& property : cls.properties) {
      ASSERT_THAT(property.qualifiers, Contains(Key("Description"))) << property.name;
      EXPECT_EQ(property.qualifiers.at("Description").front().back(), '.') << property.name;
    }
  }
}

TEST_F(Schema, NumbersHaveUnitsInBothForms) {
  EXPECT_EQ(qualifiersOf(monitor_, "PoweredOnHours").at("Units"), mof::Words{"Hours"});
  EXPECT_EQ(qualifiersOf(monitor_, "PoweredOnHours").at("PUnit"), mof::Words{"hour"});
  EXPECT_EQ(qualifiersOf(monitor_, "PercentageUsed").at("Units"), mof::Words{"Percent"});
  EXPECT_EQ(qualifiersOf(monitor_, "PercentageUsed").at("PUnit"), mof::Words{"percent"});
}

TEST_F(Schema, ThePercentage255IsNotAvailable) {
  const mof::Qualifiers& qualifiers = qualifiersOf(monitor_, "PercentageUsed");
  EXPECT_THAT(qualifiers.at("ValueMap"), ElementsAre("..254", "255"));
  EXPECT_THAT(qualifiers.at("Values"), ElementsAre("Percentage Used", "Not Available"));
}

TEST_F(Schema, ThePercentagesSourceIsTheStandardStatisticOrAVendorsAttribute) {
  const mof::Qualifiers& qualifiers = qualifiersOf(monitor_, "PercentageUsedSource");
  EXPECT_THAT(qualifiers.at("ValueMap"), ElementsAre("2", "3"));
  EXPECT_THAT(qualifiers.at("Values"),
              ElementsAre("Standard Endurance Statistic", "Vendor SMART Attribute"));
}

TEST(SfcbRegistration, GivesEachClassOneTypeSoThatFactoryCallsAndCleanupsBalance) {
  std::map<std::string, std::vector<std::string>> types;
  for (const auto& section : schemafiles::readRegistration("vekssdprov.reg")) {
    types[section.className] = section.fields.at("type");
  }
  EXPECT_THAT(types["KAV_SSDLifeMonitor"], ElementsAre("instance"));
  EXPECT_THAT(types["KAV_SSDLifeMonitorFailureImminent"], ElementsAre("indication"));
  EXPECT_EQ(types.size(), 2U);
}

TEST(SfcbRegistration, NamesTheFactoriesPrefixTheLibraryAndTheNamespace) {
  for (const auto& section : schemafiles::readRegistration("vekssdprov.reg")) {
    EXPECT_THAT(section.fields, UnorderedElementsAre(Key("provider"), Key("location"), Key("type"),
                                                     Key("namespace")));
    EXPECT_THAT(section.fields.at("provider"), ElementsAre("SsdProvider"));
    EXPECT_THAT(section.fields.at("location"), ElementsAre("vekssdprov"));
    EXPECT_THAT(section.fields.at("namespace"), ElementsAre("root/cimv2"));
  }
}

class PegasusRegistration : public testing::Test {
 protected:
  std::vector<mof::Instance> instancesOf(const std::string& className) const {
    std::vector<mof::Instance> found;
    for (const mof::Instance& instance : file_.instances) {
      if (instance.className == className) {
        found.push_back(instance);
      }
    }
    return found;
  }

  const mof::File file_ = mof::parse(schemafiles::read("vekssdprov-pegasus.mof"));
};

TEST_F(PegasusRegistration, IsOneModuleWithOneProviderOfTwoCapabilities) {
  EXPECT_THAT(file_.classes, IsEmpty());
  EXPECT_EQ(file_.instances.size(), 4U);
  EXPECT_EQ(instancesOf("PG_ProviderModule").size(), 1U);
  EXPECT_EQ(instancesOf("PG_Provider").size(), 1U);
  EXPECT_EQ(instancesOf("PG_ProviderCapabilities").size(), 2U);
}

TEST_F(PegasusRegistration, TheModuleIsThePrivilegedLibraryInThisRelease) {
  const mof::Instance module = instancesOf("PG_ProviderModule").at(0);
  EXPECT_EQ(module.value("Name"), "SsdProviderModule");
  EXPECT_EQ(module.value("Location"), "vekssdprov");
  EXPECT_EQ(module.value("Version"), PROJECT_RELEASE);
  EXPECT_EQ(module.value("InterfaceType"), "CMPI");
  EXPECT_EQ(module.value("InterfaceVersion"), "2.0.0");
  EXPECT_EQ(module.value("UserContext"), "4");
}

TEST_F(PegasusRegistration, TheProviderCarriesTheFactoriesPrefix) {
  const mof::Instance provider = instancesOf("PG_Provider").at(0);
  EXPECT_EQ(provider.value("Name"), "SsdProvider");
  EXPECT_EQ(provider.value("ProviderModuleName"), "SsdProviderModule");
}

TEST_F(PegasusRegistration, InstancesAndIndicationsAreCapabilitiesOfTheSameProvider) {
  std::map<std::string, std::string> types;
  std::set<std::string> ids;
  for (const mof::Instance& capability : instancesOf("PG_ProviderCapabilities")) {
    EXPECT_EQ(capability.value("ProviderModuleName"), "SsdProviderModule");
    EXPECT_EQ(capability.value("ProviderName"), "SsdProvider");
    EXPECT_EQ(capability.value("Namespaces"), "root/cimv2");
    EXPECT_EQ(capability.value("SupportedProperties"), "NULL");
    EXPECT_EQ(capability.value("SupportedMethods"), "NULL");
    types[capability.value("ClassName")] = capability.value("ProviderType");
    ids.insert(capability.value("CapabilityID"));
  }
  EXPECT_EQ(types["KAV_SSDLifeMonitor"], "2");
  EXPECT_EQ(types["KAV_SSDLifeMonitorFailureImminent"], "4");
  EXPECT_THAT(ids, UnorderedElementsAre("1", "2"));
}

}  // namespace
