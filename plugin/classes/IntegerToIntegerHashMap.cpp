#include "plugin/classes/class_tables.h"
#include "plugin/containers/hashing.h"
#include "plugin/containers/iterator_functions.h"
#include "plugin/containers/kinds.h"
#include "plugin/containers/map_functions.h"
#include "plugin/structures/hash_table.h"

namespace vornik {

extern REALclassDefinition IntegerToIntegerHashMapClass, IntegerToIntegerHashMapIteratorClass;

namespace {

using Container = HashTable<IntegerKind::Held, IntegerKind::Held, IntegerHashing>;

struct Class : MapClass<Container, Container> {
  using Key = IntegerKind;
  using Value = IntegerKind;
  static constexpr const char* kName = "IntegerToIntegerHashMapQZR";
  static constexpr const char* kIteratorName = "IntegerToIntegerHashMapIteratorQZR";
  static const REALclassDefinition& definition() { return IntegerToIntegerHashMapClass; }
  static const REALclassDefinition& iteratorDefinition() { return IntegerToIntegerHashMapIteratorClass; }
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
    method("Constructor(other as IntegerToIntegerHashMapQZR)", registered<Map::theMapConstructorCopy>()),
    method("CloneDictionary as Dictionary", registered<Map::cloneDictionary>()),
    method("Operator_Convert as Dictionary", registered<Map::cloneDictionary>()),
    method("Clone as IntegerToIntegerHashMapQZR", registered<Map::cloneMap>()),
    method("Clear", registered<Map::clear>()),
    method("ValueAtIndex(index as integer) as integer", registered<Map::ValueAtIndex>()),
    method("Key(index as integer) as integer", registered<Map::KeyAtIndex>()),
    method("Keys as integer()", registered<Map::rbGetKeys>()),
    method("Values as integer()", registered<Map::rbGetValues>()),
    method("AddKeys(targetArray() as integer)", registered<Map::rbGetKeys2>()),
    method("AddValues(targetArray() as integer)", registered<Map::rbGetValues2>()),
    method("first as IntegerToIntegerHashMapIteratorQZR", registered<Map::getbegin>()),
    method("last as IntegerToIntegerHashMapIteratorQZR", registered<Map::getend>()),
    method("Remove(pos as IntegerToIntegerHashMapIteratorQZR)", registered<Map::erase1>()),
    method("Remove(first as IntegerToIntegerHashMapIteratorQZR, last as IntegerToIntegerHashMapIteratorQZR)",
           registered<Map::erase2>()),
    method("Remove(key as integer) as integer", registered<Map::erase3>()),
    method("CountKey(key as integer) as integer", registered<Map::countRB>()),
    method("find(key as integer) as IntegerToIntegerHashMapIteratorQZR", registered<Map::findRB>()),
    method("value(key as integer) as integer", registered<Map::getvalue>(), registered<Map::setvalue>()),
    method("hasKey(key as integer) as boolean", registered<Map::haskey>()),
    method("lookup(key as integer, defaultvalue as integer) as integer", registered<Map::lookup>()),
};

REALmethodDefinition iteratorMethods[] = {
    method("MoveNext", registered<Iterator::iteratorMoveNext>()),
    method("Key as integer", registered<Iterator::iteratorGetKey>()),
    method("Value as integer", registered<Iterator::iteratorGetValue>(),
           registered<Iterator::iteratorSetValue>()),
    method("isEqual(other as IntegerToIntegerHashMapIteratorQZR) as boolean",
           registered<Iterator::iteratorIsEqual>()),
    method("isNotEqual(other as IntegerToIntegerHashMapIteratorQZR) as boolean",
           registered<Iterator::iteratorIsNotEqual>()),
};

}  // namespace

REALclassDefinition IntegerToIntegerHashMapClass = containerClass(
    Class::kName, sizeof(Class::Data), registered<Map::theMapDestructor>(), properties, methods);
REALclassDefinition IntegerToIntegerHashMapIteratorClass =
    iteratorClass(Class::kIteratorName, sizeof(Class::IteratorData), iteratorMethods);

}  // namespace vornik
