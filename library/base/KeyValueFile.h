#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

/// Receives one "key=value" line: the key exactly as written, the value without the line's end.
using KeyValueHandler = std::function<void(std::string_view key, const std::string& value)>;

/// Receives one line as it stands in the file, with its line feed if it has one, and its number,
/// counted from 1.
using LineHandler = std::function<void(unsigned number, std::string_view line)>;

/// One "key=value" line, taken apart.
struct KeyValue {
  std::string_view key;  ///< part of the line
  std::string value;
};

/// Walks the lines of the open text file `file` to its end. Lines may have any length and hold any
/// bytes.
void readLines(std::FILE* file, const LineHandler& handler);

/// Takes `line` apart as described below; nothing for a line that is passed over.
[[nodiscard]] std::optional<KeyValue> splitKeyValue(std::string_view line,
                                                    std::string_view emptyValue);

/// Walks the "key=value" lines of the open text file `file` to its end.
///
/// A line without "=" or starting with it is passed over. Nothing is trimmed. The value ends before
/// the line's last character, which is taken to be the line feed: a final line without one loses
/// its last character. A line that ends in "=" itself has the value `emptyValue`.
void readKeyValueLines(std::FILE* file, std::string_view emptyValue,
                       const KeyValueHandler& handler);

/// The unsigned decimal number that `value` starts with, read as scanf's "%lu" does: white space is
/// skipped, a sign accepted (a negative number wraps), what follows the digits ignored. Nothing if
/// there is no number.
[[nodiscard]] std::optional<unsigned long> parseUnsigned(const std::string& value);
