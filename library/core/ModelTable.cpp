#include "core/ModelTable.h"

#include <algorithm>
#include <charconv>
#include <tuple>
#include <utility>

#include "base/KeyValueFile.h"

namespace {

// ATA identify words 27-46 and 23-26 (ACS-3, 7.12.7): no text is longer.
constexpr std::size_t kMostModelCharacters = 40;
constexpr std::size_t kMostFirmwareCharacters = 8;
/// A shorter beginning would fit drives of many makers.
constexpr std::size_t kFewestBeginningCharacters = 4;
constexpr std::size_t kMostLineCharacters = 256;
constexpr std::uint32_t kGreatestFactor = 1'000'000;
constexpr unsigned kRawBytes = 6;

/// The words of a text, one after another.
class Words {
 public:
  explicit Words(std::string_view text) : rest_(text) { skipBlanks(); }

  [[nodiscard]] bool isEmpty() const { return rest_.empty(); }
  [[nodiscard]] std::string_view rest() const { return rest_; }

  /// The next word, empty at the end.
  std::string_view next() {
    const std::string_view word = rest_.substr(0, rest_.find(' '));
    rest_.remove_prefix(word.size());
    skipBlanks();
    return word;
  }

  /// Takes the next word if it is this one.
  bool take(std::string_view word) {
    Words after = *this;
    if (after.next() != word) {
      return false;
    }
    *this = after;
    return true;
  }

 private:
  void skipBlanks() { rest_.remove_prefix(std::min(rest_.find_first_not_of(' '), rest_.size())); }

  std::string_view rest_;
};

/// A whole text that is a decimal number from `least` to `greatest`.
template <typename Number>
bool parseNumber(std::string_view text, Number least, Number greatest, Number& number) {
  unsigned long value = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  if (error != std::errc{} || stop != end || value < least || value > greatest) {
    return false;
  }
  number = static_cast<Number>(value);
  return true;
}

/// "current", "raw", "raw4" or "raw0-1".
bool parseField(std::string_view word, WearValue& value) {
  if (word == "current") {
    value.field = WearValue::Field::kCurrent;
    return true;
  }
  if (word.substr(0, 3) != "raw") {
    return false;
  }
  value.field = WearValue::Field::kRaw;
  word.remove_prefix(3);
  if (word.empty()) {
    return true;
  }
  constexpr std::uint8_t kLast = kRawBytes - 1;
  const std::size_t dash = word.find('-');
  if (!parseNumber<std::uint8_t>(word.substr(0, dash), 0, kLast, value.firstByte)) {
    return false;
  }
  value.lastByte = value.firstByte;
  return dash == std::string_view::npos ||
         parseNumber<std::uint8_t>(word.substr(dash + 1), value.firstByte, kLast, value.lastByte);
}

/// "*10" or "/1024".
bool parseFactor(std::string_view word, WearValue& value) {
  return parseNumber<std::uint32_t>(word.substr(1), 1, kGreatestFactor,
                                    word[0] == '*' ? value.multiplier : value.divisor);
}

/// FIELD used|left [FACTOR].
std::string parseValue(Words& words, WearValue& value) {
  const std::string field(words.next());
  if (!parseField(field, value)) {
    return "\"" + field + "\" is not current, raw, or raw with its bytes (raw0, raw0-1)";
  }
  if (words.take("left")) {
    value.counts = WearValue::Counts::kLeft;
  } else if (words.take("used")) {
    value.counts = WearValue::Counts::kUsed;
  } else {
    return "after " + field + " neither used nor left";
  }
  const std::string_view rest = words.rest();
  if (rest.empty() || (rest[0] != '*' && rest[0] != '/')) {
    return "";
  }
  const std::string factor(words.next());
  return parseFactor(factor, value)
             ? ""
             : "\"" + factor + "\" is not * or / and a number from 1 to 1000000";
}

bool isPlain(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return c >= ' ' && c <= '~'; });
}

std::string parseModel(std::string_view key, ModelRow& row) {
  row.isBeginning = !key.empty() && key.back() == '*';
  const std::string_view model = key.substr(0, key.size() - (row.isBeginning ? 1 : 0));
  if (model.empty() || model.size() > kMostModelCharacters || model.front() == ' ' ||
      (model.back() == ' ' && !row.isBeginning)) {
    return "no drive calls itself so: a model has 1 to 40 characters and no blanks at its ends";
  }
  if (model.find('*') != std::string_view::npos) {
    return "* stands only at the end of a model";
  }
  if (row.isBeginning && model.size() < kFewestBeginningCharacters) {
    return "a beginning of fewer than 4 characters fits too many drives";
  }
  row.model = model;
  return "";
}

std::string parseFirmware(std::string_view text, ModelRow& row) {
  const std::string_view firmware = text.substr(0, text.find_last_not_of(' ') + 1);
  if (firmware.empty() || firmware.size() > kMostFirmwareCharacters) {
    return "a firmware has 1 to 8 characters";
  }
  row.firmware = firmware;
  return "";
}

std::string parseRule(std::string_view text, ModelRow& row) {
  Words words(text);
  const std::string id(words.next());
  if (!parseNumber<std::uint8_t>(id, 1, 255, row.wear.id)) {
    return "\"" + id + "\" is not an attribute number from 1 to 255";
  }
  std::string problem = parseValue(words, row.wear.value);
  if (problem.empty() && words.take("agrees")) {
    problem = parseValue(words, row.wear.twin.emplace());
  }
  if (!problem.empty()) {
    return problem;
  }
  row.wear.beforeStatistics = words.take("override");
  if (words.take("firmware")) {
    return parseFirmware(words.rest(), row);
  }
  return words.isEmpty() ? "" : "\"" + std::string(words.next()) + "\" is not understood here";
}

bool startsWith(std::string_view text, std::string_view start) {
  return text.substr(0, start.size()) == start;
}

bool fits(const ModelRow& row, std::string_view model, std::string_view firmware) {
  return (row.isBeginning ? startsWith(model, row.model) : model == row.model) &&
         startsWith(firmware, row.firmware);
}

auto exactness(const ModelRow& row) {
  return std::tuple(!row.isBeginning, row.model.size(), row.firmware.size());
}

bool isComment(std::string_view line) {
  return line.find_first_not_of(" \t\r\n") == std::string_view::npos || line.front() == '#';
}

/// One line as it stands in the file; gives what is wrong with it, or nothing.
std::string parseLine(std::string_view line, ModelRow& row) {
  // A file that was cut off might end in a firmware that is too short, and fit too much.
  if (line.back() != '\n') {
    return "no line feed at its end";
  }
  const std::optional<KeyValue> pair = splitKeyValue(line, "");
  if (!pair) {
    return "no model and = before an attribute";
  }
  std::string_view rule = pair->value;
  rule.remove_suffix(!rule.empty() && rule.back() == '\r' ? 1 : 0);
  if (line.size() > kMostLineCharacters) {
    return "more than 256 characters";
  }
  if (!isPlain(pair->key) || !isPlain(rule)) {
    return "other than printable ASCII characters";
  }
  std::string problem = parseModel(pair->key, row);
  return problem.empty() ? parseRule(rule, row) : problem;
}

}  // namespace

bool ModelTable::read(std::FILE* file, const ProblemHandler& handler) {
  readLines(file, [this, &handler](unsigned number, std::string_view line) {
    if (isComment(line)) {
      return;
    }
    ModelRow row;
    const std::string problem = parseLine(line, row);
    if (!problem.empty()) {
      handler(number, problem);
      return;
    }
    row.line = number;
    _rows.push_back(std::move(row));
  });
  return std::ferror(file) == 0;
}

const ModelRow* ModelTable::find(std::string_view model, std::string_view firmware) const {
  const ModelRow* best = nullptr;
  for (const ModelRow& row : _rows) {
    if (fits(row, model, firmware) && (best == nullptr || exactness(row) >= exactness(*best))) {
      best = &row;
    }
  }
  return best;
}
