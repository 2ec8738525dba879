#include <gtest/gtest.h>

#include "ssdlife/Failure.h"
#include "ssdlife/LibraryPath.h"
#include "ssdlife/SimulatedMachine.h"

using ssdlife::requirePrivilege;

TEST(Privilege, IsNeededForRealDrivesOnly) {
  EXPECT_NO_THROW(requirePrivilege(true, false));
  EXPECT_NO_THROW(requirePrivilege(true, true));
  EXPECT_NO_THROW(requirePrivilege(false, true));
  try {
    requirePrivilege(false, false);
    FAIL() << "anybody may read real drives";
  } catch (const ssdlife::Failure& failure) {
    EXPECT_EQ(failure.exitCode(), ssdlife::ExitCode::kPrivilege);
  }
}

TEST(LibraryPath, TheOneThatWasAskedForComesFirst) {
  EXPECT_EQ(ssdlife::providerLibrary("/some/lib.so"), "/some/lib.so");
}

TEST(LibraryPath, TheSimulatorIsLookedForNextToTheLibraryFirst) {
  const auto candidates = ssdlife::preloadCandidates("libvekssdsim.so", "/some/where/lib.so");
  EXPECT_EQ(candidates.front(), "/some/where/libvekssdsim.so");
  const auto withoutFolder = ssdlife::preloadCandidates("libvekssdsim.so", "lib.so");
  EXPECT_EQ(withoutFolder.front(), ssdlife::ownFolder() + "/../lib/libvekssdsim.so");
}
