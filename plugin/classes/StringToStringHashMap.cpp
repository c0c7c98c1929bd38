#include "plugin/classes/class_tables.h"
#include "plugin/containers/hashing.h"
#include "plugin/containers/iterator_functions.h"
#include "plugin/containers/kinds.h"
#include "plugin/containers/map_functions.h"
#include "plugin/structures/hash_table.h"

namespace vornik {

extern REALclassDefinition StringToStringHashMapClass, StringToStringHashMapIteratorClass;

namespace {

using Sensitive = HashTable<RBStringS, StringKind::Held, RBStringHashS>;
using Insensitive = HashTable<RBStringI, StringKind::Held, RBStringHashI>;

struct Class : MapClass<Sensitive, Insensitive> {
  using Key = StringKind;
  using Value = StringKind;
  static constexpr const char* kName = "StringToStringHashMapQZR";
  static constexpr const char* kIteratorName = "StringToStringHashMapIteratorQZR";
  static const REALclassDefinition& definition() { return StringToStringHashMapClass; }
  static const REALclassDefinition& iteratorDefinition() { return StringToStringHashMapIteratorClass; }
};

using Map = MapFunctions<Class>;
using Iterator = MapIteratorFunctions<Class>;

REALproperty properties[] = {
    flagProperty("CaseSensitive", offsetof(Class::Data, caseSensitive)),
    property("MaxSize", "Integer", registered<Map::GetMaxSize>()),
    property("Count", "Integer", registered<Map::GetSize>()),
    property("BinCount", "Integer", registered<Map::GetBucketCount>()),
    property("Empty", "Boolean", registered<Map::GetEmpty>()),
};

REALmethodDefinition methods[] = {
    method("Constructor(CaseSensitive as Boolean = true)", registered<Map::theMapConstructor>()),
    method("Constructor(dic as dictionary, CaseSensitive as Boolean = true)",
           registered<Map::theMapConstructorDic>()),
    method("Constructor(other as StringToStringHashMapQZR)", registered<Map::theMapConstructorCopy>()),
    method("CloneDictionary as Dictionary", registered<Map::cloneDictionary>()),
    method("Operator_Convert as Dictionary", registered<Map::cloneDictionary>()),
    method("Clone as StringToStringHashMapQZR", registered<Map::cloneMap>()),
    method("Clear", registered<Map::clear>()),
    method("ValueAtIndex(index as integer) as string", registered<Map::ValueAtIndex>()),
    method("Key(index as integer) as string", registered<Map::KeyAtIndex>()),
    method("Keys as string()", registered<Map::rbGetKeys>()),
    method("Values as string()", registered<Map::rbGetValues>()),
    method("AddKeys(targetArray() as string)", registered<Map::rbGetKeys2>()),
    method("AddValues(targetArray() as string)", registered<Map::rbGetValues2>()),
    method("first as StringToStringHashMapIteratorQZR", registered<Map::getbegin>()),
    method("last as StringToStringHashMapIteratorQZR", registered<Map::getend>()),
    method("Remove(pos as StringToStringHashMapIteratorQZR)", registered<Map::erase1>()),
    method("Remove(first as StringToStringHashMapIteratorQZR, last as StringToStringHashMapIteratorQZR)",
           registered<Map::erase2>()),
    method("Remove(key as string) as integer", registered<Map::erase3>()),
    method("CountKey(key as string) as integer", registered<Map::countRB>()),
    method("find(key as string) as StringToStringHashMapIteratorQZR", registered<Map::findRB>()),
    method("value(key as string) as string", registered<Map::getvalue>(), registered<Map::setvalue>()),
    method("hasKey(key as string) as boolean", registered<Map::haskey>()),
    method("lookup(key as string, defaultvalue as string) as string", registered<Map::lookup>()),
};

REALmethodDefinition iteratorMethods[] = {
    method("MoveNext", registered<Iterator::iteratorMoveNext>()),
    method("Key as string", registered<Iterator::iteratorGetKey>()),
    method("Value as string", registered<Iterator::iteratorGetValue>(),
           registered<Iterator::iteratorSetValue>()),
    method("isEqual(other as StringToStringHashMapIteratorQZR) as boolean",
           registered<Iterator::iteratorIsEqual>()),
    method("isNotEqual(other as StringToStringHashMapIteratorQZR) as boolean",
           registered<Iterator::iteratorIsNotEqual>()),
};

}  // namespace

REALclassDefinition StringToStringHashMapClass = containerClass(
    Class::kName, sizeof(Class::Data), registered<Map::theMapDestructor>(), properties, methods);
REALclassDefinition StringToStringHashMapIteratorClass =
    iteratorClass(Class::kIteratorName, sizeof(Class::IteratorData), iteratorMethods);

}  // namespace vornik
