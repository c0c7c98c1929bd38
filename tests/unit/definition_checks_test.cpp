#include "plugin/frame/definition_checks.h"

#include <gmock/gmock.h>

#include <bit>
#include <cstring>

#include "plugin/frame/globals.h"
#include "tests/support/captured_log.h"

namespace vornik {
namespace {

using ::testing::ElementsAre;

void someFunction() {}
const auto kStandard = std::bit_cast<REALproc>(~std::uint64_t{0});

REALclassDefinition* lastRegistered = nullptr;
void registerClass(REALclassDefinition* definition) {
  lastRegistered = definition;
}
void* resolve(const char* name) {
  return std::strcmp(name, "PluginRegisterClass") == 0 ? reinterpret_cast<void*>(&registerClass) : nullptr;
}

/// A definition without fault, for the tests to spoil.
struct Sample {
  Sample() {
    d.version = 15;
    d.name = "C";
    d.dataSize = 48;
    d.flags = 4;
    d.methods = &methods[0];
    d.sharedMethods = &methods[1];
    d.properties = &properties[0];
    d.sharedProperties = &properties[1];
    d.methodCount = d.sharedMethodCount = d.propertyCount = d.sharedPropertyCount = 1;
  }
  std::vector<std::string> linesOfRegistration() {
    return test::logLinesOf([&] { MyREALRegisterClass(d); });
  }

  static constexpr REALmethodDefinition kMethod{&someFunction, nullptr, "Go", 4, 0, nullptr};
  static constexpr REALproperty kProperty{nullptr, "Size", "Integer", 4, &someFunction, nullptr, 60, 0,
                                          nullptr, 0,      nullptr,   0, nullptr};
  REALmethodDefinition methods[2] = {kMethod, kMethod};
  REALproperty properties[2] = {kProperty, kProperty};
  REALclassDefinition d{};
};

class DefinitionChecks : public ::testing::Test {
 protected:
  void SetUp() override {
    gResolver = &resolve;
    gpartname = "Vornik";
    CurrentREALControlVersion = 13;
    rbversion_rbversion = 2024.01;
  }
};

TEST_F(DefinitionChecks, SayNothingOfAFaultlessClassAndRoundItsDataSizeUp) {
  Sample sample;
  EXPECT_THAT(sample.linesOfRegistration(), ElementsAre());
  EXPECT_EQ(lastRegistered, &sample.d);
  EXPECT_EQ(sample.d.version, 13);
  for (const auto& [before, after] : {std::pair{0u, 0u}, {1u, 16u}, {33u, 48u}, {48u, 48u}}) {
    sample.d.dataSize = before;
    sample.linesOfRegistration();
    EXPECT_EQ(sample.d.dataSize, after);
  }
}

TEST_F(DefinitionChecks, WriteALineForEveryFaultAndStillRegister) {
  REALattribute nameless[] = {{"A", "1"}, {nullptr, nullptr}};
  REALmethodDefinition method{&someFunction, nullptr, nullptr, 4, 0, nullptr},
      sharedMethod{nullptr, nullptr, "Go", 4, 10001, nameless};
  REALconstant constants[] = {{"Named", {0, 0}, 0, nullptr}, {nullptr, {0, 0}, 1, nullptr}};
  REALevent event{nullptr, 0, 0, nameless};
  REALdelegate delegate{nullptr, 0, 1, nameless};
  const REALproc get = &someFunction;
  REALproperty properties[] = {
      {nullptr, nullptr, "Integer", 0, nullptr, nullptr, 0, 0, nullptr, 0, nullptr, 0, nullptr},
      {nullptr, "Typeless", nullptr, 4, get, nullptr, 0, 0, &event, 1, nullptr, 0, nameless},
      {nullptr, "Read", "Double", 0x104, kStandard, nullptr, 46, 0, nullptr, 0, nullptr, 0, nullptr},
      {nullptr, "Written", "DOUBLE", 0, get, kStandard, 0, 0, nullptr, 0, nullptr, 0, nullptr},
      {nullptr, "Odd", "Integer", 0, kStandard, kStandard, 6, 0, nullptr, 0, nullptr, 0, nullptr},
      {nullptr, "Last", "Integer", 0, kStandard, nullptr, 44, 0, nullptr, 0, nullptr, 0, nullptr},
      {nullptr, "Beyond", "Integer", 0, get, kStandard, 45, 0, nullptr, 0, nullptr, 0, nullptr},
      {nullptr, "Debugging", "Integer", 4, get, nullptr, 0, 0, nullptr, 0, nullptr, 0, nullptr},
      {nullptr, "Shared", nullptr, 4, get, nullptr, 0, 0, nullptr, 0, nullptr, 2, nameless}};
  Sample sample;
  REALclassDefinition& d = sample.d;
  d.version = 14;
  d.forSystemUse = 8;
  d.superclassName = "BaseQZR";
  d.flags = 0x104;
  d.attributes = nameless;
  d.methods = &method;
  d.sharedMethods = &sharedMethod;
  d.properties = properties;
  d.sharedProperties = &properties[7];
  d.constants = constants;
  d.events = &event;
  d.delegates = &delegate;
  d.propertyCount = 8;
  d.attributeCount = d.sharedPropertyCount = d.constantCount = 2;
  d.eventCount = d.delegateCount = 1;
  std::vector<std::string> lines;
  const auto expect = [&](const std::string& start, std::initializer_list<const char*> ends) {
    for (const char* end : ends) lines.push_back(start + end);
  };
  expect("Error: The class C has the wrong ",
         {"kCurrentREALControlVersion: 14 vs. 15", "forSystemUse value: 8"});
  expect("Warning: The subclass C of BaseQZR has data size: 48", {""});
  expect("Error: .C has an attribute without ", {"name! Index: 1", "value! Name: (null) Index: 1"});
  expect("Error: The method C.0 has nil declaration.", {""});
  expect("Error: The property C.",
         {"0 has nil name.", "(null) has nil getter.", "1 has nil type.", "Typeless has editor.",
          "Typeless has wrong enumCount: 1", "Typeless has attributes: 0", "Read needs custom getter.",
          "Written needs custom setter.", "Odd has unaligned offset 6.", "Odd has unaligned offset 6.",
          "Beyond has unaligned offset 45."});
  expect("Error: The constant C.",
         {"1 has nil declaration.", "(null) has the wrong attributeCount value: 1"});
  expect("Error: The event C.", {"0 has nil declaration.", "(null) has the wrong attributeCount value: 0"});
  expect("Error: The delegate C.0 has nil declaration.", {""});
  expect("Warning: The delegate C.(null) has 0 for flags.", {""});
  expect("Error: The method C.Go has ", {"nil function.", "the wrong attributeCount value: 10001"});
  expect("Error: attribute count out of range for C.Go: 10001.", {""});
  expect("Error: The property C.1 has nil type.", {""});
  expect("Error: C.Shared has an attribute without ", {"name! Index: 1", "value! Name: (null) Index: 1"});
  expect("QZR Debug: Console-safe ",
         {"method in console-unsafe class:  C, (null)", "shared method in console-unsafe class:  C, Go",
          "property in console-unsafe class:  C, Typeless", "property in console-unsafe class:  C, Debugging",
          "shared property in console-unsafe class:  C, Shared"});
  expect("Error: Offset for variable too big: C.", {"Read 46 48", "Beyond 45 48"});
  EXPECT_EQ(sample.linesOfRegistration(), lines);
  EXPECT_EQ(lastRegistered, &sample.d);

  Sample unnamed;
  unnamed.d.name = nullptr;
  unnamed.d.superclassName = "BaseQZR";
  unnamed.d.dataSize = 0;
  EXPECT_THAT(unnamed.linesOfRegistration(), ElementsAre("Error: A class without name."));
  for (const double version : {2020.01, 2020.02}) {
    rbversion_rbversion = version;
    Sample mobile;
    mobile.d.flags = 0x400;
    mobile.methods[0].flags = mobile.methods[1].flags = 0;
    mobile.properties[0].flags = mobile.properties[1].flags = 0;
    EXPECT_EQ(mobile.linesOfRegistration(),
              version > 2020.01
                  ? std::vector<std::string>()
                  : std::vector<std::string>{"Warning: iOS only class registered for old Xojo: C"});
  }
}

TEST_F(DefinitionChecks, CountsNeedTheirTables) {
  using D = REALclassDefinition;
  const std::pair<std::uint64_t D::*, const char*> counts[] = {
      {&D::propertyCount, "propertyCount"},
      {&D::methodCount, "methodCount"},
      {&D::eventCount, "eventCount"},
      {&D::eventInstanceCount, "eventInstanceCount"},
      {&D::constantCount, "constantCount"},
      {&D::sharedPropertyCount, "sharedPropertyCounttionCount"},
      {&D::sharedMethodCount, "sharedMethodCount"},
      {&D::attributeCount, "attributeCount"},
      {&D::delegateCount, "delegateCount"},
      {&D::enumCount, "enumCount"}};
  Sample sample;
  sample.d.properties = sample.d.sharedProperties = nullptr;
  sample.d.methods = sample.d.sharedMethods = nullptr;
  std::vector<std::string> expected;
  for (const auto& [count, name] : counts) {
    sample.d.*count = 1;
    expected.push_back(std::string("Error: The class C has the wrong ") + name + " value: 1");
  }
  for (const char* line : {"The class extension C has wrong attributes: 1", "method C.0 is NULL.",
                           "Constant C.0 is NULL.", "method C.0 is NULL."}) {
    expected.push_back(std::string("Error: ") + line);
  }
  EXPECT_EQ(sample.linesOfRegistration(), expected);
}

TEST_F(DefinitionChecks, OnlyTablesThatCanBeRealAreRead) {
  using Lines = std::pair<std::size_t, std::size_t>;
  for (const auto& [count, lines] : {Lines{1000, 0}, {1001, 1 + 1001}, {10000, 1 + 10000}, {10001, 2}}) {
    Sample withMethods, withProperties, missing;
    std::vector<REALmethodDefinition> methods(count, Sample::kMethod);
    std::vector<REALproperty> properties(count, Sample::kProperty);
    for (std::size_t i = 0; count > 1000 && i < count; ++i)
      methods[i].function = properties[i].getter = nullptr;
    withMethods.d.methods = methods.data();
    withProperties.d.properties = properties.data();
    missing.d.methods = nullptr;
    withMethods.d.methodCount = withProperties.d.propertyCount = missing.d.methodCount = count;
    const auto written = withMethods.linesOfRegistration();
    EXPECT_EQ(written.size(), lines) << count;
    const char* const last = count > 10000 ? "Error: method count out of range for C: 10001."
                                           : "Error: The method C.Go has nil function.";
    EXPECT_EQ(written.empty() ? last : written.back(), last);
    EXPECT_EQ(withProperties.linesOfRegistration().size(), lines) << count;
    EXPECT_EQ(missing.linesOfRegistration().size(), count > 10000 ? 2 : 1 + count);
  }
}

TEST_F(DefinitionChecks, WithoutAPartNameNothingIsRegistered) {
  gpartname = nullptr;
  lastRegistered = nullptr;
  Sample sample;
  EXPECT_THAT(sample.linesOfRegistration(), ElementsAre("Error: gpartname is nil!? C"));
  EXPECT_EQ(lastRegistered, nullptr);
  EXPECT_EQ(sample.d.version, 15);
}

TEST_F(DefinitionChecks, FlagsFollowTheHostVersionEverywhere) {
  const struct {
    double host;
    std::uint32_t before, after;
  } rows[] = {
      {2019.02, 0x308, 4},     {2020.02, 0x308, 0x308},      {2019.02, 0x30c, 4},   {2012.0, 0x40000, 4},
      {2009.0, 0x40000, 0},    {2009.0, 0x40004, 4},         {2024.01, 0x40004, 4}, {2010.029, 0x40000, 4},
      {2019.02, 0x708, 0x708}, {2009.0, 0x40000 | 0x308, 4},
  };
  for (const auto& row : rows) {
    rbversion_rbversion = row.host;
    Sample sample;
    REALclassDefinition& d = sample.d;
    std::uint32_t* const flags[] = {&d.flags, &d.methods->flags, &d.sharedMethods->flags,
                                    &d.properties->flags, &d.sharedProperties->flags};
    for (std::uint32_t* const each : flags) *each = row.before;
    sample.linesOfRegistration();
    EXPECT_THAT(flags, ::testing::Each(::testing::Pointee(row.after))) << row.host << " " << row.before;
  }
}

}  // namespace
}  // namespace vornik
