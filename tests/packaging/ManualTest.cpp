#include <regex>
#include <set>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/packaging/Shell.h"

// The manual pages and the completion against the programs that they tell of.

namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::IsSupersetOf;

// The page as it is read, without overstriking and in very long lines.
std::string page(const std::string& name) {
  const ShellOutcome shown =
      shell("mandoc -Tascii -Owidth=1000 " PROJECT_DIRECTORY "/docs/man/" + name);
  EXPECT_EQ(shown.exitCode, 0) << shown.output;
  const std::string plain = std::regex_replace(shown.output, std::regex(".\x08"), "");
  return std::regex_replace(plain, std::regex(" +"), " ");
}

std::set<std::string> all(const std::string& text, const std::string& pattern) {
  std::set<std::string> found;
  const std::regex regex(pattern, std::regex::multiline);
  for (std::sregex_iterator at(text.begin(), text.end(), regex), end; at != end; ++at) {
    found.insert((*at)[1].str());
  }
  return found;
}

std::string help(const std::string& command = "") {
  return shell(SSDLIFE " " + command + " --help").output;
}

std::set<std::string> commands() {
  const std::string text = help();
  return all(text.substr(text.find("Subcommands:")), R"(^  ([a-z]+) )");
}

// The options that the usage of ssdlife, or of one of its commands, lists.
std::set<std::string> options(const std::string& command = "") {
  return all(help(command), R"(^  (?:-[a-zA-Z],)?(--[a-z-]+))");
}

std::set<std::string> allOptions() {
  std::set<std::string> found = options();
  for (const std::string& command : commands()) {
    found.merge(options(command));
  }
  return found;
}

class ManualPage : public testing::TestWithParam<const char*> {};

TEST_P(ManualPage, IsWithoutFaultToTheFormatters) {
  const std::string file = std::string(PROJECT_DIRECTORY "/docs/man/") + GetParam();
  // Pages of packages that are not installed here may be referred to.
  const ShellOutcome lint = shell("mandoc -Tlint -W style " + file +
                                  " 2>&1 | grep -v -e 'referenced manual' -e mandoc.db");
  EXPECT_THAT(lint.output, IsEmpty());
  const ShellOutcome groff = shell("groff -mandoc -Tutf8 -ww -z " + file);
  EXPECT_EQ(groff.exitCode, 0);
  EXPECT_THAT(groff.output, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Of, ManualPage,
                         testing::Values("ssdlife.8", "ssddrv-register.8", "ssddrv.ini.5",
                                         "vekssdprov-models.5", "ssddrv-log.conf.5",
                                         "libvekssdprov.7"));

TEST(Manual, TellsOfEveryCommandOfSsdlife) {
  const std::string text = page("ssdlife.8");
  ASSERT_FALSE(commands().empty());
  for (const std::string& command : commands()) {
    EXPECT_THAT(text, HasSubstr("\n " + command)) << command;
  }
}

TEST(Manual, TellsOfEveryOptionOfSsdlife) {
  const std::string text = page("ssdlife.8");
  ASSERT_THAT(allOptions(), IsSupersetOf({"--machine", "--format", "--count"}));
  for (const std::string& option : allOptions()) {
    EXPECT_THAT(text, HasSubstr(option));
  }
}

// The exit statuses that a text lists from one of its words up to another.
std::set<std::string> statuses(const std::string& text, const std::string& from,
                               const std::string& to) {
  const std::size_t start = text.find(from);
  EXPECT_NE(start, std::string::npos) << from;
  return all(text.substr(start, text.find(to, start) - start), "^ +([0-9]+) ");
}

TEST(Manual, TellsOfEveryExitStatusOfSsdlife) {
  const std::string text = page("ssdlife.8");
  const std::string usage = help();
  const auto ofAll = statuses(usage, "Exit status:", "Exit status of check:");
  EXPECT_THAT(ofAll, IsSupersetOf({"0", "1", "2"}));
  EXPECT_EQ(statuses(text, "EXIT STATUS", "check has exit statuses"), ofAll);
  const auto ofCheck = statuses(usage, "Exit status of check:", "no further words");
  EXPECT_EQ(ofCheck, (std::set<std::string>{"0", "1", "2", "3"}));
  EXPECT_EQ(statuses(text, "check has exit statuses", "EXAMPLES"), ofCheck);
}

TEST(Manual, ItsExamplesOfSsdlifeRun) {
  const std::string text = page("ssdlife.8");
  const auto examples = all(text, "^ ssdlife (--machine [^\n]*)$");
  ASSERT_EQ(examples.size(), 3U);
  for (std::string example : examples) {
    const std::string installed = "/usr/share/vekssdprov/machines";
    example.replace(example.find(installed), installed.size(),
                    PROJECT_DIRECTORY "/simulator/machines");
    const ShellOutcome outcome = shell(SSDLIFE " " + example);
    EXPECT_EQ(outcome.exitCode, 0) << example << "\n" << outcome.output;
  }
}

TEST(Manual, TellsOfEveryKeyOfTheConfiguration) {
  for (const auto& [manual, sample] :
       {std::pair("ssddrv.ini.5", "ssddrv.ini"), std::pair("ssddrv-log.conf.5", "log.conf")}) {
    const std::string text = page(manual);
    const auto keys =
        all(projectFile(std::string("packaging/etc/") + sample), "^#([A-Z][A-Za-z]*)=");
    ASSERT_GE(keys.size(), 4U);
    for (const std::string& key : keys) {
      EXPECT_THAT(text, HasSubstr("\n " + key + "=")) << manual;
    }
  }
}

TEST(Manual, TellsOfEveryPropertyOfTheClassesWithItsType) {
  const std::string text = page("libvekssdprov.7");
  const std::string mof = projectFile("schema/KAV_SSDLifeMonitor.mof");
  const std::regex declaration(R"(^   ([a-z0-9]+) ([A-Z][A-Za-z]+);$)", std::regex::multiline);
  std::size_t count = 0;
  for (std::sregex_iterator at(mof.begin(), mof.end(), declaration), end; at != end; ++at) {
    ++count;
    EXPECT_THAT(text, HasSubstr((*at)[2].str() + " " + (*at)[1].str() + " ")) << at->str();
    if (count == 14) {
      break;  // those of the indication are named in a sentence
    }
  }
  EXPECT_EQ(count, 14U);
}

// What bash offers for the words, the last of which is being typed.
std::set<std::string> offered(const std::string& words) {
  const std::string script =
      ". " PROJECT_DIRECTORY
      "/packaging/completion/ssdlife\n"
      "COMP_WORDS=(" +
      words +
      ")\nCOMP_CWORD=$((${#COMP_WORDS[@]} - 1))\n"
      "_ssdlife ssdlife \"${COMP_WORDS[COMP_CWORD]}\" \"${COMP_WORDS[COMP_CWORD - 1]}\"\n"
      "printf '%s\\n' \"${COMPREPLY[@]}\"\n";
  return all(
      shell("exec bash -c '" + std::regex_replace(script, std::regex("'"), "'\\''") + "'").output,
      "^(.+)$");
}

TEST(Completion, OffersTheCommandsOfSsdlife) {
  EXPECT_EQ(offered("ssdlife \"\""), commands());
  EXPECT_EQ(offered("ssdlife --machine list \"\""), commands());
  EXPECT_EQ(offered("ssdlife wat"), std::set<std::string>{"watch"});
}

TEST(Completion, OffersTheOptionsOfSsdlifeAndOfTheCommand) {
  EXPECT_EQ(offered("ssdlife --"), options());
  for (const std::string& command : commands()) {
    std::set<std::string> expected = options();
    expected.merge(options(command));
    EXPECT_EQ(offered("ssdlife " + command + " --"), expected) << command;
  }
}

TEST(Completion, OffersFormatsAndLeavesFilesToBash) {
  EXPECT_EQ(offered("ssdlife --format \"\""),
            (std::set<std::string>{"table", "json", "csv", "prometheus"}));
  EXPECT_THAT(offered("ssdlife list -o drive,MO"), IsSupersetOf({"drive,MODEL"}));
  EXPECT_THAT(offered("ssdlife --machine \"\""), IsEmpty());
  EXPECT_THAT(offered("ssdlife list \"\""), IsEmpty());
}

}  // namespace
