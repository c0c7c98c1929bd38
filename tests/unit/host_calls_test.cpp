// How the stand-in host reaches registered classes: loading, overloads, properties, exceptions, re-entrancy.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "host/host.h"

namespace vornik::host {
namespace {

class HostCalls : public testing::Test {
 protected:
  HostCalls() { host.load(HOST_SAMPLE_LIBRARY); }
  Host host;
};

TEST_F(HostCalls, ChoosesTheOverloadThatFitsBest) {
  const Value sample = host.create("Sample");
  const auto which = [&](std::vector<Value> arguments) {
    return host.call(sample, "which", arguments).integer();
  };
  EXPECT_EQ(which({7}), 0);
  EXPECT_EQ(which({true}), 1);
  EXPECT_EQ(which({2.5}), 1);
  EXPECT_EQ(which({host.variant(VariantType::kInt64, 7)}), 1);
  EXPECT_EQ(which({host.dictionary()}), 1);
  EXPECT_EQ(which({"text"}), 2);
  EXPECT_EQ(which({StringRef()}), 2);
  EXPECT_EQ(which({sample}), 3);
  EXPECT_EQ(which({host.create("SubSample")}), 3);
  EXPECT_EQ(which({host.array(kArrayOfIntegers, {1, 2})}), 4);
  EXPECT_EQ(which({host.array(kArrayOfStrings, {"a"})}), 1);
  EXPECT_EQ(which({nullptr}), 1) << "the first declared that takes nil";
  EXPECT_EQ(which({7, true}), 5);
  EXPECT_THROW(which({}), ScriptError);
  EXPECT_THROW(which({7, 8}), ScriptError);
  EXPECT_THROW(host.call(sample, "NoSuchMethod"), ScriptError);
  EXPECT_THROW(host.call(Value(), "Which", {7}), ScriptError);
}

TEST_F(HostCalls, ConvertsArguments) {
  const Value sample = host.create("Sample");
  EXPECT_EQ(host.call(sample, "Half", {5}).number(), 2.5);
  EXPECT_EQ(host.call(sample, "Half", {host.variant(VariantType::kString, "9")}).number(), 4.5);
  EXPECT_EQ(host.call(sample, "Item", {host.variant(VariantType::kString, "12")}).integer(), 17);
  EXPECT_EQ(host.className(host.call(sample, "EntriesOf", {sample})), "Dictionary");
  EXPECT_TRUE(host.call(sample, "EntriesOf", {nullptr}).isNil());
}

TEST_F(HostCalls, ConstructorsTakeDefaults) {
  EXPECT_EQ(host.get(host.create("sample"), "Number").integer(), 5);
  EXPECT_EQ(host.get(host.create("Sample", {8}), "Number").integer(), 8);
  EXPECT_EQ(host.get(host.instantiate("Sample"), "Number").integer(), 0);
  EXPECT_THROW(host.create("Sample", {"eight"}), ScriptError);
  EXPECT_THROW(host.create("NoSuchClass"), ScriptError);
}

TEST_F(HostCalls, ReadsAndWritesProperties) {
  const Value sample = host.create("Sample");
  EXPECT_TRUE(host.get(sample, "FLAG").boolean());
  EXPECT_FALSE(host.get(host.create("Sample", {1, false}), "Flag").boolean());
  EXPECT_EQ(host.get(sample, "Plus").integer(), 105);
  host.assign(sample, "Number", {}, -3);
  EXPECT_EQ(host.get(sample, "Plus").integer(), 97);
  EXPECT_THROW(host.assign(sample, "Flag", {}, false), ScriptError);
  EXPECT_THROW(host.assign(sample, "Number", {}, "three"), ScriptError);
  EXPECT_TRUE(host.hasMember(sample, "which"));
  EXPECT_FALSE(host.hasMember(sample, "whichever"));
}

TEST_F(HostCalls, AssignsThroughSetters) {
  const Value sample = host.create("Sample", {0});
  host.assign(sample, "Item", {10}, 32);
  EXPECT_EQ(host.get(sample, "Number").integer(), 22);
  EXPECT_THROW(host.assign(sample, "Item", {}, 32), ScriptError);
  EXPECT_THROW(host.assign(sample, "Half", {1.0}, 2.0), ScriptError);
}

TEST_F(HostCalls, DeliversTheFirstExceptionAndDropsTheResult) {
  const Value sample = host.create("Sample");
  const auto before = host.ledger();
  try {
    host.call(sample, "Fail");
    FAIL() << "nothing was thrown";
  } catch (const ScriptException& exception) {
    EXPECT_STREQ(exception.what(), "KeyNotFoundException: first");
    EXPECT_EQ(exception.errorNumber(), 0);
  }
  EXPECT_EQ(host.ledger(), before);
}

TEST_F(HostCalls, ADestructorMayCallAgainWithoutMixingUpExceptions) {
  const Value sample = host.create("Sample");
  int innerExceptions = 0;
  bool insideDestructor = true;
  host.call(sample, "Hold", {host.scriptObject("Script", [&] {
              insideDestructor = Host::insidePlugin();
              try {
                host.call(sample, "Fail");
              } catch (const ScriptException& exception) {
                if (exception.message() == "first") ++innerExceptions;
              }
            })});
  try {
    host.call(sample, "FailAfterRelease");
    FAIL() << "nothing was thrown";
  } catch (const ScriptException& exception) {
    EXPECT_EQ(exception.message(), "outer");
  }
  EXPECT_EQ(innerExceptions, 1);
  EXPECT_FALSE(insideDestructor);
  EXPECT_FALSE(Host::insidePlugin());
}

TEST_F(HostCalls, RawFunctionsRunInABracket) {
  const Value sample = host.create("Sample");
  const auto fail =
      reinterpret_cast<REALstringStruct* (*)(REALobjectStruct*)>(host.function("Sample", "fail as string"));
  Host::PluginCall call;
  EXPECT_TRUE(Host::insidePlugin());
  const StringRef result = StringRef::adopt(fail(sample.object().get()));
  EXPECT_THROW(call.finish(), ScriptException);
  EXPECT_FALSE(Host::insidePlugin());
  EXPECT_THROW(host.function("Sample", "Fail as integer"), ScriptError);
  EXPECT_THROW(host.setter("Sample", "Fail as string"), ScriptError);
}

TEST(HostLibrary, EveryHostLoadsACopyInItsInitialState) {
  std::int64_t offset = 0;
  for (const std::size_t gap : {std::size_t{0}, std::size_t{1000}}) {
    HostOptions options;
    options.instanceGap = gap;
    Host host(options);
    host.load(HOST_SAMPLE_LIBRARY);
    const REALclassDefinition* definition = host.findClass("Sample")->definition;
    EXPECT_EQ(definition->forSystemUse % 16, 0);
    EXPECT_GT(definition->forSystemUse, offset) << "wider gap, or another copy's record was changed";
    EXPECT_EQ(host.findClass("SubSample")->definition->forSystemUse, definition->forSystemUse + 32);
    EXPECT_EQ(host.get(host.create("Sample"), "Number").integer(), 5);
    offset = definition->forSystemUse;
  }
}

TEST(HostLibrary, ReportsWhatCannotBeLoaded) {
  Host host;
  EXPECT_THROW(host.load("no/such/library.so"), std::runtime_error);
  const auto path = std::filesystem::path(testing::TempDir()) / "no_library.so";
  std::ofstream(path) << "text";
  EXPECT_THROW(host.load(path), std::runtime_error);
  std::filesystem::remove(path);
  EXPECT_THROW(Host second, std::logic_error);
}

TEST(HostLibrary, ReportsUnreadableDeclarations) {
  HostOptions options;
  options.inRuntime = true;  // makes the sample library register a class with a broken declaration
  Host host(options);
  EXPECT_THROW(host.load(HOST_SAMPLE_LIBRARY), std::runtime_error);
  EXPECT_EQ(host.findClass("Broken"), nullptr);
}

TEST(HostLibrary, NewInstancesMayRunTheConstructor) {
  HostOptions options;
  options.instancesRunConstructor = true;
  Host host(options);
  host.load(HOST_SAMPLE_LIBRARY);
  const auto make = reinterpret_cast<REALobjectStruct* (*)(const char*)>(Host::resolve("PluginNewInstance"));
  EXPECT_EQ(host.get(ObjectRef::adopt(make("Sample")), "Number").integer(), 5);
  EXPECT_EQ(make("NoSuchClass"), nullptr);
}

}  // namespace
}  // namespace vornik::host
