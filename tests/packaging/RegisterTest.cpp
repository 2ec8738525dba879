#include <filesystem>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/packaging/Till.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr const char* kSchema = SCHEMA_DIRECTORY;

std::string stageCall() {
  return std::string("sfcbstage -n root/cimv2 -r ") + kSchema + "/vekssdprov.reg " + kSchema +
         "/KAV_SSDLifeMonitor.mof";
}

std::string buildCall(const Till& till) {
  return "sfcbrepos -f -r " + till.root() + "/sfcb/registration.new";
}

const std::string kInterop = "sfcb/registration/repository/root/interop/";
const std::string kClass = "classes/KAV_SSDLifeMonitor";
const Till::Subscription kOurs{"vekssdprov:failure-imminent", "vekssdprov:http://collector:5990/"};
const Till::Subscription kOther{"backup:wear", "backup:1"};

std::string linkTarget(const std::string& path) {
  char target[4096];
  const ssize_t size = readlink(path.c_str(), target, sizeof target);
  return size < 0 ? "" : std::string(target, static_cast<std::size_t>(size));
}

class Register : public testing::Test {
 protected:
  // Runs it and expects that it succeeds with this one line.
  void expectLine(const std::string& task, const std::string& line) {
    const Till::Outcome outcome = till_.registerProvider(task);
    EXPECT_EQ(outcome.output, "ssddrv-register: " + line + "\n");
    EXPECT_EQ(outcome.errors, "");
    EXPECT_EQ(outcome.exitCode, 0);
  }

  void expectStatus(int exitCode, const std::string& line) {
    const Till::Outcome outcome = till_.registerProvider("status");
    EXPECT_EQ(outcome.output, "ssddrv-register: " + line + "\n");
    EXPECT_EQ(outcome.exitCode, exitCode);
  }

  // The schema of another version: one property more.
  void changeSchema() {
    std::filesystem::copy(kSchema, till_.root() + "/schema");
    std::string mof = till_.read("schema/KAV_SSDLifeMonitor.mof");
    mof.insert(mof.find("   string DriveModel;"), "   string Newcomer;\n");
    till_.write("schema/KAV_SSDLifeMonitor.mof", mof);
    till_.setSchema(till_.root() + "/schema");
  }

  Till till_;
};

TEST_F(Register, WithoutAnObjectManagerItSaysSoAndPackageScriptsGoOn) {
  expectLine("install", "no CIM object manager here (neither sfcb nor OpenPegasus)");
  expectLine("remove", "no CIM object manager here (neither sfcb nor OpenPegasus)");
  expectStatus(3, "no CIM object manager here (neither sfcb nor OpenPegasus)");
}

TEST_F(Register, AnythingButTheThreeTasksIsWrongUsage) {
  for (const char* arguments : {"", "explode", "install remove", "--install"}) {
    const Till::Outcome outcome = till_.registerProvider(arguments);
    EXPECT_EQ(outcome.exitCode, 2) << arguments;
    EXPECT_EQ(outcome.errors, "usage: ssddrv-register install|remove|status\n") << arguments;
  }
  EXPECT_EQ(till_.registerProvider("--help").exitCode, 0);
}

TEST_F(Register, AMissingSchemaIsAnErrorOfTheInstallation) {
  till_.setSchema("/nonexistent");
  const Till::Outcome outcome = till_.registerProvider("install");
  EXPECT_EQ(outcome.exitCode, 1);
  EXPECT_EQ(outcome.errors, "ssddrv-register: no schema in /nonexistent\n");
}

TEST_F(Register, LeavesNoTemporaryFiles) {
  till_.installSfcb();
  till_.installPegasus();
  for (const char* task : {"install", "status", "remove"}) {
    till_.registerProvider(task);
    EXPECT_EQ(rmdir((till_.root() + "/tmp").c_str()), 0) << task;
    mkdir((till_.root() + "/tmp").c_str(), 0755);
  }
}

TEST_F(Register, TellsOfBothManagersInOneLine) {
  till_.installSfcb();
  till_.installPegasus();
  expectLine("install", "registered with sfcb; registered with OpenPegasus");
  expectStatus(0, "registered with sfcb; registered with OpenPegasus (OK)");
  expectLine("remove", "no longer registered with sfcb; no longer registered with OpenPegasus");
}

class RegisterWithSfcb : public Register {
 protected:
  static constexpr const char* kStaged =
      "staged for sfcb: stop it, run 'ssddrv-register install' again and start it "
      "('sfcbrepos -f -i' instead drops all its stored subscriptions)";

  RegisterWithSfcb() { till_.installSfcb(); }
};

TEST_F(RegisterWithSfcb, AStoppedSfcbIsLeftStopped) {
  till_.installSystemd();
  expectLine("install", "registered with sfcb");
  EXPECT_THAT(till_.takeCalls(), ElementsAre(stageCall(), buildCall(till_)));
  EXPECT_FALSE(till_.exists("sfcb.running"));
}

TEST_F(RegisterWithSfcb, TheRepositoryIsBuiltWhileARunningSfcbIsStopped) {
  for (const char* unit : {"sfcb", "sblim-sfcb"}) {
    Till till;
    till.installSfcb();
    till.installSystemd(unit);
    till.set("sfcb.running");
    EXPECT_EQ(till.registerProvider("install").output, "ssddrv-register: registered with sfcb\n");
    EXPECT_THAT(till.takeCalls(),
                ElementsAre(stageCall(), std::string("systemctl stop ") + unit, buildCall(till),
                            std::string("systemctl start ") + unit));
    EXPECT_TRUE(till.exists("sfcb.running"));
  }
}

TEST_F(RegisterWithSfcb, OneThatNobodyCanStopIsOnlyStagedFor) {
  till_.set("sfcb.running");
  expectLine("install", kStaged);
  EXPECT_THAT(till_.takeCalls(), ElementsAre(stageCall()));
  expectStatus(1, "not registered with sfcb");
  till_.clear("sfcb.running");
  expectLine("install", "registered with sfcb");
}

TEST_F(RegisterWithSfcb, ANewSchemaThatIsOnlyStagedIsNotTakenForRegistered) {
  expectLine("install", "registered with sfcb");
  changeSchema();
  till_.set("sfcb.running");
  expectLine("install", kStaged);
  expectLine("install", kStaged);
  till_.clear("sfcb.running");
  expectLine("install", "registered with sfcb");
}

TEST_F(RegisterWithSfcb, OneThatNobodyCanStopIsOnlyUnstaged) {
  expectLine("install", "registered with sfcb");
  till_.set("sfcb.running");
  expectLine("remove",
             "unstaged from sfcb: stop it, run 'sfcbrepos -f -i', which drops all its stored "
             "subscriptions, and start it again");
}

TEST_F(RegisterWithSfcb, OneThatWillNotStopIsOnlyStagedFor) {
  till_.installSystemd();
  till_.set("sfcb.running");
  till_.set("sfcb.unstoppable");
  expectLine("install", kStaged);
  EXPECT_TRUE(till_.exists("sfcb.running"));
}

TEST_F(RegisterWithSfcb, ASecondTimeChangesNothing) {
  expectLine("install", "registered with sfcb");
  till_.takeCalls();
  expectLine("install", "registered with sfcb already, restart it to load a new version");
  EXPECT_THAT(till_.takeCalls(), IsEmpty());
}

TEST_F(RegisterWithSfcb, ANewSchemaIsBuiltAndStoredSubscriptionsStay) {
  expectLine("install", "registered with sfcb");
  till_.storeInSfcb(kOurs);
  till_.storeInSfcb(kOther);
  const std::string subscriptions = till_.read(kInterop + "cim_indicationsubscription.idx");
  changeSchema();
  expectLine("install", "registered with sfcb");
  EXPECT_THAT(till_.read("sfcb/stage/mofs/root/cimv2/KAV_SSDLifeMonitor.mof"),
              HasSubstr("Newcomer"));
  EXPECT_EQ(till_.read(kInterop + "cim_indicationsubscription.idx"), subscriptions);
  EXPECT_EQ(till_.read(kInterop + "cim_indicationsubscription"), "datadata");
  EXPECT_TRUE(till_.exists(kInterop + "cim_indicationfilter.idx"));
  EXPECT_TRUE(till_.exists(kInterop + "cim_listenerdestinationcimxml.idx"));
  expectLine("install", "registered with sfcb already, restart it to load a new version");
}

TEST_F(RegisterWithSfcb, WhatComesFromTheStageIsNotReplacedByWhatWasStored) {
  expectLine("install", "registered with sfcb");
  for (const char* name : {"qualifiers.idx", "sfcb_registeredprofile.idx"}) {
    till_.write(kInterop + name, "of an older stage\n");
  }
  changeSchema();
  expectLine("install", "registered with sfcb");
  EXPECT_EQ(till_.read(kInterop + "qualifiers.idx"), "of the stage\n");
  EXPECT_EQ(till_.read(kInterop + "sfcb_registeredprofile.idx"), "of the stage\n");
}

TEST_F(RegisterWithSfcb, ARepositoryThatCannotBeBuiltLeavesTheOldOne) {
  expectLine("install", "registered with sfcb");
  till_.storeInSfcb(kOurs);
  changeSchema();
  till_.set("sfcb.broken");
  expectLine("install", "sfcb could not build its repository (bad qualifier)");
  EXPECT_TRUE(till_.exists(kInterop + "cim_indicationsubscription.idx"));
  EXPECT_FALSE(till_.exists("sfcb/registration.new"));
  expectStatus(0, "registered with sfcb");
  till_.clear("sfcb.broken");
  expectLine("install", "registered with sfcb");
}

TEST_F(RegisterWithSfcb, RemovingTakesItsSubscriptionsAndNobodyElses) {
  expectLine("install", "registered with sfcb");
  till_.storeInSfcb(kOurs);
  expectLine("remove", "no longer registered with sfcb");
  for (const char* name :
       {"cim_indicationsubscription", "cim_indicationfilter", "cim_listenerdestinationcimxml"}) {
    EXPECT_FALSE(till_.exists(kInterop + name)) << name;
    EXPECT_FALSE(till_.exists(kInterop + name + ".idx")) << name;
  }
  expectLine("install", "registered with sfcb");
  till_.storeInSfcb(kOther);
  const std::string others = till_.read(kInterop + "cim_indicationsubscription.idx");
  till_.storeInSfcb(kOurs);
  expectLine("remove", "no longer registered with sfcb");
  EXPECT_EQ(till_.read(kInterop + "cim_indicationsubscription.idx"), others);
}

TEST_F(RegisterWithSfcb, RemovingTakesStageAndRegistrationBack) {
  till_.installSystemd();
  till_.set("sfcb.running");
  expectLine("install", "registered with sfcb");
  till_.takeCalls();
  expectLine("remove", "no longer registered with sfcb");
  EXPECT_THAT(till_.takeCalls(),
              ElementsAre("sfcbunstage -n root/cimv2 -r vekssdprov.reg KAV_SSDLifeMonitor.mof",
                          "systemctl stop sfcb", buildCall(till_), "systemctl start sfcb"));
  EXPECT_FALSE(till_.exists("sfcb/stage/regs/vekssdprov.reg"));
  EXPECT_FALSE(till_.exists("sfcb/registration/repository/root/cimv2/qualifiers"));
  expectStatus(1, "not registered with sfcb");
  expectLine("remove", "was not registered with sfcb");
}

TEST_F(RegisterWithSfcb, WhatSfcbRefusesIsToldWithItsLastWordsAndSfcbRunsAgain) {
  till_.installSystemd();
  till_.set("sfcb.running");
  till_.set("sfcb.broken");
  expectLine("install", "sfcb could not build its repository (bad qualifier)");
  EXPECT_TRUE(till_.exists("sfcb.running"));
  till_.set("sfcb.unwilling");
  expectLine("install", "sfcb did not take the registration (stage: no space left)");
}

TEST_F(RegisterWithSfcb, OneThatDoesNotStartAgainIsTold) {
  till_.installSystemd();
  till_.set("sfcb.running");
  till_.set("sfcb.dead");
  expectLine("install", "registered with sfcb; sfcb did not start again (start failed)");
}

TEST_F(RegisterWithSfcb, TheStatusIsThatOfBothClasses) {
  expectStatus(1, "not registered with sfcb");
  expectLine("install", "registered with sfcb");
  expectStatus(0, "registered with sfcb");
  till_.write("sfcb/registration/providerRegister", "[KAV_SSDLifeMonitor]\n");
  expectStatus(1, "not registered with sfcb");
}

TEST_F(RegisterWithSfcb, ALinkIsMadeWhereSfcbLooksForProvidersAndGoesAgain) {
  mkdir((till_.root() + "/providers/cmpi").c_str(), 0755);
  mkdir((till_.root() + "/providers/sfcb").c_str(), 0755);
  till_.write("sfcb.cfg", "providerDirs: " + till_.root() + "/providers/cmpi " + till_.root() +
                              "/providers/sfcb " + till_.root() + "/absent\n");
  till_.registerProvider("install");
  const std::string link = till_.root() + "/providers/cmpi/libvekssdprov.so";
  EXPECT_EQ(linkTarget(link), "/usr/lib/libvekssdprov.so.0");
  till_.registerProvider("install");
  EXPECT_FALSE(till_.exists("providers/sfcb/libvekssdprov.so"));
  till_.registerProvider("remove");
  EXPECT_EQ(linkTarget(link), "");
}

TEST_F(RegisterWithSfcb, ALinkThatThePackageBroughtStays) {
  till_.write("sfcb.cfg", "providerDirs: " + till_.root() + "/providers\n");
  ASSERT_EQ(symlink("../bin/sh", (till_.root() + "/providers/libvekssdprov.so").c_str()), 0);
  till_.registerProvider("install");
  till_.registerProvider("remove");
  EXPECT_EQ(linkTarget(till_.root() + "/providers/libvekssdprov.so"), "../bin/sh");
}

TEST_F(RegisterWithSfcb, WithoutAProviderDirectoryItSaysWhatToDo) {
  till_.write("sfcb.cfg", "providerDirs: " + till_.root() +
                              "/absent\nregistrationDir: " + till_.root() + "/sfcb/registration\n");
  expectLine("install",
             "put a link libvekssdprov.so to /usr/lib/libvekssdprov.so.0 into a provider directory "
             "of sfcb; registered with sfcb");
}

class RegisterWithPegasus : public Register {
 protected:
  RegisterWithPegasus() { till_.installPegasus(); }

  static std::string compileClasses() {
    return std::string("cimmof -uc -aEV -n root/cimv2 ") + kSchema + "/KAV_SSDLifeMonitor.mof";
  }
  static std::string compileRegistration(const std::string& interop) {
    return "cimmof -n " + interop + " " + kSchema + "/vekssdprov-pegasus.mof";
  }
};

TEST_F(RegisterWithPegasus, TheClassesComeFirstThenTheRegistration) {
  expectLine("install", "registered with OpenPegasus");
  EXPECT_THAT(till_.takeCalls(),
              ElementsAre(compileClasses(), compileRegistration("root/PG_InterOp")));
  expectStatus(0, "registered with OpenPegasus (OK)");
}

TEST_F(RegisterWithPegasus, TheInteropNamespaceIsTheServers) {
  for (const char* name : {"root/interop", "interop"}) {
    Till till;
    till.installPegasus(name);
    till.registerProvider("install");
    EXPECT_THAT(till.takeCalls(), ElementsAre(compileClasses(), compileRegistration(name)));
  }
}

TEST_F(RegisterWithPegasus, AServerThatIsDownFailsNoPackageScript) {
  till_.set("pegasus.down");
  expectLine("install", "OpenPegasus does not answer: run 'ssddrv-register install' when it does");
  expectLine("remove",
             "OpenPegasus does not answer: run 'cimprovider -r -m SsdProviderModule' when it does");
  expectStatus(1, "OpenPegasus does not answer");
  EXPECT_THAT(till_.takeCalls(), IsEmpty());
}

TEST_F(RegisterWithPegasus, ANewVersionReplacesTheOldRegistrationAndItsAgent) {
  expectLine("install", "registered with OpenPegasus");
  till_.takeCalls();
  expectLine("install", "registered with OpenPegasus");
  EXPECT_THAT(till_.takeCalls(),
              ElementsAre("cimprovider -r -m SsdProviderModule", compileClasses(),
                          compileRegistration("root/PG_InterOp")));
}

TEST_F(RegisterWithPegasus, ANewSchemaReplacesTheOldClasses) {
  expectLine("install", "registered with OpenPegasus");
  changeSchema();
  expectLine("install", "registered with OpenPegasus");
  EXPECT_THAT(till_.read(kClass), HasSubstr("Newcomer"));
  till_.setSchema(kSchema);
  expectLine("install", "registered with OpenPegasus");
  EXPECT_THAT(till_.read(kClass), Not(HasSubstr("Newcomer")));
}

TEST_F(RegisterWithPegasus, AClassThatItKeepsAllTheSameIsTold) {
  expectLine("install", "registered with OpenPegasus");
  changeSchema();
  till_.command("cimmof", "echo 'Warning: the class already exists'");
  expectLine("install",
             "OpenPegasus did not take the registration (it keeps another class "
             "KAV_SSDLifeMonitor)");
}

TEST_F(RegisterWithPegasus, RemovingUnsubscribesFirst) {
  expectLine("install", "registered with OpenPegasus");
  till_.storeInPegasus(kOurs);
  expectLine("remove", "no longer registered with OpenPegasus");
  EXPECT_EQ(till_.read("instances"), "");
  EXPECT_FALSE(till_.exists(kClass));
}

TEST_F(RegisterWithPegasus, TheIndicationsClassStaysForOthersThatSubscribeToIt) {
  expectLine("install", "registered with OpenPegasus");
  till_.storeInPegasus(kOther);
  const std::string others = till_.read("instances");
  till_.storeInPegasus(kOurs);
  expectLine("remove",
             "no longer registered with OpenPegasus but for class "
             "KAV_SSDLifeMonitorFailureImminent, to which others subscribe");
  EXPECT_EQ(till_.read("instances"), others);
  EXPECT_FALSE(till_.exists(kClass));
  EXPECT_TRUE(till_.exists(kClass + "FailureImminent"));
}

TEST_F(RegisterWithPegasus, RemovingTakesModuleAndClasses) {
  expectLine("install", "registered with OpenPegasus");
  till_.takeCalls();
  expectLine("remove", "no longer registered with OpenPegasus");
  EXPECT_THAT(till_.takeCalls(),
              ElementsAre("cimprovider -r -m SsdProviderModule",
                          "cimcli dc KAV_SSDLifeMonitor -n root/cimv2",
                          "cimcli dc KAV_SSDLifeMonitorFailureImminent -n root/cimv2"));
  expectStatus(1, "not registered with OpenPegasus");
  expectLine("remove", "was not registered with OpenPegasus");
}

TEST_F(RegisterWithPegasus, WhatItRefusesIsToldWithItsLastWords) {
  till_.set("pegasus.unwilling");
  expectLine("install", "OpenPegasus did not take the registration (Parsing error: line 3)");
  expectStatus(1, "not registered with OpenPegasus");
}

TEST_F(RegisterWithPegasus, ALinkIsMadeInItsProviderDirectoryAndGoesAgain) {
  till_.registerProvider("install");
  EXPECT_EQ(linkTarget(till_.root() + "/providers/libvekssdprov.so"),
            "/usr/lib/libvekssdprov.so.0");
  till_.registerProvider("remove");
  EXPECT_FALSE(till_.exists("providers/libvekssdprov.so"));
}

TEST_F(RegisterWithPegasus, AProviderDirectoryMayBeRelativeToItsHome) {
  mkdir((till_.root() + "/pegasus").c_str(), 0755);
  mkdir((till_.root() + "/pegasus/lib").c_str(), 0755);
  till_.write("providerDir", "lib");
  till_.registerProvider("install");
  EXPECT_EQ(linkTarget(till_.root() + "/pegasus/lib/libvekssdprov.so"),
            "/usr/lib/libvekssdprov.so.0");
}

}  // namespace
