#include "tests/packaging/Till.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// What ssddrv-register itself needs of a system.
constexpr const char* kTools[] = {"cat",    "cmp", "cp",  "dirname",  "grep", "head", "ln", "mkdir",
                                  "mktemp", "rm",  "sed", "readlink", "sh",   "tail", "tr"};

// Stage and repository are directories; the repository is only built while sfcb is stopped.
constexpr const char* kSfcbStage = R"sh(
[ ! -e "$TILL/sfcb.unwilling" ] || { echo "stage: no space left"; exit 1; }
mkdir -p "$TILL/sfcb/stage/regs" "$TILL/sfcb/stage/mofs/$2"
cp "$4" "$TILL/sfcb/stage/regs"
cp "$5" "$TILL/sfcb/stage/mofs/$2"
)sh";
constexpr const char* kSfcbUnstage = R"sh(
rm "$TILL/sfcb/stage/regs/$4" "$TILL/sfcb/stage/mofs/$2/$5"
)sh";
constexpr const char* kSfcbRepos = R"sh(
[ ! -e "$TILL/sfcb.running" ] || { echo "sfcb is running"; exit 1; }
[ ! -e "$TILL/sfcb.broken" ] || { echo; echo "bad qualifier"; echo; exit 1; }
[ ! -e "$TILL/sfcb.subscriptions" ] || [ "$2" = -i ] || { echo "bad property name"; exit 1; }
rm -f "$TILL/sfcb.subscriptions"
mkdir -p "$TILL/sfcb/registration"
cat "$TILL/sfcb/stage/regs/"* >"$TILL/sfcb/registration/providerRegister" 2>/dev/null || true
)sh";
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

constexpr const char* kServerUp =
    R"sh([ ! -e "$TILL/pegasus.down" ] || { echo "cannot connect"; exit 1; }
)sh";
constexpr const char* kCimprovider = R"sh(
case $1 in
  -l)
    echo "MODULE                        STATUS"
    echo "OperatingSystemModule         OK"
    [ ! -e "$TILL/pegasus.module" ] || echo "SsdProviderModule             OK"
    ;;
  -r) rm "$TILL/pegasus.module" ;;
esac
)sh";
constexpr const char* kCimmof = R"sh(
[ ! -e "$TILL/pegasus.unwilling" ] || { echo "Parsing error: line 3"; exit 1; }
case $2 in
  root/cimv2) : >"$TILL/pegasus.class" ;;
  *) [ -e "$TILL/pegasus.class" ] && : >"$TILL/pegasus.module" ;;
esac
)sh";
constexpr const char* kCimcli = R"sh(
case $1 in
  gc) [ "$4" = "$(cat "$TILL/interop")" ] ;;
  dc) rm -f "$TILL/pegasus.class" ;;
esac
)sh";
constexpr const char* kCimconfig = R"sh(echo "Current value: $(cat "$TILL/providerDir")")sh";

std::string contentOf(const std::string& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

bool isQuestion(const std::string& call) {
  for (const char* start :
       {"pidof", "systemctl is-active", "cimprovider -l", "cimcli gc", "cimconfig"}) {
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
  command("sfcbstage", kSfcbStage);
  command("sfcbunstage", kSfcbUnstage);
  command("sfcbrepos", kSfcbRepos);
  command("pidof", kPidof);
}

void Till::installPegasus(const std::string& interopNamespace) {
  write("interop", interopNamespace);
  write("providerDir", root() + "/providers");
  command("cimprovider", kServerUp + std::string(kCimprovider));
  command("cimmof", kServerUp + std::string(kCimmof));
  command("cimcli", kServerUp + std::string(kCimcli));
  command("cimconfig", kServerUp + std::string(kCimconfig));
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
      "/pegasus' SSDDRV_LIBRARY=/usr/lib/libvekssdprov.so.0 " +
      "SSDDRV_SCHEMA_DIR=\"${SCHEMA_ELSEWHERE:-" SCHEMA_DIRECTORY "}\" " + REGISTER_SCRIPT " " +
      arguments + " >'" + root() + "/output' 2>'" + root() + "/errors' </dev/null";
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
