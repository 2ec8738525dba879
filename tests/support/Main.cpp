#include <cstdio>
#include <cstdlib>
#include <string>

#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/sendfile.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/support/FakeKernel.h"
#include "tests/support/FakeRoot.h"

// Log handler and configuration are read once in a process, so every test has a process to itself:
// CTest starts one for each, and a run of several by hand is split up here.

namespace {

/// Shows what the test has written only if it failed.
bool passesAlone(const std::string& name) {
  std::string program = "/proc/self/exe";
  std::string filter = "--gtest_filter=" + name;
  char* arguments[] = {program.data(), filter.data(), nullptr};
  const int output = memfd_create("test output", 0);
  posix_spawn_file_actions_t redirection;
  posix_spawn_file_actions_init(&redirection);
  posix_spawn_file_actions_adddup2(&redirection, output, STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&redirection, output, STDERR_FILENO);
  pid_t child = 0;
  int status = -1;
  if (posix_spawn(&child, program.c_str(), &redirection, nullptr, arguments, environ) == 0) {
    waitpid(child, &status, 0);
  }
  posix_spawn_file_actions_destroy(&redirection);
  std::printf("%s %s\n", status == 0 ? "[  PASSED  ]" : "[  FAILED  ]", name.c_str());
  std::fflush(stdout);
  if (status != 0) {
    off_t offset = 0;
    while (sendfile(STDOUT_FILENO, output, &offset, 1 << 16) > 0) {
    }
  }
  close(output);
  return status == 0;
}

class OneProcessPerTest : public testing::EmptyTestEventListener {
  void OnTestProgramStart(const testing::UnitTest& run) override {
    if (run.test_to_run_count() == 0) {
      std::puts("There is no such test.");
      std::exit(EXIT_FAILURE);
    }
    if (run.test_to_run_count() == 1) {
      return;
    }
    int failed = 0;
    for (int i = 0; i < run.total_test_suite_count(); ++i) {
      const testing::TestSuite& suite = *run.GetTestSuite(i);
      for (int j = 0; j < suite.total_test_count(); ++j) {
        const testing::TestInfo& test = *suite.GetTestInfo(j);
        if (test.should_run()) {
          failed += passesAlone(std::string(suite.name()) + "." + test.name()) ? 0 : 1;
        }
      }
    }
    std::printf("%d of %d tests failed.\n", failed, run.test_to_run_count());
    std::exit(failed == 0 ? EXIT_SUCCESS : EXIT_FAILURE);
  }
};

/// No test has to ask whether everything expected has happened, or whether a file was left open.
class NothingLeftOver : public testing::EmptyTestEventListener {
  void OnTestEnd(const testing::TestInfo&) override {
    testkit::FakeKernel::instance().verify();
    testkit::FakeRoot::instance().verify();
  }
};

}  // namespace

int main(int argc, char** argv) {
  // Static objects may have left a note without a line end; CTest takes it for a part of a name.
  std::puts("");
  testing::InitGoogleTest(&argc, argv);
  auto& listeners = testing::UnitTest::GetInstance()->listeners();
  listeners.Append(new OneProcessPerTest);
  listeners.Append(new NothingLeftOver);
  return RUN_ALL_TESTS();
}
