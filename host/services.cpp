#include "host/services.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "host/arrays.h"
#include "host/classes.h"
#include "host/declaration.h"
#include "host/dictionaries.h"
#include "host/exceptions.h"
#include "host/properties.h"
#include "host/state.h"
#include "host/strings.h"
#include "host/variants.h"

namespace vornik::host {

namespace {

template <std::size_t size>
struct Name {
  char text[size]{};
  consteval Name(const char (&literal)[size]) { std::copy_n(literal, size, text); }
};

/// Lets the script code that is planned for this call run when the service is done.
class Interruption {
 public:
  explicit Interruption(const Service& service) : isDue_(service.calls == service.interruptedCall) {}
  Interruption(const Interruption&) = delete;
  Interruption& operator=(const Interruption&) = delete;
  ~Interruption() {
    if (isDue_) [[unlikely]]
      std::exchange(state().interruption, nullptr)();
  }

 private:
  bool isDue_;
};

// Every service has an entry of its own, so that a call finds its counter without a search. The same function
// may serve under several names.
template <Name name, Reach reach, auto function>
struct Entry;

template <Name name, Reach reach, typename Result, typename... Arguments, Result (*function)(Arguments...)>
struct Entry<name, reach, function> {
  static Result call(Arguments... arguments) noexcept {
    if (++service.calls >= service.failingCall && service.calls - service.failingCall < service.failures)
      return Result();
    const Boundary outside(false);
    const Interruption interruption(service);
    return function(arguments...);
  }
  static inline Service service{name.text, reach, reinterpret_cast<void*>(&call)};
};

template <Name name, auto function>
Service* byName() {
  return &Entry<name, Reach::kResolver, function>::service;
}
template <Name declaration, auto function>
Service* global() {
  return &Entry<declaration, Reach::kGlobalMethod, function>::service;
}
template <Name declaration, auto function>
Service* ofDictionary() {
  return &Entry<declaration, Reach::kDictionaryMethod, function>::service;
}
template <Name name, auto function>
Service* element() {
  return &Entry<name, Reach::kElementProcedure, function>::service;
}

/// Hands out an element procedure. The library asks at every access, so the procedure is found only once.
template <Name name, ArrayElementType type>
void* procedureOf(REALobjectStruct* array) {
  static const Service& service = *serviceNamed(name.text);
  return arrayProcedure(array, type, service);
}

double hostVersion() {
  return state().options.version.value_or(0.0);
}
void registerPluginVersion(std::int32_t) {}
bool inRuntime() {
  return state().options.inRuntime;
}

void lockObject(REALobjectStruct* object) {
  if (object != nullptr) addReference(object);
}
void unlockObject(REALobjectStruct* object) {
  if (object != nullptr) dropReference(object);
}

}  // namespace

const std::vector<Service*>& services() {
  static const std::vector<Service*> table{
      byName<"REALGetRBVersion", hostVersion>(),
      byName<"RegisterPluginVersion", registerPluginVersion>(),
      byName<"REALinRuntime", inRuntime>(),

      byName<"PluginRegisterClass", registerClass>(),
      byName<"PluginNewInstance", newInstance>(),
      byName<"pluginObjectType", classReference>(),
      byName<"RuntimeObjectIsa", objectIsA>(),
      byName<"REALLoadObjectMethod", loadObjectMethod>(),
      byName<"REALLoadGlobalMethod", loadGlobalMethod>(),
      byName<"RuntimeRaiseException", raiseException>(),

      byName<"REALLockObject", lockObject>(),
      byName<"REALUnlockObject", unlockObject>(),
      byName<"REALLockString", lockString>(),
      byName<"REALUnlockString", unlockString>(),

      byName<"REALSetPropValueString", setStringProperty>(),
      byName<"REALSetPropValueInteger", setIntegerProperty>(),
      byName<"REALGetPropValueInteger", getNumberProperty<std::int64_t>>(),
      byName<"REALGetPropValueInt", getNumberProperty<std::int32_t>>(),
      byName<"REALGetPropValueInt64", getNumberProperty<std::int64_t>>(),
      byName<"REALGetPropValueUInt32", getNumberProperty<std::uint32_t>>(),
      byName<"REALGetPropValueUInt64", getNumberProperty<std::uint64_t>>(),
      byName<"REALGetPropValueSingle", getNumberProperty<float>>(),
      byName<"REALGetPropValueDouble", getNumberProperty<double>>(),
      byName<"REALGetPropValueString", getStringProperty>(),
      byName<"REALGetPropValueObject", getObjectProperty>(),

      byName<"StringToVariant", stringToVariant>(),
      byName<"IntegerToVariant", integerToVariant>(),
      byName<"VariantToObject", variantToObject>(),
      byName<"VariantToString", variantToString>(),
      byName<"VariantHash", variantHash>(),
      byName<"VariantToSingle", variantToSingle>(),
      byName<"VariantToDouble", variantToDouble>(),
      byName<"VariantToInt64", variantToInt64>(),
      byName<"VariantToUInt64", variantToUInt64>(),
      byName<"VariantToInt32", variantToInt32>(),
      byName<"VariantToUInt32", variantToUInt32>(),
      global<"VarType(value As Variant) As Integer", variantType>(),

      byName<"RuntimeArrayCreateSingleDimBoundedArray", createArray>(),
      byName<"RuntimeUBound", arrayUpperBound>(),
      byName<"PluginIntegerArrayGetProc", procedureOf<"PluginIntegerArrayGetProc()", kArrayOfIntegers>>(),
      byName<"PluginStringArrayGetProc", procedureOf<"PluginStringArrayGetProc()", kArrayOfStrings>>(),
      byName<"PluginObjectArrayGetProc", procedureOf<"PluginObjectArrayGetProc()", kArrayOfVariants>>(),
      byName<"PluginIntegerArraySetProc", procedureOf<"PluginIntegerArraySetProc()", kArrayOfIntegers>>(),
      byName<"PluginStringArraySetProc", procedureOf<"PluginStringArraySetProc()", kArrayOfStrings>>(),
      byName<"PluginObjectArraySetProc", procedureOf<"PluginObjectArraySetProc()", kArrayOfVariants>>(),
      byName<"PluginIntegerArrayInsertProc",
             procedureOf<"PluginIntegerArrayInsertProc()", kArrayOfIntegers>>(),
      byName<"PluginStringArrayInsertProc", procedureOf<"PluginStringArrayInsertProc()", kArrayOfStrings>>(),
      byName<"PluginObjectArrayInsertProc", procedureOf<"PluginObjectArrayInsertProc()", kArrayOfVariants>>(),
      element<"PluginIntegerArrayGetProc()", getInteger>(),
      element<"PluginStringArrayGetProc()", getString>(),
      element<"PluginObjectArrayGetProc()", getObject>(),
      element<"PluginIntegerArraySetProc()", setInteger>(),
      element<"PluginStringArraySetProc()", setString>(),
      element<"PluginObjectArraySetProc()", setObject>(),
      element<"PluginIntegerArrayInsertProc()", insertInteger>(),
      element<"PluginStringArrayInsertProc()", insertString>(),
      element<"PluginObjectArrayInsertProc()", insertObject>(),

      byName<"PluginGetStringData", stringData>(),
      byName<"PluginDisposeStringData", disposeStringData>(),
      byName<"StringGetCString", stringBytes>(),
      byName<"RuntimeStringCompare", compareStrings>(),
      byName<"REALBuildString", buildString>(),
      byName<"REALBuildStringWithEncoding", buildStringWithEncoding>(),
      byName<"REALGetStringEncoding", stringEncoding>(),
      byName<"REALConvertString", convertString>(),
      byName<"REALSetStringEncoding", setStringEncoding>(),
      global<"LenB( s as string ) as integer", stringByteLength>(),

      ofDictionary<"Value(key As Variant) As Variant", dictionaryValue>(),
      ofDictionary<"Value(key As Variant, Assigns _value As Variant)", setDictionaryValue>(),
      ofDictionary<"Key(index As Integer) As Variant", dictionaryKey>(),
  };
  return table;
}

Service* serviceNamed(std::string_view name) {
  for (Service* service : services()) {
    if (name == service->name) return service;
  }
  for (Service* service : services()) {
    const bool isDeclaration =
        service->reach == Reach::kGlobalMethod || service->reach == Reach::kDictionaryMethod;
    if (isDeclaration && sameName(name, service->name)) return service;
  }
  return nullptr;
}

void* findService(Reach reach, std::string_view name) {
  const Service* service = serviceNamed(name);
  if (service == nullptr || service->reach != reach || service->withheld) return nullptr;
  return service->address;
}

}  // namespace vornik::host
