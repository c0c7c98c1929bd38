// What scripts find behind a member name of an object.
#ifndef VORNIK_HOST_CONSOLE_MEMBERS_H
#define VORNIK_HOST_CONSOLE_MEMBERS_H

#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/host.h"

namespace vornik::host::console {

/// A property, or all methods of one name.
struct Member {
  std::string className;
  std::string name;  ///< as declared
  const RegisteredProperty* property = nullptr;
  std::vector<const RegisteredMethod*> methods;

  /// Read as a plain value, without parentheses: a property, or a method with a result and no parameters.
  bool readsAsValue() const;
  /// Read and assigned by a key in brackets, as the value of a map.
  bool takesOneKey() const;
  /// "Class.name", for messages.
  std::string fullName() const { return className + '.' + name; }

  /// Turns numbers without a fraction into integers where the methods want those; ScriptError for one with a
  /// fraction. Lua's own division yields such numbers.
  void fitNumbers(std::vector<Value>& arguments) const;
  /// The same for a value to be assigned.
  void fitAssigned(Value& value) const;
};

/// Turns a number without a fraction into an integer; ScriptError, naming `what`, for one with a fraction.
void fitInteger(Value& value, const std::string& what);

/// Finds members, and remembers what it found: scripts use the same few names over and over.
class Members {
 public:
  explicit Members(const Host& host) : host_(host) {}

  /// Without regard to letter case. The reference stays good. ScriptError when there is none.
  const Member& find(const std::string& className, std::string_view name);
  const Member& find(const Value& object, std::string_view name) {
    return find(host_.className(object), name);
  }
  /// What a message about a wrong name or index of a class adds: where its entries are; empty if it has none.
  std::string whereEntriesAre(const std::string& className);
  /// Null instead of an error.
  const Member* search(const std::string& className, std::string_view name);

 private:
  /// Of the classes with such a member the one whose name begins most alike: of an ordered map for a hash
  /// map with the same keys and values, of an iterator for its container. Null if the names begin with
  /// different letters.
  const RegisteredClass* relatedClassWith(const std::string& className, std::string_view name);

  const Host& host_;
  std::map<std::pair<std::string, std::string>, Member> known_;  // by class and name, as scripts write them
};

}  // namespace vornik::host::console

#endif  // VORNIK_HOST_CONSOLE_MEMBERS_H
