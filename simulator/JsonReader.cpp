#include "simulator/JsonReader.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <limits>
#include <utility>

#include "simulator/ErrnoNames.h"

namespace simulator {

namespace {

using nlohmann::json;

std::string kindOf(const json& value) {
  switch (value.type()) {
    case json::value_t::null:
      return "null";
    case json::value_t::object:
      return "an object";
    case json::value_t::array:
      return "a list";
    case json::value_t::string:
      return "text";
    case json::value_t::boolean:
      return "true or false";
    default:
      return "a number";
  }
}

// "a, b or c".
template <typename Words>
std::string joined(const Words& words, const std::string& last) {
  std::string text;
  std::size_t left = words.size();
  for (const auto& word : words) {
    text += word;
    --left;
    text += left == 0 ? "" : (left == 1 ? last : ", ");
  }
  return text;
}

std::optional<std::uint64_t> number(std::string_view text) {
  int base = 10;
  if (text.substr(0, 2) == "0x" || text.substr(0, 2) == "0X") {
    base = 16;
    text.remove_prefix(2);
  }
  std::uint64_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
  if (error != std::errc() || end != text.data() + text.size()) {
    return std::nullopt;
  }
  return value;
}

// value = value * 10 + digit; false when 128 bits don't hold it.
bool append(Wide& value, unsigned digit) {
  constexpr std::uint64_t kHalf = 0xffffffff;
  const std::uint64_t low = (value.low & kHalf) * 10 + digit;
  const std::uint64_t middle = (value.low >> 32) * 10 + (low >> 32);
  const std::uint64_t carry = middle >> 32;
  if (value.high > (std::numeric_limits<std::uint64_t>::max() - carry) / 10) {
    return false;
  }
  value.high = value.high * 10 + carry;
  value.low = middle << 32 | (low & kHalf);
  return true;
}

// Where the parser is, to name the place of a key that is given twice.
class Places {
 public:
  void follow(json::parse_event_t event, const json& parsed) {
    switch (event) {
      case json::parse_event_t::object_start:
      case json::parse_event_t::array_start:
        levels_.push_back({event == json::parse_event_t::array_start, 0, "", {}});
        return;
      case json::parse_event_t::key:
        takeKey(parsed.get<std::string>());
        return;
      case json::parse_event_t::object_end:
      case json::parse_event_t::array_end:
        levels_.pop_back();
        break;
      case json::parse_event_t::value:
        break;
    }
    if (!levels_.empty()) {
      ++levels_.back().index;
    }
  }

 private:
  struct Level {
    bool list;
    std::size_t index;
    std::string key;
    std::set<std::string> keys;
  };

  void takeKey(const std::string& key) {
    levels_.back().key = key;
    if (!levels_.back().keys.insert(key).second) {
      throw MachineFileError(place() + ": key given twice");
    }
  }

  [[nodiscard]] std::string place() const {
    std::string text;
    for (const Level& level : levels_) {
      if (level.list) {
        text += '[' + std::to_string(level.index) + ']';
      } else {
        text += (text.empty() ? "" : ".") + level.key;
      }
    }
    return text;
  }

  std::vector<Level> levels_;
};

// What the parser says, without its own name for it: " at line 1, column 2: ...".
std::string reasonOf(const json::exception& error) {
  const std::string text = error.what();
  const std::string_view start = "parse error";
  const std::size_t begin = text.find(start);
  if (begin != std::string::npos) {
    return text.substr(begin + start.size());
  }
  const std::size_t name = text.find("] ");
  return ": " + (name == std::string::npos ? text : text.substr(name + 2));
}

}  // namespace

void JsonValue::fail(const std::string& what) const {
  throw MachineFileError((place_.empty() ? "machine file" : place_) + ": " + what);
}

std::string JsonValue::text() const {
  if (!value_.is_string()) {
    fail("text expected, found " + kindOf(value_));
  }
  return value_.get<std::string>();
}

std::string JsonValue::deviceText(std::size_t width) const {
  std::string text;
  if (value_.is_object()) {
    JsonObject object(*this);
    const Bytes bytes = object.need("hex").bytes();
    object.finish();
    text.assign(bytes.begin(), bytes.end());
  } else {
    text = this->text();
  }
  if (text.size() > width) {
    fail("longer than the " + std::to_string(width) + " bytes that the drive has for it");
  }
  return text;
}

bool JsonValue::boolean() const {
  if (!value_.is_boolean()) {
    fail("true or false expected, found " + kindOf(value_));
  }
  return value_.get<bool>();
}

std::uint64_t JsonValue::integer(std::uint64_t lowest, std::uint64_t highest) const {
  std::optional<std::uint64_t> value;
  if (value_.is_number_unsigned()) {
    value = value_.get<std::uint64_t>();
  } else if (value_.is_string()) {
    value = number(value_.get_ref<const std::string&>());
  }
  if (!value || *value < lowest || *value > highest) {
    fail("whole number from " + std::to_string(lowest) + " to " + std::to_string(highest) +
         " expected, found " + value_.dump());
  }
  return *value;
}

double JsonValue::real(double lowest, double highest) const {
  if (!value_.is_number() || value_.get<double>() < lowest || value_.get<double>() > highest) {
    fail("number from " + nlohmann::json(lowest).dump() + " to " + nlohmann::json(highest).dump() +
         " expected, found " + value_.dump());
  }
  return value_.get<double>();
}

Wide JsonValue::wide() const {
  if (value_.is_number_unsigned()) {
    return {value_.get<std::uint64_t>(), 0};
  }
  const std::string digits = value_.is_string() ? value_.get<std::string>() : "";
  Wide value;
  bool good = !digits.empty();
  for (const char c : digits) {
    good = good && c >= '0' && c <= '9' && append(value, static_cast<unsigned>(c - '0'));
  }
  if (!good) {
    fail("whole number of up to 128 bits expected, found " + value_.dump());
  }
  return value;
}

Bytes JsonValue::bytes() const {
  if (value_.is_object()) {
    return sparseBytes();
  }
  if (value_.is_array()) {
    Bytes all;
    for (const JsonValue& part : list()) {
      const Bytes bytes = part.bytes();
      all.insert(all.end(), bytes.begin(), bytes.end());
    }
    return all;
  }
  std::optional<Bytes> bytes;
  if (value_.is_string()) {
    bytes = fromHex(value_.get_ref<const std::string&>());
  }
  if (!bytes) {
    fail("bytes in hexadecimal digits expected, found " + value_.dump());
  }
  return *std::move(bytes);
}

Bytes JsonValue::bytes(std::size_t size) const {
  Bytes bytes = this->bytes();
  if (bytes.size() != size) {
    fail(std::to_string(size) + " bytes expected, found " + std::to_string(bytes.size()));
  }
  return bytes;
}

Bytes JsonValue::sparseBytes() const {
  constexpr std::size_t kLargest = 1U << 20;
  JsonObject object(*this);
  Bytes all(object.need("size").integer(0, kLargest), 0);
  if (const auto at = object.find("at")) {
    for (const auto& [key, value] : JsonObject(*at).members()) {
      const std::optional<std::uint64_t> offset = number(key);
      const Bytes part = value.bytes();
      if (!offset || *offset > all.size() || part.size() > all.size() - *offset) {
        value.fail("bytes do not lie within the size of " + std::to_string(all.size()));
      }
      std::copy(part.begin(), part.end(), all.begin() + static_cast<std::ptrdiff_t>(*offset));
    }
  }
  object.finish();
  return all;
}

std::size_t JsonValue::oneOf(const std::vector<std::string_view>& words) const {
  const std::string word = text();
  const auto found = std::find(words.begin(), words.end(), word);
  if (found == words.end()) {
    fail(joined(words, " or ") + " expected, found \"" + word + '"');
  }
  return static_cast<std::size_t>(found - words.begin());
}

int JsonValue::errnoName() const {
  const std::string name = text();
  const std::optional<int> value = errnoOf(name);
  if (!value) {
    fail("\"" + name + "\" is no errno that the simulator knows");
  }
  return *value;
}

std::vector<JsonValue> JsonValue::list() const {
  if (!value_.is_array()) {
    fail("list expected, found " + kindOf(value_));
  }
  std::vector<JsonValue> values;
  for (std::size_t i = 0; i < value_.size(); ++i) {
    values.emplace_back(value_[i], place_ + "[" + std::to_string(i) + "]");
  }
  return values;
}

JsonObject::JsonObject(const JsonValue& value) : value_(value) {
  if (!value.json().is_object()) {
    value.fail("object expected, found " + kindOf(value.json()));
  }
}

std::string JsonObject::placeOf(const std::string& key) const {
  return value_.place().empty() ? key : value_.place() + "." + key;
}

std::optional<JsonValue> JsonObject::find(const std::string& key) {
  asked_.insert(key);
  const auto member = value_.json().find(key);
  if (member == value_.json().end()) {
    return std::nullopt;
  }
  return JsonValue(*member, placeOf(key));
}

JsonValue JsonObject::need(const std::string& key) {
  const std::optional<JsonValue> member = find(key);
  if (!member) {
    fail("\"" + key + "\" is missing");
  }
  return *member;
}

std::vector<std::pair<std::string, JsonValue>> JsonObject::members() {
  std::vector<std::pair<std::string, JsonValue>> all;
  for (const auto& [key, member] : value_.json().items()) {
    asked_.insert(key);
    all.emplace_back(key, JsonValue(member, placeOf(key)));
  }
  return all;
}

void JsonObject::finish() const {
  for (const auto& [key, member] : value_.json().items()) {
    if (asked_.count(key) == 0) {
      JsonValue(member, placeOf(key)).fail("unknown key; known are " + joined(asked_, " and "));
    }
  }
}

nlohmann::json parseJson(std::string_view text) {
  Places places;
  const auto watch = [&places](int /*depth*/, json::parse_event_t event, json& parsed) {
    places.follow(event, parsed);
    return true;
  };
  try {
    return json::parse(text, watch);
  } catch (const json::exception& error) {
    throw MachineFileError("no valid JSON" + reasonOf(error));
  }
}

}  // namespace simulator
