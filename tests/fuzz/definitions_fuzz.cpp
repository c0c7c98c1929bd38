// The checks of class definitions on damaged records. Counts stay within the tables that are there: the
// checks take a count for what it says.
#include <bit>
#include <cstring>

#include "plugin/frame/definition_checks.h"
#include "plugin/frame/globals.h"
#include "tests/fuzz/input.h"
#include "tests/fuzz/walk.h"

namespace vornik::fuzz {
namespace {

constexpr std::size_t kRows = 4;
REALclassDefinition* registered = nullptr;

void registerClass(REALclassDefinition* definition) {
  registered = definition;
}
void* resolve(const char* name) {
  return std::strcmp(name, "PluginRegisterClass") == 0 ? reinterpret_cast<void*>(&registerClass) : nullptr;
}
void someFunction() {}

/// A record's parts from the bytes of an input.
class Damage {
 public:
  explicit Damage(Input& input) : input_(input) {}

  const char* text() {
    static constexpr const char* kTexts[] = {nullptr,  "",    "C",      "Size",    "Integer",
                                             "DOUBLE", "Go(", "String", "Boolean", "Color",
                                             "%s%n%d", "a b", "Variant"};
    return input_.among(kTexts);
  }
  REALproc function() {
    const std::size_t choice = input_.below(4);
    if (choice == 0) return nullptr;
    return choice == 1 ? std::bit_cast<REALproc>(~std::uint64_t{0}) : &someFunction;
  }
  std::uint64_t count() { return input_.below(kRows + 1); }
  std::uint32_t flags() { return static_cast<std::uint32_t>(input_.word()); }
  /// Where tables are read up to a limit, a count may also lie beyond it.
  std::uint64_t anyCount() { return input_.oneIn(8) ? 10'001 + input_.word() / 2 : count(); }
  template <typename Record>
  Record* table(Record (&rows)[kRows]) {
    return input_.oneIn(8) ? nullptr : &rows[0];
  }

  REALattribute attribute() { return {text(), text()}; }
  REALmethodDefinition method() {
    return {function(), function(), text(), flags(), anyCount(), table(attributes_)};
  }
  REALproperty property() {
    const std::int32_t offset = input_.oneIn(8) ? std::bit_cast<std::int32_t>(flags()) : input_.byte();
    return {text(),  text(), text(),  flags(), function(), function(),        offset,
            flags(), text(), count(), text(),  anyCount(), table(attributes_)};
  }

  REALattribute attributes_[kRows];

 private:
  Input& input_;
};

}  // namespace
}  // namespace vornik::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace vornik;
  using namespace vornik::fuzz;
  Input input(data, size);
  Damage damage(input);
  static constexpr double kVersions[] = {0, 2011.03, 2012.0, 2013.0, 2013.03, 2013.04, 2024.01};
  gResolver = &resolve;
  gpartname = input.oneIn(16) ? nullptr : "Vornik";
  rbversion_rbversion = input.among(kVersions);
  CurrentREALControlVersion = static_cast<std::int32_t>(9 + input.below(6));

  REALmethodDefinition methods[kRows], sharedMethods[kRows];
  REALproperty properties[kRows], sharedProperties[kRows];
  REALconstant constants[kRows];
  REALevent events[kRows];
  REALdelegate delegates[kRows];
  for (std::size_t i = 0; i < kRows; ++i) {
    damage.attributes_[i] = damage.attribute();
    methods[i] = damage.method();
    sharedMethods[i] = damage.method();
    properties[i] = damage.property();
    sharedProperties[i] = damage.property();
    constants[i] = {damage.text(), {0, 0}, damage.anyCount(), damage.table(damage.attributes_)};
    events[i] = {damage.text(), 0, damage.anyCount(), damage.table(damage.attributes_)};
    delegates[i] = {damage.text(), damage.flags(), damage.anyCount(), damage.table(damage.attributes_)};
  }
  REALclassDefinition definition{};
  definition.version = std::bit_cast<std::int32_t>(damage.flags());
  definition.name = damage.text();
  definition.superclassName = damage.text();
  definition.dataSize = input.oneIn(8) ? input.word() : input.byte();
  definition.constructor = damage.function();
  definition.destructor = damage.function();
  definition.properties = damage.table(properties);
  definition.propertyCount = damage.count();
  definition.methods = damage.table(methods);
  definition.methodCount = damage.count();
  definition.events = damage.table(events);
  definition.eventCount = damage.anyCount();
  definition.eventInstances = damage.text();
  definition.eventInstanceCount = damage.count();
  definition.interfaces = damage.text();
  definition.attributes = damage.table(damage.attributes_);
  definition.attributeCount = damage.anyCount();
  definition.constants = damage.table(constants);
  definition.constantCount = damage.anyCount();
  definition.flags = damage.flags();
  definition.sharedProperties = damage.table(sharedProperties);
  definition.sharedPropertyCount = damage.count();
  definition.sharedMethods = damage.table(sharedMethods);
  definition.sharedMethodCount = damage.count();
  definition.delegates = damage.table(delegates);
  definition.delegateCount = damage.anyCount();
  definition.enums = damage.text();
  definition.enumCount = damage.count();

  registered = nullptr;
  MyREALRegisterClass(definition);
  if ((registered == &definition) != (gpartname != nullptr))
    fault("registered without a part, or not at all");
  if (registered != nullptr && definition.dataSize % 16 != 0) fault("a data size that is not rounded");
  return 0;
}
