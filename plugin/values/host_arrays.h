// Element access to host arrays of Integers, Strings and objects (Variants).
//
// Every access is checked against the host's upper bound. What follows is either a direct access to the
// array's element storage or a call of the host's element procedure for that array. Which of the two is
// decided once per process, by a probe that compares what the host's procedures report with what the memory
// layout shows.
#ifndef VORNIK_VALUES_HOST_ARRAYS_H
#define VORNIK_VALUES_HOST_ARRAYS_H

#include <cstdint>
#include <utility>

#include "plugin/frame/reference.h"

namespace vornik {

/// The probe has run, or is running. Never reset.
extern bool ArrayAccessTested;
/// The probe found the direct layout usable. Never reset.
extern bool ArrayAccessSuccess;

/// Stores the element at `index` in `*result`; strings and objects with one reference for the caller. An
/// index out of bounds raises OutOfBoundsException and leaves the result alone, as does a host that lends no
/// procedure. A null result pointer reads nothing.
void REALGetArrayValue(_REALarrayInteger* array, std::int64_t index, std::int64_t* result);
void REALGetArrayValue(_REALarrayString* array, std::int64_t index, REALstringStruct** result);
void REALGetArrayValue(_REALarrayObject* array, std::int64_t index, REALobjectStruct** result);

// Integers are not counted.
inline void lock(std::int64_t) {}
inline void unlock(std::int64_t) {}

/// Where an element can be set in an array. Finding the place asks the host all that there is to ask, which
/// can run script code (host_services.h); so the element is borrowed after that, and set right away.
template <typename Array, typename Element>
struct ElementPlace {
  Array* array = nullptr;
  std::int64_t index = 0;
  Element* stored = nullptr;                         ///< in the array's own storage
  ArraySetProc<Array, Element> procedure = nullptr;  ///< where that may not be used

  /// Replaces the element. The array takes a reference of its own to a string or object and drops the one to
  /// the old element.
  void set(Element element) const {
    if (stored != nullptr) {
      lock(element);
      unlock(std::exchange(*stored, element));
    } else if (procedure != nullptr) {
      procedure(array, element, index);
    }
  }
};

/// The place of the element at `index`. Where there is none, setting it does nothing: an index out of bounds
/// raises OutOfBoundsException, and a host may lend no procedure. The array must be the caller's as long as
/// the place.
ElementPlace<_REALarrayInteger, std::int64_t> placeAt(_REALarrayInteger* array, std::int64_t index);
ElementPlace<_REALarrayString, REALstringStruct*> placeAt(_REALarrayString* array, std::int64_t index);
ElementPlace<_REALarrayObject, REALobjectStruct*> placeAt(_REALarrayObject* array, std::int64_t index);

/// The probe's checks on one test array of 1235 elements, or null where the host made none; decides
/// ArrayAccessSuccess. With diagnostics on, the first failing check writes a line.
void TestArray(_REALarrayInteger* array);

}  // namespace vornik

#endif  // VORNIK_VALUES_HOST_ARRAYS_H
