#include "tests/packaging/Till.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <utility>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// What ssddrv-register itself needs of a system.
constexpr const char* kTools[] = {"awk",  "cat", "cmp",   "cp",     "dirname", "find", "grep",
                                  "head", "ln",  "mkdir", "mktemp", "mv",      "rm",   "readlink",
                                  "sed",  "sh",  "sort",  "tail",   "tr"};

// pidof tells by its exit status; systemctl answers 4 about a unit that there is not.
constexpr const char* kPidof = R"sh([ "$1" = sfcbd ] && [ -e "$TILL/sfcb.running" ])sh";
constexpr const char* kSystemctl = R"sh(
unit=$(cat "$TILL/unit")
for name; do :; done
[ "$name" = "$unit" ] || exit 4
case $1 in
  is-active) [ -e "$TILL/sfcb.running" ] ;;
  stop) [ ! -e "$TILL/sfcb.unstoppable" ] && rm "$TILL/sfcb.running" ;;
  start) [ ! -e "$TILL/sfcb.dead" ] || { echo "start failed"; exit 1; }; : >"$TILL/sfcb.running" ;;
esac
)sh";

// What the commands of OpenPegasus 2.14.4 say when the server does not run.
constexpr const char* kServerUp = R"sh(
[ ! -e "$TILL/pegasus.down" ] || { echo "The CIM server may not be running."; exit 1; }
)sh";

// The stand-in of this name, as the rest of a script.
std::string standIn(const std::string& name) { return ". '" STAND_INS "/" + name + "'\n"; }

// An entry of an index of sfcb 1.3.11: its own length, that of the key, the key, size and place of
// data.
std::string indexed(const std::string& key) {
  const std::string rest = " " + std::to_string(key.size()) + " " + key + " 1424 0\r\n";
  return std::to_string(rest.size() + 3) + rest;
}

std::string sfcbKey(const std::string& className, const std::string& name) {
  return "creationclassname=\"" + className + "\",name=\"" + name +
         "\",systemcreationclassname=\"CIM_ComputerSystem\",systemname=\"till\"";
}

std::string pegasusPath(const std::string& className, const std::string& name) {
  return className + ".CreationClassName=\"" + className + "\",Name=\"" + name +
         "\",SystemCreationClassName=\"CIM_ComputerSystem\",SystemName=\"till\"";
}

std::string quoted(std::string text) {
  for (std::size_t at = text.find('"'); at != std::string::npos; at = text.find('"', at + 2)) {
    text.insert(at, 1, '\\');
  }
  return '"' + text + '"';
}

std::string contentOf(const std::string& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

bool isQuestion(const std::string& call) {
  for (const char* start : {"pidof", "systemctl is-active", "cimprovider -l", "cimcli gc",
                            "cimcli ni", "cimcli ei", "cimconfig"}) {
    if (call.find(start) == 0) {
      return true;
    }
  }
  return false;
}

}  // namespace

Till::Till() {
  for (const char* directory : {"/bin", "/tmp", "/sfcb", "/providers"}) {
    mkdir((root() + directory).c_str(), 0755);
  }
  for (const char* tool : kTools) {
    const std::string real = std::string("/usr/bin/") + tool;
    if (access(real.c_str(), X_OK) != 0 ||
        symlink(real.c_str(), (root() + "/bin/" + tool).c_str()) != 0) {
      throw std::runtime_error("no " + real);
    }
  }
  write("sfcb.cfg", "registrationDir: " + root() + "/sfcb/registration\n");
}

void Till::installSfcb() {
  for (const char* name : {"sfcbstage", "sfcbunstage", "sfcbrepos"}) {
    command(name, standIn(std::string("sfcb/") + name));
  }
  command("pidof", kPidof);
}

void Till::installPegasus(const std::string& interopNamespace) {
  write("interop", interopNamespace);
  write("providerDir", root() + "/providers");
  for (const char* name : {"cimprovider", "cimmof", "cimcli", "cimconfig"}) {
    command(name, kServerUp + standIn(std::string("pegasus/") + name));
  }
}

void Till::storeInSfcb(const Subscription& subscription) {
  const std::string interop = "sfcb/registration/repository/root/interop";
  std::filesystem::create_directories(root() + "/" + interop);
  const std::string filter = sfcbKey("CIM_IndicationFilter", subscription.filter);
  const std::string handler = sfcbKey("CIM_ListenerDestinationCIMXML", subscription.handler);
  const auto store = [&](const std::string& className, const std::string& key) {
    for (const auto& [file, text] :
         {std::pair(className, std::string("data")), std::pair(className + ".idx", indexed(key))}) {
      std::ofstream(root() + "/" + interop + "/" + file, std::ios::app) << text;
    }
  };
  store("cim_indicationfilter", filter);
  store("cim_listenerdestinationcimxml", handler);
  store("cim_indicationsubscription", "filter=root/interop:cim_indicationfilter." + filter +
                                          ",handler=root/interop:cim_listenerdestinationcimxml." +
                                          handler);
}

void Till::storeInPegasus(const Subscription& subscription) {
  const std::string filter = pegasusPath("CIM_IndicationFilter", subscription.filter);
  const std::string handler = pegasusPath("CIM_ListenerDestinationCIMXML", subscription.handler);
  std::ofstream(root() + "/instances", std::ios::app)
      << filter << "|SELECT * FROM KAV_SSDLifeMonitorFailureImminent\n"
      << handler << "|\n"
      << "CIM_IndicationSubscription.Filter=" << quoted(filter) << ",Handler=" << quoted(handler)
      << "|\n";
}

void Till::installSystemd(const std::string& unit) {
  write("unit", unit);
  command("systemctl", kSystemctl);
}

void Till::command(const std::string& name, const std::string& script) {
  const std::string path = "bin/" + name;
  write(path, "#!/bin/sh\nset -e\necho \"" + name + " $*\" >>\"$TILL/calls\"\n" + script + "\n");
  chmod((root() + "/" + path).c_str(), 0755);
}

void Till::set(const std::string& flag) { write(flag, ""); }

void Till::clear(const std::string& flag) { unlink((root() + "/" + flag).c_str()); }

void Till::write(const std::string& file, const std::string& text) {
  std::ofstream(root() + "/" + file) << text;
}

std::string Till::read(const std::string& file) const { return contentOf(root() + "/" + file); }

bool Till::exists(const std::string& file) const {
  struct stat ignored {};
  return lstat((root() + "/" + file).c_str(), &ignored) == 0;
}

Till::Outcome Till::registerProvider(const std::string& arguments) {
  const std::string command =
      "env -i TILL='" + root() + "' PATH='" + root() + "/bin' TMPDIR='" + root() +
      "/tmp' SFCB_CONFIG='" + root() + "/sfcb.cfg' PEGASUS_HOME='" + root() +
      "/pegasus' SSDDRV_LIBRARY=/usr/lib/libvekssdprov.so.0 " + "SSDDRV_SCHEMA_DIR='" + schema_ +
      "' " + REGISTER_SCRIPT " " + arguments + " >'" + root() + "/output' 2>'" + root() +
      "/errors' </dev/null";
  const int status = std::system(command.c_str());
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, read("output"), read("errors")};
}

std::vector<std::string> Till::takeCalls() {
  std::vector<std::string> calls;
  std::istringstream lines(read("calls"));
  for (std::string line; std::getline(lines, line);) {
    if (!isQuestion(line)) {
      calls.push_back(line);
    }
  }
  clear("calls");
  return calls;
}
