// Every host service that the library uses, named once: wrapper, the host's name for it, result
// and arguments.
//
// Script code: creating objects and arrays, the element procedures of arrays, the methods of dictionaries,
// and giving back a reference to an object can run some, and it may do anything with the very object that is
// at work. So containers, places in them and what was borrowed from them are fetched anew after such a call.
// An element procedure has taken what it was given by the time it runs any.
//
// Ownership: where nothing else is said, arguments are borrowed for the call and results that are host
// handles carry one reference for the caller.
#ifndef VORNIK_FRAME_HOST_SERVICES_H
#define VORNIK_FRAME_HOST_SERVICES_H

#include <cstdint>

#include "plugin/frame/host_interface.h"
#include "plugin/frame/host_service.h"

namespace vornik {

// ---- The host itself

/// Year and release of the running host as a decimal.
inline constexpr HostService<"REALGetRBVersion", double()> REALGetRBVersion;
/// Tells the host which version of the definition records it is about to get.
inline constexpr HostService<"RegisterPluginVersion", void(std::int32_t)> REALRegisterPluginVersion;
/// True in a built application, false in the development environment.
inline constexpr HostService<"REALinRuntime", bool()> REALinRuntime;
/// Registers a class; the host keeps the record itself and writes its forSystemUse.
inline constexpr HostService<"PluginRegisterClass", void(REALclassDefinition*)> REALRegisterClass;

// ---- Objects

/// A new object of a registered or built-in class, instance data zero-filled; nil when the class is unknown.
inline constexpr HostService<"PluginNewInstance", REALobjectStruct*(const char*)> REALnewInstance;
/// Adds one reference.
inline constexpr HostService<"REALLockObject", void(REALobjectStruct*)> REALLockObject;
/// Drops one reference; dropping the last one can run script code.
inline constexpr HostService<"REALUnlockObject", void(REALobjectStruct*)> REALUnlockObject;
/// A class reference, not counted; nil when the class is unknown.
inline constexpr HostService<"pluginObjectType", void*(const char*)> REALGetClassRef;
inline constexpr HostService<"RuntimeObjectIsa", bool(REALobjectStruct*, void*)> REALObjectIsA;
/// Address of a method of the object's class, by declaration.
inline constexpr HostService<"REALLoadObjectMethod", void*(REALobjectStruct*, const char*)>
    REALLoadObjectMethod;
/// Address of a framework method, by declaration; the first argument is nil.
inline constexpr HostService<"REALLoadGlobalMethod", void*(void*, const char*)> REALLoadFrameworkMethod;
/// Delivers an exception object to the script once the registered function has returned. The host takes a
/// reference of its own.
inline constexpr HostService<"RuntimeRaiseException", void(REALobjectStruct*)> REALRaiseException;

// ---- Properties by name; true when the property could be read or set

template <FixedText Name, typename T>
using PropertyReader = HostService<Name, bool(REALobjectStruct*, const char*, T*)>;
template <FixedText Name, typename T>
using PropertyWriter = HostService<Name, bool(REALobjectStruct*, const char*, T)>;

inline constexpr PropertyWriter<"REALSetPropValueString", REALstringStruct*> REALSetPropValueString;
inline constexpr PropertyWriter<"REALSetPropValueInteger", std::int64_t> REALSetPropValueInteger;
inline constexpr PropertyReader<"REALGetPropValueInteger", std::int64_t> REALGetPropValueInteger;
inline constexpr PropertyReader<"REALGetPropValueInt", std::int32_t> REALGetPropValueInt32;
inline constexpr PropertyReader<"REALGetPropValueInt64", std::int64_t> REALGetPropValueInt64;
inline constexpr PropertyReader<"REALGetPropValueUInt32", std::uint32_t> REALGetPropValueUInt32;
inline constexpr PropertyReader<"REALGetPropValueUInt64", std::uint64_t> REALGetPropValueUInt64;
inline constexpr PropertyReader<"REALGetPropValueSingle", float> REALGetPropValueSingle;
inline constexpr PropertyReader<"REALGetPropValueDouble", double> REALGetPropValueDouble;
inline constexpr PropertyReader<"REALGetPropValueString", REALstringStruct*> REALGetPropValueString;
inline constexpr PropertyReader<"REALGetPropValueObject", REALobjectStruct*> REALGetPropValueObject;

// ---- Variants

inline constexpr HostService<"StringToVariant", REALobjectStruct*(REALstringStruct*)> REALNewVariantString;
inline constexpr HostService<"IntegerToVariant", REALobjectStruct*(std::int64_t)> REALNewVariantInteger;

/// Finds a framework method by its declaration.
struct ThroughFramework {
  static void* find(const char* declaration) { return REALLoadFrameworkMethod(nullptr, declaration); }
};

/// Reads a variant through its service or, on hosts without that service, through a property of the variant
/// object; 0 or nil when there is neither.
template <FixedText Name, FixedText Property, const auto& Reader, typename T,
          typename Lookup = ThroughResolver>
struct VariantAccessor {
  T operator()(REALobjectStruct* variant) const {
    static constexpr HostService<Name, T(REALobjectStruct*), Lookup> service;
    if (service.isAvailable()) [[likely]]
      return service(variant);
    T value{};
    Reader(variant, Property.text, &value);
    return value;
  }
};

/// The host's type code of a variant.
inline constexpr VariantAccessor<"VarType(value As Variant) As Integer", "Type", REALGetPropValueInteger,
                                 std::int64_t, ThroughFramework>
    GetVariantTypeInternal;
inline constexpr VariantAccessor<"VariantToInt32", "Int32Value", REALGetPropValueInt32, std::int32_t>
    GetVariantInt32;
inline constexpr VariantAccessor<"VariantToInt64", "LongValue", REALGetPropValueInt64, std::int64_t>
    GetVariantInt64;
inline constexpr VariantAccessor<"VariantToUInt32", "UInt32Value", REALGetPropValueUInt32, std::uint32_t>
    GetVariantUInt32;
inline constexpr VariantAccessor<"VariantToUInt64", "UInt64Value", REALGetPropValueUInt64, std::uint64_t>
    GetVariantUInt64;
inline constexpr VariantAccessor<"VariantToSingle", "SingleValue", REALGetPropValueSingle, float>
    GetVariantSingle;
inline constexpr VariantAccessor<"VariantToDouble", "DoubleValue", REALGetPropValueDouble, double>
    GetVariantDouble;
inline constexpr VariantAccessor<"VariantToString", "StringValue", REALGetPropValueString, REALstringStruct*>
    GetVariantString;
/// A variant that holds a plain value answers itself.
inline constexpr VariantAccessor<"VariantToObject", "ObjectValue", REALGetPropValueObject, REALobjectStruct*>
    GetVariantObject;
inline constexpr HostService<"VariantHash", std::uint32_t(REALobjectStruct*)> GetVariantHash;

// ---- Strings

/// Adds one reference.
inline constexpr HostService<"REALLockString", void(REALstringStruct*)> REALLockString;
/// Drops one reference.
inline constexpr HostService<"REALUnlockString", void(REALstringStruct*)> REALUnlockString;
/// A new string of these bytes, encoding not declared.
inline constexpr HostService<"REALBuildString", REALstringStruct*(const void*, std::int32_t)>
    originalREALBuildString;
/// A new string of these bytes in this encoding.
inline constexpr HostService<"REALBuildStringWithEncoding",
                             REALstringStruct*(const void*, std::int32_t, std::uint32_t)>
    REALBuildStringWithEncoding;
inline constexpr HostService<"REALGetStringEncoding", std::uint32_t(REALstringStruct*)> REALGetStringEncoding;
/// Declares the string's bytes to be in this encoding; converts nothing.
inline constexpr HostService<"REALSetStringEncoding", void(REALstringStruct*, std::uint32_t)>
    REALSetStringEncoding;
/// A new string with the text converted to this encoding.
inline constexpr HostService<"REALConvertString", REALstringStruct*(REALstringStruct*, std::uint32_t)>
    REALConvertString;
/// Fills the record with the text in this encoding; a filled record goes back through REALDisposeStringData.
inline constexpr HostService<"PluginGetStringData", bool(REALstringStruct*, std::uint32_t, REALstringData*)>
    REALGetStringData;
inline constexpr HostService<"PluginDisposeStringData", void(REALstringData*)> REALDisposeStringData;
/// The host's own comparison, without regard to letter case; a signed 32-bit number.
inline constexpr HostService<"RuntimeStringCompare", std::int32_t(REALstringStruct*, REALstringStruct*)>
    REALCompareStrings;

/// The bytes that the host stores for a string: zero-terminated, the host's, valid while the string lives.
struct StringContents {
  const char* bytes;
  std::int64_t length;
};
inline StringContents REALGetStringContents(REALstringStruct* string) {
  static constexpr HostService<"StringGetCString", const char*(REALstringStruct*)> cString;
  static constexpr HostService<"LenB( s as string ) as integer", std::int64_t(REALstringStruct*),
                               ThroughFramework>
      lenB;
  return {cString(string), lenB(string)};
}

// ---- Arrays

/// A new one-dimensional array; element type code and upper bound (element count - 1).
inline constexpr HostService<"RuntimeArrayCreateSingleDimBoundedArray",
                             REALobjectStruct*(std::int32_t, std::int64_t)>
    REALCreateArray;
/// Upper bound of an array, -1 when it is empty.
inline constexpr HostService<"RuntimeUBound", std::int64_t(REALobjectStruct*)> REALGetArrayUBound;

/// Procedures of one array. get answers strings and objects with one reference for the caller; set and insert
/// take references of their own.
template <typename Array, typename Element>
using ArrayGetProc = Element (*)(Array*, std::int64_t index);
template <typename Array, typename Element>
using ArraySetProc = void (*)(Array*, Element, std::int64_t index);
template <typename Array, typename Element>
using ArrayInsertProc = void (*)(Array*, std::int64_t index, Element);

template <FixedText Name, typename Proc, typename Array>
using ArrayProcService = HostService<Name, Proc(Array*)>;

inline constexpr ArrayProcService<"PluginIntegerArrayGetProc", ArrayGetProc<_REALarrayInteger, std::int64_t>,
                                  _REALarrayInteger>
    REALGetArrayValueInteger;
inline constexpr ArrayProcService<"PluginStringArrayGetProc",
                                  ArrayGetProc<_REALarrayString, REALstringStruct*>, _REALarrayString>
    REALGetArrayValueString;
inline constexpr ArrayProcService<"PluginObjectArrayGetProc",
                                  ArrayGetProc<_REALarrayObject, REALobjectStruct*>, _REALarrayObject>
    REALGetArrayValueObject;
inline constexpr ArrayProcService<"PluginIntegerArraySetProc", ArraySetProc<_REALarrayInteger, std::int64_t>,
                                  _REALarrayInteger>
    REALSetArrayValueInteger;
inline constexpr ArrayProcService<"PluginStringArraySetProc",
                                  ArraySetProc<_REALarrayString, REALstringStruct*>, _REALarrayString>
    REALSetArrayValueString;
inline constexpr ArrayProcService<"PluginObjectArraySetProc",
                                  ArraySetProc<_REALarrayObject, REALobjectStruct*>, _REALarrayObject>
    REALSetArrayValueObject;
inline constexpr ArrayProcService<"PluginIntegerArrayInsertProc",
                                  ArrayInsertProc<_REALarrayInteger, std::int64_t>, _REALarrayInteger>
    REALInsertArrayValueInteger;
inline constexpr ArrayProcService<"PluginStringArrayInsertProc",
                                  ArrayInsertProc<_REALarrayString, REALstringStruct*>, _REALarrayString>
    REALInsertArrayValueString;
inline constexpr ArrayProcService<"PluginObjectArrayInsertProc",
                                  ArrayInsertProc<_REALarrayObject, REALobjectStruct*>, _REALarrayObject>
    REALInsertArrayValueObject;

}  // namespace vornik

#endif  // VORNIK_FRAME_HOST_SERVICES_H
