#include "tools/Options.h"

#include <CLI/CLI.hpp>
#include <cmath>
#include <iostream>
#include <string>
#include <vector>

#include "host/Personality.h"
#include "tools/Failure.h"

namespace ssdlife {
namespace {

// Text in, empty out if it is fine, else what is wrong with it.
std::string positiveNumber(const std::string& text) {
  double number = 0;
  const bool positive =
      CLI::detail::lexical_cast(text, number) && std::isfinite(number) && number > 0;
  return positive ? "" : text + " is not a positive number";
}

void addGlobalOptions(CLI::App& app, Options& options) {
  app.add_option("--library", options.library,
                 "The provider library (default: the one installed with this command)")
      ->type_name("PATH");
  app.add_option("--machine", options.machine,
                 "Show the simulated machine of this file instead of the real one")
      ->type_name("FILE");
  const auto takeFormat = [&options](const std::string& name) {
    options.format = name == "json" ? Format::kJson : Format::kTable;
  };
  app.add_option_function<std::string>("--format", takeFormat, "table or json (default: table)")
      ->check(CLI::IsMember({"table", "json"}).description(""))
      ->type_name("FORMAT");
  app.add_option("--like", options.like,
                 "Ask as this object manager would: plain, sfcb, pegasus or strict")
      ->check(CLI::IsMember(cmpihost::personalityNames()).description(""))
      ->type_name("MANAGER");
  app.add_flag("--show-library-output", options.showLibraryOutput,
               "Let through what the library itself writes to standard output and error");
  app.set_version_flag("--version", std::string("ssdlife " SSDLIFE_VERSION));
}

void addCommands(CLI::App& app, Options& options) {
  app.require_subcommand(1);
  const auto add = [&](const char* name, Command command, const char* description) {
    CLI::App* const added = app.add_subcommand(name, description);
    added->fallthrough();
    added->callback([&options, command] { options.command = command; });
    return added;
  };
  add("list", Command::kList, "Show every SSD and how worn it is");
  add("names", Command::kNames, "Show the DeviceID of every SSD");
  add("get", Command::kGet, "Show all properties of one SSD")
      ->add_option("DEVICEID", options.deviceId,
                   "Its DeviceID, or the beginning of it: the first SSD that matches is shown")
      ->required();
  CLI::App* const watch =
      add("watch", Command::kWatch, "Wait for SSDs whose failure becomes imminent");
  watch->add_option("--count", options.count, "End after so many indications")
      ->type_name("N")
      ->check(CLI::Validator(positiveNumber, ""));
  watch->add_option("--for", options.seconds, "End after so many seconds")
      ->type_name("SECONDS")
      ->check(CLI::Validator(positiveNumber, ""));
}

// One line, whatever the parser has to say.
std::string complaint(const CLI::App& app, const CLI::ParseError& error) {
  const std::vector<std::string> rest = app.remaining();
  const std::string text = error.what();
  return app.get_subcommands().empty() && !rest.empty() ? "unknown command: " + rest.front()
                                                        : text.substr(0, text.find('\n'));
}

}  // namespace

std::optional<Options> readCommandLine(int argc, char** argv) {
  Options options;
  CLI::App app("Shows how worn the SSDs of this machine are.", "ssdlife");
  addGlobalOptions(app, options);
  addCommands(app, options);
  app.footer(kExitCodes);
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& answered) {
    app.exit(answered, std::cout, std::cerr);
    return std::nullopt;
  } catch (const CLI::ParseError& error) {
    throw Failure(ExitCode::kUsage, complaint(app, error) + " (see ssdlife --help)");
  }
  return options;
}

}  // namespace ssdlife
