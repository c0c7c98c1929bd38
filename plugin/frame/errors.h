// Host exceptions: the only way in which script code learns of an error.
//
// Raising records the exception and returns; the host delivers it once the registered function has
// returned. So a caller leaves its data consistent before it raises, and returns its neutral result
// promptly afterwards.
#ifndef VORNIK_FRAME_ERRORS_H
#define VORNIK_FRAME_ERRORS_H

#include <cstdint>
#include <exception>
#include <type_traits>

#include "plugin/frame/host_interface.h"

namespace vornik {

/// Raises an exception of the named host class, or a "RuntimeException" where the host does not know
/// that class. A null message raises with an empty one. Nothing is raised on a host that cannot create
/// either class.
void RaiseException(const char* exceptionClassName, const char* message) noexcept;

/// Raises "OutOfBoundsException" for an index outside an array of `count` elements.
void RaiseOutOfBoundsException(std::int64_t index, std::int64_t count) noexcept;

/// Raises the host exception that stands for a standard exception.
void RaiseRuntimeException(const std::exception& caught) noexcept;

/// Runs `body` and returns its result. A C++ exception never leaves: it becomes a host exception and the
/// result is the neutral one (nil, 0, false).
template <typename Body>
auto guarded(Body&& body) noexcept -> std::invoke_result_t<Body> {
  try {
    return body();
  } catch (const std::exception& caught) {
    RaiseRuntimeException(caught);
  } catch (...) {
    RaiseException("RuntimeException", "Sorry, but there was an unnamed C++ Exception.");
  }
  return std::invoke_result_t<Body>();
}

namespace detail {
template <auto Function>
struct GuardedFunction;
template <typename Result, typename... Arguments, Result (*Function)(Arguments...)>
struct GuardedFunction<Function> {
  static Result call(Arguments... arguments) noexcept {
    return guarded([&] { return Function(arguments...); });
  }
};
}  // namespace detail

/// The address under which a function is registered with the host: the function behind the guard.
template <auto Function>
REALproc registered() noexcept {
  return reinterpret_cast<REALproc>(&detail::GuardedFunction<Function>::call);
}

}  // namespace vornik

#endif  // VORNIK_FRAME_ERRORS_H
