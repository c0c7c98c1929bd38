#include "plugin/classes/class_tables.h"
#include "plugin/containers/hashing.h"
#include "plugin/containers/iterator_functions.h"
#include "plugin/containers/kinds.h"
#include "plugin/containers/set_functions.h"
#include "plugin/structures/hash_table.h"

namespace vornik {

extern REALclassDefinition VariantHashSetClass, VariantHashSetIteratorClass;

namespace {

using Sensitive = HashTable<RBVariantS, NoValue, RBVariantHashS>;
using Insensitive = HashTable<RBVariantI, NoValue, RBVariantHashI>;

struct Class : SetClass<Sensitive, Insensitive> {
  using Key = VariantKind;
  static constexpr const char* kName = "VariantHashSetQZR";
  static constexpr const char* kIteratorName = "VariantHashSetIteratorQZR";
  static const REALclassDefinition& definition() { return VariantHashSetClass; }
  static const REALclassDefinition& iteratorDefinition() { return VariantHashSetIteratorClass; }
};

using Set = SetFunctions<Class>;
using Iterator = SetIteratorFunctions<Class>;

REALproperty properties[] = {
    flagProperty("CaseSensitive", offsetof(Class::Data, caseSensitive)),
    property("MaxSize", "Integer", registered<Set::GetMaxSize>()),
    property("Count", "Integer", registered<Set::GetSize>()),
    property("BinCount", "Integer", registered<Set::GetBucketCount>()),
    property("Empty", "Boolean", registered<Set::GetEmpty>()),
};

REALmethodDefinition methods[] = {
    method("Constructor(CaseSensitive as Boolean = true)", registered<Set::theMapConstructor>()),
    method("Constructor(Keys() as string)", registered<Set::theMapConstructor3>()),
    method("Constructor(Keys() as variant)", registered<Set::theMapConstructor2>()),
    method("Clear", registered<Set::clear>()),
    method("Key(index as integer) as variant", registered<Set::KeyAtIndex>()),
    method("Keys as variant()", registered<Set::rbGetKeys>()),
    method("first as VariantHashSetIteratorQZR", registered<Set::getbegin>()),
    method("last as VariantHashSetIteratorQZR", registered<Set::getend>()),
    method("Remove(pos as VariantHashSetIteratorQZR)", registered<Set::erase1>()),
    method("Remove(first as VariantHashSetIteratorQZR, last as VariantHashSetIteratorQZR)",
           registered<Set::erase2>()),
    method("Remove(key as variant) as integer", registered<Set::erase3>()),
    method("CountKey(key as variant) as integer", registered<Set::countRB>()),
    method("find(key as variant) as VariantHashSetIteratorQZR", registered<Set::findRB>()),
    method("lookup(key as variant) as boolean", registered<Set::lookup>()),
    method("insert(key as variant)", registered<Set::insert>()),
};

REALmethodDefinition iteratorMethods[] = {
    method("MoveNext", registered<Iterator::MoveNext>()),
    method("Key as variant", registered<Iterator::GetKey>()),
    method("isEqual(other as VariantHashSetIteratorQZR) as boolean", registered<Iterator::isEqual>()),
    method("isNotEqual(other as VariantHashSetIteratorQZR) as boolean", registered<Iterator::isNotEqual>()),
};

}  // namespace

REALclassDefinition VariantHashSetClass = containerClass(
    Class::kName, sizeof(Class::Data), registered<Set::theMapDestructor>(), properties, methods);
REALclassDefinition VariantHashSetIteratorClass =
    iteratorClass(Class::kIteratorName, sizeof(Class::IteratorData), iteratorMethods);

}  // namespace vornik
