#include <gtest/gtest.h>

#include <algorithm>

#include "tests/system/TillRun.h"

namespace {

struct Case {
  const char* behaviour;
  std::size_t threads;   ///< that run, and reach their end
  std::size_t onThread;  ///< unknown exceptions logged there
  std::size_t onCaller;  ///< and by what started the thread
};

void PrintTo(const Case& given, std::ostream* out) { *out << given.behaviour; }

class ExceptionsOfTheBroker : public ::testing::TestWithParam<Case> {};

}  // namespace

TEST_P(ExceptionsOfTheBroker, AreLoggedAndGoNoFurther) {
  TillRun till(machineWith(sataDrive("sda", "S1", R"({"readings": [95, 95, 96]})")));
  till.setting(kNoPolls).run({GetParam().behaviour});
  const auto logged = [&](const char* text) { return countOf(till.logText(), text); };
  EXPECT_EQ(countOf(till.err(), "IndicateThread - Exit\n"), GetParam().threads);
  EXPECT_EQ(logged("Error\tindicateThread - Unknown Exception\n"), GetParam().onThread);
  EXPECT_EQ(logged("Error\tSsdProvider::SsdFailureImminent - sendIndication - Unknown Exception\n"),
            GetParam().onCaller);
}

INSTANTIATE_TEST_SUITE_P(, ExceptionsOfTheBroker,
                         ::testing::Values(Case{"throw-in-prepare", 1, 1, 0},
                                           Case{"throw-in-attach", 1, 1, 0},
                                           Case{"throw-in-detach", 1, 1, 0},
                                           Case{"throw-in-start", 0, 0, 1},
                                           Case{"throw-in-the-callers-detach", 1, 1, 1}),
                         [](const auto& instance) {
                           std::string name = instance.param.behaviour;
                           std::replace(name.begin(), name.end(), '-', '_');
                           return name;
                         });

TEST(Exceptions, InARequestAreAFailureOfThatRequest) {
  TillRun(machineWith(sataDrive("sda", "S1", "10"))).setting(kNoPolls).run({"throw-in-request"});
}

TEST(Exceptions, InTheLastCleanUpDontKeepTheProviderAlive) {
  TillRun till(machineWith(sataDrive("sda", "S1", "10")));
  till.setting(kNoPolls).run({"throw-in-clean-up"});
  EXPECT_EQ(countOf(till.logText(), "SsdProvider - provider destroyed\n"), 1U);
}
