#include "tests/schema/Mof.h"

#include <algorithm>
#include <cctype>
#include <cstddef>

namespace mof {

namespace {

bool isNameCharacter(char c) {
  return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_';
}

struct Token {
  enum class Kind { kWord, kText, kSign, kEnd };
  Kind kind = Kind::kEnd;
  std::string text;
};

class Tokens {
 public:
  explicit Tokens(const std::string& text) : text_(text) { advance(); }

  const Token& peek() const { return next_; }

  Token take() {
    Token token = next_;
    advance();
    return token;
  }

  bool takeIf(const std::string& sign) {
    if (next_.kind == Token::Kind::kText || next_.text != sign) {
      return false;
    }
    advance();
    return true;
  }

  void expect(const std::string& sign) {
    if (!takeIf(sign)) {
      fail("\"" + sign + "\" expected before \"" + next_.text + "\"");
    }
  }

  std::string word() {
    if (next_.kind != Token::Kind::kWord) {
      fail("a name expected before \"" + next_.text + "\"");
    }
    return take().text;
  }

  [[noreturn]] void fail(const std::string& what) const {
    const auto end = text_.begin() + static_cast<std::ptrdiff_t>(taken_);
    throw Error("line " + std::to_string(1 + std::count(text_.begin(), end, '\n')) + ": " + what);
  }

 private:
  void skipBlanksAndComments() {
    while (at_ < text_.size()) {
      if (std::isspace(static_cast<unsigned char>(text_[at_])) != 0) {
        ++at_;
      } else if (text_.compare(at_, 2, "//") == 0) {
        at_ = std::min(text_.find('\n', at_), text_.size());
      } else {
        return;
      }
    }
  }

  std::string quoted() {
    std::string content;
    for (++at_; at_ < text_.size() && text_[at_] != '"'; ++at_) {
      if (text_[at_] == '\n') {
        fail("string not closed");
      }
      if (text_[at_] == '\\') {
        ++at_;
      }
      content += text_[at_];
    }
    ++at_;
    return content;
  }

  void advance() {
    taken_ = at_;
    skipBlanksAndComments();
    if (at_ >= text_.size()) {
      next_ = {};
    } else if (text_[at_] == '"') {
      next_ = {Token::Kind::kText, quoted()};
    } else if (isNameCharacter(text_[at_])) {
      const std::size_t start = at_;
      while (at_ < text_.size() && isNameCharacter(text_[at_])) {
        ++at_;
      }
      next_ = {Token::Kind::kWord, text_.substr(start, at_ - start)};
    } else {
      next_ = {Token::Kind::kSign, std::string(1, text_[at_++])};
    }
  }

  const std::string& text_;
  std::size_t at_ = 0;     // behind next_
  std::size_t taken_ = 0;  // behind the token before it
  Token next_;
};

std::string value(Tokens& tokens) {
  if (tokens.peek().kind != Token::Kind::kText) {
    return tokens.word();
  }
  std::string text;
  while (tokens.peek().kind == Token::Kind::kText) {
    text += tokens.take().text;
  }
  return text;
}

Words valuesUpTo(Tokens& tokens, const std::string& end) {
  Words words;
  do {
    words.push_back(value(tokens));
  } while (tokens.takeIf(","));
  tokens.expect(end);
  return words;
}

Qualifiers qualifiers(Tokens& tokens) {
  Qualifiers found;
  if (!tokens.takeIf("[")) {
    return found;
  }
  do {
    const std::string name = tokens.word();
    Words words;
    if (tokens.takeIf("(")) {
      words = valuesUpTo(tokens, ")");
    } else if (tokens.takeIf("{")) {
      words = valuesUpTo(tokens, "}");
    }
    if (!found.emplace(name, words).second) {
      tokens.fail("qualifier " + name + " given twice");
    }
  } while (tokens.takeIf(","));
  tokens.expect("]");
  return found;
}

Class parseClass(Tokens& tokens, Qualifiers qualifiersOfClass) {
  Class parsed;
  parsed.qualifiers = std::move(qualifiersOfClass);
  parsed.name = tokens.word();
  if (tokens.takeIf(":")) {
    parsed.superclass = tokens.word();
  }
  tokens.expect("{");
  while (!tokens.takeIf("}")) {
    Property property;
    property.qualifiers = qualifiers(tokens);
    property.type = tokens.word();
    property.name = tokens.word();
    tokens.expect(";");
    if (parsed.property(property.name) != nullptr) {
      tokens.fail("property " + property.name + " declared twice");
    }
    parsed.properties.push_back(property);
  }
  tokens.expect(";");
  return parsed;
}

Instance parseInstance(Tokens& tokens) {
  Instance parsed;
  tokens.expect("of");
  parsed.className = tokens.word();
  tokens.expect("{");
  while (!tokens.takeIf("}")) {
    const std::string name = tokens.word();
    tokens.expect("=");
    Words words;
    if (tokens.takeIf("{")) {
      words = valuesUpTo(tokens, "}");
    } else {
      words = {value(tokens)};
    }
    tokens.expect(";");
    if (!parsed.values.emplace(name, words).second) {
      tokens.fail("value " + name + " given twice");
    }
  }
  tokens.expect(";");
  return parsed;
}

}  // namespace

const Property* Class::property(const std::string& propertyName) const {
  const auto found =
      std::find_if(properties.begin(), properties.end(),
                   [&](const Property& property) { return property.name == propertyName; });
  return found == properties.end() ? nullptr : &*found;
}

const std::string& Instance::value(const std::string& name) const {
  const auto found = values.find(name);
  if (found == values.end() || found->second.size() != 1) {
    throw Error(className + " has not one value of " + name);
  }
  return found->second.front();
}

const Class& File::classNamed(const std::string& name) const {
  const auto found = std::find_if(classes.begin(), classes.end(),
                                  [&](const Class& one) { return one.name == name; });
  if (found == classes.end()) {
    throw Error("class " + name + " is not declared");
  }
  return *found;
}

File parse(const std::string& text) {
  File file;
  Tokens tokens(text);
  while (tokens.peek().kind != Token::Kind::kEnd) {
    Qualifiers leading = qualifiers(tokens);
    if (tokens.takeIf("class")) {
      file.classes.push_back(parseClass(tokens, std::move(leading)));
    } else {
      tokens.expect("instance");
      file.instances.push_back(parseInstance(tokens));
    }
  }
  return file;
}

}  // namespace mof
