// Host arrays and dictionaries, under hosts of several kinds. Each test needs a process of its own, because
// the probe's verdict lasts for the life of one.
#include "plugin/frame/host_services.h"
#include "plugin/values/dictionaries.h"
#include "plugin/values/host_arrays.h"
#include "tests/support/captured_log.h"
#include "tests/support/in_host.h"

namespace vornik {
namespace {

using host::Value;
using test::logLinesOf;
using test::objectOf;
using ::testing::ElementsAre;
using ::testing::StartsWith;
using Arrays = test::InHost;
using Dictionaries = test::InHost;

template <typename Array>
Array* as(const Value& array) {
  return reinterpret_cast<Array*>(objectOf(array));
}

std::int64_t elementAt(const Value& array, std::int64_t index) {
  std::int64_t element = 42;
  REALGetArrayValue(as<_REALarrayInteger>(array), index, &element);
  return element;
}

TEST_F(Arrays, TheFirstAccessInBoundsProbesOnceAndFindsTheDocumentedLayout) {
  const Value array = host_.array(kArrayOfIntegers, {7, 8});
  EXPECT_THAT(logLinesOf([&] {
                raisedBy([&] { EXPECT_EQ(elementAt(array, 2), 42); });
                EXPECT_FALSE(ArrayAccessTested);
                EXPECT_EQ(elementAt(array, 1), 8);
                placeAt(as<_REALarrayInteger>(array), 1).set(9);
              }),
              ElementsAre("QZR Debug: TestArray 2024.010000"));
  EXPECT_TRUE(ArrayAccessSuccess);
  host_.resetCalls();
  EXPECT_EQ(elementAt(array, 1), 9);
  EXPECT_EQ(host_.calls().at("PluginIntegerArrayGetProc"), 0u) << "elements are read directly";
}

TEST_F(Arrays, AnElementThatIsReplacedIsGivenBackDirectlyAndThroughTheProcedures) {
  const Value array = host_.array(kArrayOfVariants, {host_.scriptObject("first")});
  for (const bool isDirect : {true, false}) {
    bool gone = false;
    const auto set = [&](const Value& value) {
      placeAt(as<_REALarrayObject>(array), 0).set(objectOf(value));
    };
    set(host_.scriptObject("held by the array alone", [&] { gone = true; }));
    REALobjectStruct* held = nullptr;
    REALGetArrayValue(as<_REALarrayObject>(array), 0, &held);
    EXPECT_EQ(ArrayAccessSuccess, isDirect);
    REALUnlockObject(held);
    placeAt(as<_REALarrayObject>(array), 0).set(held);
    EXPECT_FALSE(gone) << "an element set to itself stays";
    set(nullptr);
    EXPECT_TRUE(gone);
    ArrayAccessSuccess = false;
  }
}

TEST(ArrayLayouts, AreReadDirectlyWhereTheyAreAsTheVersionDocuments) {
  using Layout = host::HostOptions::ArrayLayout;
  gResolver = &host::Host::resolve;
  for (const double version : {2020.021, 2021.0}) {
    for (const Layout layout : {Layout::kDocumented, Layout::kOther}) {
      host::Host host({.version = version, .arrayLayout = layout});
      rbversion_rbversion = version;
      ArrayAccessTested = false;
      EXPECT_EQ(elementAt(host.array(kArrayOfIntegers, {7, 8}), 1), 8);
      EXPECT_EQ(ArrayAccessSuccess, layout == Layout::kDocumented) << version;
    }
  }
}

TEST_F(Arrays, AProbeThatFailsIsNamedAndAccessGoesOnThroughTheProcedures) {
  const Value array = host_.array(kArrayOfIntegers, {42});
  const auto expectLine = [&](const char* line) {
    ArrayAccessTested = false;
    EXPECT_THAT(logLinesOf([&] { EXPECT_EQ(elementAt(array, 0), 42); }),
                ElementsAre(StartsWith("QZR Debug: TestArray 202"), StartsWith(line)));
    EXPECT_FALSE(ArrayAccessSuccess);
  };
  const struct {
    const char* service;
    std::uint64_t fromCall;
    const char* line;
  } rows[] = {{"RuntimeArrayCreateSingleDimBoundedArray", 1, "QZR Debug: Failed to allocate array"},
              {"RuntimeUBound", 2, "QZR Debug: ubound failed 0"},
              {"PluginIntegerArraySetProc", 1, "QZR Debug: Index 0 failed 0"}};
  for (const auto& row : rows) {
    host_.failFrom(row.service, row.fromCall);
    expectLine(row.line);
    host_.failFrom(row.service, 0);
  }
  const Value shared = host::ObjectRef::adopt(REALCreateArray(kArrayOfIntegers, 1234)), twice = shared;
  ArrayAccessTested = true;
  EXPECT_THAT(logLinesOf([&] { TestArray(as<_REALarrayInteger>(shared)); }),
              ElementsAre("QZR Debug: refCount wrong 2"));
  EXPECT_FALSE(ArrayAccessSuccess);
  // Believes in the older layout, of 32-bit dimension counts, while the host has the newer one.
  rbversion_rbversion = 2020.02;
  expectLine("QZR Debug: ubound wrong ");
}

/// The probe makes an array, and script code that runs there may do anything with the one that is to be read.
TEST_F(Arrays, TheFirstAccessOutlivesWhatHappensInTheProbe) {
  Value array = host_.array(kArrayOfIntegers, {7, 8});
  auto* const handle = as<_REALarrayInteger>(array);
  std::int64_t element = 42;
  host_.interrupt("RuntimeArrayCreateSingleDimBoundedArray", 1, [&] { array = nullptr; });
  REALGetArrayValue(handle, 1, &element);
  EXPECT_EQ(element, 8) << "an array that script code lets go stays until it was read";
  array = host_.array(kArrayOfIntegers, {7, 8});
  ArrayAccessTested = false;
  host_.failFrom("RuntimeUBound", 8);  // which is the first call after the probe's
  EXPECT_EQ(raisedBy([&] { EXPECT_EQ(elementAt(array, 1), 42); }),
            "OutOfBoundsException: The parameter index  is too big. Range is 0 to 0, but value is 1.");
}

TEST_F(Dictionaries, AreServedByTheirHostsOwnMethodsWhichAreLookedUpOnce) {
  const Value key = host_.variant(kVariantString, "k"), first = host_.dictionary();
  auto* handle = as<_REALdictionary>(first);
  host_.failFrom("REALLoadObjectMethod", 1);
  EXPECT_THAT(
      logLinesOf([&] {
        EXPECT_EQ(GetDictionaryKey(handle, 0), nullptr);
        EXPECT_EQ(GetDictionaryValue(handle, objectOf(key)), nullptr);
        SetDictionaryValue(handle, objectOf(key), objectOf(key));
      }),
      ElementsAre("QZR Debug: Failed to find dictionary key getter", "QZR Debug: DictionaryKeyGetter is nil!",
                  "QZR Debug: Failed to find dictionary getter", "QZR Debug: DictionaryGetter is nil!",
                  "QZR Debug: Failed to find dictionary setter", "QZR Debug: DictionarySetter is nil!"));
  host_.failFrom("REALLoadObjectMethod", 0);
  host_.resetCalls();
  // Other dictionaries of the same class are served by the addresses found for the first.
  for (const Value& dictionary : {first, host_.dictionary()}) {
    auto* const each = as<_REALdictionary>(dictionary);
    SetDictionaryValue(each, objectOf(key), objectOf(first));
    EXPECT_EQ(host::ObjectRef::adopt(GetDictionaryKey(each, 0)).get(), objectOf(key));
    EXPECT_EQ(host::ObjectRef::adopt(GetDictionaryValue(each, objectOf(key))).get(), objectOf(first));
    EXPECT_EQ(raisedBy([&] { EXPECT_EQ(GetDictionaryValue(each, nullptr), nullptr); }),
              "KeyNotFoundException: The dictionary has no such key");
    SetDictionaryValue(each, objectOf(key), nullptr);
    EXPECT_EQ(host_.calls().at("REALLoadObjectMethod"), 3u);
    EXPECT_EQ(LastDictionary, handle);
  }
  // Of another class is also one that differs in the second word alone.
  const Value other = host_.dictionary();
  auto* const words = reinterpret_cast<const void**>(objectOf(other));
  const void* const definition = words[1];
  {
    const DictionaryConversion conversion;
    words[1] = &other;
    SetDictionaryValue(as<_REALdictionary>(other), objectOf(key), objectOf(first));
    EXPECT_EQ(host::ObjectRef::adopt(GetDictionaryKey(as<_REALdictionary>(other), 0)).get(), objectOf(key));
    REALUnlockObject(GetDictionaryValue(as<_REALdictionary>(other), objectOf(key)));
    EXPECT_EQ(host_.calls().at("REALLoadObjectMethod"), 6u);
    words[1] = definition;
  }
  EXPECT_EQ(LastDictionary, nullptr) << "another one may come to lie there";
  EXPECT_THAT(logLinesOf([&] {
                EXPECT_EQ(GetDictionaryCount(handle), 1);
                rbversion_rbversion = 2019.03;
                EXPECT_EQ(GetDictionaryCount(handle), 1);
                host_.failFrom("REALGetPropValueInteger", 1);
                EXPECT_EQ(GetDictionaryCount(handle), 0);
              }),
              ElementsAre("QZR Debug: KeyCount 1", "QZR Debug: count 1",
                          "QZR Debug: failed to query Count property."));
}

}  // namespace
}  // namespace vornik
