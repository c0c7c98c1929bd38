#include "plugin/frame/definition_checks.h"

#include <gmock/gmock.h>

#include <bit>
#include <cstdio>
#include <cstring>
#include <functional>

#include "plugin/frame/globals.h"
#include "plugin/frame/log.h"
#include "tests/unit/captured_log.h"

namespace vornik {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

void someFunction() {}
const auto kStandard = std::bit_cast<REALproc>(~std::uint64_t{0});
REALclassDefinition* lastRegistered = nullptr;

void registerClass(REALclassDefinition* definition) {
  lastRegistered = definition;
}
void* resolve(const char* name) {
  return std::strcmp(name, "PluginRegisterClass") == 0 ? reinterpret_cast<void*>(&registerClass) : nullptr;
}

/// A definition without fault, for the cases to spoil.
struct Sample {
  Sample() {
    for (auto& m : methods) m = {&someFunction, nullptr, "Go", 4, 0, nullptr};
    for (auto& p : properties)
      p = {nullptr, "Size", "Integer", 6, &someFunction, nullptr, 0, 0, nullptr, 0, nullptr, 0, nullptr};
    d.version = 15;
    d.name = "C";
    d.dataSize = 48;
    d.methods = methods;
    d.methodCount = 2;
    d.properties = properties;
    d.propertyCount = 2;
    d.flags = 4;
  }
  std::vector<REALmethodDefinition> bigTable(std::size_t count) {
    return std::vector<REALmethodDefinition>(count, methods[0]);
  }

  REALmethodDefinition methods[2];
  REALproperty properties[2];
  REALattribute attributes[2] = {{"A", "1"}, {nullptr, nullptr}};
  REALconstant constants[1] = {{nullptr, {0, 0}, 1, nullptr}};
  REALevent events[1] = {{nullptr, 0, 0, attributes}};
  REALdelegate delegates[1] = {{nullptr, 0, 1, attributes}};
  REALclassDefinition d{};
};

struct Case {
  const char* title;
  std::function<void(Sample&)> spoil;
  std::vector<std::string> lines;
  double hostVersion = 2024.01;
};

void PrintTo(const Case& c, std::ostream* out) {
  *out << c.title;
}

class DefinitionChecks : public ::testing::TestWithParam<Case> {
 protected:
  void SetUp() override {
    gResolver = &resolve;
    gpartname = "Vornik";
    CurrentREALControlVersion = 13;
    rbversion_rbversion = GetParam().hostVersion;
    lastRegistered = nullptr;
  }
};

TEST_P(DefinitionChecks, WritesExactlyTheLinesAndStillRegisters) {
  Sample sample;
  GetParam().spoil(sample);
  const auto lines = test::logLinesOf([&] { MyREALRegisterClass(sample.d); });
  EXPECT_THAT(lines, ElementsAreArray(GetParam().lines));
  EXPECT_EQ(lastRegistered, &sample.d);
  EXPECT_EQ(sample.d.version, 13);
}

const Case kCases[] = {
    {"Faultless", [](Sample&) {}, {}},
    {"Version",
     [](Sample& s) { s.d.version = 14; },
     {"Error: The class C has the wrong kCurrentREALControlVersion: 14 vs. 15"}},
    {"NoName", [](Sample& s) { s.d.name = nullptr; }, {"Error: A class without name."}},
    {"ForSystemUse",
     [](Sample& s) { s.d.forSystemUse = 8; },
     {"Error: The class C has the wrong forSystemUse value: 8"}},
    {"PairsInOrder",
     [](Sample& s) {
       s.d.properties = nullptr;
       s.d.methodCount = 0;
       s.d.eventCount = 1;
       s.d.eventInstanceCount = 2;
       s.d.constants = s.constants;
       s.d.sharedPropertyCount = 3;
       s.d.sharedMethods = s.methods;
       s.d.attributeCount = 4;
       s.d.delegateCount = 5;
       s.d.enums = &s;
     },
     {"Error: The class C has the wrong propertyCount value: 2",
      "Error: The class C has the wrong methodCount value: 0",
      "Error: The class C has the wrong eventCount value: 1",
      "Error: The class C has the wrong eventInstanceCount value: 2",
      "Error: The class C has the wrong constantCount value: 0",
      "Error: The class C has the wrong sharedPropertyCounttionCount value: 3",
      "Error: The class C has the wrong sharedMethodCount value: 0",
      "Error: The class C has the wrong attributeCount value: 4",
      "Error: The class C has the wrong delegateCount value: 5",
      "Error: The class C has the wrong enumCount value: 0",
      "Error: The class extension C has wrong attributes: 4"}},
    {"SubclassWithData",
     [](Sample& s) { s.d.superclassName = "BaseQZR"; },
     {"Warning: The subclass C of BaseQZR has data size: 48"}},
    {"IOSOnlyOnOldHost",
     [](Sample& s) {
       s.d.flags = 0x400;
       s.d.methodCount = s.d.propertyCount = 0;
       s.d.methods = nullptr;
       s.d.properties = nullptr;
     },
     {"Warning: iOS only class registered for old Xojo: C"},
     2020.01},
    {"ClassAttributes",
     [](Sample& s) {
       s.d.attributes = s.attributes;
       s.d.attributeCount = 2;
     },
     {"Error: .C has an attribute without name! Index: 1",
      "Error: .C has an attribute without value! Name: (null) Index: 1"}},
    {"Methods",
     [](Sample& s) {
       s.methods[0].declaration = nullptr;
       s.methods[1].function = nullptr;
       s.methods[1].attributeCount = 10001;
     },
     {"Error: The method C.0 has nil declaration.", "Error: The method C.Go has nil function.",
      "Error: The method C.Go has the wrong attributeCount value: 10001",
      "Error: attribute count out of range for C.Go: 10001."}},
    {"MissingMethodTable",
     [](Sample& s) { s.d.methods = nullptr; },
     {"Error: The class C has the wrong methodCount value: 2", "Error: method C.0 is NULL.",
      "Error: method C.1 is NULL."}},
    {"PropertyFields",
     [](Sample& s) {
       s.properties[0].name = nullptr;
       s.properties[0].getter = nullptr;
       s.properties[1].type = nullptr;
       s.properties[1].editor = &s;
       s.properties[1].enumCount = 1;
       s.properties[1].attributes = s.attributes;
     },
     {"Error: The property C.0 has nil name.", "Error: The property C.(null) has nil getter.",
      "Error: The property C.1 has nil type.", "Error: The property C.Size has editor.",
      "Error: The property C.Size has wrong enumCount: 1", "Error: The property C.Size has attributes: 0"}},
    {"DoubleWithStandardGetter",
     [](Sample& s) {
       s.properties[0].type = "Double";
       s.properties[0].getter = kStandard;
     },
     {"Error: The property C.Size needs custom getter."}},
    {"DoubleWithStandardSetter",
     [](Sample& s) {
       s.properties[0].type = "DOUBLE";
       s.properties[0].setter = kStandard;
     },
     {"Error: The property C.Size needs custom setter."}},
    {"UnalignedOffsetBothWays",
     [](Sample& s) {
       s.properties[0].getter = s.properties[0].setter = kStandard;
       s.properties[0].parameter = 6;
     },
     {"Error: The property C.Size has unaligned offset 6.",
      "Error: The property C.Size has unaligned offset 6."}},
    {"LastFittingOffset",
     [](Sample& s) {
       s.properties[0].getter = kStandard;
       s.properties[0].parameter = 44;
     },
     {}},
    {"OffsetTooBig",
     [](Sample& s) {
       s.properties[0].getter = kStandard;
       s.properties[0].parameter = 45;
     },
     {"Error: The property C.Size has unaligned offset 45.",
      "Error: Offset for variable too big: C.Size 45 48"}},
    {"Constants",
     [](Sample& s) {
       s.d.constants = s.constants;
       s.d.constantCount = 1;
     },
     {"Error: The constant C.0 has nil declaration.",
      "Error: The constant C.(null) has the wrong attributeCount value: 1"}},
    {"MissingConstants",
     [](Sample& s) { s.d.constantCount = 1; },
     {"Error: The class C has the wrong constantCount value: 1", "Error: Constant C.0 is NULL."}},
    {"Events",
     [](Sample& s) {
       s.d.events = s.events;
       s.d.eventCount = 1;
     },
     {"Error: The event C.0 has nil declaration.",
      "Error: The event C.(null) has the wrong attributeCount value: 0"}},
    {"Delegates",
     [](Sample& s) {
       s.d.delegates = s.delegates;
       s.d.delegateCount = 1;
     },
     {"Error: The delegate C.0 has nil declaration.", "Warning: The delegate C.(null) has 0 for flags."}},
    {"ConsoleSafeInUnsafeClass",
     [](Sample& s) {
       s.d.flags = 0x104;
       s.properties[1].flags = 4;
       s.properties[1].name = "Debugging";
       s.d.sharedProperties = s.properties;
       s.d.sharedPropertyCount = 2;
       s.d.methodCount = 1;
     },
     {"QZR Debug: Console-safe method in console-unsafe class:  C, Go",
      "QZR Debug: Console-safe property in console-unsafe class:  C, Size",
      "QZR Debug: Console-safe property in console-unsafe class:  C, Debugging",
      "QZR Debug: Console-safe shared property in console-unsafe class:  C, Size"}},
};
INSTANTIATE_TEST_SUITE_P(Cases, DefinitionChecks, ::testing::ValuesIn(kCases),
                         [](const auto& test) { return test.param.title; });

TEST(DefinitionChecksLimits, OnlyTablesThatCanBeRealAreRead) {
  gResolver = &resolve;
  gpartname = "Vornik";
  Sample sample;
  for (const auto& [count, lines] :
       {std::pair<std::size_t, int>{1000, 0}, {1001, 1 + 1001}, {10000, 1 + 10000}, {10001, 2}}) {
    auto table = sample.bigTable(count);
    for (auto& m : table) m.function = count > 1000 ? nullptr : m.function;
    sample.d.methods = table.data();
    sample.d.methodCount = count;
    sample.d.version = 15;
    const auto written = test::logLinesOf([&] { MyREALRegisterClass(sample.d); });
    EXPECT_EQ(written.size(), static_cast<std::size_t>(lines)) << count;
    if (count == 10001) {
      EXPECT_EQ(written.back(), "Error: method count out of range for C: 10001.");
    }
  }
}

TEST(DefinitionChecksRefusal, WithoutAPartNameNothingIsRegistered) {
  gResolver = &resolve;
  gpartname = nullptr;
  lastRegistered = nullptr;
  Sample sample;
  EXPECT_THAT(test::logLinesOf([&] { MyREALRegisterClass(sample.d); }),
              ElementsAre("Error: gpartname is nil!? C"));
  EXPECT_EQ(lastRegistered, nullptr);
  EXPECT_EQ(sample.d.version, 15);
}

TEST(DefinitionAdjustments, FlagsFollowTheHostVersionEverywhere) {
  gResolver = &resolve;
  gpartname = "Vornik";
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
    sample.d.sharedMethods = &sample.methods[1];
    sample.d.sharedProperties = &sample.properties[1];
    sample.d.methodCount = sample.d.propertyCount = sample.d.sharedMethodCount =
        sample.d.sharedPropertyCount = 1;
    for (auto& m : sample.methods) m.flags = row.before;
    for (auto& p : sample.properties) p.flags = row.before;
    sample.d.flags = row.before;
    test::logLinesOf([&] { MyREALRegisterClass(sample.d); });
    EXPECT_THAT((std::vector{sample.d.flags, sample.methods[0].flags, sample.methods[1].flags,
                             sample.properties[0].flags, sample.properties[1].flags}),
                ::testing::Each(row.after))
        << row.host << " " << row.before;
  }
}

TEST(DefinitionAdjustments, DataSizeIsRoundedUpToSixteen) {
  gResolver = &resolve;
  gpartname = "Vornik";
  for (const auto& [before, after] : {std::pair{0u, 0u}, {1u, 16u}, {33u, 48u}, {48u, 48u}}) {
    Sample sample;
    sample.d.dataSize = before;
    MyREALRegisterClass(sample.d);
    EXPECT_EQ(sample.d.dataSize, after);
  }
}

}  // namespace
}  // namespace vornik
