// Declarations as registered classes state them, for example
//   "Remove(first as FooIteratorQZR, last as FooIteratorQZR)", "Keys as integer()",
//   "Constructor(dic as dictionary, CaseSensitive as Boolean = true)".
#ifndef VORNIK_HOST_DECLARATION_H
#define VORNIK_HOST_DECLARATION_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vornik::host {

/// A type as a declaration names it. Type names compare without regard to letter case.
struct DeclaredType {
  enum class Kind { kNone, kInteger, kBoolean, kDouble, kString, kVariant, kObject };

  Kind kind = Kind::kNone;  ///< of the element for an array; kNone only for a missing result
  bool isArray = false;
  std::string name;  ///< as written
};

struct DeclaredParameter {
  std::string name;
  DeclaredType type;
  std::optional<std::string> defaultText;  ///< the literal behind "=", if there is one
  bool assigns = false;                    ///< declared with "Assigns"
};

struct Declaration {
  std::string name;
  std::vector<DeclaredParameter> parameters;
  DeclaredType result;
  std::string text;  ///< the declaration as registered

  /// Number of arguments a call must give at least.
  std::size_t requiredParameters() const;
};

/// Parses one declaration; std::invalid_argument with the text and the offending column when it cannot
/// be read.
Declaration parseDeclaration(std::string_view text);

/// Parses a type on its own, as property records state it ("Integer").
DeclaredType parseType(std::string_view text);

/// ASCII comparison without regard to letter case, the rule for all names of the host's language.
bool sameName(std::string_view a, std::string_view b);

}  // namespace vornik::host

#endif  // VORNIK_HOST_DECLARATION_H
