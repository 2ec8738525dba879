#pragma once

#include <string>
#include <vector>

#include "tests/support/TempDir.h"

// A till with the object managers that a test gives it: commands of their names, on a PATH of its
// own, that behave as the real ones were seen to (each says so in its file in sfcb/ or pegasus/)
// and write down how they were called.
class Till {
 public:
  Till();

  void installSfcb();
  void installPegasus(const std::string& interopNamespace = "root/PG_InterOp");

  // A service manager that knows sfcb as this unit.
  void installSystemd(const std::string& unit = "sfcb");

  // A subscription to our indications, by the names of its filter and its handler.
  struct Subscription {
    std::string filter;
    std::string handler;
  };
  void storeInSfcb(const Subscription& subscription);
  void storeInPegasus(const Subscription& subscription);

  // The schema to register, instead of the project's.
  void setSchema(const std::string& directory) { schema_ = directory; }

  // A command that behaves like this shell script, instead of what is there.
  void command(const std::string& name, const std::string& script);

  // Files that the fake commands look at ("sfcb.running", "pegasus.down"...).
  void set(const std::string& flag);
  void clear(const std::string& flag);

  void write(const std::string& file, const std::string& text);
  std::string read(const std::string& file) const;
  bool exists(const std::string& file) const;

  struct Outcome {
    int exitCode = -1;
    std::string output;
    std::string errors;
  };
  // ssddrv-register with these arguments.
  Outcome registerProvider(const std::string& arguments);

  // The calls since the last time, each as the command line; questions are left out.
  std::vector<std::string> takeCalls();

  const std::string& root() const { return root_.path(); }

 private:
  const testkit::TempDir root_;
  std::string schema_ = SCHEMA_DIRECTORY;
};
