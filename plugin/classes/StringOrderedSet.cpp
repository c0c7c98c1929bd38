#include "plugin/classes/class_tables.h"
#include "plugin/containers/iterator_functions.h"
#include "plugin/containers/kinds.h"
#include "plugin/containers/orders.h"
#include "plugin/containers/set_functions.h"
#include "plugin/structures/ordered_tree.h"

namespace vornik {

extern REALclassDefinition StringSetClass, StringSetIteratorClass;

namespace {

using Sensitive = OrderedTree<RBStringS, NoValue, LTRBStringS>;
using Insensitive = OrderedTree<RBStringI, NoValue, LTRBStringI>;

struct Class : SetClass<Sensitive, Insensitive> {
  using Key = StringKind;
  static constexpr const char* kName = "StringOrderedSetQZR";
  static constexpr const char* kIteratorName = "StringOrderedSetIteratorQZR";
  static const REALclassDefinition& definition() { return StringSetClass; }
  static const REALclassDefinition& iteratorDefinition() { return StringSetIteratorClass; }
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
    method("Constructor(Keys() as string)", registered<Set::theMapConstructor2>()),
    method("Clear", registered<Set::clear>()),
    method("Key(index as integer) as string", registered<Set::KeyAtIndex>()),
    method("Keys as string()", registered<Set::rbGetKeys>()),
    method("first as StringOrderedSetIteratorQZR", registered<Set::getbegin>()),
    method("last as StringOrderedSetIteratorQZR", registered<Set::getend>()),
    method("Remove(pos as StringOrderedSetIteratorQZR)", registered<Set::erase1>()),
    method("Remove(first as StringOrderedSetIteratorQZR, last as StringOrderedSetIteratorQZR)",
           registered<Set::erase2>()),
    method("Remove(key as string) as integer", registered<Set::erase3>()),
    method("CountKey(key as string) as integer", registered<Set::countRB>()),
    method("find(key as string) as StringOrderedSetIteratorQZR", registered<Set::findRB>()),
    method("lookup(key as string) as boolean", registered<Set::lookup>()),
    method("insert(key as string)", registered<Set::insert>()),
    method("LowerBound(key as string) as StringOrderedSetIteratorQZR", registered<Set::lower_bound>()),
    method("UpperBound(key as string) as StringOrderedSetIteratorQZR", registered<Set::upper_bound>()),
};

REALmethodDefinition iteratorMethods[] = {
    method("MoveNext", registered<Iterator::MoveNext>()),
    method("Key as string", registered<Iterator::GetKey>()),
    method("isEqual(other as StringOrderedSetIteratorQZR) as boolean", registered<Iterator::isEqual>()),
    method("isNotEqual(other as StringOrderedSetIteratorQZR) as boolean", registered<Iterator::isNotEqual>()),
    method("MovePrev", registered<Iterator::MovePrev>()),
};

}  // namespace

REALclassDefinition StringSetClass = containerClass(Class::kName, sizeof(Class::Data),
                                                    registered<Set::theMapDestructor>(), properties, methods);
REALclassDefinition StringSetIteratorClass =
    iteratorClass(Class::kIteratorName, sizeof(Class::IteratorData), iteratorMethods);

}  // namespace vornik
