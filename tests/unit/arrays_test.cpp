// Host arrays and dictionaries, under hosts of several kinds. Each test needs a process of its own, because
// the probe's verdict lasts for the life of one.
#include "plugin/frame/host_services.h"
#include "plugin/values/dictionaries.h"
#include "plugin/values/host_arrays.h"
#include "tests/unit/captured_log.h"
#include "tests/unit/in_host.h"

namespace vornik {
namespace {

using host::Value;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Arrays = test::InHost;
using Dictionaries = test::InHost;

template <typename Array>
Array* as(const Value& array) {
  return reinterpret_cast<Array*>(array.object().get());
}

TEST_F(Arrays, TheFirstAccessInBoundsProbesOnceAndFindsTheDocumentedLayout) {
  const Value array = host_.array(kArrayOfIntegers, {7, 8});
  EXPECT_THAT(
      test::logLinesOf([&] {
        std::int64_t element = 42;
        EXPECT_EQ(raisedBy([&] { REALGetArrayValue(as<_REALarrayInteger>(array), 2, &element); }),
                  "OutOfBoundsException: The parameter index  is too big. Range is 0 to 1, but value is 2.");
        EXPECT_EQ(
            raisedBy([&] { REALSetArrayValue(as<_REALarrayInteger>(array), -1, 5); }),
            "OutOfBoundsException: The parameter index  is too small. Range is 0 to 1, but value is -1.");
        EXPECT_EQ(element, 42);
        EXPECT_FALSE(ArrayAccessTested);
        REALGetArrayValue(as<_REALarrayInteger>(array), 1, &element);
        EXPECT_EQ(element, 8);
        REALSetArrayValue(as<_REALarrayInteger>(array), 1, 9);
      }),
      ElementsAre("QZR Debug: TestArray 2024.010000"));
  EXPECT_TRUE(ArrayAccessSuccess);
  EXPECT_EQ(host_.elements(array)[1].integer(), 9);
  host_.resetCalls();
  std::int64_t element = 0;
  REALGetArrayValue(as<_REALarrayInteger>(array), 0, &element);
  EXPECT_EQ(host_.calls().at("PluginIntegerArrayGetProc"), 0u) << "elements are read directly";
}

void checkReferences(host::Host& host) {
  const Value first = host.scriptObject("first"), second = host.scriptObject("second");
  const Value array = host.array(kArrayOfVariants, {first});
  EXPECT_EQ(host.references(first), 2);
  REALSetArrayValue(as<_REALarrayObject>(array), 0, first.object().get());
  EXPECT_EQ(host.references(first), 2);
  REALSetArrayValue(as<_REALarrayObject>(array), 0, second.object().get());
  EXPECT_EQ(host.references(first), 1);
  REALobjectStruct* element = nullptr;
  REALGetArrayValue(as<_REALarrayObject>(array), 0, &element);
  EXPECT_EQ(element, second.object().get());
  EXPECT_EQ(host.references(second), 3);
  REALUnlockObject(element);
  REALSetArrayValue(as<_REALarrayObject>(array), 0, nullptr);
  EXPECT_EQ(host.references(second), 1);

  const Value text("text");
  const Value strings = host.array(kArrayOfStrings, {"old"});
  REALSetArrayValue(as<_REALarrayString>(strings), 0, text.string().get());
  REALstringStruct* string = nullptr;
  REALGetArrayValue(as<_REALarrayString>(strings), 0, &string);
  EXPECT_EQ(string, text.string().get());
  EXPECT_EQ(host.references(text), 3);
  REALUnlockString(string);
}

TEST_F(Arrays, ReferencesAreCountedAlikeWhenAccessedDirectly) {
  checkReferences(host_);
  EXPECT_TRUE(ArrayAccessSuccess);
}

TEST_F(Arrays, ReferencesAreCountedAlikeThroughTheProcedures) {
  ArrayAccessTested = true;
  checkReferences(host_);
  EXPECT_FALSE(ArrayAccessSuccess);
}

TEST_F(Arrays, OlderHostsCountDimensionsInThirtyTwoBits) {
  // The plugin believes in the older layout while the host has the newer one, so the probe must notice.
  rbversion_rbversion = 2020.02;
  const Value array = host_.array(kArrayOfIntegers, {7});
  std::int64_t element = 0;
  EXPECT_THAT(
      test::logLinesOf([&] { REALGetArrayValue(as<_REALarrayInteger>(array), 0, &element); }),
      ElementsAre("QZR Debug: TestArray 2020.020000", ::testing::StartsWith("QZR Debug: ubound wrong ")));
  EXPECT_EQ(element, 7);
  EXPECT_FALSE(ArrayAccessSuccess);
}

class ProbeFailures : public Arrays,
                      public ::testing::WithParamInterface<std::pair<std::string, std::string>> {};

TEST_P(ProbeFailures, AreNamedAndAccessGoesOnThroughTheProcedures) {
  const auto [service, line] = GetParam();
  const Value array = host_.array(kArrayOfIntegers, {7});
  host_.failFrom(service, service == "RuntimeUBound" ? 2 : 1);
  std::int64_t element = 7;
  EXPECT_THAT(test::logLinesOf([&] { REALGetArrayValue(as<_REALarrayInteger>(array), 0, &element); }),
              ElementsAre("QZR Debug: TestArray 2024.010000", line));
  EXPECT_EQ(element, 7);
  EXPECT_FALSE(ArrayAccessSuccess);
}
INSTANTIATE_TEST_SUITE_P(Services, ProbeFailures,
                         ::testing::Values(std::pair("RuntimeArrayCreateSingleDimBoundedArray",
                                                     "QZR Debug: Failed to allocate array"),
                                           std::pair("RuntimeUBound", "QZR Debug: ubound failed 0"),
                                           std::pair("PluginIntegerArraySetProc",
                                                     "QZR Debug: Index 0 failed 0")));

REALobjectStruct* variantOf(const Value& value) {
  return value.object().get();
}

TEST_F(Dictionaries, EntriesAreReadAndWrittenByTheHostsOwnMethods) {
  const Value dictionary = host_.dictionary();
  auto* handle = as<_REALdictionary>(dictionary);
  const Value key = host_.variant(host::VariantType::kString, "k"),
              value = host_.variant(host::VariantType::kInt64, 5);
  EXPECT_THAT(test::logLinesOf([&] {
                SetDictionaryValue(handle, variantOf(key), variantOf(value));
                EXPECT_EQ(GetDictionaryCount(handle), 1);
              }),
              ElementsAre("QZR Debug: KeyCount 1"));
  const auto sameKey = host::ObjectRef::adopt(GetDictionaryKey(handle, 0));
  const auto sameValue = host::ObjectRef::adopt(GetDictionaryValue(handle, variantOf(key)));
  EXPECT_EQ(host_.unbox(Value(sameKey)).text(), "k");
  EXPECT_EQ(host_.unbox(Value(sameValue)).integer(), 5);

  // A second dictionary of the same class is served by the addresses found for the first.
  const Value other = host_.dictionary();
  host_.resetCalls();
  SetDictionaryValue(as<_REALdictionary>(other), variantOf(key), variantOf(value));
  EXPECT_EQ(host_.calls().at("REALLoadObjectMethod"), 0u);
  EXPECT_EQ(LastDictionary, handle);
}

TEST_F(Dictionaries, OlderHostsCountUnderAnotherName) {
  rbversion_rbversion = 2019.03;
  const Value dictionary = host_.dictionary();
  EXPECT_THAT(test::logLinesOf([&] { GetDictionaryCount(as<_REALdictionary>(dictionary)); }),
              ElementsAre("QZR Debug: count 0"));
  host_.failFrom("REALGetPropValueInteger", 1);
  EXPECT_THAT(test::logLinesOf([&] { GetDictionaryCount(as<_REALdictionary>(dictionary)); }),
              ElementsAre("QZR Debug: failed to query Count property."));
}

TEST_F(Dictionaries, MissingMethodsAreNeutralSaidAndAskedForAgain) {
  const Value dictionary = host_.dictionary();
  const Value key = host_.variant(host::VariantType::kInt64, 1);
  auto* handle = as<_REALdictionary>(dictionary);
  host_.failFrom("REALLoadObjectMethod", 1);
  EXPECT_THAT(
      test::logLinesOf([&] {
        EXPECT_EQ(GetDictionaryKey(handle, 0), nullptr);
        EXPECT_EQ(GetDictionaryValue(handle, variantOf(key)), nullptr);
        SetDictionaryValue(handle, variantOf(key), variantOf(key));
      }),
      ElementsAre("QZR Debug: Failed to find dictionary key getter", "QZR Debug: DictionaryKeyGetter is nil!",
                  "QZR Debug: Failed to find dictionary getter", "QZR Debug: DictionaryGetter is nil!",
                  "QZR Debug: Failed to find dictionary setter", "QZR Debug: DictionarySetter is nil!"));
  host_.failFrom("REALLoadObjectMethod", 0);
  SetDictionaryValue(handle, variantOf(key), variantOf(key));
  EXPECT_EQ(host_.entries(dictionary).size(), 1u);
}

}  // namespace
}  // namespace vornik
