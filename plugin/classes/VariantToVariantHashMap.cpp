#include "plugin/classes/class_tables.h"
#include "plugin/containers/hashing.h"
#include "plugin/containers/iterator_functions.h"
#include "plugin/containers/kinds.h"
#include "plugin/containers/map_functions.h"
#include "plugin/structures/hash_table.h"

namespace vornik {

extern REALclassDefinition VariantToVariantHashMapClass, VariantToVariantHashMapIteratorClass;

namespace {

using Sensitive = HashTable<RBVariantS, VariantKind::Held, RBVariantHashS>;
using Insensitive = HashTable<RBVariantI, VariantKind::Held, RBVariantHashI>;

struct Class : MapClass<Sensitive, Insensitive> {
  using Key = VariantKind;
  using Value = VariantKind;
  static constexpr const char* kName = "VariantToVariantHashMapQZR";
  static constexpr const char* kIteratorName = "VariantToVariantHashMapIteratorQZR";
  static const REALclassDefinition& definition() { return VariantToVariantHashMapClass; }
  static const REALclassDefinition& iteratorDefinition() { return VariantToVariantHashMapIteratorClass; }
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
    method("Constructor(other as VariantToVariantHashMapQZR)", registered<Map::theMapConstructorCopy>()),
    method("CloneDictionary as Dictionary", registered<Map::cloneDictionary>()),
    method("Operator_Convert as Dictionary", registered<Map::cloneDictionary>()),
    method("Clone as VariantToVariantHashMapQZR", registered<Map::cloneMap>()),
    method("Clear", registered<Map::clear>()),
    method("ValueAtIndex(index as integer) as variant", registered<Map::ValueAtIndex>()),
    method("Key(index as integer) as variant", registered<Map::KeyAtIndex>()),
    method("Keys as variant()", registered<Map::rbGetKeys>()),
    method("Values as variant()", registered<Map::rbGetValues>()),
    method("AddKeys(targetArray() as variant)", registered<Map::rbGetKeys2>()),
    method("AddValues(targetArray() as variant)", registered<Map::rbGetValues2>()),
    method("first as VariantToVariantHashMapIteratorQZR", registered<Map::getbegin>()),
    method("last as VariantToVariantHashMapIteratorQZR", registered<Map::getend>()),
    method("Remove(pos as VariantToVariantHashMapIteratorQZR)", registered<Map::erase1>()),
    method("Remove(first as VariantToVariantHashMapIteratorQZR, last as VariantToVariantHashMapIteratorQZR)",
           registered<Map::erase2>()),
    method("Remove(key as variant) as integer", registered<Map::erase3>()),
    method("CountKey(key as variant) as integer", registered<Map::countRB>()),
    method("find(key as variant) as VariantToVariantHashMapIteratorQZR", registered<Map::findRB>()),
    method("value(key as variant) as variant", registered<Map::getvalue>(), registered<Map::setvalue>()),
    method("hasKey(key as variant) as boolean", registered<Map::haskey>()),
    method("lookup(key as variant, defaultvalue as variant) as variant", registered<Map::lookup>()),
};

REALmethodDefinition iteratorMethods[] = {
    method("MoveNext", registered<Iterator::iteratorMoveNext>()),
    method("Key as variant", registered<Iterator::iteratorGetKey>()),
    method("Value as variant", registered<Iterator::iteratorGetValue>(),
           registered<Iterator::iteratorSetValue>()),
    method("isEqual(other as VariantToVariantHashMapIteratorQZR) as boolean",
           registered<Iterator::iteratorIsEqual>()),
    method("isNotEqual(other as VariantToVariantHashMapIteratorQZR) as boolean",
           registered<Iterator::iteratorIsNotEqual>()),
};

}  // namespace

REALclassDefinition VariantToVariantHashMapClass = containerClass(
    Class::kName, sizeof(Class::Data), registered<Map::theMapDestructor>(), properties, methods);
REALclassDefinition VariantToVariantHashMapIteratorClass =
    iteratorClass(Class::kIteratorName, sizeof(Class::IteratorData), iteratorMethods);

}  // namespace vornik
