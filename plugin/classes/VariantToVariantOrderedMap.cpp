#include "plugin/classes/class_tables.h"
#include "plugin/containers/iterator_functions.h"
#include "plugin/containers/kinds.h"
#include "plugin/containers/map_functions.h"
#include "plugin/containers/orders.h"
#include "plugin/structures/ordered_tree.h"

namespace vornik {

extern REALclassDefinition VariantToVariantMapClass, VariantToVariantMapIteratorClass;

namespace {

using Sensitive = OrderedTree<RBVariantS, VariantKind::Held, VariantMapOrderS>;
using Insensitive = OrderedTree<RBVariantI, VariantKind::Held, VariantMapOrderI>;

struct Class : MapClass<Sensitive, Insensitive> {
  using Key = VariantKind;
  using Value = VariantKind;
  static constexpr const char* kName = "VariantToVariantOrderedMapQZR";
  static constexpr const char* kIteratorName = "VariantToVariantMapIteratorQZR";
  static const REALclassDefinition& definition() { return VariantToVariantMapClass; }
  static const REALclassDefinition& iteratorDefinition() { return VariantToVariantMapIteratorClass; }
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
    method("Constructor(other as VariantToVariantOrderedMapQZR)", registered<Map::theMapConstructorCopy>()),
    method("CloneDictionary as Dictionary", registered<Map::cloneDictionary>()),
    method("Operator_Convert as Dictionary", registered<Map::cloneDictionary>()),
    method("Clone as VariantToVariantOrderedMapQZR", registered<Map::cloneMap>()),
    method("Clear", registered<Map::clear>()),
    method("ValueAtIndex(index as integer) as variant", registered<Map::ValueAtIndex>()),
    method("Key(index as integer) as variant", registered<Map::KeyAtIndex>()),
    method("Keys as variant()", registered<Map::rbGetKeys>()),
    method("Values as variant()", registered<Map::rbGetValues>()),
    method("AddKeys(targetArray() as variant)", registered<Map::rbGetKeys2>()),
    method("AddValues(targetArray() as variant)", registered<Map::rbGetValues2>()),
    method("first as VariantToVariantMapIteratorQZR", registered<Map::getbegin>()),
    method("last as VariantToVariantMapIteratorQZR", registered<Map::getend>()),
    method("Remove(pos as VariantToVariantMapIteratorQZR)", registered<Map::erase1>()),
    method("Remove(first as VariantToVariantMapIteratorQZR, last as VariantToVariantMapIteratorQZR)",
           registered<Map::erase2>()),
    method("Remove(key as variant) as integer", registered<Map::erase3>()),
    method("CountKey(key as variant) as integer", registered<Map::countRB>()),
    method("find(key as variant) as VariantToVariantMapIteratorQZR", registered<Map::findRB>()),
    method("value(key as variant) as variant", registered<Map::getvalue>(), registered<Map::setvalue>()),
    method("hasKey(key as variant) as boolean", registered<Map::haskey>()),
    method("lookup(key as variant, defaultvalue as variant) as variant", registered<Map::lookup>()),
    method("LowerBound(key as variant) as VariantToVariantMapIteratorQZR", registered<Map::lower_bound>()),
    method("UpperBound(key as variant) as VariantToVariantMapIteratorQZR", registered<Map::upper_bound>()),
};

REALmethodDefinition iteratorMethods[] = {
    method("MoveNext", registered<Iterator::iteratorMoveNext>()),
    method("Key as variant", registered<Iterator::iteratorGetKey>()),
    method("Value as variant", registered<Iterator::iteratorGetValue>(),
           registered<Iterator::iteratorSetValue>()),
    method("isEqual(other as VariantToVariantMapIteratorQZR) as boolean",
           registered<Iterator::iteratorIsEqual>()),
    method("isNotEqual(other as VariantToVariantMapIteratorQZR) as boolean",
           registered<Iterator::iteratorIsNotEqual>()),
    method("MovePrev", registered<Iterator::iteratorMovePrev>()),
};

}  // namespace

REALclassDefinition VariantToVariantMapClass = containerClass(
    Class::kName, sizeof(Class::Data), registered<Map::theMapDestructor>(), properties, methods);
REALclassDefinition VariantToVariantMapIteratorClass =
    iteratorClass(Class::kIteratorName, sizeof(Class::IteratorData), iteratorMethods);

}  // namespace vornik
