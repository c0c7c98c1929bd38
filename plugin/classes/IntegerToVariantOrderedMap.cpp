#include "plugin/classes/class_tables.h"
#include "plugin/containers/iterator_functions.h"
#include "plugin/containers/kinds.h"
#include "plugin/containers/map_functions.h"
#include "plugin/containers/orders.h"
#include "plugin/structures/ordered_tree.h"

namespace vornik {

extern REALclassDefinition IntegerToVariantMapClass, IntegerToVariantMapIteratorClass;

namespace {

using Container = OrderedTree<IntegerKind::Held, VariantKind::Held, IntegerOrder>;

struct Class : MapClass<Container, Container> {
  using Key = IntegerKind;
  using Value = VariantKind;
  static constexpr const char* kName = "IntegerToVariantOrderedMapQZR";
  static constexpr const char* kIteratorName = "IntegerToVariantOrderedMapIteratorQZR";
  static const REALclassDefinition& definition() { return IntegerToVariantMapClass; }
  static const REALclassDefinition& iteratorDefinition() { return IntegerToVariantMapIteratorClass; }
};

using Map = MapFunctions<Class>;
using Iterator = MapIteratorFunctions<Class>;

REALproperty properties[] = {
    property("MaxSize", "Integer", registered<Map::GetMaxSize>()),
    property("Count", "Integer", registered<Map::GetSize>()),
    property("Empty", "Boolean", registered<Map::GetEmpty>()),
};

REALmethodDefinition methods[] = {
    method("Constructor", registered<Map::theMapConstructor>()),
    method("Constructor(dic as dictionary)", registered<Map::theMapConstructorDic>()),
    method("Constructor(other as IntegerToVariantOrderedMapQZR)", registered<Map::theMapConstructorCopy>()),
    method("CloneDictionary as Dictionary", registered<Map::cloneDictionary>()),
    method("Operator_Convert as Dictionary", registered<Map::cloneDictionary>()),
    method("Clone as IntegerToVariantOrderedMapQZR", registered<Map::cloneMap>()),
    method("Clear", registered<Map::clear>()),
    method("ValueAtIndex(index as integer) as variant", registered<Map::ValueAtIndex>()),
    method("Key(index as integer) as integer", registered<Map::KeyAtIndex>()),
    method("Keys as integer()", registered<Map::rbGetKeys>()),
    method("Values as variant()", registered<Map::rbGetValues>()),
    method("AddKeys(targetArray() as integer)", registered<Map::rbGetKeys2>()),
    method("AddValues(targetArray() as variant)", registered<Map::rbGetValues2>()),
    method("first as IntegerToVariantOrderedMapIteratorQZR", registered<Map::getbegin>()),
    method("last as IntegerToVariantOrderedMapIteratorQZR", registered<Map::getend>()),
    method("Remove(pos as IntegerToVariantOrderedMapIteratorQZR)", registered<Map::erase1>()),
    method(
        "Remove(first as IntegerToVariantOrderedMapIteratorQZR, last as IntegerToVariantOrderedMapIteratorQZR)",
        registered<Map::erase2>()),
    method("Remove(key as integer) as integer", registered<Map::erase3>()),
    method("CountKey(key as integer) as integer", registered<Map::countRB>()),
    method("find(key as integer) as IntegerToVariantOrderedMapIteratorQZR", registered<Map::findRB>()),
    method("value(key as integer) as variant", registered<Map::getvalue>(), registered<Map::setvalue>()),
    method("hasKey(key as integer) as boolean", registered<Map::haskey>()),
    method("lookup(key as integer, defaultvalue as variant) as variant", registered<Map::lookup>()),
    method("LowerBound(key as integer) as IntegerToVariantOrderedMapIteratorQZR",
           registered<Map::lower_bound>()),
    method("UpperBound(key as integer) as IntegerToVariantOrderedMapIteratorQZR",
           registered<Map::upper_bound>()),
};

REALmethodDefinition iteratorMethods[] = {
    method("MoveNext", registered<Iterator::iteratorMoveNext>()),
    method("Key as integer", registered<Iterator::iteratorGetKey>()),
    method("Value as variant", registered<Iterator::iteratorGetValue>(),
           registered<Iterator::iteratorSetValue>()),
    method("isEqual(other as IntegerToVariantOrderedMapIteratorQZR) as boolean",
           registered<Iterator::iteratorIsEqual>()),
    method("isNotEqual(other as IntegerToVariantOrderedMapIteratorQZR) as boolean",
           registered<Iterator::iteratorIsNotEqual>()),
    method("MovePrev", registered<Iterator::iteratorMovePrev>()),
};

}  // namespace

REALclassDefinition IntegerToVariantMapClass = containerClass(
    Class::kName, sizeof(Class::Data), registered<Map::theMapDestructor>(), properties, methods);
REALclassDefinition IntegerToVariantMapIteratorClass =
    iteratorClass(Class::kIteratorName, sizeof(Class::IteratorData), iteratorMethods);

}  // namespace vornik
