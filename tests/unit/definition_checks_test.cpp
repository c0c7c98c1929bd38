#include "plugin/frame/definition_checks.h"

#include <gmock/gmock.h>

#include <bit>
#include <cstring>
#include <functional>

#include "plugin/frame/globals.h"
#include "tests/support/captured_log.h"

namespace vornik {
namespace {

using Lines = std::vector<std::string>;

void someFunction() {}
const auto kStandard = std::bit_cast<REALproc>(~std::uint64_t{0});

REALclassDefinition* lastRegistered = nullptr;
void registerClass(REALclassDefinition* definition) {
  lastRegistered = definition;
}
void* resolve(const char* name) {
  return std::strcmp(name, "PluginRegisterClass") == 0 ? reinterpret_cast<void*>(&registerClass) : nullptr;
}

template <typename Record>
void attach(const Record*& table, std::uint64_t& tableCount, const Record* records, std::uint64_t count) {
  table = records;
  tableCount = count;
}

/// A definition without fault, for the tests to spoil.
struct Sample {
  Sample() {
    d.version = 15;
    d.name = "C";
    d.dataSize = 48;
    d.flags = 4;
    d.methods = &method;
    d.sharedMethods = &sharedMethod;
    d.properties = &property;
    d.sharedProperties = &sharedProperty;
    d.methodCount = d.sharedMethodCount = d.propertyCount = d.sharedPropertyCount = 1;
    property = sharedProperty = {nullptr, "Size", "Integer", 4, &someFunction, nullptr, 60, 0,
                                 nullptr, 0,      nullptr,   0, nullptr};
  }
  Lines linesOfRegistration() {
    lastRegistered = nullptr;
    Lines lines = test::logLinesOf([&] { MyREALRegisterClass(d); });
    EXPECT_EQ(lastRegistered, gpartname != nullptr ? &d : nullptr);
    return lines;
  }
  void useStandard(const char* type, REALproc getter, REALproc setter, int offset) {
    property.type = type;
    property.getter = getter;
    property.setter = setter;
    property.parameter = offset;
  }

  REALmethodDefinition method{&someFunction, nullptr, "Go", 4, 0, nullptr}, sharedMethod = method;
  REALproperty property{}, sharedProperty{};
  REALattribute attributes[2] = {{"A", "1"}, {nullptr, nullptr}};
  REALconstant constant{nullptr, {0, 0}, 1, nullptr};
  REALevent event{nullptr, 0, 0, attributes};
  REALdelegate delegate{nullptr, 0, 1, nullptr};
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

TEST_F(DefinitionChecks, NameEveryFaultAndNothingElse) {
  const struct {
    std::function<void(Sample&)> spoil;
    Lines lines;
  } rows[] = {
      {[](Sample&) {}, {}},
      {[](Sample& s) { s.d.version = 14; },
       {"Error: The class C has the wrong kCurrentREALControlVersion: 14 vs. 15"}},
      {[](Sample& s) { s.d.forSystemUse = 8; }, {"Error: The class C has the wrong forSystemUse value: 8"}},
      {[](Sample& s) { s.d.superclassName = "BaseQZR"; },
       {"Warning: The subclass C of BaseQZR has data size: 48"}},
      {[](Sample& s) {
         s.d.superclassName = "BaseQZR";
         s.d.dataSize = 0;
         s.d.name = nullptr;
       },
       {"Error: A class without name."}},
      {[](Sample& s) { attach(s.d.attributes, s.d.attributeCount, s.attributes, 2); },
       {"Error: .C has an attribute without name! Index: 1",
        "Error: .C has an attribute without value! Name: (null) Index: 1"}},
      {[](Sample& s) { s.method = {nullptr, nullptr, nullptr, 4, 1, nullptr}; },
       {"Error: The method C.0 has nil declaration.", "Error: The method C.(null) has nil function.",
        "Error: The method C.(null) has the wrong attributeCount value: 1"}},
      {[](Sample& s) {
         attach(s.sharedMethod.attributes, s.sharedMethod.attributeCount, s.attributes, 10001);
       },
       {"Error: The method C.Go has the wrong attributeCount value: 10001",
        "Error: attribute count out of range for C.Go: 10001."}},
      {[](Sample& s) { s.property.name = nullptr; }, {"Error: The property C.0 has nil name."}},
      {[](Sample& s) { s.property.getter = nullptr; }, {"Error: The property C.Size has nil getter."}},
      {[](Sample& s) { s.sharedProperty.type = nullptr; }, {"Error: The property C.0 has nil type."}},
      {[](Sample& s) { s.property.editor = &s.event; }, {"Error: The property C.Size has editor."}},
      {[](Sample& s) { s.property.enumCount = 1; }, {"Error: The property C.Size has wrong enumCount: 1"}},
      {[](Sample& s) { s.property.attributes = s.attributes; },
       {"Error: The property C.Size has attributes: 0"}},
      {[](Sample& s) {
         attach(s.sharedProperty.attributes, s.sharedProperty.attributeCount, s.attributes, 2);
       },
       {"Error: C.Size has an attribute without name! Index: 1",
        "Error: C.Size has an attribute without value! Name: (null) Index: 1"}},
      {[](Sample& s) { s.useStandard("Double", kStandard, nullptr, 6); },
       {"Error: The property C.Size needs custom getter."}},
      {[](Sample& s) { s.useStandard("DOUBLE", &someFunction, kStandard, 6); },
       {"Error: The property C.Size needs custom setter."}},
      {[](Sample& s) { s.useStandard("Integer", kStandard, kStandard, 6); },
       {"Error: The property C.Size has unaligned offset 6.",
        "Error: The property C.Size has unaligned offset 6."}},
      {[](Sample& s) { s.useStandard("Integer", kStandard, nullptr, 44); }, {}},
      {[](Sample& s) { s.useStandard("Integer", &someFunction, kStandard, 48); },
       {"Error: Offset for variable too big: C.Size 48 48"}},
      {[](Sample& s) { attach(s.d.constants, s.d.constantCount, &s.constant, 1); },
       {"Error: The constant C.0 has nil declaration.",
        "Error: The constant C.(null) has the wrong attributeCount value: 1"}},
      {[](Sample& s) { attach(s.d.events, s.d.eventCount, &s.event, 1); },
       {"Error: The event C.0 has nil declaration.",
        "Error: The event C.(null) has the wrong attributeCount value: 0"}},
      {[](Sample& s) { attach(s.d.delegates, s.d.delegateCount, &s.delegate, 1); },
       {"Error: The delegate C.0 has nil declaration.", "Warning: The delegate C.(null) has 0 for flags.",
        "Error: The delegate C.(null) has the wrong attributeCount value: 1"}},
      {[](Sample& s) { s.d.flags = 0x104; },
       {"QZR Debug: Console-safe method in console-unsafe class:  C, Go",
        "QZR Debug: Console-safe shared method in console-unsafe class:  C, Go",
        "QZR Debug: Console-safe property in console-unsafe class:  C, Size",
        "QZR Debug: Console-safe shared property in console-unsafe class:  C, Size"}},
      {[](Sample& s) {
         s.d.flags = 0x104;
         s.method.flags = s.property.flags = 0x104;
         s.sharedMethod.flags = 0;
         s.sharedProperty.name = "Debugging";
       },
       {}},
  };
  for (const auto& row : rows) {
    Sample sample;
    row.spoil(sample);
    EXPECT_EQ(sample.linesOfRegistration(), row.lines) << "row " << &row - rows;
  }
  for (const double version : {2020.01, 2020.02}) {
    rbversion_rbversion = version;
    Sample mobile;
    mobile.d.flags = 0x400;
    mobile.method.flags = mobile.sharedMethod.flags = mobile.property.flags = mobile.sharedProperty.flags = 0;
    EXPECT_EQ(mobile.linesOfRegistration(),
              version > 2020.01 ? Lines() : Lines{"Warning: iOS only class registered for old Xojo: C"});
  }
  gpartname = nullptr;
  EXPECT_EQ(Sample().linesOfRegistration(), Lines{"Error: gpartname is nil!? C"});
}

TEST_F(DefinitionChecks, NameCountsWithoutTheirTables) {
  using D = REALclassDefinition;
  std::uint64_t D::*const counts[] = {&D::propertyCount,      &D::methodCount,    &D::eventCount,
                                      &D::eventInstanceCount, &D::constantCount,  &D::sharedPropertyCount,
                                      &D::sharedMethodCount,  &D::attributeCount, &D::delegateCount,
                                      &D::enumCount};
  const char* const names[] = {
      "property",     "method",    "event",    "eventInstance", "constant", "sharedPropertyCounttion",
      "sharedMethod", "attribute", "delegate", "enum"};
  Sample sample;
  sample.d.properties = sample.d.sharedProperties = nullptr;
  sample.d.methods = sample.d.sharedMethods = nullptr;
  Lines expected;
  for (const auto count : counts) sample.d.*count = 1;
  for (const std::string name : names)
    expected.push_back("Error: The class C has the wrong " + name + "Count value: 1");
  for (const char* line : {"The class extension C has wrong attributes: 1", "method C.0 is NULL.",
                           "Constant C.0 is NULL.", "method C.0 is NULL."}) {
    expected.push_back(std::string("Error: ") + line);
  }
  EXPECT_EQ(sample.linesOfRegistration(), expected);
}

TEST_F(DefinitionChecks, ReadNoTableThatIsTooLongToBeReal) {
  for (const auto& [count, lines] : {std::pair{1000u, 0u}, {1001u, 1u}, {10000u, 10001u}, {10001u, 2u}}) {
    Sample withMethods, withProperties, missing;
    std::vector<REALmethodDefinition> methods(count, withMethods.method);
    std::vector<REALproperty> properties(count, withProperties.property);
    for (std::size_t i = 0; lines > 1 && i < count; ++i)
      methods[i].declaration = properties[i].name = nullptr;
    withMethods.d.methods = methods.data();
    withProperties.d.properties = properties.data();
    missing.d.methods = nullptr;
    withMethods.d.methodCount = withProperties.d.propertyCount = missing.d.methodCount = count;
    for (Sample* const sample : {&withMethods, &withProperties}) {
      const Lines found = sample->linesOfRegistration();
      EXPECT_EQ(found.size(), lines);
      EXPECT_TRUE(lines < 3 || found.back().find("C.9999 has nil") != std::string::npos) << found.back();
    }
    EXPECT_EQ(missing.linesOfRegistration().size(), count > 10000 ? 2 : 1 + count);
  }
}

TEST_F(DefinitionChecks, FitADefinitionToTheHost) {
  const struct {
    double host;
    std::uint32_t before, after;
    std::uint64_t size = 48, rounded = 48;
  } rows[] = {
      {2019.02, 0x308, 4, 0, 0},    {2020.02, 0x308, 0x308, 1, 16}, {2019.02, 0x30c, 4, 33, 48},
      {2012.0, 0x40000, 4},         {2009.0, 0x40000, 0},           {2009.0, 0x40004, 4},
      {2024.01, 0x40004, 4},        {2010.029, 0x40000, 4},         {2019.02, 0x708, 0x708},
      {2009.0, 0x40000 | 0x308, 4},
  };
  for (const auto& row : rows) {
    rbversion_rbversion = row.host;
    Sample sample;
    REALclassDefinition& d = sample.d;
    std::uint32_t* const flags[] = {&d.flags, &d.methods->flags, &d.sharedMethods->flags,
                                    &d.properties->flags, &d.sharedProperties->flags};
    for (std::uint32_t* const each : flags) *each = row.before;
    d.dataSize = row.size;
    sample.linesOfRegistration();
    EXPECT_THAT(flags, ::testing::Each(::testing::Pointee(row.after))) << row.host << " " << row.before;
    EXPECT_EQ(d.dataSize, row.rounded);
    EXPECT_EQ(d.version, 13);
  }
}

}  // namespace
}  // namespace vornik
