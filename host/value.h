// Values as script code holds them: plain ones by value, strings and objects by counted reference.
#ifndef VORNIK_HOST_VALUE_H
#define VORNIK_HOST_VALUE_H

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

#include "plugin/frame/host_interface.h"

namespace vornik::host {

void addReference(REALobjectStruct* handle);
void addReference(REALstringStruct* handle);
void dropReference(REALobjectStruct* handle) noexcept;
void dropReference(REALstringStruct* handle) noexcept;

/// One counted reference to a host string or object (variants, arrays and dictionaries are objects too).
/// Empty means nil. Copying adds a reference, destruction gives it back; giving back the last one destroys
/// the thing at once, running destructors.
template <typename Handle>
class Reference {
 public:
  Reference() = default;
  /// Takes over a reference that somebody already holds, such as the one a call's result carries.
  static Reference adopt(Handle* handle) {
    Reference reference;
    reference.handle_ = handle;
    return reference;
  }
  /// Adds a reference of its own.
  static Reference share(Handle* handle) {
    if (handle != nullptr) addReference(handle);
    return adopt(handle);
  }

  Reference(const Reference& other) : Reference(share(other.handle_)) {}
  Reference(Reference&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
  Reference& operator=(Reference other) noexcept {
    std::swap(handle_, other.handle_);
    return *this;
  }
  ~Reference() { reset(); }

  void reset() {
    if (Handle* old = std::exchange(handle_, nullptr)) dropReference(old);
  }
  Handle* get() const { return handle_; }
  /// Hands the reference to the caller and becomes empty.
  [[nodiscard]] Handle* release() { return std::exchange(handle_, nullptr); }
  explicit operator bool() const { return handle_ != nullptr; }
  friend bool operator==(const Reference&, const Reference&) = default;

 private:
  Handle* handle_ = nullptr;
};

using ObjectRef = Reference<REALobjectStruct>;
using StringRef = Reference<REALstringStruct>;

/// Any value of the host's language. Where a variant is declared, plain values are boxed on the way in;
/// results declared as variant come back as the boxed object itself (see Host::unbox).
class Value {
 public:
  Value() = default;  ///< nil
  Value(std::nullptr_t) {}
  Value(bool b) : held_(b) {}
  Value(int i) : held_(std::int64_t{i}) {}
  Value(std::int64_t i) : held_(i) {}
  Value(double d) : held_(d) {}
  Value(StringRef s) : held_(std::move(s)) {}
  Value(ObjectRef o) : held_(std::move(o)) {}
  /// A new UTF-8 string of the current host.
  Value(std::string_view utf8);
  Value(const char* utf8) : Value(std::string_view(utf8)) {}
  Value(const std::string& utf8) : Value(std::string_view(utf8)) {}

  Value(const Value&) = default;
  Value(Value&&) = default;
  /// The old value goes when the new one is in place: its destructor may assign to this very variable.
  Value& operator=(Value other) noexcept {
    std::swap(held_, other.held_);
    return *this;
  }
  ~Value() = default;

  bool isNil() const;  ///< nothing, or an empty reference
  /// The held value; ScriptError when another kind is held (integer() also accepts nothing else
  /// than integers).
  bool boolean() const;
  std::int64_t integer() const;
  double number() const;
  std::string text() const;  ///< the string's text in UTF-8; a nil string is empty
  const StringRef& string() const;
  const ObjectRef& object() const;

  using Held = std::variant<std::monostate, bool, std::int64_t, double, StringRef, ObjectRef>;
  const Held& held() const { return held_; }

 private:
  Held held_;
};

}  // namespace vornik::host

#endif  // VORNIK_HOST_VALUE_H
