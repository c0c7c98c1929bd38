#include "plugin/classes/class_tables.h"
#include "plugin/containers/hashing.h"
#include "plugin/containers/iterator_functions.h"
#include "plugin/containers/kinds.h"
#include "plugin/containers/map_functions.h"
#include "plugin/structures/hash_table.h"

namespace vornik {

extern REALclassDefinition IntegerToVariantHashMapClass, IntegerToVariantHashMapIteratorClass;

namespace {

using Container = HashTable<IntegerKind::Held, VariantKind::Held, IntegerHashing>;

struct Class : MapClass<Container, Container> {
  using Key = IntegerKind;
  using Value = VariantKind;
  static constexpr const char* kName = "IntegerToVariantHashMapQZR";
  static constexpr const char* kIteratorName = "IntegerToVariantHashMapIteratorQZR";
  static const REALclassDefinition& definition() { return IntegerToVariantHashMapClass; }
  static const REALclassDefinition& iteratorDefinition() { return IntegerToVariantHashMapIteratorClass; }
};

using Map = MapFunctions<Class>;
using Iterator = MapIteratorFunctions<Class>;

REALproperty properties[] = {
    property("MaxSize", "Integer", registered<Map::GetMaxSize>()),
    property("Count", "Integer", registered<Map::GetSize>()),
    property("BinCount", "Integer", registered<Map::GetBucketCount>()),
    property("Empty", "Boolean", registered<Map::GetEmpty>()),
};

REALmethodDefinition methods[] = {
    method("Constructor", registered<Map::theMapConstructor>()),
    method("Constructor(dic as dictionary)", registered<Map::theMapConstructorDic>()),
    method("Constructor(other as IntegerToVariantHashMapQZR)", registered<Map::theMapConstructorCopy>()),
    method("CloneDictionary as Dictionary", registered<Map::cloneDictionary>()),
    method("Operator_Convert as Dictionary", registered<Map::cloneDictionary>()),
    method("Clone as IntegerToVariantHashMapQZR", registered<Map::cloneMap>()),
    method("Clear", registered<Map::clear>()),
    method("ValueAtIndex(index as integer) as variant", registered<Map::ValueAtIndex>()),
    method("Key(index as integer) as integer", registered<Map::KeyAtIndex>()),
    method("Keys as integer()", registered<Map::rbGetKeys>()),
    method("Values as variant()", registered<Map::rbGetValues>()),
    method("AddKeys(targetArray() as integer)", registered<Map::rbGetKeys2>()),
    method("AddValues(targetArray() as variant)", registered<Map::rbGetValues2>()),
    method("first as IntegerToVariantHashMapIteratorQZR", registered<Map::getbegin>()),
    method("last as IntegerToVariantHashMapIteratorQZR", registered<Map::getend>()),
    method("Remove(pos as IntegerToVariantHashMapIteratorQZR)", registered<Map::erase1>()),
    method("Remove(first as IntegerToVariantHashMapIteratorQZR, last as IntegerToVariantHashMapIteratorQZR)",
           registered<Map::erase2>()),
    method("Remove(key as integer) as integer", registered<Map::erase3>()),
    method("CountKey(key as integer) as integer", registered<Map::countRB>()),
    method("find(key as integer) as IntegerToVariantHashMapIteratorQZR", registered<Map::findRB>()),
    method("value(key as integer) as variant", registered<Map::getvalue>(), registered<Map::setvalue>()),
    method("hasKey(key as integer) as boolean", registered<Map::haskey>()),
    method("lookup(key as integer, defaultvalue as variant) as variant", registered<Map::lookup>()),
};

REALmethodDefinition iteratorMethods[] = {
    method("MoveNext", registered<Iterator::iteratorMoveNext>()),
    method("Key as integer", registered<Iterator::iteratorGetKey>()),
    method("Value as variant", registered<Iterator::iteratorGetValue>(),
           registered<Iterator::iteratorSetValue>()),
    method("isEqual(other as IntegerToVariantHashMapIteratorQZR) as boolean",
           registered<Iterator::iteratorIsEqual>()),
    method("isNotEqual(other as IntegerToVariantHashMapIteratorQZR) as boolean",
           registered<Iterator::iteratorIsNotEqual>()),
};

}  // namespace

REALclassDefinition IntegerToVariantHashMapClass = containerClass(
    Class::kName, sizeof(Class::Data), registered<Map::theMapDestructor>(), properties, methods);
REALclassDefinition IntegerToVariantHashMapIteratorClass =
    iteratorClass(Class::kIteratorName, sizeof(Class::IteratorData), iteratorMethods);

}  // namespace vornik
