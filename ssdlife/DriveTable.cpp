#include "ssdlife/DriveTable.h"

#include <libsmartcols/libsmartcols.h>
#include <locale.h>

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <memory>
#include <new>

#include "ssdlife/Show.h"
#include "ssdlife/service/Clock.h"

namespace ssdlife {
namespace {

struct Column {
  const char* name;
  int flags;
  std::string (*text)(const Drive& drive);
};

std::string stateOf(const Drive& drive) {
  return drive.failureImminent ? "FAILING" : (drive.readError ? "unread" : "ok");
}

std::string sourceOf(const Drive& drive) {
  if (!drive.percentageUsed) {
    return "-";
  }
  const std::string words = sourceInWords(drive.percentageUsedSource);
  return words.substr(0, words.find(' '));
}

const Column kColumns[] = {
    {"DRIVE", 0, [](const Drive& drive) { return drive.physicalDrive; }},
    {"USED", SCOLS_FL_RIGHT,
     [](const Drive& drive) {
       return drive.percentageUsed ? std::to_string(*drive.percentageUsed) + '%' : "unknown";
     }},
    {"LIFE", 0, wearBar},
    {"HOURS", SCOLS_FL_RIGHT,
     [](const Drive& drive) {
       return drive.poweredOnHours ? std::to_string(*drive.poweredOnHours) : "unknown";
     }},
    {"STATE", 0, stateOf},
    {"EXPECTED", 0,
     [](const Drive& drive) {
       return drive.overThreshold ? dateText(drive.overThreshold->likely) : "-";
     }},
    {"SOURCE", 0, sourceOf},
    {"FIRMWARE", SCOLS_FL_TRUNC, [](const Drive& drive) { return drive.firmware; }},
    {"SERIAL", SCOLS_FL_TRUNC, [](const Drive& drive) { return drive.serialNumber; }},
    {"MODEL", SCOLS_FL_TRUNC, [](const Drive& drive) { return drive.model; }},
    {"DEVICEID", SCOLS_FL_TRUNC, [](const Drive& drive) { return drive.deviceId; }},
};

const std::vector<std::string> kUsual = {"DRIVE",  "USED",     "LIFE",   "HOURS", "STATE",
                                         "SOURCE", "FIRMWARE", "SERIAL", "MODEL"};
const std::vector<std::string> kDropped = {"LIFE", "FIRMWARE", "SOURCE", "SERIAL"};

const Column& columnOf(const std::string& name) {
  return *std::find_if(std::begin(kColumns), std::end(kColumns),
                       [&name](const Column& column) { return column.name == name; });
}

std::string cell(const Column& column, const Drive& drive, bool last) {
  std::string text = printable(column.text(drive));
  if (!last) {
    std::replace(text.begin(), text.end(), ' ', '_');
  }
  return text;
}

const char* colourOf(const Drive& drive) {
  return drive.failureImminent ? "red" : (drive.readError ? "yellow" : nullptr);
}

// libsmartcols measures texts by the locale of the thread, which is that of the process: plain. For
// the life of this object it is one that knows characters.
class CharactersOfAllLanguages {
 public:
  CharactersOfAllLanguages() : locale_(newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr)) {
    former_ = locale_ == nullptr ? nullptr : uselocale(locale_);
  }
  ~CharactersOfAllLanguages() {
    if (locale_ != nullptr) {
      uselocale(former_);
      freelocale(locale_);
    }
  }
  CharactersOfAllLanguages(const CharactersOfAllLanguages&) = delete;
  CharactersOfAllLanguages& operator=(const CharactersOfAllLanguages&) = delete;

 private:
  locale_t locale_;
  locale_t former_;
};

using Table = std::unique_ptr<libscols_table, void (*)(libscols_table*)>;

void require(bool done) {
  if (!done) {
    throw std::bad_alloc();  // the only way in which the calls below fail
  }
}

void addLine(libscols_table* table, const Drive& drive, const std::vector<std::string>& names) {
  libscols_line* const line = scols_table_new_line(table, nullptr);
  require(line != nullptr);
  for (std::size_t i = 0; i < names.size(); ++i) {
    const std::string text = cell(columnOf(names[i]), drive, i + 1 == names.size());
    require(scols_line_set_data(line, i, text.c_str()) == 0);
    if (names[i] == "STATE" && colourOf(drive) != nullptr) {
      require(scols_cell_set_color(scols_line_get_cell(line, i), colourOf(drive)) == 0);
    }
  }
}

std::string rendered(const std::vector<Drive>& drives, const std::vector<std::string>& names,
                     const TableStyle& style) {
  const Table table(scols_new_table(), scols_unref_table);
  require(table != nullptr);
  // Printable already; but where the locale has no such characters libsmartcols never ends.
  scols_table_enable_noencoding(table.get(), MB_CUR_MAX > 1 ? 1 : 0);
  scols_table_enable_noheadings(table.get(), style.headings ? 0 : 1);
  scols_table_enable_colors(table.get(), style.colours ? 1 : 0);
  if (style.width > 0) {
    scols_table_set_termforce(table.get(), SCOLS_TERMFORCE_ALWAYS);
    scols_table_set_termwidth(table.get(), style.width);
  }
  for (const std::string& name : names) {
    require(scols_table_new_column(table.get(), name.c_str(), 0, columnOf(name).flags) != nullptr);
  }
  for (const Drive& drive : drives) {
    addLine(table.get(), drive, names);
  }
  char* text = nullptr;
  require(scols_print_table_to_string(table.get(), &text) == 0);
  const std::unique_ptr<char, void (*)(void*)> owned(text, std::free);
  return std::string(text) + '\n';
}

std::size_t widthOf(const std::string& table) {
  std::size_t widest = 0;
  std::size_t line = 0;
  for (const char c : table) {
    const bool continues = (static_cast<unsigned char>(c) & 0xC0U) == 0x80U;
    line = c == '\n' ? 0 : line + (continues ? 0 : 1);
    widest = std::max(widest, line);
  }
  return widest;
}

std::vector<std::string> fittingColumns(const std::vector<Drive>& drives, const TableStyle& style) {
  std::vector<std::string> names = kUsual;
  // Only tills that have a history can expect anything.
  if (std::any_of(drives.begin(), drives.end(),
                  [](const Drive& drive) { return drive.overThreshold.has_value(); })) {
    names.insert(std::find(names.begin(), names.end(), "SOURCE"), "EXPECTED");
  }
  const TableStyle unbounded{{}, style.headings, 0, false};
  for (const std::string& dropped : kDropped) {
    if (style.width == 0 || widthOf(rendered(drives, names, unbounded)) <= style.width) {
      break;
    }
    names.erase(std::find(names.begin(), names.end(), dropped));
  }
  return names;
}

}  // namespace

std::vector<std::string> columnNames() {
  std::vector<std::string> names;
  std::transform(std::begin(kColumns), std::end(kColumns), std::back_inserter(names),
                 [](const Column& column) { return column.name; });
  return names;
}

std::string driveTable(const std::vector<Drive>& drives, const TableStyle& style) {
  const CharactersOfAllLanguages characters;
  return rendered(drives, style.columns.empty() ? fittingColumns(drives, style) : style.columns,
                  style);
}

}  // namespace ssdlife
