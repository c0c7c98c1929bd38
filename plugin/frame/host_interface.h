// The binary interface between a host and this library: records, handle types, codes and call shapes.
//
// This is the one header that the library and a host share. Every layout is LP64 with natural C alignment and
// is pinned below, because hosts that were compiled long ago rely on it.
#ifndef VORNIK_FRAME_HOST_INTERFACE_H
#define VORNIK_FRAME_HOST_INTERFACE_H

#include <cstddef>
#include <cstdint>

extern "C" {

// Handles. Only the host knows what is behind them; a null object is Nil and a null string is the
// empty string.
struct REALobjectStruct;
struct REALstringStruct;
struct _REALarrayInteger;
struct _REALarrayString;
struct _REALarrayObject;
struct _REALdictionary;

/// Any registered function's address; its real shape follows from the declaration beside it.
using REALproc = void (*)();

struct REALattribute {
  const char* name;
  const char* value;
};

struct REALmethodDefinition {
  REALproc function;
  REALproc setter;  ///< assigns through "name(parameters) = value"; called with the value last
  const char* declaration;
  std::uint32_t flags;
  std::uint64_t attributeCount;
  const REALattribute* attributes;
};

struct REALproperty {
  const char* group;
  const char* name;
  const char* type;
  std::uint32_t flags;
  REALproc getter;  ///< called as getter(object, parameter); all bits set: the host's standard accessor
  REALproc setter;
  std::int32_t parameter;  ///< for the standard accessor, the offset in the instance data
  std::uint32_t parameterPadding;
  const void* editor;
  std::uint64_t enumCount;
  const void* enumEntries;
  std::uint64_t attributeCount;
  const REALattribute* attributes;
};

struct REALconstant {
  const char* declaration;
  std::uint64_t unexamined[2];
  std::uint64_t attributeCount;
  const REALattribute* attributes;
};

struct REALevent {
  const char* declaration;
  std::uint64_t unexamined;
  std::uint64_t attributeCount;
  const REALattribute* attributes;
};

struct REALdelegate {
  const char* declaration;
  std::uint32_t flags;
  std::uint64_t attributeCount;
  const REALattribute* attributes;
};

struct REALclassDefinition {
  std::int32_t version;
  const char* name;
  const char* superclassName;
  std::uint64_t dataSize;
  std::int64_t forSystemUse;  ///< written by the host: offset from an object to this class's instance data
  REALproc constructor;
  REALproc destructor;
  REALproperty* properties;
  std::uint64_t propertyCount;
  REALmethodDefinition* methods;
  std::uint64_t methodCount;
  const REALevent* events;
  std::uint64_t eventCount;
  const void* eventInstances;
  std::uint64_t eventInstanceCount;
  const char* interfaces;
  const REALattribute* attributes;
  std::uint64_t attributeCount;
  const REALconstant* constants;
  std::uint64_t constantCount;
  std::uint32_t flags;
  REALproperty* sharedProperties;
  std::uint64_t sharedPropertyCount;
  REALmethodDefinition* sharedMethods;
  std::uint64_t sharedMethodCount;
  const REALdelegate* delegates;
  std::uint64_t delegateCount;
  const void* enums;
  std::uint64_t enumCount;
};

/// Text of a host string in a requested encoding, filled by the host and handed back to it after use. Only
/// the first two fields have a meaning outside the host.
struct REALstringData {
  const void* data;
  std::int64_t byteLength;
  std::uint64_t hostOnly[3];
};

/// Resolves the name of a host service to its address, or to null.
using REALresolver = void* (*)(const char* name);

/// The library's only exported symbol.
void REALPluginMain(REALresolver resolver);
}

/// Codes by which the host names text encodings.
enum TextEncoding : std::uint32_t {
  kEncodingMacRoman = 0,
  kEncodingUTF16 = 0x100,
  kEncodingISOLatin1 = 0x201,
  kEncodingWindowsLatin1 = 0x500,
  kEncodingASCII = 0x600,
  kEncodingUnknown = 0xFFFF,
  kEncodingUTF8 = 0x08000100,
  kEncodingUTF32 = 0x0C000100,
  kEncodingUTF16BE = 0x10000100,
  kEncodingUTF16LE = 0x14000100,
  kEncodingUTF32BE = 0x18000100,
  kEncodingUTF32LE = 0x1C000100,
};

/// Element types of host arrays.
enum ArrayElementType : std::int32_t {
  kArrayOfStrings = 3,
  kArrayOfVariants = 4,
  kArrayOfIntegers = 11,
};

/// What host variants hold. An unsigned integer has the code of the signed one.
enum VariantType : std::int64_t {
  kVariantNil = 0,
  kVariantInt32 = 2,
  kVariantInt64 = 3,
  kVariantSingle = 4,
  kVariantDouble = 5,
  kVariantCurrency = 6,
  kVariantString = 8,
  kVariantObject = 9,
  kVariantBoolean = 11,
  kVariantColor = 16,
  kVariantText = 37,
};

/// Version that the definition records are compiled with.
inline constexpr std::int32_t kCurrentREALControlVersion = 15;

static_assert(sizeof(void*) == 8 && sizeof(REALproc) == 8, "the interface is LP64");

static_assert(sizeof(REALattribute) == 16);

static_assert(sizeof(REALmethodDefinition) == 48);
static_assert(offsetof(REALmethodDefinition, setter) == 8);
static_assert(offsetof(REALmethodDefinition, declaration) == 16);
static_assert(offsetof(REALmethodDefinition, flags) == 24);
static_assert(offsetof(REALmethodDefinition, attributeCount) == 32);
static_assert(offsetof(REALmethodDefinition, attributes) == 40);

static_assert(sizeof(REALproperty) == 96);
static_assert(offsetof(REALproperty, name) == 8);
static_assert(offsetof(REALproperty, type) == 16);
static_assert(offsetof(REALproperty, flags) == 24);
static_assert(offsetof(REALproperty, getter) == 32);
static_assert(offsetof(REALproperty, setter) == 40);
static_assert(offsetof(REALproperty, parameter) == 48);
static_assert(offsetof(REALproperty, editor) == 56);
static_assert(offsetof(REALproperty, enumCount) == 64);
static_assert(offsetof(REALproperty, enumEntries) == 72);
static_assert(offsetof(REALproperty, attributeCount) == 80);
static_assert(offsetof(REALproperty, attributes) == 88);

static_assert(sizeof(REALconstant) == 40 && offsetof(REALconstant, attributeCount) == 24);
static_assert(sizeof(REALevent) == 32 && offsetof(REALevent, attributeCount) == 16);
static_assert(sizeof(REALdelegate) == 32 && offsetof(REALdelegate, attributeCount) == 16);

static_assert(sizeof(REALclassDefinition) == 232);
static_assert(offsetof(REALclassDefinition, name) == 8);
static_assert(offsetof(REALclassDefinition, superclassName) == 16);
static_assert(offsetof(REALclassDefinition, dataSize) == 24);
static_assert(offsetof(REALclassDefinition, forSystemUse) == 32);
static_assert(offsetof(REALclassDefinition, constructor) == 40);
static_assert(offsetof(REALclassDefinition, destructor) == 48);
static_assert(offsetof(REALclassDefinition, properties) == 56);
static_assert(offsetof(REALclassDefinition, propertyCount) == 64);
static_assert(offsetof(REALclassDefinition, methods) == 72);
static_assert(offsetof(REALclassDefinition, methodCount) == 80);
static_assert(offsetof(REALclassDefinition, events) == 88);
static_assert(offsetof(REALclassDefinition, eventCount) == 96);
static_assert(offsetof(REALclassDefinition, eventInstances) == 104);
static_assert(offsetof(REALclassDefinition, eventInstanceCount) == 112);
static_assert(offsetof(REALclassDefinition, interfaces) == 120);
static_assert(offsetof(REALclassDefinition, attributes) == 128);
static_assert(offsetof(REALclassDefinition, attributeCount) == 136);
static_assert(offsetof(REALclassDefinition, constants) == 144);
static_assert(offsetof(REALclassDefinition, constantCount) == 152);
static_assert(offsetof(REALclassDefinition, flags) == 160);
static_assert(offsetof(REALclassDefinition, sharedProperties) == 168);
static_assert(offsetof(REALclassDefinition, sharedPropertyCount) == 176);
static_assert(offsetof(REALclassDefinition, sharedMethods) == 184);
static_assert(offsetof(REALclassDefinition, sharedMethodCount) == 192);
static_assert(offsetof(REALclassDefinition, delegates) == 200);
static_assert(offsetof(REALclassDefinition, delegateCount) == 208);
static_assert(offsetof(REALclassDefinition, enums) == 216);
static_assert(offsetof(REALclassDefinition, enumCount) == 224);

static_assert(sizeof(REALstringData) == 40 && offsetof(REALstringData, byteLength) == 8);

#endif  // VORNIK_FRAME_HOST_INTERFACE_H
