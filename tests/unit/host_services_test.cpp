// The stand-in host's services, called the way a library calls them: what the library's own tests would not
// notice.
#include <gtest/gtest.h>

#include <cmath>

#include "host/host.h"

namespace vornik::host {
namespace {

using namespace std::string_literals;
using Object = REALobjectStruct*;
using String = REALstringStruct*;

template <typename Result, typename... Arguments>
Result service(const char* name, Arguments... arguments) {
  return reinterpret_cast<Result (*)(Arguments...)>(Host::resolve(name))(arguments...);
}
String handle(const Value& value) {
  return value.string().get();
}
Object object(const Value& value) {
  return value.object().get();
}
// What bytes stand for in each encoding, the tests of the library's texts see.
TEST(HostStrings, ConvertToEveryEncodingAndBack) {
  Host host;
  const Value string = "a\u00E9";
  REALstringData record{};
  for (const std::uint32_t encoding :
       {kEncodingUTF8, kEncodingMacRoman, kEncodingUnknown, kEncodingISOLatin1, kEncodingWindowsLatin1,
        kEncodingUTF16, kEncodingUTF16LE, kEncodingUTF16BE, kEncodingUTF32, kEncodingUTF32LE,
        kEncodingUTF32BE}) {
    const Value converted = StringRef::adopt(service<String>("REALConvertString", handle(string), encoding));
    EXPECT_EQ(converted.text(), "a\u00E9") << encoding;
    EXPECT_EQ(service<std::int32_t>("RuntimeStringCompare", handle(string), handle(converted)), 0);
    ASSERT_TRUE(service<bool>("PluginGetStringData", handle(string), encoding, &record));
    const std::string bytes(static_cast<const char*>(record.data),
                            static_cast<std::size_t>(record.byteLength) + 2);
    EXPECT_EQ(bytes.substr(bytes.size() - 2), "\0\0"s) << encoding;
    EXPECT_EQ(host.string(bytes.substr(0, bytes.size() - 2), encoding).text(), "a\u00E9") << encoding;
    service<void>("PluginDisposeStringData", &record);
  }
  EXPECT_FALSE(service<bool>("PluginGetStringData", handle(string), 12345u, &record));
}

TEST(HostVariants, Convert) {
  Host host;
  const struct {
    VariantType type;
    Value value;
    bool isUnsigned;
    std::int64_t integer;
    double number;
    const char* text;
  } rows[] = {
      {VariantType::kString, "12", false, 12, 12.0, "12"},
      {VariantType::kDouble, -2.5, false, -2, -2.5, "-2.5"},
      {VariantType::kDouble, 1e300, false, INT64_MAX, 1e300, "1e+300"},
      {VariantType::kSingle, 0.1, false, 0, 0.1F, "0.10000000149011612"},
      {VariantType::kBoolean, true, false, 1, 1.0, "True"},
      {VariantType::kInt64, -1, true, -1, 18446744073709551616.0, "18446744073709551615"},
      {VariantType::kInt32, -1, true, 0xFFFFFFFF, 4294967295.0, "4294967295"},
  };
  for (const auto& row : rows) {
    const Value variant = host.variant(row.type, row.value, row.isUnsigned);
    EXPECT_EQ(service<std::int64_t>("VariantToInt64", object(variant)), row.integer) << row.text;
    EXPECT_EQ(service<double>("VariantToDouble", object(variant)), row.number) << row.text;
    const Value text = StringRef::adopt(service<String>("VariantToString", object(variant)));
    EXPECT_EQ(text.text(), row.text);
  }
  EXPECT_EQ(service<std::int64_t>("VariantToInt64", object(host.variant(VariantType::kDouble, NAN))), 0);
  EXPECT_EQ(service<std::int64_t>("VariantToInt64", object(host.dictionary())), 0);
  EXPECT_EQ(service<std::uint32_t>("VariantHash", object(host.variant(VariantType::kDouble, 0.0))),
            service<std::uint32_t>("VariantHash", object(host.variant(VariantType::kDouble, -0.0))));
  std::int64_t untouched = 42;
  EXPECT_FALSE(service<bool>("REALGetPropValueInteger", object(host.dictionary()), "Values", &untouched));
  EXPECT_EQ(untouched, 42);
  const Value number = host.variant(VariantType::kInt64, -2, true);
  String text = nullptr;
  EXPECT_FALSE(service<bool>("REALGetPropValueString", object(number), "IntegerValue", &text));
  EXPECT_TRUE(service<bool>("REALGetPropValueString", object(number), "StringValue", &text));
  EXPECT_EQ(Value(StringRef::adopt(text)).text(), "18446744073709551614");
}

TEST(HostArrays, KnowTheirTypesAndSizes) {
  Host host;
  const std::pair<std::int32_t, std::int64_t> refused[] = {
      {kArrayOfIntegers, -2}, {99, 1}, {kArrayOfIntegers, std::int64_t{1} << 62}};
  for (const auto& [type, upperBound] : refused) {
    EXPECT_EQ(service<Object>("RuntimeArrayCreateSingleDimBoundedArray", type, upperBound), nullptr);
  }
  const Value array = host.array(kArrayOfIntegers, {1});
  EXPECT_EQ(service<void*>("PluginStringArrayGetProc", object(array)), nullptr);
  const auto get = reinterpret_cast<std::int64_t (*)(Object, std::int64_t)>(
      service<void*>("PluginIntegerArrayGetProc", object(array)));
  Host::PluginCall call;
  EXPECT_EQ(get(object(array), 1), 0);
  EXPECT_THROW(call.finish(), ScriptException);
}

TEST(HostServices, CanBeWithheldCountedAndMadeToFail) {
  const char* const kLength = "LenB( s as string ) as integer";
  Host host({.version = std::nullopt, .withheld = {"REALinRuntime", kLength}});
  for (const char* name : {"REALinRuntime", "REALGetRBVersion", "NoSuchService"}) {
    EXPECT_EQ(Host::resolve(name), nullptr) << name;
  }
  EXPECT_EQ(service<void*>("REALLoadGlobalMethod", nullptr, kLength), nullptr);
  host.withhold("REALinRuntime", false);
  EXPECT_NE(Host::resolve("REALinRuntime"), nullptr);

  const auto works = [] {
    return bool(ObjectRef::adopt(service<Object>("IntegerToVariant", std::int64_t{1})));
  };
  host.resetCalls();
  EXPECT_TRUE(works());
  host.failFrom("IntegerToVariant", 2);
  EXPECT_TRUE(works());
  EXPECT_FALSE(works());
  EXPECT_EQ(host.calls().at("IntegerToVariant"), 3U);
  host.resetCalls();
  EXPECT_FALSE(works());
  host.failFrom("IntegerToVariant", 0);
  EXPECT_TRUE(works());
  EXPECT_EQ(host.calls().at("IntegerToVariant"), 2U);
  EXPECT_THROW(host.failFrom("NoSuchService", 1), std::invalid_argument);
}

}  // namespace
}  // namespace vornik::host
