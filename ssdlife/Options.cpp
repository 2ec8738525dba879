#include "ssdlife/Options.h"

#include <CLI/CLI.hpp>
#include <cmath>
#include <sstream>
#include <string>
#include <vector>

#include "host/Personality.h"
#include "ssdlife/CommandLine.h"
#include "ssdlife/DriveTable.h"
#include "ssdlife/Failure.h"

namespace ssdlife {
namespace {

// The checks: text in, empty out if it is fine, else what is wrong with it.

std::string positiveNumber(const std::string& text) {
  double number = 0;
  const bool positive =
      CLI::detail::lexical_cast(text, number) && std::isfinite(number) && number > 0;
  return positive ? "" : text + " is not a positive number";
}

std::string percentageRange(const std::string& text) {
  return Range::parse(text)
             ? ""
             : text + " is no range of whole percentages from 0 to 254 (80, 10:80, ~:80, @10:20)";
}

std::string notEmpty(const std::string& text) {
  return text.empty() ? "an empty text names nothing" : "";
}

Format formatOf(const std::string& name) {
  return name == "json"         ? Format::kJson
         : name == "prometheus" ? Format::kPrometheus
         : name == "csv"        ? Format::kCsv
                                : Format::kTable;
}

void addGlobalOptions(CLI::App& app, Options& options) {
  app.add_option("--library", options.library,
                 "The provider library (default: the one installed with this command)")
      ->type_name("PATH")
      ->check(CLI::Validator(notEmpty, ""));
  app.add_option("--machine", options.machine,
                 "Show the simulated machine of this file instead of the real one")
      ->type_name("FILE")
      ->check(CLI::Validator(notEmpty, ""));
  const auto takeFormat = [&options](const std::string& name) { options.format = formatOf(name); };
  app.add_option_function<std::string>(
         "--format", takeFormat,
         "table or json; for list also prometheus, for history also csv "
         "(default: table)")
      ->check(CLI::IsMember({"table", "json", "prometheus", "csv"}).description(""))
      ->type_name("FORMAT");
  app.add_flag_callback(
      "--json", [&options] { options.format = Format::kJson; }, "Short for --format json");
  app.add_option("--like", options.like,
                 "Ask as this object manager would: plain, sfcb, pegasus or strict")
      ->check(CLI::IsMember(cmpihost::personalityNames()).description(""))
      ->type_name("MANAGER");
  app.add_flag("--show-library-output", options.showLibraryOutput,
               "Let through what the library itself writes to standard output and error");
  app.set_version_flag("-V,--version", std::string("ssdlife " SSDLIFE_VERSION));
}

void addState(CLI::App& command, Options& options) {
  command
      .add_option("--state", options.state, "The folder of history.db (default: /var/lib/ssddrv)")
      ->type_name("FOLDER")
      ->check(CLI::Validator(notEmpty, ""));
}

void addCheck(CLI::App& check, Options& options) {
  const auto add = [&](const char* names, Range& range, const char* state) {
    check
        .add_option_function<std::string>(
            names, [&range](const std::string& text) { range = *Range::parse(text); },
            std::string("A drive is ") + state + " outside this range of its life used")
        ->type_name("RANGE")
        ->default_str(range.text())
        ->check(CLI::Validator(percentageRange, ""));
  };
  add("-w,--warning", options.thresholds.warning, "WARNING");
  add("-c,--critical", options.thresholds.critical, "CRITICAL");
  check.add_option("-t,--timeout", options.timeout, "UNKNOWN after so many seconds")
      ->type_name("SECONDS")
      ->capture_default_str()
      ->check(CLI::Validator(positiveNumber, ""));
  check
      .add_option("--warning-days", options.warningDays,
                  "A drive that is expected to pass the threshold within so many days is WARNING")
      ->type_name("DAYS")
      ->check(CLI::Range(1U, 36500U).description(""));
  addState(check, options);
}

void addList(CLI::App& list, Options& options) {
  list.add_option("-o,--columns", options.columns,
                  "The columns of the table, in this order, such as drive,used")
      ->type_name("NAMES")
      ->delimiter(',')
      ->transform(CLI::IsMember(columnNames(), CLI::ignore_case).description(""));
  list.add_flag_callback(
      "-n,--noheadings", [&options] { options.headings = false; }, "No line with their names");
  addState(list, options);
}

void addService(CLI::App& watch, Options& options) {
  watch.add_flag("--service", options.service,
                 "Keep the history, raise alarms and run the hooks, for the service manager");
  watch
      .add_option("--settings", options.settings,
                  "The settings of the service (default: /etc/ssddrv/ssdlife.conf)")
      ->type_name("FILE")
      ->check(CLI::Validator(notEmpty, ""));
  addState(watch, options);
}

// The commands that remember.
template <typename Add>
void addKeepers(Options& options, const Add& add) {
  const auto addOne = [&](const char* name, Command command, const char* description) {
    CLI::App* const added = add(name, command, description);
    addState(*added, options);
    return added;
  };
  const auto addDrive = [&](CLI::App* command, const char* description) {
    command->add_option("DRIVE", options.drive, description)->check(CLI::Validator(notEmpty, ""));
  };
  constexpr const char* kDrive =
      "Only this one: by node, serial number, or the beginning of its DeviceID";
  addOne("sample", Command::kSample, "Write into the history how worn every SSD is now")
      ->add_option("--days", options.days, "On a simulated machine: each of so many days until now")
      ->type_name("N")
      ->check(CLI::Range(1U, 36500U).description(""));
  addDrive(addOne("history", Command::kHistory, "Show how the SSDs have worn"), kDrive);
  addDrive(addOne("forecast", Command::kForecast, "Show when each SSD will be worn"), kDrive);
  addOne("report", Command::kReport, "Write a page with all of it, to look at in a browser")
      ->add_option("FILE", options.page, "The page; - is standard output")
      ->required()
      ->check(CLI::Validator(notEmpty, ""));
  CLI::App* const alarms = addOne("alarms", Command::kAlarms, "Show the alarms, and who was told");
  addDrive(alarms, kDrive);
  alarms->add_flag("--again", options.again, "Send the last alarm of this SSD again");
  alarms
      ->add_option("--settings", options.settings,
                   "The settings of the service (default: /etc/ssddrv/ssdlife.conf)")
      ->type_name("FILE")
      ->check(CLI::Validator(notEmpty, ""));
}

void addCommands(CLI::App& app, Options& options) {
  app.require_subcommand(1);
  const auto add = [&](const char* name, Command command, const char* description) {
    CLI::App* const added = app.add_subcommand(name, description);
    added->fallthrough();
    added->callback([&options, command] { options.command = command; });
    return added;
  };
  addList(*add("list", Command::kList, "Show every SSD and how worn it is"), options);
  add("names", Command::kNames, "Show the DeviceID of every SSD");
  add("get", Command::kGet, "Show all properties of one SSD")
      ->add_option("DRIVE", options.deviceId,
                   "Its name below /dev, or its DeviceID or the beginning of that")
      ->required()
      ->check(CLI::Validator(notEmpty, ""));
  add("roads", Command::kRoads, "Show what each road to one drive answers, and which to take")
      ->add_option("DRIVE", options.deviceId,
                   "Its name below /dev, or its DeviceID or the beginning of that")
      ->required()
      ->check(CLI::Validator(notEmpty, ""));
  add("models", Command::kModels, "Show where the wear of each model is read, and of each drive")
      ->add_option("--test", options.testedFile, "Check this models file instead")
      ->type_name("FILE")
      ->check(CLI::Validator(notEmpty, ""));
  addCheck(
      *add("check", Command::kCheck, "Tell a monitoring system how worn the SSDs are, as a plugin"),
      options);
  CLI::App* const record = add("record", Command::kRecord,
                               "Write a machine file that says again what the drives say now");
  record
      ->add_option("FILE", options.recordFile,
                   "The machine file, for --machine; - is standard output")
      ->required()
      ->check(CLI::Validator(notEmpty, ""));
  record->add_flag("--anonymous", options.anonymous,
                   "Replace the drives' serial numbers by made-up ones");
  CLI::App* const watch =
      add("watch", Command::kWatch, "Wait for SSDs whose failure becomes imminent");
  watch->add_option("--count", options.count, "End after so many indications")
      ->type_name("N")
      ->check(CLI::Validator(positiveNumber, ""));
  watch->add_option("--for", options.seconds, "End after so many seconds")
      ->type_name("SECONDS")
      ->check(CLI::Validator(positiveNumber, ""));
  addService(*watch, options);
  addKeepers(options, add);
}

// What each option allows, but not together.
void requireSense(const CLI::App& app, const Options& options) {
  const CLI::App* const command = app.get_subcommands().front();
  const auto refuse = [](const std::string& what) {
    throw Failure(ExitCode::kUsage, what + " (see ssdlife --help)");
  };
  const bool onlyTable = options.command == Command::kCheck ||
                         options.command == Command::kRecord ||
                         options.command == Command::kSample || options.command == Command::kReport;
  if (options.format == Format::kCsv && options.command != Command::kHistory) {
    refuse("--format csv is for history only");
  }
  if (options.again && options.drive.empty()) {
    refuse("--again needs the SSD whose alarm is meant");
  }
  if (options.days > 0 && options.machine.empty()) {
    refuse("--days is for simulated machines only");
  }
  if (options.format == Format::kPrometheus && options.command != Command::kList) {
    refuse("--format prometheus is for list only");
  }
  if (options.format != Format::kTable && onlyTable) {
    refuse("--format is not for " + command->get_name());
  }
  if (options.format != Format::kTable && (!options.columns.empty() || !options.headings)) {
    refuse("--columns and --noheadings are for tables");
  }
  const auto warning = options.thresholds.warning.limit();
  const auto critical = options.thresholds.critical.limit();
  if (warning && critical && *warning > *critical) {
    refuse("--warning " + std::to_string(*warning) + " is above --critical " +
           std::to_string(*critical));
  }
}

}  // namespace

std::optional<std::string> readCommandLine(int argc, char** argv, Options& options) {
  CLI::App app("Shows how worn the SSDs of this machine are.", "ssdlife");
  addGlobalOptions(app, options);
  addCommands(app, options);
  app.footer(kExitCodes);
  const auto noteCheck = [&app, &options] {
    if (app.got_subcommand("check")) {
      options.command = Command::kCheck;
    }
  };
  try {
    CommandLine(argc, argv).parse(app);
  } catch (const CLI::Success& answered) {
    noteCheck();
    std::ostringstream text;
    app.exit(answered, text, text);
    return text.str();
  } catch (const Failure&) {
    noteCheck();
    throw;
  }
  requireSense(app, options);
  return std::nullopt;
}

}  // namespace ssdlife
