#include "plugin/classes/class_tables.h"
#include "plugin/containers/iterator_functions.h"
#include "plugin/containers/kinds.h"
#include "plugin/containers/map_functions.h"
#include "plugin/containers/orders.h"
#include "plugin/structures/ordered_tree.h"

namespace vornik {

extern REALclassDefinition IntegerToStringMapClass, IntegerToStringMapIteratorClass;

namespace {

using Container = OrderedTree<IntegerKind::Held, StringKind::Held, IntegerOrder>;

struct Class : MapClass<Container, Container> {
  using Key = IntegerKind;
  using Value = StringKind;
  static constexpr const char* kName = "IntegerToStringOrderedMapQZR";
  static constexpr const char* kIteratorName = "IntegerToStringOrderedMapIteratorQZR";
  static const REALclassDefinition& definition() { return IntegerToStringMapClass; }
  static const REALclassDefinition& iteratorDefinition() { return IntegerToStringMapIteratorClass; }
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
    method("Constructor(other as IntegerToStringOrderedMapQZR)", registered<Map::theMapConstructorCopy>()),
    method("CloneDictionary as Dictionary", registered<Map::cloneDictionary>()),
    method("Operator_Convert as Dictionary", registered<Map::cloneDictionary>()),
    method("Clone as IntegerToStringOrderedMapQZR", registered<Map::cloneMap>()),
    method("Clear", registered<Map::clear>()),
    method("ValueAtIndex(index as integer) as string", registered<Map::ValueAtIndex>()),
    method("Key(index as integer) as integer", registered<Map::KeyAtIndex>()),
    method("Keys as integer()", registered<Map::rbGetKeys>()),
    method("Values as string()", registered<Map::rbGetValues>()),
    method("AddKeys(targetArray() as integer)", registered<Map::rbGetKeys2>()),
    method("AddValues(targetArray() as string)", registered<Map::rbGetValues2>()),
    method("first as IntegerToStringOrderedMapIteratorQZR", registered<Map::getbegin>()),
    method("last as IntegerToStringOrderedMapIteratorQZR", registered<Map::getend>()),
    method("Remove(pos as IntegerToStringOrderedMapIteratorQZR)", registered<Map::erase1>()),
    method(
        "Remove(first as IntegerToStringOrderedMapIteratorQZR, last as IntegerToStringOrderedMapIteratorQZR)",
        registered<Map::erase2>()),
    method("Remove(key as integer) as integer", registered<Map::erase3>()),
    method("CountKey(key as integer) as integer", registered<Map::countRB>()),
    method("find(key as integer) as IntegerToStringOrderedMapIteratorQZR", registered<Map::findRB>()),
    method("value(key as integer) as string", registered<Map::getvalue>(), registered<Map::setvalue>()),
    method("hasKey(key as integer) as boolean", registered<Map::haskey>()),
    method("lookup(key as integer, defaultvalue as string) as string", registered<Map::lookup>()),
    method("LowerBound(key as integer) as IntegerToStringOrderedMapIteratorQZR",
           registered<Map::lower_bound>()),
    method("UpperBound(key as integer) as IntegerToStringOrderedMapIteratorQZR",
           registered<Map::upper_bound>()),
};

REALmethodDefinition iteratorMethods[] = {
    method("MoveNext", registered<Iterator::iteratorMoveNext>()),
    method("Key as integer", registered<Iterator::iteratorGetKey>()),
    method("Value as string", registered<Iterator::iteratorGetValue>(),
           registered<Iterator::iteratorSetValue>()),
    method("isEqual(other as IntegerToStringOrderedMapIteratorQZR) as boolean",
           registered<Iterator::iteratorIsEqual>()),
    method("isNotEqual(other as IntegerToStringOrderedMapIteratorQZR) as boolean",
           registered<Iterator::iteratorIsNotEqual>()),
    method("MovePrev", registered<Iterator::iteratorMovePrev>()),
};

}  // namespace

REALclassDefinition IntegerToStringMapClass = containerClass(
    Class::kName, sizeof(Class::Data), registered<Map::theMapDestructor>(), properties, methods);
REALclassDefinition IntegerToStringMapIteratorClass =
    iteratorClass(Class::kIteratorName, sizeof(Class::IteratorData), iteratorMethods);

}  // namespace vornik
