// The host's services: the functions that the library finds by name.
#ifndef VORNIK_HOST_SERVICES_H
#define VORNIK_HOST_SERVICES_H

#include <cstdint>
#include <limits>
#include <string_view>
#include <vector>

namespace vornik::host {

/// How the library comes by a service's address.
enum class Reach {
  kResolver,          ///< by name, from the resolver
  kGlobalMethod,      ///< by declaration, through "REALLoadGlobalMethod"
  kDictionaryMethod,  ///< by declaration, through "REALLoadObjectMethod" on a dictionary
  kElementProcedure,  ///< from the "...ArrayGetProc" family; named like the service that hands it out, plus
                      ///< "()"
};

struct Service {
  static constexpr std::uint64_t kNever = std::numeric_limits<std::uint64_t>::max();

  const char* name;
  Reach reach;
  void* address;
  std::uint64_t calls = 0;
  std::uint64_t callsBefore = 0;           ///< those that are not reported any more
  std::uint64_t failingCall = kNever;      ///< number of the first call that fails
  std::uint64_t failures = kNever;         ///< how many calls fail from there on
  std::uint64_t interruptedCall = kNever;  ///< number of the call in which the host's interruption runs
  bool withheld = false;
};

/// Every service, in a fixed order.
const std::vector<Service*>& services();

/// The service of that name, or null. Declarations compare without regard to letter case.
Service* serviceNamed(std::string_view name);

/// Address of a service that is reached in this way; null when there is none or when it is withheld.
void* findService(Reach reach, std::string_view name);

}  // namespace vornik::host

#endif  // VORNIK_HOST_SERVICES_H
