#include "tests/fault/FaultLoop.h"

#include <csignal>
#include <cstdio>
#include <cstring>
#include <ctime>

#include <fcntl.h>
#include <unistd.h>

#include "tests/fault/Clock.h"
#include "tests/fault/Records.h"

namespace fault {

namespace {

/// Standard output and error of the process lead nowhere while this object lives: the library
/// writes lines of its own there, round after round.
class Silence {
 public:
  Silence() {
    std::fflush(stdout);
    const int nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    dup2(nowhere, STDOUT_FILENO);
    dup2(nowhere, STDERR_FILENO);
    ::close(nowhere);
  }
  ~Silence() {
    std::fflush(stdout);
    dup2(out(), STDOUT_FILENO);
    dup2(error(), STDERR_FILENO);
  }
  Silence(const Silence&) = delete;
  Silence& operator=(const Silence&) = delete;

  static int out() {
    static const int saved = ::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 100);
    return saved;
  }
  static int error() {
    static const int saved = ::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 100);
    return saved;
  }
};

/// What is going on, for the last words of a process that dies of it.
char currentRound[512];

void lastWords(int signal) {
  static const char beginning[] = "\n*** the process died in: ";
  (void)!::write(Silence::error(), beginning, sizeof(beginning) - 1);
  (void)!::write(Silence::error(), currentRound, std::strlen(currentRound));
  (void)!::write(Silence::error(), "\n", 1);
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

void prepareForTheWorst(const std::string& what) {
  static const bool ready = [] {
    Silence::out();
    Silence::error();
    for (const int signal : {SIGSEGV, SIGBUS, SIGABRT, SIGFPE, SIGALRM}) {
      std::signal(signal, lastWords);
    }
    return true;
  }();
  (void)ready;
  std::snprintf(currentRound, sizeof(currentRound), "%s", what.c_str());
  alarm(60);  // a round that hangs is dead too
}

std::vector<std::string> records(const Till& till) {
  return recordsIn(till.machine.read(kLogFile));
}

void freshMachine(Till& till) {
  till.machine.write(kLogFile, "");
  till.setGeneration(1);
  till.broker.clearFaults();
  till.takeIndications();
}

/// The library's indications work after all that: subscribes anew and lets every drive fail.
std::vector<std::string> indicationsOf(Till& till, std::size_t reported) {
  constexpr std::size_t kMostTicksPerPoll = 10;  // of a till whose configuration was not read
  till.takeIndications();
  till.subscribe();
  for (const auto& drive : till.machine.drives()) {
    drive->percentage = 99;
  }
  std::vector<std::string> all;
  for (std::size_t i = 0; i < kMostTicksPerPoll; ++i) {
    const bool isComplete = reported + all.size() >= till.machine.drives().size();
    Clock::tick();
    const auto fresh = till.takeIndications();
    all.insert(all.end(), fresh.begin(), fresh.end());
    if (isComplete && i + 1 >= 2 * Till::kTicksPerPoll) {
      break;  // nobody has reported twice
    }
  }
  return all;
}

}  // namespace

Till& theTill() {
  static auto* const till = [] {
    tzset();  // what the C library keeps for good is no loss of the library under test
    return new Till;
  }();
  return *till;
}

std::string Plan::text() const {
  if (nth == 0) {
    return "nothing fails";
  }
  return std::string(nameOf(call)) + " number " + std::to_string(nth) +
         (forEver ? " and all later ones" : "") + ": " + failure.name;
}

Round run(const Scenario& scenario, const Plan& plan,
          const std::function<void(cmpihost::Broker&)>& arm) {
  prepareForTheWorst(scenario.name + ": " + plan.text());
  const Silence silence;
  Till& till = theTill();
  freshMachine(till);
  Injector& injector = Injector::instance();
  Round round;
  round.before = present(till.machine);
  scenario.prepare(till);
  round.logged[0] = records(till).size();
  cmpihost::Journal& journal = till.broker.journal();
  journal.clear();
  if (arm) {
    arm(till.broker);
  }
  if (plan.nth == 0) {
    injector.count();
  } else {
    injector.arm(plan.call, plan.nth, plan.forEver, plan.failure);
  }
  round.result = scenario.act(till);
  injector.disarm();
  round.calls = injector.met();
  round.made = injector.made(plan.call);
  round.now = present(till.machine);
  round.logged[1] = records(till).size();
  for (const cmpihost::BrokerCall& call : journal.calls()) {
    round.brokerCalls.push_back(call.name);
  }
  round.violations = journal.violations();
  till.broker.clearFaults();

  if (till.loaded()) {
    till.setGeneration(3);
    round.next = till.list();
    round.nextIndications = indicationsOf(till, round.result.indications.size());
    till.provider().cleanupIndicationMI(true);
    till.provider().cleanupInstanceMI(true);
    round.unloaded = till.unload();
  } else {
    round.next.status.rc = CMPI_RC_ERR_METHOD_NOT_AVAILABLE;
    round.unloaded = true;
  }
  round.losses.close();
  round.log = records(till);
  alarm(0);
  return round;
}

}  // namespace fault
