#include "plugin/classes/class_tables.h"
#include "plugin/containers/iterator_functions.h"
#include "plugin/containers/kinds.h"
#include "plugin/containers/map_functions.h"
#include "plugin/containers/orders.h"
#include "plugin/structures/ordered_tree.h"

namespace vornik {

extern REALclassDefinition StringToStringMapClass, StringToStringMapIteratorClass;

namespace {

using Sensitive = OrderedTree<RBStringS, StringKind::Held, StringMapOrderS>;
using Insensitive = OrderedTree<RBStringI, StringKind::Held, StringMapOrderI>;

struct Class : MapClass<Sensitive, Insensitive> {
  using Key = StringKind;
  using Value = StringKind;
  static constexpr const char* kName = "StringToStringOrderedMapQZR";
  static constexpr const char* kIteratorName = "StringToStringOrderedMapIteratorQZR";
  static const REALclassDefinition& definition() { return StringToStringMapClass; }
  static const REALclassDefinition& iteratorDefinition() { return StringToStringMapIteratorClass; }
};

using Map = MapFunctions<Class>;
using Iterator = MapIteratorFunctions<Class>;

REALproperty properties[] = {
    flagProperty("CaseSensitive", offsetof(Class::Data, caseSensitive)),
    property("MaxSize", "Integer", registered<Map::GetMaxSize>()),
    property("Count", "Integer", registered<Map::GetSize>()),
    property("Empty", "Boolean", registered<Map::GetEmpty>()),
};

REALmethodDefinition methods[] = {
    method("Constructor(CaseSensitive as Boolean = true)", registered<Map::theMapConstructor>()),
    method("Constructor(dic as dictionary, CaseSensitive as Boolean = true)",
           registered<Map::theMapConstructorDic>()),
    method("Constructor(other as StringToStringOrderedMapQZR)", registered<Map::theMapConstructorCopy>()),
    method("CloneDictionary as Dictionary", registered<Map::cloneDictionary>()),
    method("Operator_Convert as Dictionary", registered<Map::cloneDictionary>()),
    method("Clone as StringToStringOrderedMapQZR", registered<Map::cloneMap>()),
    method("Clear", registered<Map::clear>()),
    method("ValueAtIndex(index as integer) as string", registered<Map::ValueAtIndex>()),
    method("Key(index as integer) as string", registered<Map::KeyAtIndex>()),
    method("Keys as string()", registered<Map::rbGetKeys>()),
    method("Values as string()", registered<Map::rbGetValues>()),
    method("AddKeys(targetArray() as string)", registered<Map::rbGetKeys2>()),
    method("AddValues(targetArray() as string)", registered<Map::rbGetValues2>()),
    method("first as StringToStringOrderedMapIteratorQZR", registered<Map::getbegin>()),
    method("last as StringToStringOrderedMapIteratorQZR", registered<Map::getend>()),
    method("Remove(pos as StringToStringOrderedMapIteratorQZR)", registered<Map::erase1>()),
    method(
        "Remove(first as StringToStringOrderedMapIteratorQZR, last as StringToStringOrderedMapIteratorQZR)",
        registered<Map::erase2>()),
    method("Remove(key as string) as integer", registered<Map::erase3>()),
    method("CountKey(key as string) as integer", registered<Map::countRB>()),
    method("find(key as string) as StringToStringOrderedMapIteratorQZR", registered<Map::findRB>()),
    method("value(key as string) as string", registered<Map::getvalue>(), registered<Map::setvalue>()),
    method("hasKey(key as string) as boolean", registered<Map::haskey>()),
    method("lookup(key as string, defaultvalue as string) as string", registered<Map::lookup>()),
    method("LowerBound(key as string) as StringToStringOrderedMapIteratorQZR",
           registered<Map::lower_bound>()),
    method("UpperBound(key as string) as StringToStringOrderedMapIteratorQZR",
           registered<Map::upper_bound>()),
};

REALmethodDefinition iteratorMethods[] = {
    method("MoveNext", registered<Iterator::iteratorMoveNext>()),
    method("Key as string", registered<Iterator::iteratorGetKey>()),
    method("Value as string", registered<Iterator::iteratorGetValue>(),
           registered<Iterator::iteratorSetValue>()),
    method("isEqual(other as StringToStringOrderedMapIteratorQZR) as boolean",
           registered<Iterator::iteratorIsEqual>()),
    method("isNotEqual(other as StringToStringOrderedMapIteratorQZR) as boolean",
           registered<Iterator::iteratorIsNotEqual>()),
    method("MovePrev", registered<Iterator::iteratorMovePrev>()),
};

}  // namespace

REALclassDefinition StringToStringMapClass = containerClass(
    Class::kName, sizeof(Class::Data), registered<Map::theMapDestructor>(), properties, methods);
REALclassDefinition StringToStringMapIteratorClass =
    iteratorClass(Class::kIteratorName, sizeof(Class::IteratorData), iteratorMethods);

}  // namespace vornik
