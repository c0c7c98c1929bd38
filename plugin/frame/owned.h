// One counted reference to a host object, given back at the end of its scope.
#ifndef VORNIK_FRAME_OWNED_H
#define VORNIK_FRAME_OWNED_H

#include <utility>

#include "plugin/frame/host_services.h"

namespace vornik {

/// Owns one reference, or none (null). Giving it back can run script code, so where a scope changes a
/// container the owner is declared before the change and outlives it.
class OwnedObject {
 public:
  /// Takes over a reference that the caller holds.
  explicit OwnedObject(REALobjectStruct* object) noexcept : object_(object) {}
  OwnedObject(OwnedObject&& other) noexcept : object_(other.release()) {}
  OwnedObject& operator=(OwnedObject&&) = delete;
  ~OwnedObject() {
    if (object_ != nullptr) REALUnlockObject(object_);
  }

  REALobjectStruct* get() const { return object_; }
  explicit operator bool() const { return object_ != nullptr; }
  /// Hands the reference on to the caller.
  [[nodiscard]] REALobjectStruct* release() { return std::exchange(object_, nullptr); }

 private:
  REALobjectStruct* object_;
};

}  // namespace vornik

#endif  // VORNIK_FRAME_OWNED_H
