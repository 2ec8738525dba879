#include <array>
#include <clocale>
#include <cstdlib>
#include <cwchar>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "base/WideView.h"
#include "log/Log.h"
#include "tests/support/FakeRoot.h"
#include "tests/support/LogCapture.h"

using namespace testkit;

// The library sets no locale: the host process has one, which is "C" unless it says otherwise.

namespace {

class WideLog : public testing::Test {
 protected:
  static void setUtf8() { ASSERT_NE(std::setlocale(LC_ALL, "C.UTF-8"), nullptr); }

  /// What the locale makes of a text; C libraries differ in how strict they are.
  static std::optional<std::string> converted(const wchar_t* text) {
    std::array<char, 1024> bytes;
    const std::size_t length = std::wcstombs(bytes.data(), text, bytes.size());
    return length == static_cast<std::size_t>(-1)
               ? std::nullopt
               : std::make_optional(std::string(bytes.data(), length));
  }
};

const std::wstring kEuro = L"\u20AC";
constexpr char kEuroBytes[] = "\xE2\x82\xAC";

}  // namespace

TEST_F(WideLog, FormatsAsWprintfDoes) {
  WLog(LOG_LEVEL_DEBUG, L"%ls-%08x-%d-%s-%%", L"text", 0xABCU, -5, "narrow");
  EXPECT_EQ(takeLog(), Lines{"Debug: text-00000abc--5-narrow-%"});
}

TEST_F(WideLog, FiltersByLevel) {
  FakeRoot::instance().write(kLogConf, "Level=2\n");
  WLog(LOG_LEVEL_DEBUG, L"m");
  WLog(LOG_LEVEL_INFO, L"m");
  EXPECT_EQ(takeLog(), Lines{"Info: m"});
}

TEST_F(WideLog, DropsWhatTheLocaleCannotShow) {
  WLog(LOG_LEVEL_INFO, L"before %ls", kEuro.c_str());
  EXPECT_EQ(takeLog(), Lines{});
}

TEST_F(WideLog, ConvertsUnderTheLocaleOfTheHost) {
  setUtf8();
  WLog(LOG_LEVEL_INFO, L"%ls!", kEuro.c_str());
  EXPECT_EQ(takeLog(), Lines{std::string("Info: ") + kEuroBytes + "!"});
}

TEST_F(WideLog, CutsAt4095Bytes) {
  const std::wstring text = std::wstring(4094, L'a') + L"b";
  WLog(LOG_LEVEL_INFO, L"%ls", text.c_str());
  EXPECT_EQ(takeLog(), Lines{"Info: " + std::string(4094, 'a') + "b"});
}

TEST_F(WideLog, CutsALongerTextAt4095Characters) {
  const std::wstring text = std::wstring(4094, L'a') + L"bcd";
  WLog(LOG_LEVEL_INFO, L"%ls", text.c_str());
  EXPECT_EQ(takeLog(), Lines{"Info: " + std::string(4094, 'a') + "b"});
  WLog(LOG_LEVEL_INFO, L"%ls", std::wstring(100000, L'a').c_str());
  EXPECT_EQ(takeLog(), Lines{"Info: " + std::string(4095, 'a')});
}

TEST_F(WideLog, CutsATextWhoseBytesFillTheBufferAt4095) {
  setUtf8();
  WLog(LOG_LEVEL_INFO, L"a%ls", std::wstring(2000, kEuro[0]).c_str());
  const Lines lines = takeLog();
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_LE(lines[0].size(), 6U + 4095U);
  EXPECT_GE(lines[0].size(), 6U + 4093U);
  EXPECT_EQ(lines[0].substr(0, 13), std::string("Info: a") + kEuroBytes + kEuroBytes);
}

// A text of exactly 4096 bytes: the conversion then doesn't terminate it.
TEST_F(WideLog, CutsATextOfExactlyTheBuffersLength) {
  setUtf8();
  WLog(LOG_LEVEL_INFO, L"%lsa", std::wstring(1365, kEuro[0]).c_str());
  const Lines lines = takeLog();
  ASSERT_EQ(lines.size(), 1U);
  std::string whole;
  for (int i = 0; i < 1365; ++i) {
    whole += kEuroBytes;
  }
  EXPECT_EQ(lines[0], "Info: " + whole);
}

TEST_F(WideLog, KeepsATextOfOneByteLessThanTheBuffer) {
  setUtf8();
  WLog(LOG_LEVEL_INFO, L"%ls", std::wstring(1365, kEuro[0]).c_str());
  EXPECT_EQ(takeLog()[0].size(), 6U + 4095U);
}

// Narrow texts where wide ones are expected: see WideView.

TEST_F(WideLog, DropsARecordWithANarrowTextInTheCLocale) {
  WLog(LOG_LEVEL_DEBUG, L"serial=[%ls]", WideView("123456789012").text());
  EXPECT_EQ(takeLog(), Lines{});
}

TEST_F(WideLog, ShowsANarrowTextAsFarAsTheHostsLocaleConvertsIt) {
  setUtf8();
  const WideView serial("123456789012");
  WLog(LOG_LEVEL_DEBUG, L"serial=[%ls]", serial.text());
  const auto bytes = converted(serial.text());
  EXPECT_EQ(takeLog(), bytes ? Lines{"Debug: serial=[" + *bytes + "]"} : Lines{});
}

TEST_F(WideLog, ShowsANarrowTextOfOneCharacterOrNone) {
  WLog(LOG_LEVEL_DEBUG, L"serial=[%ls]", WideView("S").text());
  WLog(LOG_LEVEL_DEBUG, L"serial=[%ls]", WideView("").text());
  EXPECT_EQ(takeLog(), (Lines{"Debug: serial=[S]", "Debug: serial=[]"}));
}

TEST_F(WideLog, EndsANarrowRecordBeforeTheNarrowTextInTheCLocale) {
  Log(LOG_LEVEL_DEBUG, "model %ls in list %d", WideView("SanDisk").text(), 5);
  Log(LOG_LEVEL_DEBUG, "%ls", WideView("SanDisk").text());
  EXPECT_EQ(takeLog(), (Lines{"Debug: model ", "Debug: "}));
}

TEST_F(WideLog, EndsANarrowRecordWhereTheHostsLocaleDoesNotConvert) {
  setUtf8();
  const WideView model("SanDisk");
  Log(LOG_LEVEL_DEBUG, "model %ls in list %d", model.text(), 5);
  const auto bytes = converted(model.text());
  EXPECT_EQ(takeLog(), Lines{bytes ? "Debug: model " + *bytes + " in list 5" : "Debug: model "});
  Log(LOG_LEVEL_DEBUG, "model %ls in list %d", WideView("\xFF\xFF\xFF\xFF").text(), 5);
  EXPECT_EQ(takeLog(), Lines{"Debug: model "});
}

TEST_F(WideLog, GoesOnBehindANarrowTextThatHappensToConvert) {
  Log(LOG_LEVEL_DEBUG, "model %ls in list %d", WideView("S").text(), 5);
  EXPECT_EQ(takeLog(), Lines{"Debug: model S in list 5"});
}
