// The classes a host knows: its built-in ones, those the library registered, and script classes.
#ifndef VORNIK_HOST_CLASSES_H
#define VORNIK_HOST_CLASSES_H

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "host/host.h"
#include "host/thing.h"

namespace vornik::host {

class ClassRegistry {
 public:
  ClassRegistry();

  /// Makes a class of the library known. std::invalid_argument when a declaration cannot be read, when the
  /// superclass is unknown or when the name is taken.
  void registerClass(REALclassDefinition& definition, std::size_t instanceGap);
  /// The class of that name, letter case aside; null when there is none. O(1) for the exact name.
  const ThingClass* find(std::string_view name) const;
  /// The class that script code calls by that name, made when it is first asked for. Class references of this
  /// kind are not found by name, so a script class may be named like another class.
  const ThingClass& scriptClass(const std::string& name);
  const ThingClass& dictionaryClass(const std::string& name);

  const std::vector<std::unique_ptr<RegisteredClass>>& registered() const { return registered_; }
  const ThingClass& stringClass() const { return *stringClass_; }
  const ThingClass& arrayClass() const { return *arrayClass_; }
  const ThingClass& variantClass(VariantType type, bool isUnsigned) const;

 private:
  ThingClass& add(const Kind& kind, std::string name, const ThingClass* superclass = nullptr);

  std::vector<std::unique_ptr<ThingClass>> classes_;
  std::unordered_map<std::string_view, const ThingClass*> byName_;  // named by the classes themselves
  std::vector<std::unique_ptr<RegisteredClass>> registered_;
  std::unordered_map<std::string, const ThingClass*> scriptClasses_;
  const ThingClass* stringClass_;
  const ThingClass* arrayClass_;
  const ThingClass* dictionaryClass_;
  std::vector<const ThingClass*> variantClasses_;  // in the order of the table of their names
};

/// A new object of the class, without a run of any "Constructor"; null for classes that have no instances of
/// their own.
ObjectRef makeInstance(const ThingClass& type);

/// Address of the instance data of the class that an object has it from.
std::byte* instanceData(Thing& object, const REALclassDefinition& definition);

// Services.
void registerClass(REALclassDefinition* definition);
REALobjectStruct* newInstance(const char* className);
void* classReference(const char* className);
bool objectIsA(REALobjectStruct* object, void* classReference);
void* loadObjectMethod(REALobjectStruct* object, const char* declaration);
void* loadGlobalMethod(void* object, const char* declaration);

}  // namespace vornik::host

#endif  // VORNIK_HOST_CLASSES_H
