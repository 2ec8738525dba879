#include "ssdlife/CommandLine.h"

#include <algorithm>

#include "ssdlife/Failure.h"

namespace ssdlife {
namespace {

[[noreturn]] void refuse(const std::string& what) {
  throw Failure(ExitCode::kUsage, what + " (see ssdlife --help)");
}

[[noreturn]] void refuseUnexpected(const std::vector<std::string>& arguments) {
  std::string line = arguments.size() == 1 ? "The following argument was not expected:"
                                           : "The following arguments were not expected:";
  for (const std::string& argument : arguments) {
    line += ' ' + argument;
  }
  refuse(line);
}

// One line, whatever the parser has to say.
[[noreturn]] void complain(const CLI::App& app, const CLI::ParseError& error) {
  const std::vector<std::string> rest = app.remaining(true);
  if (!rest.empty() && app.get_subcommands().empty()) {
    refuse("unknown command: " + rest.front());
  }
  if (!rest.empty() && dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr) {
    refuseUnexpected(rest);
  }
  const std::string text = error.what();
  refuse(text.substr(0, text.find('\n')));
}

std::vector<CLI::Option*> neededOperands(CLI::App& app) {
  std::vector<CLI::Option*> needed;
  for (CLI::App* const command : app.get_subcommands({})) {
    for (CLI::Option* const option : command->get_options()) {
      if (option->get_positional() && option->get_required()) {
        needed.push_back(option);
      }
    }
  }
  return needed;
}

void setRequired(const std::vector<CLI::Option*>& options, bool required) {
  for (CLI::Option* const option : options) {
    option->required(required);
  }
}

}  // namespace

CommandLine::CommandLine(int argc, char** argv)
    : arguments_(argv + std::min(argc, 1), argv + argc) {
  const auto mark = std::find(arguments_.begin(), arguments_.end(), "--");
  if (mark != arguments_.end()) {
    operands_.assign(mark + 1, arguments_.end());
    arguments_.erase(mark, arguments_.end());
  }
}

void CommandLine::giveOperands(CLI::App& command) {
  auto next = operands_.begin();
  for (CLI::Option* const option : command.get_options()) {
    if (option->get_positional() && option->empty() && next != operands_.end()) {
      option->add_result(*next++);
      option->run_callback();
    }
  }
  operands_.erase(operands_.begin(), next);
  if (!operands_.empty()) {
    refuseUnexpected(operands_);
  }
}

void CommandLine::parse(CLI::App& app) {
  const std::vector<CLI::Option*> needed = neededOperands(app);
  setRequired(needed, false);  // they may stand behind "--"
  try {
    std::vector<std::string> reversed(arguments_.rbegin(), arguments_.rend());
    app.parse(reversed);
    CLI::App& command = *app.get_subcommands().front();
    giveOperands(command);
    for (const CLI::Option* const option : needed) {
      const std::vector<CLI::Option*> own = command.get_options();
      if (option->empty() && std::find(own.begin(), own.end(), option) != own.end()) {
        throw CLI::RequiredError(option->get_name());
      }
    }
  } catch (const CLI::Success&) {
    setRequired(needed, true);  // help says so
    throw;
  } catch (const CLI::ParseError& error) {
    complain(app, error);
  }
}

}  // namespace ssdlife
