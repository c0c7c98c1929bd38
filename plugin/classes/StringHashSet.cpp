#include "plugin/classes/class_tables.h"
#include "plugin/containers/hashing.h"
#include "plugin/containers/iterator_functions.h"
#include "plugin/containers/kinds.h"
#include "plugin/containers/set_functions.h"
#include "plugin/structures/hash_table.h"

namespace vornik {

extern REALclassDefinition StringHashSetClass, StringHashSetIteratorClass;

namespace {

using Sensitive = HashTable<RBStringS, NoValue, RBStringHashS>;
using Insensitive = HashTable<RBStringI, NoValue, RBStringHashI>;

struct Class : SetClass<Sensitive, Insensitive> {
  using Key = StringKind;
  static constexpr const char* kName = "StringHashSetQZR";
  static constexpr const char* kIteratorName = "StringHashSetIteratorQZR";
  static const REALclassDefinition& definition() { return StringHashSetClass; }
  static const REALclassDefinition& iteratorDefinition() { return StringHashSetIteratorClass; }
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
    method("Constructor(Keys() as string)", registered<Set::theMapConstructor2>()),
    method("Clear", registered<Set::clear>()),
    method("Key(index as integer) as string", registered<Set::KeyAtIndex>()),
    method("Keys as string()", registered<Set::rbGetKeys>()),
    method("first as StringHashSetIteratorQZR", registered<Set::getbegin>()),
    method("last as StringHashSetIteratorQZR", registered<Set::getend>()),
    method("Remove(pos as StringHashSetIteratorQZR)", registered<Set::erase1>()),
    method("Remove(first as StringHashSetIteratorQZR, last as StringHashSetIteratorQZR)",
           registered<Set::erase2>()),
    method("Remove(key as string) as integer", registered<Set::erase3>()),
    method("CountKey(key as string) as integer", registered<Set::countRB>()),
    method("find(key as string) as StringHashSetIteratorQZR", registered<Set::findRB>()),
    method("lookup(key as string) as boolean", registered<Set::lookup>()),
    method("insert(key as string)", registered<Set::insert>()),
};

REALmethodDefinition iteratorMethods[] = {
    method("MoveNext", registered<Iterator::MoveNext>()),
    method("Key as string", registered<Iterator::GetKey>()),
    method("isEqual(other as StringHashSetIteratorQZR) as boolean", registered<Iterator::isEqual>()),
    method("isNotEqual(other as StringHashSetIteratorQZR) as boolean", registered<Iterator::isNotEqual>()),
};

}  // namespace

REALclassDefinition StringHashSetClass = containerClass(
    Class::kName, sizeof(Class::Data), registered<Set::theMapDestructor>(), properties, methods);
REALclassDefinition StringHashSetIteratorClass =
    iteratorClass(Class::kIteratorName, sizeof(Class::IteratorData), iteratorMethods);

}  // namespace vornik
