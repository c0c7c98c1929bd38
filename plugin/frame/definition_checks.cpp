#include "plugin/frame/definition_checks.h"

#include <strings.h>

#include <cstring>
#include <span>

#include "plugin/frame/host_services.h"
#include "plugin/frame/log.h"

namespace vornik {
namespace {

constexpr std::uint64_t kTableLimit = 1000;
constexpr std::uint64_t kConstantLimit = 4000;
/// A larger count is reported as out of range, and the entries are not checked.
constexpr std::uint64_t kReadableLimit = 10000;

constexpr std::uint32_t kConsoleSafe = 4;
constexpr std::uint32_t kIOSOnlyClass = 0x400;
constexpr std::uint32_t kPlatformMask = 0x708;
constexpr std::uint32_t kNewerPlatforms = 0x308;
constexpr std::uint32_t kRewrittenForEveryHost = 0x40000;

constexpr double kFirstHostWithPlatformFlags = 2020.02;
constexpr double kFirstHostWithConsoleSafe = 2010.029;

/// What a "%s" shows for a text that is missing.
const char* shown(const char* text) {
  return text != nullptr ? text : "(null)";
}
/// The messages print counts and sizes as "%d".
int shown(std::uint64_t number) {
  return static_cast<int>(number);
}

bool isStandardAccessor(REALproc accessor) {
  return reinterpret_cast<std::uintptr_t>(accessor) == ~std::uintptr_t{0};
}

/// A table and its count belong together: both there, and the count within its limit, or neither.
bool disagree(const void* table, std::uint64_t count, std::uint64_t limit = kTableLimit) {
  return count != 0 ? table == nullptr || count > limit : table != nullptr;
}

template <typename Record>
std::span<Record> present(Record* table, std::uint64_t count) {
  return table != nullptr ? std::span<Record>(table, count) : std::span<Record>();
}

void scanAttributes(const char* owner, const char* element, const REALattribute* attributes,
                    std::uint64_t count) {
  if (count > kReadableLimit) {
    LogMessageX("Error: attribute count out of range for %s.%s: %d.", owner, element, shown(count));
    return;
  }
  int index = 0;
  for (const REALattribute& attribute : present(attributes, count)) {
    if (attribute.name == nullptr) {
      LogMessageX("Error: %s.%s has an attribute without name! Index: %d", owner, element, index);
    }
    if (attribute.value == nullptr) {
      LogMessageX("Error: %s.%s has an attribute without value! Name: %s Index: %d", owner, element,
                  shown(attribute.name), index);
    }
    ++index;
  }
}

void checkPairs(const REALclassDefinition& d) {
  const struct {
    const void* table;
    std::uint64_t count;
    std::uint64_t limit;
    const char* what;
  } pairs[] = {
      {d.properties, d.propertyCount, kTableLimit, "the wrong propertyCount value"},
      {d.methods, d.methodCount, kTableLimit, "the wrong methodCount value"},
      {d.events, d.eventCount, kTableLimit, "the wrong eventCount value"},
      {d.eventInstances, d.eventInstanceCount, kTableLimit, "the wrong eventInstanceCount value"},
      {d.constants, d.constantCount, kConstantLimit, "the wrong constantCount value"},
      {d.sharedProperties, d.sharedPropertyCount, kTableLimit,
       "the wrong sharedPropertyCounttionCount value"},
      {d.sharedMethods, d.sharedMethodCount, kTableLimit, "the wrong sharedMethodCount value"},
      {d.attributes, d.attributeCount, kTableLimit, "the wrong attributeCount value"},
      {d.delegates, d.delegateCount, kTableLimit, "the wrong delegateCount value"},
      {d.enums, d.enumCount, kTableLimit, "the wrong enumCount value"},
  };
  for (const auto& pair : pairs) {
    if (disagree(pair.table, pair.count, pair.limit)) {
      LogMessageX("Error: The class %s has %s: %d", shown(d.name), pair.what, shown(pair.count));
    }
  }
  if (disagree(d.attributes, d.attributeCount)) {
    LogMessageX("Error: The class extension %s has wrong attributes: %d", shown(d.name),
                shown(d.attributeCount));
  }
}

/// What methods, constants, events and delegates have in common; `extra(record, declaration)` adds what they
/// do not.
template <typename Record, typename Extra>
void checkDeclared(const char* className, const char* kind, const Record* table, std::uint64_t count,
                   Extra extra) {
  if (count > kReadableLimit) {
    LogMessageX("Error: %s count out of range for %s: %d.", kind, className, shown(count));
    return;
  }
  int index = 0;
  for (const Record& record : present(table, count)) {
    const char* declaration = shown(record.declaration);
    if (record.declaration == nullptr) {
      LogMessageX("Error: The %s %s.%d has nil declaration.", kind, className, index);
    }
    extra(record, declaration);
    if (disagree(record.attributes, record.attributeCount)) {
      LogMessageX("Error: The %s %s.%s has the wrong attributeCount value: %d", kind, className, declaration,
                  shown(record.attributeCount));
    }
    scanAttributes(className, declaration, record.attributes, record.attributeCount);
    ++index;
  }
}

/// Methods and constants also get a line per index where the table itself is missing.
void reportMissingTable(const char* kind, const char* className, const void* table, std::uint64_t count) {
  if (table != nullptr || count > kReadableLimit) return;
  for (std::uint64_t i = 0; i < count; ++i)
    LogMessageX("Error: %s %s.%d is NULL.", kind, className, shown(i));
}

void checkConstants(const char* className, const REALconstant* constants, std::uint64_t count) {
  reportMissingTable("Constant", className, constants, count);
  checkDeclared(className, "constant", constants, count, [](const auto&...) {});
}

void checkEvents(const char* className, const REALevent* events, std::uint64_t count) {
  checkDeclared(className, "event", events, count, [](const auto&...) {});
}

void checkDelegates(const char* className, const REALdelegate* delegates, std::uint64_t count) {
  checkDeclared(className, "delegate", delegates, count,
                [&](const REALdelegate& delegate, const char* declaration) {
                  if (delegate.flags == 0) {
                    LogMessageX("Warning: The delegate %s.%s has 0 for flags.", className, declaration);
                  }
                });
}

void checkAccessors(const char* className, const REALproperty& property) {
  const bool standardGetter = isStandardAccessor(property.getter);
  const bool standardSetter = isStandardAccessor(property.setter);
  if (property.type != nullptr && strcasecmp(property.type, "double") == 0) {
    if (standardGetter) {
      LogMessageX("Error: The property %s.%s needs custom getter.", className, shown(property.name));
    }
    if (standardSetter) {
      LogMessageX("Error: The property %s.%s needs custom setter.", className, shown(property.name));
    }
    return;
  }
  if (property.parameter % 4 == 0) return;
  for (const bool standard : {standardGetter, standardSetter}) {
    if (standard) {
      LogMessageX("Error: The property %s.%s has unaligned offset %d.", className, shown(property.name),
                  property.parameter);
    }
  }
}

const char* elementName(const REALmethodDefinition& method) {
  return method.declaration;
}
const char* elementName(const REALproperty& property) {
  return property.name;
}

template <typename Record>
void warnConsoleSafe(const char* what, const char* className, std::span<const Record> table,
                     const char* exempt = nullptr) {
  for (const Record& element : table) {
    if ((element.flags & (kPlatformMask | kConsoleSafe)) != kConsoleSafe) continue;
    const char* name = elementName(element);
    if (exempt != nullptr && name != nullptr && std::strcmp(name, exempt) == 0) continue;
    LogMessageX("%s%s %s, %s", kDebugPrefix, what, className, shown(name));
  }
}

void checkConsoleSafe(const REALclassDefinition& d) {
  if ((d.flags & ~kConsoleSafe) == 0) return;
  const char* name = shown(d.name);
  warnConsoleSafe<REALmethodDefinition>("Console-safe method in console-unsafe class: ", name,
                                        present(d.methods, d.methodCount));
  warnConsoleSafe<REALmethodDefinition>("Console-safe shared method in console-unsafe class: ", name,
                                        present(d.sharedMethods, d.sharedMethodCount));
  warnConsoleSafe<REALproperty>("Console-safe property in console-unsafe class: ", name,
                                present(d.properties, d.propertyCount));
  warnConsoleSafe<REALproperty>("Console-safe shared property in console-unsafe class: ", name,
                                present(d.sharedProperties, d.sharedPropertyCount), "Debugging");
}

void checkOffsets(const REALclassDefinition& d) {
  for (const REALproperty& property : present(d.properties, d.propertyCount)) {
    if (!isStandardAccessor(property.getter) && !isStandardAccessor(property.setter)) continue;
    if (std::int64_t{property.parameter} + 4 > static_cast<std::int64_t>(d.dataSize)) {
      LogMessageX("Error: Offset for variable too big: %s.%s %d %d", shown(d.name), shown(property.name),
                  property.parameter, shown(d.dataSize));
    }
  }
}

std::uint32_t fixedFlags(std::uint32_t flags) {
  if (rbversion_rbversion < kFirstHostWithPlatformFlags && (flags & kPlatformMask) == kNewerPlatforms) {
    flags = (flags & ~(kPlatformMask | kConsoleSafe)) | kConsoleSafe;
  }
  if ((flags & kRewrittenForEveryHost) != 0) {
    flags &= ~kRewrittenForEveryHost;
    if (rbversion_rbversion >= kFirstHostWithConsoleSafe) flags |= kConsoleSafe;
  }
  return flags;
}

void check(const REALclassDefinition& d) {
  const char* name = shown(d.name);
  if (d.version != kCurrentREALControlVersion) {
    LogMessageX("Error: The class %s has the wrong kCurrentREALControlVersion: %d vs. %d", name, d.version,
                kCurrentREALControlVersion);
  }
  if (d.name == nullptr) LogMessageX("Error: A class without name.");
  if (d.forSystemUse != 0) {
    LogMessageX("Error: The class %s has the wrong forSystemUse value: %d", name,
                static_cast<int>(d.forSystemUse));
  }
  checkPairs(d);
  if (d.superclassName != nullptr && d.dataSize != 0 && std::strstr(d.superclassName, "QZR") != nullptr) {
    LogMessageX("Warning: The subclass %s of %s has data size: %d", name, d.superclassName,
                shown(d.dataSize));
  }
  if (rbversion_rbversion < kFirstHostWithPlatformFlags && d.flags == kIOSOnlyClass) {
    LogMessageX("Warning: iOS only class registered for old Xojo: %s", name);
  }
  scanAttributes("", name, d.attributes, d.attributeCount);
  CheckMethods(name, d.methods, d.methodCount);
  CheckProperties(name, d.properties, d.propertyCount);
  checkConstants(name, d.constants, d.constantCount);
  checkEvents(name, d.events, d.eventCount);
  checkDelegates(name, d.delegates, d.delegateCount);
  CheckMethods(name, d.sharedMethods, d.sharedMethodCount);
  CheckProperties(name, d.sharedProperties, d.sharedPropertyCount);
  checkConsoleSafe(d);
  checkOffsets(d);
}

}  // namespace

void CheckMethods(const char* className, const REALmethodDefinition* methods, std::uint64_t count) {
  reportMissingTable("method", className, methods, count);
  checkDeclared(className, "method", methods, count,
                [&](const REALmethodDefinition& method, const char* declaration) {
                  if (method.function == nullptr) {
                    LogMessageX("Error: The method %s.%s has nil function.", className, declaration);
                  }
                });
}

void CheckProperties(const char* className, const REALproperty* properties, std::uint64_t count) {
  if (count > kReadableLimit) {
    LogMessageX("Error: property count out of range for %s: %d.", className, shown(count));
    return;
  }
  int index = 0;
  for (const REALproperty& property : present(properties, count)) {
    const char* name = shown(property.name);
    if (property.name == nullptr) LogMessageX("Error: The property %s.%d has nil name.", className, index);
    if (property.getter == nullptr) LogMessageX("Error: The property %s.%s has nil getter.", className, name);
    if (property.type == nullptr) LogMessageX("Error: The property %s.%d has nil type.", className, index);
    checkAccessors(className, property);
    if (property.editor != nullptr) LogMessageX("Error: The property %s.%s has editor.", className, name);
    if (disagree(property.enumEntries, property.enumCount)) {
      LogMessageX("Error: The property %s.%s has wrong enumCount: %d", className, name,
                  shown(property.enumCount));
    }
    if (disagree(property.attributes, property.attributeCount)) {
      LogMessageX("Error: The property %s.%s has attributes: %d", className, name,
                  shown(property.attributeCount));
    }
    scanAttributes(className, name, property.attributes, property.attributeCount);
    ++index;
  }
}

void FixFlags(REALmethodDefinition* methods, std::uint64_t count, const char*) {
  for (REALmethodDefinition& method : present(methods, count)) method.flags = fixedFlags(method.flags);
}

void FixFlags(REALproperty* properties, std::uint64_t count, const char*) {
  for (REALproperty& property : present(properties, count)) property.flags = fixedFlags(property.flags);
}

void MyREALRegisterClass(REALclassDefinition& d) {
  if (gpartname == nullptr) {
    LogMessageX("Error: gpartname is nil!? %s", shown(d.name));
    return;
  }
  check(d);

  d.flags = fixedFlags(d.flags);
  FixFlags(d.methods, d.methodCount, d.name);
  FixFlags(d.sharedMethods, d.sharedMethodCount, d.name);
  FixFlags(d.properties, d.propertyCount, d.name);
  FixFlags(d.sharedProperties, d.sharedPropertyCount, d.name);
  d.dataSize = (d.dataSize + 15) / 16 * 16;
  d.version = CurrentREALControlVersion;
  REALRegisterClass(&d);
}

}  // namespace vornik
