#include "plugin/classes/class_tables.h"
#include "plugin/containers/hashing.h"
#include "plugin/containers/iterator_functions.h"
#include "plugin/containers/kinds.h"
#include "plugin/containers/set_functions.h"
#include "plugin/structures/hash_table.h"

namespace vornik {

extern REALclassDefinition IntegerHashSetClass, IntegerHashSetIteratorClass;

namespace {

using Container = HashTable<IntegerKind::Held, NoValue, IntegerHashing>;

struct Class : SetClass<Container, Container> {
  using Key = IntegerKind;
  static constexpr const char* kName = "IntegerHashSetQZR";
  static constexpr const char* kIteratorName = "IntegerHashSetIteratorQZR";
  static const REALclassDefinition& definition() { return IntegerHashSetClass; }
  static const REALclassDefinition& iteratorDefinition() { return IntegerHashSetIteratorClass; }
};

using Set = SetFunctions<Class>;
using Iterator = SetIteratorFunctions<Class>;

REALproperty properties[] = {
    property("MaxSize", "Integer", registered<Set::GetMaxSize>()),
    property("Count", "Integer", registered<Set::GetSize>()),
    property("BinCount", "Integer", registered<Set::GetBucketCount>()),
    property("Empty", "Boolean", registered<Set::GetEmpty>()),
};

REALmethodDefinition methods[] = {
    method("Constructor", registered<Set::theMapConstructor>()),
    method("Constructor(Keys() as integer)", registered<Set::theMapConstructor2>()),
    method("Clear", registered<Set::clear>()),
    method("Key(index as integer) as integer", registered<Set::KeyAtIndex>()),
    method("Keys as integer()", registered<Set::rbGetKeys>()),
    method("first as IntegerHashSetIteratorQZR", registered<Set::getbegin>()),
    method("last as IntegerHashSetIteratorQZR", registered<Set::getend>()),
    method("Remove(pos as IntegerHashSetIteratorQZR)", registered<Set::erase1>()),
    method("Remove(first as IntegerHashSetIteratorQZR, last as IntegerHashSetIteratorQZR)",
           registered<Set::erase2>()),
    method("Remove(key as integer) as integer", registered<Set::erase3>()),
    method("CountKey(key as integer) as integer", registered<Set::countRB>()),
    method("find(key as integer) as IntegerHashSetIteratorQZR", registered<Set::findRB>()),
    method("lookup(key as integer) as boolean", registered<Set::lookup>()),
    method("insert(key as integer)", registered<Set::insert>()),
};

REALmethodDefinition iteratorMethods[] = {
    method("MoveNext", registered<Iterator::MoveNext>()),
    method("Key as integer", registered<Iterator::GetKey>()),
    method("isEqual(other as IntegerHashSetIteratorQZR) as boolean", registered<Iterator::isEqual>()),
    method("isNotEqual(other as IntegerHashSetIteratorQZR) as boolean", registered<Iterator::isNotEqual>()),
};

}  // namespace

REALclassDefinition IntegerHashSetClass = containerClass(
    Class::kName, sizeof(Class::Data), registered<Set::theMapDestructor>(), properties, methods);
REALclassDefinition IntegerHashSetIteratorClass =
    iteratorClass(Class::kIteratorName, sizeof(Class::IteratorData), iteratorMethods);

}  // namespace vornik
