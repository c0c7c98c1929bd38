// Counted references to host strings and objects.
#ifndef VORNIK_FRAME_REFERENCE_H
#define VORNIK_FRAME_REFERENCE_H

#include <utility>

#include "plugin/frame/host_services.h"

namespace vornik {

// Null is nothing to count.
inline void lock(REALstringStruct* string) {
  if (string != nullptr) REALLockString(string);
}
inline void lock(REALobjectStruct* object) {
  if (object != nullptr) REALLockObject(object);
}
inline void unlock(REALstringStruct* string) {
  if (string != nullptr) REALUnlockString(string);
}
inline void unlock(REALobjectStruct* object) {
  if (object != nullptr) REALUnlockObject(object);
}

/// One reference to a host string or object (variants are objects), or null. Copies take references of their
/// own. Giving an object's last reference back can run script code, so where a scope changes a container the
/// owner is declared before the change and outlives it.
template <typename Handle>
class Reference {
 public:
  static constexpr bool kTriviallyRelocatable = true;

  Reference() = default;
  explicit Reference(Handle* handle) noexcept : handle_(handle) { lock(handle_); }
  /// Takes over a reference that the caller holds.
  static Reference adopt(Handle* handle) noexcept {
    Reference reference;
    reference.handle_ = handle;
    return reference;
  }
  Reference(const Reference& other) noexcept : Reference(other.handle_) {}
  Reference(Reference&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
  Reference& operator=(Reference other) noexcept {
    std::swap(handle_, other.handle_);
    return *this;
  }
  ~Reference() { unlock(handle_); }

  Handle* get() const { return handle_; }
  explicit operator bool() const { return handle_ != nullptr; }
  /// Hands the reference on to the caller.
  [[nodiscard]] Handle* release() { return std::exchange(handle_, nullptr); }

 private:
  Handle* handle_ = nullptr;
};

using StringReference = Reference<REALstringStruct>;
using ObjectReference = Reference<REALobjectStruct>;

}  // namespace vornik

#endif  // VORNIK_FRAME_REFERENCE_H
