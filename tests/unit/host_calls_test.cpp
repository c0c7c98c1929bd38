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

TEST_F(HostCalls, ChooseTheOverloadThatFitsBest) {
  const Value sample = host.create("Sample");
  const struct {
    std::vector<Value> arguments;
    std::int64_t place;
  } rows[] = {{{7}, 0},
              {{true}, 1},
              {{2.5}, 1},
              {{host.variant(VariantType::kInt64, 7)}, 1},
              {{"text"}, 2},
              {{StringRef()}, 2},
              {{sample}, 3},
              {{host.create("SubSample")}, 3},
              {{host.array(kArrayOfIntegers, {1, 2})}, 4},
              {{host.array(kArrayOfStrings, {"a"})}, 1},
              {{nullptr}, 1},  // the first declared that takes nil
              {{7, true}, 5},
              {{7, true, 4}, 8},
              {{7, true, host.variant(VariantType::kString, "4.5")}, 9}};
  for (const auto& row : rows) {
    EXPECT_EQ(host.call(sample, "which", row.arguments).integer(), row.place) << &row - rows;
  }
  EXPECT_THROW(host.call(sample, "Which"), ScriptError);
  EXPECT_THROW(host.call(sample, "Which", {7, 8}), ScriptError);
  EXPECT_THROW(host.call(sample, "NoSuchMethod"), ScriptError);
  EXPECT_THROW(host.call(Value(), "Which", {7}), ScriptError);
  EXPECT_THROW(host.create("Sample", {"argument"}), ScriptError);
  EXPECT_THROW(host.assign(sample, "Fail", {}, "text"), ScriptError);
  EXPECT_THROW(host.create("NoSuchClass"), ScriptError);
}

/// What script code sees of a method that raises.
std::string raisedBy(Host& host, const Value& object, const char* method) {
  try {
    host.call(object, method);
    return "nothing";
  } catch (const ScriptException& exception) {
    return exception.what();
  }
}

TEST_F(HostCalls, DeliverTheFirstExceptionAndDropTheResult) {
  const Value sample = host.create("Sample");
  const auto before = host.ledger();
  EXPECT_EQ(raisedBy(host, sample, "Fail"), "KeyNotFoundException: first");
  EXPECT_EQ(host.ledger(), before);

  // A destructor may call again without mixing up the exceptions.
  std::string inner;
  bool insideDestructor = true;
  host.call(sample, "Hold", {host.scriptObject("Script", [&] {
              insideDestructor = Host::insidePlugin();
              inner = raisedBy(host, sample, "Fail");
            })});
  EXPECT_EQ(raisedBy(host, sample, "FailAfterRelease"), "RuntimeException: outer");
  EXPECT_EQ(inner, "KeyNotFoundException: first");
  EXPECT_FALSE(insideDestructor);
  EXPECT_FALSE(Host::insidePlugin());
}

TEST(HostLibrary, EveryHostLoadsACopyOfItsOwn) {
  const REALclassDefinition* last = nullptr;
  std::int64_t offset = 0;
  for (const std::size_t gap : {std::size_t{0}, std::size_t{1000}}) {
    Host host({.instanceGap = gap});
    host.load(HOST_SAMPLE_LIBRARY);
    const REALclassDefinition* definition = host.findClass("sample")->definition;
    EXPECT_NE(definition, last);
    EXPECT_EQ(definition->forSystemUse % 16, 0);
    EXPECT_GT(definition->forSystemUse, offset) << "a wider gap";
    EXPECT_EQ(host.findClass("SubSample")->definition->forSystemUse, definition->forSystemUse + 16);
    last = definition;
    offset = definition->forSystemUse;
  }
}

TEST(HostLibrary, WhatCannotBeLoadedIsReported) {
  Host host({.inRuntime = true});  // makes the sample library register a class with a broken declaration
  EXPECT_THROW(host.load(HOST_SAMPLE_LIBRARY), std::runtime_error);
  EXPECT_EQ(host.findClass("Broken"), nullptr);
  const auto path = std::filesystem::path(testing::TempDir()) / "no_library.so";
  std::ofstream(path) << "text";
  EXPECT_THROW(host.load(path), std::runtime_error);
  std::filesystem::remove(path);
  EXPECT_THROW(Host second, std::logic_error);
}

}  // namespace
}  // namespace vornik::host
