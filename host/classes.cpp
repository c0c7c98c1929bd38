#include "host/classes.h"

#include <array>
#include <cstring>
#include <stdexcept>

#include "fmt/format.h"
#include "host/calls.h"
#include "host/services.h"
#include "host/state.h"

namespace vornik::host {

namespace {

constexpr std::size_t kDataAlignment = 16;

std::size_t roundUp(std::size_t size) {
  return (size + kDataAlignment - 1) / kDataAlignment * kDataAlignment;
}

struct VariantName {
  VariantType type;
  bool isUnsigned;
  const char* className;
};
constexpr std::array kVariantNames{
    VariantName{kVariantNil, false, "_VariantNil"},
    VariantName{kVariantInt32, false, "_VariantInt32"},
    VariantName{kVariantInt32, true, "_VariantUInt32"},
    VariantName{kVariantInt64, false, "_VariantInt64"},
    VariantName{kVariantInt64, true, "_VariantUInt64"},
    VariantName{kVariantSingle, false, "_VariantSingle"},
    VariantName{kVariantDouble, false, "_VariantDouble"},
    VariantName{kVariantCurrency, false, "_VariantCurrency"},
    VariantName{kVariantString, false, "_VariantString"},
    VariantName{kVariantBoolean, false, "_VariantBoolean"},
    VariantName{kVariantColor, false, "_VariantColor"},
    VariantName{kVariantText, false, "_VariantText"},
};
constexpr const char* kOtherVariantName = "_Variant";

Thing* makeRegistered(const ThingClass& type) {
  Thing* thing = makeThing<Thing>(type, type.endOfData - sizeof(Thing));
  if (const REALproc constructor = type.definition->constructor) {
    const Boundary inside(true);
    reinterpret_cast<void (*)(REALobjectStruct*)>(constructor)(objectHandle(thing));
  }
  return thing;
}

void finalizeRegistered(Thing& thing) {
  // A destructor has no caller that could receive an exception: what it raises ends with this call.
  for (const ThingClass* type = thing.dispatch; type != nullptr; type = type->superclass) {
    if (const REALproc destructor = type->definition->destructor) {
      const Host::PluginCall call;
      reinterpret_cast<void (*)(REALobjectStruct*)>(destructor)(objectHandle(&thing));
    }
  }
}

/// So that whoever still reads the instance data of an ended object does not get away with it.
void spoilData(Thing& thing) {
  constexpr int kSpoilt = 0xDD;
  std::memset(static_cast<void*>(&thing + 1), kSpoilt, thing.dispatch->endOfData - sizeof(Thing));
}

std::string nameOfClass(const Thing& thing) {
  return thing.dispatch->name;
}

/// A text that a definition record must give.
const char* given(const char* text, const REALclassDefinition& definition, const char* what) {
  if (text == nullptr) throw std::invalid_argument(fmt::format("{}: {} is missing", definition.name, what));
  return text;
}

}  // namespace

const Kind kInstanceKind{
    .noun = "object",
    .make = makeRegistered,
    .finalize = finalizeRegistered,
    .release = spoilData,
    .describe = nameOfClass,
    .property = readRegisteredProperty,
};

ClassRegistry::ClassRegistry() {
  stringClass_ = &add(kStringKind, "String");
  arrayClass_ = &add(kArrayKind, "Array");
  dictionaryClass_ = &add(kDictionaryKind, "Dictionary");
  const ThingClass& runtimeException = add(kExceptionKind, "RuntimeException");
  for (const char* name :
       {"NilObjectException", "KeyNotFoundException", "OutOfBoundsException", "OutOfMemoryException"}) {
    add(kExceptionKind, name, &runtimeException);
  }
  for (const VariantName& variant : kVariantNames) {
    variantClasses_.push_back(&add(kVariantKind, variant.className));
  }
  variantClasses_.push_back(&add(kVariantKind, kOtherVariantName));
}

ThingClass& ClassRegistry::add(const Kind& kind, std::string name, const ThingClass* superclass) {
  ThingClass& type = *classes_.emplace_back(std::make_unique<ThingClass>());
  type.kind = &kind;
  type.name = std::move(name);
  type.superclass = superclass;
  type.ownDefinition.name = type.name.c_str();
  type.definition = &type.ownDefinition;
  byName_.try_emplace(type.name, &type);
  return type;
}

const ThingClass* ClassRegistry::find(std::string_view name) const {
  if (const auto exact = byName_.find(name); exact != byName_.end()) return exact->second;
  for (const auto& [known, type] : byName_) {
    if (sameName(known, name)) return type;
  }
  return nullptr;
}

void ClassRegistry::registerClass(REALclassDefinition& definition, std::size_t instanceGap) {
  if (definition.name == nullptr) throw std::invalid_argument("a class without a name");
  const ThingClass* superclass = nullptr;
  if (definition.superclassName != nullptr) {
    superclass = find(definition.superclassName);
    if (superclass == nullptr || superclass->registered == nullptr) {
      throw std::invalid_argument(
          fmt::format("{}: unknown superclass {}", definition.name, definition.superclassName));
    }
  }
  if (find(definition.name) != nullptr) {
    throw std::invalid_argument(fmt::format("{}: the class name is taken", definition.name));
  }

  auto described = std::make_unique<RegisteredClass>();
  described->name = definition.name;
  described->definition = &definition;
  for (std::uint64_t i = 0; i < definition.methodCount; ++i) {
    const REALmethodDefinition& method = definition.methods[i];
    described->methods.push_back({parseDeclaration(given(method.declaration, definition, "a declaration")),
                                  method.function, method.setter});
  }
  for (std::uint64_t i = 0; i < definition.propertyCount; ++i) {
    const REALproperty& property = definition.properties[i];
    described->properties.push_back({given(property.name, definition, "a property's name"),
                                     parseType(given(property.type, definition, "a property's type")),
                                     &property});
  }

  const std::size_t start =
      roundUp(superclass != nullptr ? superclass->endOfData : sizeof(Thing) + instanceGap);
  definition.forSystemUse = static_cast<std::int64_t>(start);
  ThingClass& type = add(kInstanceKind, definition.name, superclass);
  type.registered = described.get();
  type.definition = &definition;
  type.endOfData = start + definition.dataSize;
  registered_.push_back(std::move(described));
}

const ThingClass& ClassRegistry::scriptClass(const std::string& name) {
  const ThingClass*& known = scriptClasses_[name];
  if (known == nullptr) {
    ThingClass& type = *classes_.emplace_back(std::make_unique<ThingClass>());
    type.kind = &kScriptKind;
    type.name = name;
    type.ownDefinition.name = type.name.c_str();
    type.definition = &type.ownDefinition;
    known = &type;
  }
  return *known;
}

const ThingClass& ClassRegistry::dictionaryClass(const std::string& name) {
  const ThingClass* known = find(name);
  if (known == nullptr) known = &add(kDictionaryKind, name, dictionaryClass_);
  if (known->kind != &kDictionaryKind) throw ScriptError(name + " is no dictionary class");
  return *known;
}

const ThingClass& ClassRegistry::variantClass(VariantType type, bool isUnsigned) const {
  std::size_t place = 0;
  while (place < kVariantNames.size() &&
         (kVariantNames[place].type != type || kVariantNames[place].isUnsigned != isUnsigned)) {
    ++place;
  }
  return *variantClasses_[place];
}

ObjectRef makeInstance(const ThingClass& type) {
  return ObjectRef::adopt(type.kind->make != nullptr ? objectHandle(type.kind->make(type)) : nullptr);
}

std::byte* instanceData(Thing& object, const REALclassDefinition& definition) {
  return reinterpret_cast<std::byte*>(&object) + definition.forSystemUse;
}

void registerClass(REALclassDefinition* definition) {
  // The library cannot be told of a refusal; whoever loads it can.
  try {
    state().classes.registerClass(*definition, state().options.instanceGap);
  } catch (const std::invalid_argument& error) {
    state().complaints.emplace_back(error.what());
  }
}

REALobjectStruct* newInstance(const char* className) {
  const ThingClass* type = state().classes.find(className);
  if (type == nullptr) return nullptr;
  // Asked first whether there are any, as iterators are made by the million.
  const std::set<std::string>& unknown = state().options.unknownClasses;
  if (!unknown.empty() && unknown.contains(className)) return nullptr;
  ObjectRef object = makeInstance(*type);
  if (object && state().options.instancesRunConstructor && type->registered != nullptr) {
    runDefaultConstructor(*type, object);
  }
  return object.release();
}

void* classReference(const char* className) {
  return const_cast<ThingClass*>(state().classes.find(className));
}

bool objectIsA(REALobjectStruct* object, void* classReference) {
  if (object == nullptr || classReference == nullptr) return false;
  return requireObject(object).dispatch->isA(*static_cast<const ThingClass*>(classReference));
}

void* loadObjectMethod(REALobjectStruct* object, const char* declaration) {
  if (object == nullptr) return nullptr;
  const Thing& thing = requireObject(object);
  if (thing.is(kDictionaryKind)) return findService(Reach::kDictionaryMethod, declaration);
  for (const ThingClass* type = thing.dispatch; type != nullptr; type = type->superclass) {
    if (type->registered == nullptr) continue;
    for (const RegisteredMethod& method : type->registered->methods) {
      if (sameName(method.declaration.text, declaration)) return reinterpret_cast<void*>(method.function);
    }
  }
  return nullptr;
}

void* loadGlobalMethod(void*, const char* declaration) {
  return findService(Reach::kGlobalMethod, declaration);
}

}  // namespace vornik::host
