// How a host service is bound: looked up by name at its first use, kept once found, neutral while unknown.
#ifndef VORNIK_FRAME_HOST_SERVICE_H
#define VORNIK_FRAME_HOST_SERVICE_H

#include <algorithm>
#include <cstddef>

#include "plugin/frame/globals.h"

namespace vornik {

/// Text that can be a template argument.
template <std::size_t Size>
struct FixedText {
  consteval FixedText(const char (&literal)[Size]) { std::copy_n(literal, Size, text); }
  char text[Size];
};

/// Finds a service that the resolver knows by name.
struct ThroughResolver {
  static void* find(const char* name) { return gResolver != nullptr ? gResolver(name) : nullptr; }
};

/// A host service: call it like a function of the given shape.
///
/// While the service cannot be found, a call does nothing and answers the neutral result (nil, 0, false; an
/// out-parameter keeps what the caller put there), and the next call looks it up again. A found address is
/// kept for the life of the process; from then on a call is one load, one test and one indirect call.
template <FixedText Name, typename Shape, typename Lookup = ThroughResolver>
class HostService;

template <FixedText Name, typename Result, typename... Arguments, typename Lookup>
class HostService<Name, Result(Arguments...), Lookup> {
 public:
  Result operator()(Arguments... arguments) const {
    if (address_ == nullptr) [[unlikely]] {
      if (!isAvailable()) return Result();
    }
    return address_(arguments...);
  }

  /// Looks the service up if need be.
  bool isAvailable() const {
    if (address_ == nullptr) address_ = reinterpret_cast<Address>(Lookup::find(Name.text));
    return address_ != nullptr;
  }

 private:
  using Address = Result (*)(Arguments...);
  static inline constinit Address address_ = nullptr;
};

}  // namespace vornik

#endif  // VORNIK_FRAME_HOST_SERVICE_H
