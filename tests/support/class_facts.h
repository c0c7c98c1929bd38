// What tells the containers apart, and keys and values for each of them. The suites are written once over
// this table.
#ifndef VORNIK_TESTS_SUPPORT_CLASS_FACTS_H
#define VORNIK_TESTS_SUPPORT_CLASS_FACTS_H

#include <array>
#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "host/host.h"
#include "host/value.h"

namespace vornik::behaviour {

using host::Host;
using host::HostOptions;
using host::Value;
using Values = std::vector<Value>;
using Texts = std::vector<std::string>;

enum class Kind { kNone, kInteger, kString, kVariant };

struct ClassFacts {
  const char* name;
  bool ordered;
  Kind key;
  Kind value;  ///< kNone for sets
  std::uint64_t nodeBytes;

  bool isMap() const { return value != Kind::kNone; }
  bool hasCaseChoice() const { return key != Kind::kInteger; }
  bool descending() const { return ordered && isMap() && hasCaseChoice(); }
  std::int64_t maxSize() const { return static_cast<std::int64_t>(~std::uint64_t{0} / nodeBytes); }
  std::string iterator() const {
    const std::string base(name, std::string_view(name).size() - 3);
    // The one iterator that is named unlike its container.
    return (base == "VariantToVariantOrderedMap" ? "VariantToVariantMap" : base) + "IteratorQZR";
  }
};

inline constexpr bool kOrdered = true, kHashed = false;
inline constexpr Kind kNone = Kind::kNone, kInt = Kind::kInteger, kText = Kind::kString,
                      kAny = Kind::kVariant;
/// In the order of registration.
inline constexpr std::array kClasses{
    ClassFacts{"IntegerHashSetQZR", kHashed, kInt, kNone, 24},
    ClassFacts{"IntegerOrderedSetQZR", kOrdered, kInt, kNone, 40},
    ClassFacts{"IntegerToIntegerHashMapQZR", kHashed, kInt, kInt, 32},
    ClassFacts{"IntegerToIntegerOrderedMapQZR", kOrdered, kInt, kInt, 48},
    ClassFacts{"IntegerToStringHashMapQZR", kHashed, kInt, kText, 40},
    ClassFacts{"IntegerToStringOrderedMapQZR", kOrdered, kInt, kText, 56},
    ClassFacts{"IntegerToVariantHashMapQZR", kHashed, kInt, kAny, 40},
    ClassFacts{"IntegerToVariantOrderedMapQZR", kOrdered, kInt, kAny, 56},
    ClassFacts{"StringHashSetQZR", kHashed, kText, kNone, 32},
    ClassFacts{"StringOrderedSetQZR", kOrdered, kText, kNone, 48},
    ClassFacts{"StringToStringHashMapQZR", kHashed, kText, kText, 48},
    ClassFacts{"StringToStringOrderedMapQZR", kOrdered, kText, kText, 64},
    ClassFacts{"StringToVariantHashMapQZR", kHashed, kText, kAny, 48},
    ClassFacts{"StringToVariantOrderedMapQZR", kOrdered, kText, kAny, 64},
    ClassFacts{"VariantHashSetQZR", kHashed, kAny, kNone, 32},
    ClassFacts{"VariantOrderedSetQZR", kOrdered, kAny, kNone, 48},
    ClassFacts{"VariantToVariantHashMapQZR", kHashed, kAny, kAny, 48},
    ClassFacts{"VariantToVariantOrderedMapQZR", kOrdered, kAny, kAny, 64},
};

/// A class, and for those that offer the choice the kind of key comparison.
struct Subject {
  const ClassFacts* facts;
  bool caseSensitive = true;

  friend std::ostream& operator<<(std::ostream& out, const Subject& subject) {
    const std::string_view name = subject.facts->name;
    return out << name.substr(0, name.size() - 3) << (subject.caseSensitive ? "" : "_AnyCase");
  }
};

/// Whether every other key that is text is one whose bytes a view can borrow from the host.
inline bool someTextsAreBorrowed = true;

/// The ith key of a kind, for 0 <= i < 10000: key(0) < key(1) < ... under every comparison. Made anew at
/// every call, and text in one of two encodings by turns.
inline Value keyOf(Kind kind, int i) {
  if (kind == Kind::kInteger) return i - 3;
  Host& host = Host::current();
  const std::string digits = std::to_string(10000 + i);
  static int turn = 0;
  const bool borrowed = someTextsAreBorrowed && ++turn % 2 == 0;
  const Value text =
      borrowed ? host.string("Cl\u00e9 " + digits) : host.string("Cl\xe9 " + digits, kEncodingISOLatin1);
  return kind == Kind::kString ? text : host.variant(kVariantString, text);
}

/// Distinct values, for Variant alternating between text and numbers.
inline Value valueOf(Kind kind, int i) {
  if (kind == Kind::kInteger) return 1000 + i;
  if (kind == Kind::kString || i % 2 == 0) return "value " + std::to_string(i);
  return 1000 + i;
}

/// A value as text, whether it comes plain or in a variant: what tests compare.
inline std::string show(const Value& value) {
  if (value.isNil()) return "nil";
  const Value plain = Host::current().unbox(value);
  if (plain.isNil()) return "nil";
  if (const auto* integer = std::get_if<std::int64_t>(&plain.held())) return std::to_string(*integer);
  if (const auto* boolean = std::get_if<bool>(&plain.held())) return *boolean ? "true" : "false";
  if (const auto* number = std::get_if<double>(&plain.held())) return std::to_string(*number);
  if (std::holds_alternative<host::StringRef>(plain.held())) return "'" + plain.text() + "'";
  return Host::current().className(plain);
}

inline constexpr const char* kNoPosition = "NilObjectException: Iterator not initialized";
inline constexpr const char* kStale = "RuntimeException: Iterator is no longer valid";
inline constexpr const char* kForeign = "RuntimeException: Iterator belongs to another container";
inline constexpr const char* kAtEnd = "OutOfBoundsException: Iterator is at the end position";
inline constexpr const char* kAtFirst = "OutOfBoundsException: Iterator is at the first position";
inline constexpr const char* kReversed = "OutOfBoundsException: last does not follow first";

/// "Class: message" of the exception that script code would see, or empty when there is none.
template <typename Operation>
std::string raised(Operation&& operation) {
  try {
    std::forward<Operation>(operation)();
    return {};
  } catch (const host::ScriptException& exception) {
    return exception.what();
  }
}

/// The same, and of strings and objects which one it is: what goes in must come out, and not only its like.
inline std::string identity(const Value& key) {
  std::uintptr_t handle = 0;
  if (const auto* const string = std::get_if<host::StringRef>(&key.held()))
    handle = reinterpret_cast<std::uintptr_t>(string->get());
  if (const auto* const object = std::get_if<host::ObjectRef>(&key.held()))
    handle = reinterpret_cast<std::uintptr_t>(object->get());
  return show(key) + " at " + std::to_string(handle);
}

/// What a call gives script code, as text: the result, "nil" for none, or the exception.
inline std::string answer(const Value& object, const std::string& method, const Values& arguments = {}) {
  std::string result;
  const std::string exception =
      raised([&] { result = show(Host::current().call(object, method, arguments)); });
  return exception.empty() ? result : exception;
}

/// A new entry, or another value for a key; sets have no use for a value.
inline void add(const ClassFacts& facts, const Value& container, const Value& key, const Value& value) {
  if (!facts.isMap()) return static_cast<void>(Host::current().call(container, "insert", {key}));
  Host::current().assign(container, "value", {key}, value);
}

/// The subjects that satisfy a predicate over ClassFacts.
template <typename Predicate>
std::vector<Subject> subjectsWhere(Predicate predicate) {
  std::vector<Subject> subjects;
  for (const ClassFacts& facts : kClasses) {
    if (!predicate(facts)) continue;
    subjects.push_back({&facts});
    if (facts.hasCaseChoice()) subjects.push_back({&facts, false});
  }
  return subjects;
}

}  // namespace vornik::behaviour

#endif  // VORNIK_TESTS_SUPPORT_CLASS_FACTS_H
