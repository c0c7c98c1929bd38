// The library meeting its host: start-up, diagnostics, and exceptions on hosts that lack something.
#include <dlfcn.h>

#include <cstdlib>
#include <cstring>

#include "tests/behaviour/container_test.h"
#include "tests/unit/captured_log.h"

namespace vornik::behaviour {
namespace {

using test::logLinesOf;
using testing::ElementsAre;
using testing::IsEmpty;

/// QZRDEBUG for the length of a scope.
class DebugSetting {
 public:
  explicit DebugSetting(const char* value) { setenv("QZRDEBUG", value, 1); }
  ~DebugSetting() { unsetenv("QZRDEBUG"); }
  DebugSetting(const DebugSetting&) = delete;
  DebugSetting& operator=(const DebugSetting&) = delete;
};

struct Startup : ContainerSuite {
  void SetUp() override {}
  Texts linesOfStart(const HostOptions& options = {}) {
    return logLinesOf([&] { start(options); });
  }
};

TEST_F(Startup, RegistersTheClassesInOrderAndSaysNothing) {
  EXPECT_THAT(linesOfStart(), IsEmpty());
  Texts expected, registered;
  for (const ClassFacts& facts : kClasses) {
    expected.insert(expected.end(), {facts.name, facts.iterator()});
  }
  for (const auto& type : host().classes()) registered.push_back(type->name);
  EXPECT_EQ(registered, expected);
  EXPECT_EQ(host().calls().at("RegisterPluginVersion"), 1u);
}

TEST_F(Startup, RecordVersionFollowsTheHosts) {
  constexpr std::pair<double, int> kVersions[] = {{2011.04, 9},  {2012.0, 10},  {2012.99, 10}, {2013.0, 11},
                                                  {2013.02, 11}, {2013.03, 12}, {2013.04, 13}, {2024.01, 13}};
  for (const auto& [version, record] : kVersions) {
    start({.version = version});
    for (const auto& type : host().classes()) ASSERT_EQ(type->definition->version, record) << version;
  }
  start({.version = std::nullopt});
  ASSERT_FALSE(host().classes().empty());
  for (const auto& type : host().classes()) ASSERT_EQ(type->definition->version, 9);
}

TEST_F(Startup, DebuggingIsOnForThreeWordsInAnyCase) {
  const std::string loading = "Loading Vornik in Xojo 2024.01 and plugin SDK version 13...";
  for (const char* on : {"1", "true", "YES", "True", "yEs"}) {
    const DebugSetting setting(on);
    EXPECT_THAT(linesOfStart(), ElementsAre(loading)) << on;
  }
  for (const char* off : {"", "0", "on", "yes ", "truely", "11"}) {
    const DebugSetting setting(off);
    EXPECT_THAT(linesOfStart(), IsEmpty()) << off;
  }
}

TEST_F(Startup, TheLoadingLineIsForTheDevelopmentEnvironment) {
  const DebugSetting on("1");
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

TEST_F(Startup, WithoutNewInstancesOperationsAreNeutral) {
  start({.withheld = {"PluginNewInstance"}});
  forSubjectsWhere(anyClass, [&] {
    const Value container = make({1}), object = unmade();
    for (const char* method : {"first", "last"}) EXPECT_TRUE(call(container, method).isNil());
    EXPECT_TRUE(call(container, "find", {key(1)}).isNil());
    EXPECT_EQ(count(container), 1);
    EXPECT_EQ(raised([&] { EXPECT_EQ(count(object), 0); }), "");
    if (!facts().isMap()) return;
    EXPECT_TRUE(call(container, "Clone").isNil());
    EXPECT_EQ(raised([&] { EXPECT_EQ(show(call(container, "value", {key(2)})), neutral(facts().value)); }),
              "");
  });
}

TEST_F(Startup, NewInstancesMayHaveRunTheirConstructor) {
  start({.instancesRunConstructor = true});
  forSubjectsWhere(isMap, [&] {
    const Value map = make({1, 2, 3});
    const Value clone = call(map, "Clone");
    EXPECT_EQ(content(clone), entries({1, 2, 3}));
    if (!facts().hasCaseChoice()) return;
    EXPECT_EQ(host().get(clone, "CaseSensitive").boolean(), caseSensitive());
  });
}

// ---- Resolvers that are no host

struct Recorded {
  std::vector<std::int32_t> versions;
  std::vector<REALclassDefinition*> definitions;
} recorded;

void* ignorant(const char*) {
  return nullptr;
}
void* bare(const char* name) {
  using Version = double (*)();
  using TakesVersion = void (*)(std::int32_t);
  using TakesClass = void (*)(REALclassDefinition*);
  const auto is = [name](const char* known) { return std::strcmp(name, known) == 0; };
  if (is("REALGetRBVersion")) return reinterpret_cast<void*>(Version{[] { return 2013.03; }});
  if (is("RegisterPluginVersion")) {
    return reinterpret_cast<void*>(
        TakesVersion{[](std::int32_t version) { recorded.versions.push_back(version); }});
  }
  if (is("PluginRegisterClass")) {
    return reinterpret_cast<void*>(
        TakesClass{[](REALclassDefinition* definition) { recorded.definitions.push_back(definition); }});
  }
  return nullptr;
}

TEST(Resolvers, NullRegistersNothingAndABareOneIsEnough) {
  void* library = dlopen(VORNIK_PLUGIN_PATH, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(library, nullptr) << dlerror();
  const auto entry = reinterpret_cast<decltype(&REALPluginMain)>(dlsym(library, "REALPluginMain"));
  ASSERT_NE(entry, nullptr);
  // Registration changes the definitions, and complains about them when they come again.
  EXPECT_THAT(logLinesOf([&] { entry(nullptr), entry(ignorant); }), IsEmpty());
  logLinesOf([&] { entry(bare); });
  EXPECT_THAT(recorded.versions, ElementsAre(12));
  EXPECT_EQ(recorded.definitions.size(), 2 * kClasses.size());
  for (const REALclassDefinition* definition : recorded.definitions) EXPECT_EQ(definition->version, 12);
}

}  // namespace
}  // namespace vornik::behaviour
