#include "plugin/frame/class_list.h"

#include "plugin/containers/class_definitions.h"

namespace vornik {

std::span<REALclassDefinition* const> classDefinitions() {
  static constexpr REALclassDefinition* kDefinitions[] = {
      &IntegerHashSetClass,
      &IntegerHashSetIteratorClass,
      &IntegerSetClass,
      &IntegerSetIteratorClass,
      &IntegerToIntegerHashMapClass,
      &IntegerToIntegerHashMapIteratorClass,
      &IntegerToIntegerMapClass,
      &IntegerToIntegerMapIteratorClass,
      &IntegerToStringHashMapClass,
      &IntegerToStringHashMapIteratorClass,
      &IntegerToStringMapClass,
      &IntegerToStringMapIteratorClass,
      &IntegerToVariantHashMapClass,
      &IntegerToVariantHashMapIteratorClass,
      &IntegerToVariantMapClass,
      &IntegerToVariantMapIteratorClass,
      &StringHashSetClass,
      &StringHashSetIteratorClass,
      &StringSetClass,
      &StringSetIteratorClass,
      &StringToStringHashMapClass,
      &StringToStringHashMapIteratorClass,
      &StringToStringMapClass,
      &StringToStringMapIteratorClass,
      &StringToVariantHashMapClass,
      &StringToVariantHashMapIteratorClass,
      &StringToVariantMapClass,
      &StringToVariantMapIteratorClass,
      &VariantHashSetClass,
      &VariantHashSetIteratorClass,
      &VariantSetClass,
      &VariantSetIteratorClass,
      &VariantToVariantHashMapClass,
      &VariantToVariantHashMapIteratorClass,
      &VariantToVariantMapClass,
      &VariantToVariantMapIteratorClass,
  };
  return kDefinitions;
}

}  // namespace vornik
