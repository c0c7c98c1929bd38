// The classes of this library, in the order of registration: the one place that lists them. A class file
// defines both records of its class, which are changed in place at registration. It does not include the
// list, so that a new class compiles no other anew.
#ifndef VORNIK_CLASSES_CLASS_LIST_H
#define VORNIK_CLASSES_CLASS_LIST_H

#include "plugin/frame/host_interface.h"

namespace vornik {

#define VORNIK_CLASSES(CLASS)    \
  CLASS(IntegerHashSet)          \
  CLASS(IntegerSet)              \
  CLASS(IntegerToIntegerHashMap) \
  CLASS(IntegerToIntegerMap)     \
  CLASS(IntegerToStringHashMap)  \
  CLASS(IntegerToStringMap)      \
  CLASS(IntegerToVariantHashMap) \
  CLASS(IntegerToVariantMap)     \
  CLASS(StringHashSet)           \
  CLASS(StringSet)               \
  CLASS(StringToStringHashMap)   \
  CLASS(StringToStringMap)       \
  CLASS(StringToVariantHashMap)  \
  CLASS(StringToVariantMap)      \
  CLASS(VariantHashSet)          \
  CLASS(VariantSet)              \
  CLASS(VariantToVariantHashMap) \
  CLASS(VariantToVariantMap)

#define VORNIK_DECLARE(NAME)              \
  extern REALclassDefinition NAME##Class; \
  extern REALclassDefinition NAME##IteratorClass;
VORNIK_CLASSES(VORNIK_DECLARE)
#undef VORNIK_DECLARE

#define VORNIK_ADDRESSES(NAME) &NAME##Class, &NAME##IteratorClass,
/// Every definition record: a container's, then its iterator's.
inline constexpr REALclassDefinition* kClassDefinitions[] = {VORNIK_CLASSES(VORNIK_ADDRESSES)};
#undef VORNIK_ADDRESSES

}  // namespace vornik

#endif  // VORNIK_CLASSES_CLASS_LIST_H
