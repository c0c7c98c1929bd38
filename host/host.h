// The stand-in host: loads the plugin library as the real host does and lets C++ code play the part of
// script code.
//
// One Host is alive at a time; it is the process's "current host" from construction to destruction. Every
// Host loads a private copy of the library, so that each starts from the library's initial state. Copies stay
// mapped until the process ends, as there is no unload in the interface.
#ifndef VORNIK_HOST_HOST_H
#define VORNIK_HOST_HOST_H

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "host/declaration.h"
#include "host/value.h"
#include "plugin/frame/host_interface.h"

namespace vornik::host {

/// An exception of the host's language, raised by a registered function and delivered when it returned.
class ScriptException : public std::runtime_error {
 public:
  ScriptException(std::string className, std::string message, std::int64_t errorNumber);
  const std::string& className() const { return className_; }
  const std::string& message() const { return message_; }
  std::int64_t errorNumber() const { return errorNumber_; }

 private:
  std::string className_;  // what() is "ClassName: message"
  std::string message_;
  std::int64_t errorNumber_;
};

/// A mistake of the calling script itself: unknown class or member, no overload for these arguments,
/// nil object.
class ScriptError : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// What kind of host this one is. Everything must be chosen before the library is loaded.
struct HostOptions {
  std::optional<double> version = 2024.01;  ///< none: the host does not report one
  bool inRuntime = false;                   ///< answer of "REALinRuntime"
  bool instancesRunConstructor = false;  ///< "PluginNewInstance" also runs the class's "Constructor" method
  enum class ArrayLayout { kDocumented, kOther } arrayLayout = ArrayLayout::kDocumented;
  std::set<std::string> withheld =
      {};  ///< service names that the resolver does not know, also "LenB"-like declarations
  std::set<std::string> unknownClasses = {};  ///< class names of which "PluginNewInstance" makes no instance
  std::size_t instanceGap = 64;  ///< extra bytes between an object's header and its first instance data
};

struct RegisteredMethod {
  Declaration declaration;
  REALproc function = nullptr;
  REALproc setter = nullptr;
  mutable bool called = false;    ///< by a script operation, through this declaration
  mutable bool assigned = false;  ///< the same for its setter
};

struct RegisteredProperty {
  std::string name;
  DeclaredType type;
  const REALproperty* record = nullptr;
  mutable bool read = false;  ///< by a script operation
};

struct RegisteredClass {
  std::string name;
  REALclassDefinition* definition = nullptr;
  std::vector<RegisteredMethod> methods;
  std::vector<RegisteredProperty> properties;
};

class Host {
 public:
  explicit Host(HostOptions options = {});
  ~Host();  ///< drops what is pending; does not judge what is left over
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  static Host& current();
  const HostOptions& options() const;

  /// Loads a fresh copy of the library and calls its entry point. std::runtime_error when it cannot
  /// be loaded.
  void load(const std::filesystem::path& library);
  /// The same for a library that is there already, in its initial state: calls its entry point.
  void enter(decltype(REALPluginMain)& entry);
  /// The resolver that load() hands to the library.
  static void* resolve(const char* name);

  // Registered classes, in registration order. Names match without regard to letter case.
  const std::vector<std::unique_ptr<RegisteredClass>>& classes() const;
  const RegisteredClass* findClass(std::string_view name) const;
  /// The raw function behind a declaration, for benchmarks and for calls that go past overload resolution.
  /// ScriptError when there is none. Call it inside a PluginCall.
  REALproc function(std::string_view className, std::string_view declaration) const;
  REALproc setter(std::string_view className, std::string_view declaration) const;
  /// Declared members that no script operation has reached yet, as "Class.declaration"; with " (assigned)"
  /// behind it where a method was called and its setter was not.
  std::vector<std::string> unreached() const;

  // Script operations. Arguments choose the overload and fill in defaults. A host exception raised meanwhile
  // is thrown as ScriptException once the registered function has returned and its result was given back.
  Value create(std::string_view className, const std::vector<Value>& arguments = {});
  /// A new object on which no "Constructor" method was run.
  Value instantiate(std::string_view className);
  Value call(const Value& object, std::string_view method, const std::vector<Value>& arguments = {});
  void assign(const Value& object, std::string_view method, const std::vector<Value>& arguments,
              const Value& value);
  /// A property, or what a method of that name answers when called without arguments.
  Value get(const Value& object, std::string_view property);
  std::string className(const Value& object) const;
  /// Whether a property or method of that name exists for the object.
  bool hasMember(const Value& object, std::string_view name) const;

  // Values.
  Value string(std::string_view bytes, std::uint32_t encoding = kEncodingUTF8);
  Value array(ArrayElementType type, const std::vector<Value>& elements);
  std::vector<Value> elements(const Value& array) const;
  void append(const Value& array, const Value& element);
  /// One element, by an index from 0; ScriptError outside the array.
  Value element(const Value& array, std::int64_t index) const;
  void setElement(const Value& array, std::int64_t index, const Value& element);
  std::int64_t elementCount(const Value& array) const;
  ArrayElementType elementType(const Value& array) const;
  Value dictionary();
  /// A dictionary of a subclass of Dictionary, which is made known when it is first named. `override` is the
  /// subclass's own code: it runs ahead of every Key, Value and assignment, and when it throws a
  /// ScriptException, that is raised and the member answers nil.
  Value dictionary(const std::string& className, std::function<void()> override = {});
  void setEntry(const Value& dictionary, const Value& key, const Value& value);
  /// The boxed value under a key; nothing where the dictionary lacks the key.
  std::optional<Value> entry(const Value& dictionary, const Value& key) const;
  std::int64_t entryCount(const Value& dictionary) const;
  std::vector<std::pair<Value, Value>> entries(
      const Value& dictionary) const;  ///< boxed keys and values, by index
  /// A variant of the given type; unsigned 32- and 64-bit integers report the codes of their signed siblings.
  Value variant(VariantType type, const Value& value, bool isUnsigned = false);
  /// The plain value in a variant (integers, Boolean, numbers, strings), or the object it refers to.
  Value unbox(const Value& variant) const;
  VariantType variantType(const Value& variant) const;
  /// An object of a script class, whose destructor runs this code when the last reference goes.
  Value scriptObject(const std::string& name, std::function<void()> destructor = {});

  // Misbehaviour and accounting.
  /// Makes a service fail (its neutral result, no effect) from its nth call on, counting the next one as 1,
  /// as often as said; nth 0 stops that. std::invalid_argument for a service that there is not.
  void failFrom(std::string_view service, std::uint64_t nthCall, std::uint64_t failures = ~std::uint64_t{0});
  /// Runs script code once, in the middle of the nth call of a service, counting the next one as 1: when the
  /// service has done its work and has not returned yet. There is one such plan at a time; nth 0 drops it.
  /// The code must not throw.
  void interrupt(std::string_view service, std::uint64_t nthCall, std::function<void()> code = {});
  /// Makes the resolver deny or know a service from now on.
  void withhold(std::string_view service, bool withheld = true);
  /// Calls per service since the start or the last reset. The element procedures of arrays are counted under
  /// the name of the service that hands them out and "()".
  std::map<std::string, std::uint64_t> calls() const;
  void resetCalls();
  /// Descriptions of every object, string, array and variant that somebody still holds a reference to.
  std::vector<std::string> leftovers() const;
  /// Number of live objects, strings, arrays and variants, and of the references held on them in all.
  struct Ledger {
    std::uint64_t things = 0;
    std::uint64_t references = 0;
    friend bool operator==(const Ledger&, const Ledger&) = default;
  };
  Ledger ledger() const;
  std::int64_t references(const Value& thing) const;

  /// True while the library's code runs, and false again inside the services it calls.
  static bool insidePlugin() noexcept;

  /// Brackets a direct call of a registered function; throws what is pending as a ScriptException
  /// from finish().
  class PluginCall {
   public:
    PluginCall();
    ~PluginCall();
    PluginCall(const PluginCall&) = delete;
    PluginCall& operator=(const PluginCall&) = delete;
    /// Ends the call; what was raised since it began, in it and not in calls within it, is thrown.
    void finish();

   private:
    void leave() noexcept;

    ObjectRef pending_;
    ObjectRef* outerPending_;
    bool wasInside_;
    bool finished_ = false;
  };

 private:
  struct Implementation;
  std::unique_ptr<Implementation> implementation_;
};

}  // namespace vornik::host

#endif  // VORNIK_HOST_HOST_H
