#include "tools/Options.h"

#include <CLI/CLI.hpp>
#include <iostream>
#include <map>

#include "tools/Failure.h"

namespace ssdlife {
namespace {

const std::map<std::string, Format> kFormats = {{"table", Format::kTable}, {"json", Format::kJson}};

void addGlobalOptions(CLI::App& app, Options& options) {
  app.add_option("--library", options.library,
                 "The provider library (default: the one installed with this command)")
      ->type_name("PATH");
  app.add_option("--machine", options.machine,
                 "Show the simulated machine of this file instead of the real one")
      ->type_name("FILE");
  app.add_option("--format", options.format, "table or json (default: table)")
      ->transform(CLI::CheckedTransformer(kFormats).description(""))
      ->type_name("FORMAT");
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
      ->check(CLI::PositiveNumber.description(""));
  watch->add_option("--for", options.seconds, "End after so many seconds")
      ->type_name("SECONDS")
      ->check(CLI::PositiveNumber.description(""));
}

// One line, whatever the parser has to say.
std::string firstLine(const std::string& text) { return text.substr(0, text.find('\n')); }

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
    throw Failure(ExitCode::kUsage, firstLine(error.what()) + " (see ssdlife --help)");
  }
  return options;
}

}  // namespace ssdlife
