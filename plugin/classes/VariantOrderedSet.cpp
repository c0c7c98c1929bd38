#include "plugin/classes/class_tables.h"
#include "plugin/containers/iterator_functions.h"
#include "plugin/containers/kinds.h"
#include "plugin/containers/orders.h"
#include "plugin/containers/set_functions.h"
#include "plugin/structures/ordered_tree.h"

namespace vornik {

extern REALclassDefinition VariantSetClass, VariantSetIteratorClass;

namespace {

using Sensitive = OrderedTree<RBVariantS, NoValue, LTRBVariantS>;
using Insensitive = OrderedTree<RBVariantI, NoValue, LTRBVariantI>;

struct Class : SetClass<Sensitive, Insensitive> {
  using Key = VariantKind;
  static constexpr const char* kName = "VariantOrderedSetQZR";
  static constexpr const char* kIteratorName = "VariantOrderedSetIteratorQZR";
  static const REALclassDefinition& definition() { return VariantSetClass; }
  static const REALclassDefinition& iteratorDefinition() { return VariantSetIteratorClass; }
};

using Set = SetFunctions<Class>;
using Iterator = SetIteratorFunctions<Class>;

REALproperty properties[] = {
    flagProperty("CaseSensitive", offsetof(Class::Data, caseSensitive)),
    property("MaxSize", "Integer", registered<Set::GetMaxSize>()),
    property("Count", "Integer", registered<Set::GetSize>()),
    property("Empty", "Boolean", registered<Set::GetEmpty>()),
};

REALmethodDefinition methods[] = {
    method("Constructor(CaseSensitive as Boolean = true)", registered<Set::theMapConstructor>()),
    method("Constructor(Keys() as string)", registered<Set::theMapConstructor3>()),
    method("Constructor(Keys() as variant)", registered<Set::theMapConstructor2>()),
    method("Clear", registered<Set::clear>()),
    method("Key(index as integer) as variant", registered<Set::KeyAtIndex>()),
    method("Keys as variant()", registered<Set::rbGetKeys>()),
    method("first as VariantOrderedSetIteratorQZR", registered<Set::getbegin>()),
    method("last as VariantOrderedSetIteratorQZR", registered<Set::getend>()),
    method("Remove(pos as VariantOrderedSetIteratorQZR)", registered<Set::erase1>()),
    method("Remove(first as VariantOrderedSetIteratorQZR, last as VariantOrderedSetIteratorQZR)",
           registered<Set::erase2>()),
    method("Remove(key as variant) as integer", registered<Set::erase3>()),
    method("CountKey(key as variant) as integer", registered<Set::countRB>()),
    method("find(key as variant) as VariantOrderedSetIteratorQZR", registered<Set::findRB>()),
    method("lookup(key as variant) as boolean", registered<Set::lookup>()),
    method("insert(key as variant)", registered<Set::insert>()),
    method("LowerBound(key as variant) as VariantOrderedSetIteratorQZR", registered<Set::lower_bound>()),
    method("UpperBound(key as variant) as VariantOrderedSetIteratorQZR", registered<Set::upper_bound>()),
};

REALmethodDefinition iteratorMethods[] = {
    method("MoveNext", registered<Iterator::MoveNext>()),
    method("Key as variant", registered<Iterator::GetKey>()),
    method("isEqual(other as VariantOrderedSetIteratorQZR) as boolean", registered<Iterator::isEqual>()),
    method("isNotEqual(other as VariantOrderedSetIteratorQZR) as boolean",
           registered<Iterator::isNotEqual>()),
    method("MovePrev", registered<Iterator::MovePrev>()),
};

}  // namespace

REALclassDefinition VariantSetClass = containerClass(
    Class::kName, sizeof(Class::Data), registered<Set::theMapDestructor>(), properties, methods);
REALclassDefinition VariantSetIteratorClass =
    iteratorClass(Class::kIteratorName, sizeof(Class::IteratorData), iteratorMethods);

}  // namespace vornik
