#include <cstdio>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include "tests/schema/ObjectManager.h"
#include "tests/support/TempDir.h"

// schema/subscription/subscribe against an object manager that answers by HTTP.

namespace {

using testing::HasSubstr;
using testing::IsEmpty;

struct Outcome {
  int exitCode = -1;
  std::string output;  // and errors
};

class SubscribeScript : public testing::Test {
 protected:
  Outcome run(const std::string& arguments) const {
    const std::string command = "HOME='" + home_.path() + "' TMPDIR='" + home_.path() +
                                "' no_proxy='*' sh '" SCHEMA_DIRECTORY "/subscription/subscribe' " +
                                arguments + " 2>&1 </dev/null";
    Outcome outcome;
    std::FILE* pipe = popen(command.c_str(), "r");
    for (int c = std::fgetc(pipe); c != EOF; c = std::fgetc(pipe)) {
      outcome.output += static_cast<char>(c);
    }
    const int status = pclose(pipe);
    outcome.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return outcome;
  }

  Outcome ask(const ObjectManager& manager, const std::string& arguments) const {
    return run("-s " + manager.url() + " " + arguments);
  }

  const testkit::TempDir home_;
};

class Subscribe : public SubscribeScript,
                  public testing::WithParamInterface<ObjectManager::Layout> {};

std::string layoutName(const testing::TestParamInfo<ObjectManager::Layout>& layout) {
  return layout.param == ObjectManager::Layout::kOneLine ? "InOneLine" : "InManyLines";
}

INSTANTIATE_TEST_SUITE_P(Answers, Subscribe,
                         testing::Values(ObjectManager::Layout::kOneLine,
                                         ObjectManager::Layout::kLineForEachTag),
                         layoutName);

TEST_P(Subscribe, CreatesFilterDestinationAndSubscription) {
  ObjectManager manager("root/interop", GetParam());
  const Outcome outcome = ask(manager, "create http://collector:5990/till");
  EXPECT_EQ(outcome.output, "subscribed: http://collector:5990/till\n");
  EXPECT_EQ(outcome.exitCode, 0);
  EXPECT_THAT(manager.complaints(), IsEmpty());
  ASSERT_EQ(manager.held().size(), 3U);
  const auto held = manager.held();
  EXPECT_EQ(held[0].className, "CIM_IndicationFilter");
  EXPECT_THAT(held[0].created, HasSubstr("SELECT * FROM KAV_SSDLifeMonitorFailureImminent"));
  EXPECT_THAT(held[0].created, HasSubstr("<VALUE>WQL</VALUE>"));
  EXPECT_THAT(held[0].created, HasSubstr("<VALUE>root/cimv2</VALUE>"));
  EXPECT_EQ(held[1].className, "CIM_ListenerDestinationCIMXML");
  EXPECT_THAT(held[1].created, HasSubstr("<VALUE>http://collector:5990/till</VALUE>"));
  EXPECT_EQ(held[2].className, "CIM_IndicationSubscription");
}

TEST_F(SubscribeScript, CreatingTwiceIsAsGoodAsOnce) {
  ObjectManager manager("root/interop");
  EXPECT_EQ(ask(manager, "create http://collector:5990").exitCode, 0);
  EXPECT_EQ(ask(manager, "create http://collector:5990").exitCode, 0);
  EXPECT_EQ(manager.held().size(), 3U);
}

TEST_P(Subscribe, ListsWhereIndicationsAreDelivered) {
  ObjectManager manager("root/interop", GetParam());
  EXPECT_EQ(ask(manager, "list").output, "");
  EXPECT_EQ(ask(manager, "create http://one:5990/").exitCode, 0);
  EXPECT_EQ(ask(manager, "create 'https://two:5990/?a=1&b=2'").exitCode, 0);
  EXPECT_EQ(ask(manager, "list").output, "http://one:5990/\nhttps://two:5990/?a=1&b=2\n");
  EXPECT_THAT(manager.complaints(), IsEmpty());
}

TEST_P(Subscribe, RemovesOneAndKeepsTheFilterForTheOthers) {
  ObjectManager manager("root/interop", GetParam());
  EXPECT_EQ(ask(manager, "create http://one:5990").exitCode, 0);
  EXPECT_EQ(ask(manager, "create http://one:5990/longer").exitCode, 0);
  EXPECT_EQ(ask(manager, "remove http://one:5990").output, "removed: http://one:5990\n");
  EXPECT_EQ(ask(manager, "list").output, "http://one:5990/longer\n");
  EXPECT_EQ(manager.count("CIM_IndicationFilter"), 1U);
  EXPECT_EQ(manager.count("CIM_ListenerDestinationCIMXML"), 1U);
  EXPECT_THAT(manager.complaints(), IsEmpty());
}

TEST_F(SubscribeScript, RemovesAllAndLeavesNothingBehind) {
  ObjectManager manager("root/interop");
  EXPECT_EQ(ask(manager, "create http://one:5990").exitCode, 0);
  EXPECT_EQ(ask(manager, "create http://two:5990").exitCode, 0);
  EXPECT_EQ(ask(manager, "remove").output, "removed: all\n");
  EXPECT_THAT(manager.held(), IsEmpty());
}

TEST_F(SubscribeScript, FindsTheInteropNamespaceOfTheServer) {
  for (const char* name : {"root/interop", "root/PG_InterOp", "interop"}) {
    ObjectManager manager(name);
    EXPECT_EQ(ask(manager, "create http://one:5990").exitCode, 0) << name;
    EXPECT_EQ(manager.held().size(), 3U) << name;
  }
}

TEST_F(SubscribeScript, TakesANamespaceThatItIsGiven) {
  ObjectManager manager("root/somewhere/else");
  EXPECT_THAT(ask(manager, "create http://one:5990").output, HasSubstr("give it with -n"));
  EXPECT_EQ(ask(manager, "-n root/somewhere/else create http://one:5990").exitCode, 0);
  EXPECT_EQ(manager.held().size(), 3U);
}

TEST_P(Subscribe, ExplainsWhatTheServerRefuses) {
  ObjectManager manager("root/interop", GetParam());
  const Outcome outcome = ask(manager, "-n root/other list");
  EXPECT_EQ(outcome.exitCode, 1);
  EXPECT_THAT(outcome.output, HasSubstr("refused with CIM error 3: no such namespace"));
}

TEST_F(SubscribeScript, AListenerThatAnotherCallHasRemovedIsRemoved) {
  ObjectManager manager("root/interop");
  EXPECT_EQ(ask(manager, "create http://one:5990").exitCode, 0);
  for (const char* className :
       {"CIM_IndicationSubscription", "CIM_ListenerDestinationCIMXML", "CIM_IndicationFilter"}) {
    EXPECT_EQ(ask(manager, "create http://two:5990").exitCode, 0);
    manager.meanwhile("DeleteInstance", className,
                      [&] { EXPECT_EQ(ask(manager, "remove").exitCode, 0); });
    const Outcome outcome = ask(manager, "remove http://two:5990");
    EXPECT_EQ(outcome.exitCode, 0) << className;
    EXPECT_EQ(outcome.output, "removed: http://two:5990\n") << className;
    EXPECT_THAT(manager.held(), IsEmpty()) << className;
  }
}

TEST_F(SubscribeScript, AFilterThatAnotherCallHasTakenIntoUseStays) {
  ObjectManager manager("root/interop");
  EXPECT_EQ(ask(manager, "create http://one:5990").exitCode, 0);
  manager.meanwhile("DeleteInstance", "CIM_IndicationFilter",
                    [&] { EXPECT_EQ(ask(manager, "create http://two:5990").exitCode, 0); });
  EXPECT_EQ(ask(manager, "remove http://one:5990").output, "removed: http://one:5990\n");
  EXPECT_EQ(ask(manager, "list").output, "http://two:5990\n");
}

TEST_F(SubscribeScript, WhatAnotherCallRemovesWhileItIsCreatedIsCreatedAgain) {
  ObjectManager manager("root/interop");
  for (const char* request : {"EnumerateInstanceNames CIM_IndicationFilter",
                              "EnumerateInstanceNames CIM_ListenerDestinationCIMXML",
                              "CreateInstance CIM_IndicationSubscription"}) {
    EXPECT_EQ(ask(manager, "create http://two:5990").exitCode, 0);
    const std::string words = request;
    const std::size_t blank = words.find(' ');
    manager.meanwhile(words.substr(0, blank), words.substr(blank + 1),
                      [&] { EXPECT_EQ(ask(manager, "remove").exitCode, 0); });
    const Outcome outcome = ask(manager, "-n root/interop create http://one:5990");
    EXPECT_EQ(outcome.output, "subscribed: http://one:5990\n") << request;
    EXPECT_EQ(ask(manager, "list").output, "http://one:5990\n") << request;
  }
}

TEST_F(SubscribeScript, SaysInOneLineWhatTheIndicationsClassIsNeededFor) {
  ObjectManager manager("root/interop");
  EXPECT_EQ(ask(manager, "create 'http://one:5990/?a=1&b=2'").exitCode, 0);
  manager.forgetIndicationClass();
  for (const char* arguments : {"remove", "remove 'http://one:5990/?a=1&b=2'"}) {
    const Outcome outcome = ask(manager, arguments);
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.output,
              "subscribe: cannot remove http://one:5990/?a=1&b=2 without the indication's class: "
              "run 'ssddrv-register install', then remove again\n");
  }
  EXPECT_EQ(manager.held().size(), 3U);
  EXPECT_THAT(manager.complaints(), IsEmpty());
}

TEST_F(SubscribeScript, SaysThatNobodyAnswers) {
  std::string url;
  {
    ObjectManager gone("root/interop");
    url = gone.url();
  }
  const Outcome outcome = run("-s " + url + " list");
  EXPECT_EQ(outcome.exitCode, 1);
  EXPECT_THAT(outcome.output, HasSubstr("subscribe: " + url + " does not answer"));
}

TEST_F(SubscribeScript, RemovingAnUnknownListenerFails) {
  ObjectManager manager("root/interop");
  const Outcome outcome = ask(manager, "remove http://nobody:1");
  EXPECT_EQ(outcome.exitCode, 1);
  EXPECT_EQ(outcome.output, "subscribe: no subscription delivers to http://nobody:1\n");
}

TEST_F(SubscribeScript, WrongUsageIsAnsweredWithTheUsage) {
  for (const char* arguments : {"", "explode", "create", "create collector:5990", "list it",
                                "remove http://a http://b", "-x list"}) {
    const Outcome outcome = run(arguments);
    EXPECT_EQ(outcome.exitCode, 2) << arguments;
    EXPECT_THAT(outcome.output, HasSubstr("usage: subscribe")) << arguments;
  }
}

TEST_F(SubscribeScript, LeavesNoTemporaryFiles) {
  ObjectManager manager("root/interop");
  EXPECT_EQ(ask(manager, "create http://one:5990").exitCode, 0);
  const std::string look = "test -z \"$(ls -A '" + home_.path() + "')\"";
  EXPECT_EQ(std::system(look.c_str()), 0);
}

}  // namespace
