// The library meeting its host: what it registers, diagnostics, and exceptions on hosts that lack something.
#include <dlfcn.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>

#include "tests/support/captured_log.h"
#include "tests/support/container_test.h"

namespace vornik::behaviour {
namespace {

using test::logLinesOf;
using testing::ElementsAre;
using testing::IsEmpty;

struct Startup : ContainerSuite {
  void SetUp() override {}
  void TearDown() override {
    unsetenv("QZRDEBUG");
    ContainerSuite::TearDown();
  }
  Texts linesOfStart(const HostOptions& options = {}) {
    return logLinesOf([&] { start(options); });
  }
};

TEST_F(Startup, RecordVersionFollowsTheHosts) {
  const std::pair<std::optional<double>, int> versions[] = {{std::nullopt, 9}, {2011.04, 9},  {2012.0, 10},
                                                            {2012.99, 10},     {2013.0, 11},  {2013.02, 11},
                                                            {2013.03, 12},     {2013.04, 13}, {2024.01, 13}};
  for (const auto& [version, record] : versions) {
    EXPECT_THAT(linesOfStart({.version = version}), IsEmpty());
    EXPECT_EQ(host().calls().at("RegisterPluginVersion"), 1u);
    ASSERT_FALSE(host().classes().empty());
    for (const auto& type : host().classes()) ASSERT_EQ(type->definition->version, record);
  }
}

TEST_F(Startup, DebuggingIsOnForThreeWordsInAnyCase) {
  for (const char* off : {"", "0", "on", "yes ", "truely", "11"}) {
    setenv("QZRDEBUG", off, 1);
    EXPECT_THAT(linesOfStart(), IsEmpty()) << off;
  }
  for (const char* on : {"1", "true", "YES", "True", "yEs"}) {
    setenv("QZRDEBUG", on, 1);
    EXPECT_THAT(linesOfStart(), ElementsAre("Loading Vornik in Xojo 2024.01 and plugin SDK version 13..."));
  }
  // The line is for the development environment.
  EXPECT_THAT(linesOfStart({.inRuntime = true}), IsEmpty());
  EXPECT_THAT(linesOfStart({.version = std::nullopt, .inRuntime = true, .withheld = {"REALinRuntime"}}),
              ElementsAre("Loading Vornik in Xojo 0.00 and plugin SDK version 9..."));
}

TEST_F(Startup, ExceptionsSayWhatTheHostLetsThemSay) {
  const std::string keyNotFound = "KeyNotFoundException: Key not found", wordless = "KeyNotFoundException: ";
  const std::pair<HostOptions, std::string> hosts[] = {
      {{.version = 2011.04}, keyNotFound},
      {{.withheld = {"REALSetPropValueInteger"}}, keyNotFound},
      {{.withheld = {"REALSetPropValueString"}}, wordless},
      {{.withheld = {"REALBuildStringWithEncoding"}}, wordless},
      {{.unknownClasses = {"KeyNotFoundException"}}, "RuntimeException: Key not found"},
      {{.unknownClasses = {"KeyNotFoundException", "RuntimeException"}}, ""},
      {{.withheld = {"RuntimeRaiseException"}}, ""}};
  for (const auto& [options, expected] : hosts) {
    start(options);
    const Value map = create("IntegerToIntegerOrderedMapQZR");
    EXPECT_EQ(raised([&] { EXPECT_EQ(call(map, "value", {1}).integer(), 0); }), expected);
  }
}

TEST_F(Startup, NewInstancesMayHaveRunTheirConstructorAndKeepTheirDataFurtherOff) {
  start({.instancesRunConstructor = true, .instanceGap = 1000});
  forSubjectsWhere(isMap, [&] {
    const Value map = make({1, 2, 3});
    const Value clone = call(map, "Clone");
    EXPECT_EQ(content(clone), entries({1, 2, 3}));
    if (!facts().hasCaseChoice()) return;
    EXPECT_EQ(host().get(clone, "CaseSensitive").boolean(), caseSensitive());
  });
}

TEST_F(Startup, ThreeServicesAreEnoughAndNoneIsSafe) {
  start({});
  const std::size_t all = host().classes().size();
  HostOptions bare{.version = 2013.03};
  for (const auto& [service, calls] : host().calls()) bare.withheld.insert(service);
  start(bare);
  EXPECT_THAT(host().classes(), IsEmpty());
  for (const char* service : {"REALGetRBVersion", "RegisterPluginVersion", "PluginRegisterClass"})
    ASSERT_EQ(bare.withheld.erase(service), 1u);
  start(bare);
  ASSERT_EQ(host().classes().size(), all);
  for (const auto& type : host().classes()) EXPECT_EQ(type->definition->version, 12);

  void* entry = dlsym(dlopen(VORNIK_PLUGIN_PATH, RTLD_NOW | RTLD_LOCAL), "REALPluginMain");
  ASSERT_NE(entry, nullptr);
  reinterpret_cast<decltype(&REALPluginMain)>(entry)(nullptr);
}

struct Definitions : ContainerSuite {
  static std::string flags(std::uint32_t flags) { return ", flags " + std::to_string(flags); }

  static std::string line(const REALproperty& record) {
    const bool byHost = reinterpret_cast<std::uintptr_t>(record.getter) == ~std::uintptr_t{0};
    return std::string("  property ") + record.name + " as " + record.type + flags(record.flags) +
           (byHost ? ", read by the host at " + std::to_string(record.parameter) : "") +
           (record.setter != nullptr ? ", assignable" : "") + '\n';
  }
  static std::string line(const REALmethodDefinition& record) {
    return std::string("  method ") + record.declaration + flags(record.flags) +
           (record.setter != nullptr ? ", assignable" : "") + '\n';
  }
  static std::string block(const REALclassDefinition& record) {
    // What the interface lets a record hold that these do not use.
    EXPECT_TRUE(record.superclassName == nullptr && record.constructor == nullptr &&
                record.interfaces == nullptr && record.eventCount + record.eventInstanceCount == 0 &&
                record.attributeCount + record.constantCount + record.sharedPropertyCount == 0 &&
                record.sharedMethodCount + record.delegateCount + record.enumCount == 0)
        << record.name;
    std::string lines = std::string("class ") + record.name + ": " + std::to_string(record.dataSize) +
                        " bytes" + flags(record.flags) + (record.destructor != nullptr ? ", destructor" : "");
    lines += '\n';
    for (std::uint64_t i = 0; i < record.propertyCount; ++i) lines += line(record.properties[i]);
    for (std::uint64_t i = 0; i < record.methodCount; ++i) lines += line(record.methods[i]);
    return lines;
  }
};

TEST_F(Definitions, AreAsTheFactsSay) {
  const std::string facts{std::istreambuf_iterator<char>(std::ifstream(VORNIK_CLASS_FACTS).rdbuf()), {}};
  std::string registered;
  for (const auto& type : host().classes()) {
    const std::string lines = block(*type->definition);
    EXPECT_TRUE(facts.find(lines) != std::string::npos) << "tests/behaviour/registered_classes.txt lacks\n"
                                                        << lines;
    EXPECT_TRUE(type->name.find("Iterator") != std::string::npos ||
                std::any_of(kClasses.begin(), kClasses.end(),
                            [&](const auto& known) { return known.name == type->name; }))
        << type->name << " is in no suite before it has a line in tests/support/class_facts.h";
    registered += (registered.empty() ? "" : "\n") + lines;
  }
  EXPECT_TRUE(HasFailure() || registered == facts);
}

}  // namespace
}  // namespace vornik::behaviour
