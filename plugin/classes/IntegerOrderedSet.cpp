#include "plugin/classes/class_tables.h"
#include "plugin/containers/iterator_functions.h"
#include "plugin/containers/kinds.h"
#include "plugin/containers/orders.h"
#include "plugin/containers/set_functions.h"
#include "plugin/structures/ordered_tree.h"

namespace vornik {

extern REALclassDefinition IntegerSetClass, IntegerSetIteratorClass;

namespace {

using Container = OrderedTree<IntegerKind::Held, NoValue, IntegerOrder>;

struct Class : SetClass<Container, Container> {
  using Key = IntegerKind;
  static constexpr const char* kName = "IntegerOrderedSetQZR";
  static constexpr const char* kIteratorName = "IntegerOrderedSetIteratorQZR";
  static const REALclassDefinition& definition() { return IntegerSetClass; }
  static const REALclassDefinition& iteratorDefinition() { return IntegerSetIteratorClass; }
};

using Set = SetFunctions<Class>;
using Iterator = SetIteratorFunctions<Class>;

REALproperty properties[] = {
    property("MaxSize", "Integer", registered<Set::GetMaxSize>()),
    property("Count", "Integer", registered<Set::GetSize>()),
    property("Empty", "Boolean", registered<Set::GetEmpty>()),
};

REALmethodDefinition methods[] = {
    method("Constructor", registered<Set::theMapConstructor>()),
    method("Constructor(Keys() as integer)", registered<Set::theMapConstructor2>()),
    method("Clear", registered<Set::clear>()),
    method("Key(index as integer) as integer", registered<Set::KeyAtIndex>()),
    method("Keys as integer()", registered<Set::rbGetKeys>()),
    method("first as IntegerOrderedSetIteratorQZR", registered<Set::getbegin>()),
    method("last as IntegerOrderedSetIteratorQZR", registered<Set::getend>()),
    method("Remove(pos as IntegerOrderedSetIteratorQZR)", registered<Set::erase1>()),
    method("Remove(first as IntegerOrderedSetIteratorQZR, last as IntegerOrderedSetIteratorQZR)",
           registered<Set::erase2>()),
    method("Remove(key as integer) as integer", registered<Set::erase3>()),
    method("CountKey(key as integer) as integer", registered<Set::countRB>()),
    method("find(key as integer) as IntegerOrderedSetIteratorQZR", registered<Set::findRB>()),
    method("lookup(key as integer) as boolean", registered<Set::lookup>()),
    method("insert(key as integer)", registered<Set::insert>()),
    method("LowerBound(key as integer) as IntegerOrderedSetIteratorQZR", registered<Set::lower_bound>()),
    method("UpperBound(key as integer) as IntegerOrderedSetIteratorQZR", registered<Set::upper_bound>()),
};

REALmethodDefinition iteratorMethods[] = {
    method("MoveNext", registered<Iterator::MoveNext>()),
    method("Key as integer", registered<Iterator::GetKey>()),
    method("isEqual(other as IntegerOrderedSetIteratorQZR) as boolean", registered<Iterator::isEqual>()),
    method("isNotEqual(other as IntegerOrderedSetIteratorQZR) as boolean",
           registered<Iterator::isNotEqual>()),
    method("MovePrev", registered<Iterator::MovePrev>()),
};

}  // namespace

REALclassDefinition IntegerSetClass = containerClass(
    Class::kName, sizeof(Class::Data), registered<Set::theMapDestructor>(), properties, methods);
REALclassDefinition IntegerSetIteratorClass =
    iteratorClass(Class::kIteratorName, sizeof(Class::IteratorData), iteratorMethods);

}  // namespace vornik
