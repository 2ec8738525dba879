// The built library as the dynamic linker sees it.

#include <elf.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>

#include "tests/system/ElfFile.h"

namespace {

const ElfFile& library() {
  static const ElfFile file(VEKSSD_LIBRARY);
  return file;
}

TEST(LibraryFile, ExportsTheseNamesAndNoOthers) {
  std::set<std::string> functions;
  std::set<std::string> data;
  std::set<std::string> others;
  for (const ElfFile::Symbol& symbol : library().symbols()) {
    if (symbol.defined) {
      (symbol.type == STT_FUNC     ? functions
       : symbol.type == STT_OBJECT ? data
                                   : others)
          .insert(symbol.name);
    }
  }
  EXPECT_EQ(functions, (std::set<std::string>{
                           "SsdProvider_Create_InstanceMI",
                           "SsdProvider_Create_IndicationMI",
                           "drvInstanceCleanup",
                           "drvEnumInstanceNames",
                           "drvEnumInstances",
                           "drvGetInstance",
                           "drvCreateInstance",
                           "drvModifyInstance",
                           "drvDeleteInstance",
                           "drvExecQuery",
                           "drvIndicationCleanup",
                           "drvAuthorizeFilter",
                           "drvMustPoll",
                           "drvActivateFilter",
                           "drvDeActivateFilter",
                           "drvEnableIndications",
                           "drvDisableIndications",
                           "_Z11__drv_synchv",
                           "_Z13__drv_unsynchv",
                           "_Z14__incrUseCountv",
                           "_Z14__decrUseCountv",
                           "_Z13__drv_cleanupv",
                           "_Z3Log9LOG_LEVELPKcz",
                           "_Z4WLog9LOG_LEVELPKwz",
                           "_Z8LogQuick9LOG_LEVELPKc",
                       }));
  EXPECT_EQ(data, (std::set<std::string>{"EyeCatcher1", "EyeCatcher2", "BuildDate", "DspdrvVersion",
                                         "ExtraInfo"}));
  EXPECT_EQ(others, std::set<std::string>());
}

TEST(LibraryFile, BearsItsVersionInItsName) {
  EXPECT_EQ(library().dynamicTexts(DT_SONAME), std::vector<std::string>{"libvekssdprov.so.0"});
}

TEST(LibraryFile, NeedsTheLibrariesOfTheLanguagesAlone) {
  for (const std::string& needed : library().dynamicTexts(DT_NEEDED)) {
    EXPECT_TRUE(std::regex_match(
        needed, std::regex("lib(stdc\\+\\+|gcc_s|c|m|[a-z]+san)\\.so\\.[0-9]+|ld-linux[^/]*")))
        << needed;
  }
}

TEST(LibraryFile, HasNoSymbolThatWouldPinItInTheProcess) {
  for (const ElfFile::Symbol& symbol : library().symbols()) {
    EXPECT_NE(symbol.binding, STB_GNU_UNIQUE) << symbol.name;
    EXPECT_NE(symbol.type, STT_GNU_IFUNC) << symbol.name;
    EXPECT_FALSE(symbol.defined && symbol.type == STT_TLS) << symbol.name;
  }
  for (const std::uint64_t flags : library().dynamic(DT_FLAGS_1)) {
    EXPECT_EQ(flags & DF_1_NODELETE, 0U);
  }
}

/// In the locale that a host may have set, letters need not go together as in the names of CIM: a
/// Turkish one keeps "I" and "i" apart.
TEST(LibraryFile, AsksNoLocaleWhichLettersAreTheSame) {
  for (const ElfFile::Symbol& symbol : library().symbols()) {
    for (const char* call :
         {"strcasecmp", "strncasecmp", "strcasestr", "strcoll", "tolower", "__ctype_tolower_loc"}) {
      EXPECT_NE(symbol.name, call);
    }
  }
}

TEST(LibraryFile, IsBoundAtOnce) {
  std::uint64_t flags = 0;
  for (const std::uint64_t one : library().dynamic(DT_FLAGS)) {
    flags |= one;
  }
  std::uint64_t flags1 = 0;
  for (const std::uint64_t one : library().dynamic(DT_FLAGS_1)) {
    flags1 |= one;
  }
  EXPECT_TRUE((flags & DF_BIND_NOW) != 0 || (flags1 & DF_1_NOW) != 0);
  EXPECT_TRUE(library().dynamic(DT_TEXTREL).empty());
}

TEST(LibraryFile, KeepsItsTablesReadOnlyAndItsStackData) {
  bool relro = false;
  bool stackSeen = false;
  for (const ElfFile::Segment& segment : library().segments()) {
    relro = relro || segment.type == PT_GNU_RELRO;
    if (segment.type == PT_GNU_STACK) {
      stackSeen = true;
      EXPECT_EQ(segment.flags & PF_X, 0U);
    }
    EXPECT_FALSE(segment.type == PT_LOAD && (segment.flags & PF_W) != 0 &&
                 (segment.flags & PF_X) != 0);
  }
  EXPECT_TRUE(relro);
  EXPECT_TRUE(stackSeen);
}

TEST(LibraryFile, SearchesForLibrariesNowhereOfItsOwn) {
  EXPECT_TRUE(library().dynamic(DT_RPATH).empty());
  EXPECT_TRUE(library().dynamic(DT_RUNPATH).empty());
}

#ifndef VEKSSD_SANITIZED  // which guard in another way
bool imports(const std::string& name) {
  const auto& symbols = library().symbols();
  return std::any_of(symbols.begin(), symbols.end(), [&](const ElfFile::Symbol& symbol) {
    return !symbol.defined && symbol.name == name;
  });
}

TEST(LibraryFile, GuardsItsStack) { EXPECT_TRUE(imports("__stack_chk_fail")); }

#ifdef VEKSSD_OPTIMISED
TEST(LibraryFile, ChecksTheBoundsOfWhatItFormats) { EXPECT_TRUE(imports("__vsnprintf_chk")); }
#endif

#ifdef __x86_64__
TEST(LibraryFile, MarksWhereItsFunctionsMayBeCalled) {
  const std::string mark = "\xF3\x0F\x1E\xFA";  // endbr64
  for (const ElfFile::Symbol& symbol : library().symbols()) {
    if (symbol.defined && symbol.type == STT_FUNC) {
      EXPECT_EQ(library().bytesAt(symbol.address, mark.size()), mark) << symbol.name;
    }
  }
}
#endif
#endif

// ---- The texts that field engineers look for ------------------------------------------------

#ifndef VEKSSD_SANITIZED  // which leaves room around each
std::string content(const char* name) {
  const ElfFile::Symbol& symbol = library().symbol(name);
  return library().bytesAt(symbol.address, symbol.size);
}

TEST(LibraryFile, HoldsItsVersionTextsInTheirLength) {
  EXPECT_EQ(content("EyeCatcher1"), std::string("~~~", 4));
  EXPECT_EQ(content("EyeCatcher2"), std::string("~~~", 4));
  EXPECT_EQ(content("DspdrvVersion"), std::string("SSDDRV Version 1.4.1 / ", 24));
  EXPECT_EQ(content("ExtraInfo"), std::string(1, '\0'));
  const std::string built = content("BuildDate");
  ASSERT_EQ(built.size(), 33U);
  EXPECT_EQ(built.back(), '\0');
  EXPECT_TRUE(std::regex_match(
      built.c_str(),
      std::regex("Built at [0-9]{2}:[0-9]{2}:[0-9]{2} on [A-Z][a-z]{2} [ 123][0-9] [0-9]{4}")))
      << built;
}
#endif

TEST(LibraryFile, HoldsItsVersionTextsBetweenTheirMarks) {
  const auto address = [](const char* name) { return library().symbol(name).address; };
  EXPECT_LT(address("EyeCatcher2"), address("BuildDate"));
  EXPECT_LT(address("BuildDate"), address("DspdrvVersion"));
  EXPECT_LT(address("DspdrvVersion"), address("EyeCatcher1"));
}

#ifndef VEKSSD_SANITIZED  // whose checks name the files they stand in
/// No path of the machine that built it.
TEST(LibraryFile, DoesNotSayWhereItWasBuilt) {
  std::ifstream file(VEKSSD_LIBRARY, std::ios::binary);
  const std::string bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  EXPECT_EQ(bytes.find(VEKSSD_SOURCE_DIR "/library/provider"), std::string::npos);
  EXPECT_EQ(bytes.find(VEKSSD_SOURCE_DIR "/library/core"), std::string::npos);
}
#endif

}  // namespace
