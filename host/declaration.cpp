#include "host/declaration.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <utility>

namespace vornik::host {
namespace {

// Locale must not decide what a name is, hence no <cctype>.
char lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}
bool isBlank(char c) {
  return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}
bool isDigit(char c) {
  return c >= '0' && c <= '9';
}
bool startsName(char c) {
  // Bytes beyond ASCII belong to letters: the host's language allows them in names.
  return (lower(c) >= 'a' && lower(c) <= 'z') || c == '_' || static_cast<unsigned char>(c) >= 0x80;
}

DeclaredType::Kind kindOf(std::string_view typeName) {
  using Kind = DeclaredType::Kind;
  static constexpr std::array<std::pair<std::string_view, Kind>, 6> kPlain{{{"Integer", Kind::kInteger},
                                                                            {"Int64", Kind::kInteger},
                                                                            {"Boolean", Kind::kBoolean},
                                                                            {"Double", Kind::kDouble},
                                                                            {"String", Kind::kString},
                                                                            {"Variant", Kind::kVariant}}};
  for (const auto& [name, kind] : kPlain) {
    if (sameName(name, typeName)) return kind;
  }
  return Kind::kObject;
}

/// Plain types of the host's language that travel in other shapes than the kinds above. Taking them for
/// classes would pass garbage, so they are refused.
bool isUnsupported(std::string_view typeName) {
  static constexpr std::array<std::string_view, 16> kOthers{
      "Int8",     "Int16", "Int32", "UInt8",   "UInt16",  "UInt32",  "UInt64", "UInteger",
      "Currency", "Color", "Ptr",   "CString", "WString", "PString", "Single", "CGFloat"};
  return std::any_of(kOthers.begin(), kOthers.end(),
                     [&](std::string_view other) { return sameName(other, typeName); });
}

class Parser {
 public:
  explicit Parser(std::string_view text) : text_(text) {}

  Declaration declaration() {
    Declaration result;
    result.text = text_;
    result.name = name("a name");
    if (take('(') && !take(')')) {
      do {
        result.parameters.push_back(parameter());
      } while (take(','));
      expect(')');
    }
    if (takeKeyword("as")) result.result = type();
    end();
    return result;
  }

  DeclaredType typeAlone() {
    DeclaredType result = type();
    end();
    return result;
  }

 private:
  DeclaredParameter parameter() {
    DeclaredParameter result;
    result.name = name("a parameter name");
    // "assigns" is a keyword only in front of the name proper; it may also be the name itself.
    if (sameName(result.name, "assigns") && !atKeyword("as") && atName()) {
      result.assigns = true;
      result.name = name("a parameter name");
    }
    const bool isArray = emptyParentheses();
    if (!takeKeyword("as")) fail("expected \"as\"");
    result.type = type();
    result.type.isArray = result.type.isArray || isArray;
    if (take('=')) result.defaultText = literal();
    return result;
  }

  DeclaredType type() {
    DeclaredType result;
    const std::size_t start = skipBlanks();
    result.name = name("a type name");
    while (take('.')) result.name += '.' + name("a type name");
    if (isUnsupported(result.name)) fail("type " + result.name + " is not supported", start);
    result.kind = kindOf(result.name);
    result.isArray = emptyParentheses();
    return result;
  }

  std::string literal() {
    const std::size_t start = skipBlanks();
    if (atName()) return name("a literal");
    if (take('"')) {
      const std::size_t close = text_.find('"', at_);
      if (close == std::string_view::npos) fail("text literal without end", start);
      at_ = close + 1;
      return std::string(text_.substr(start, at_ - start));
    }
    if (at_ < text_.size() && (text_[at_] == '-' || text_[at_] == '+')) ++at_;
    const std::size_t digits = at_;
    while (at_ < text_.size() && (isDigit(text_[at_]) || text_[at_] == '.')) ++at_;
    if (at_ == digits) fail("expected a literal");
    return std::string(text_.substr(start, at_ - start));
  }

  bool atName() {
    skipBlanks();
    return at_ < text_.size() && startsName(text_[at_]);
  }

  std::string name(const char* what) {
    if (!atName()) fail(std::string("expected ") + what);
    const std::string_view word = wordAhead();
    at_ += word.size();
    return std::string(word);
  }

  std::string_view wordAhead() {
    std::size_t end = skipBlanks();
    while (end < text_.size() && (startsName(text_[end]) || isDigit(text_[end]))) ++end;
    return text_.substr(at_, end - at_);
  }

  bool atKeyword(std::string_view keyword) { return sameName(wordAhead(), keyword); }

  bool takeKeyword(std::string_view keyword) {
    if (!atKeyword(keyword)) return false;
    at_ += keyword.size();
    return true;
  }

  bool take(char c) {
    skipBlanks();
    if (at_ == text_.size() || text_[at_] != c) return false;
    ++at_;
    return true;
  }

  void expect(char c) {
    if (!take(c)) fail(std::string("expected \"") + c + '"');
  }

  bool emptyParentheses() {
    if (!take('(')) return false;
    expect(')');
    return true;
  }

  void end() {
    if (skipBlanks() != text_.size()) fail("unexpected text");
  }

  std::size_t skipBlanks() {
    while (at_ < text_.size() && isBlank(text_[at_])) ++at_;
    return at_;
  }

  [[noreturn]] void fail(const std::string& reason) { fail(reason, skipBlanks()); }
  [[noreturn]] void fail(const std::string& reason, std::size_t where) const {
    throw std::invalid_argument("declaration \"" + std::string(text_) + "\", column " +
                                std::to_string(where + 1) + ": " + reason);
  }

  std::string_view text_;
  std::size_t at_ = 0;
};

}  // namespace

std::size_t Declaration::requiredParameters() const {
  const auto last = std::find_if(parameters.rbegin(), parameters.rend(),
                                 [](const DeclaredParameter& p) { return !p.defaultText; });
  return static_cast<std::size_t>(parameters.rend() - last);
}

Declaration parseDeclaration(std::string_view text) {
  return Parser(text).declaration();
}

DeclaredType parseType(std::string_view text) {
  return Parser(text).typeAlone();
}

bool sameName(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return lower(x) == lower(y); });
}

}  // namespace vornik::host
