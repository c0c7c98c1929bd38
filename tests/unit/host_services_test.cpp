// The stand-in host's services, called the way a library calls them.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "host/host.h"

namespace vornik::host {
namespace {

template <typename Signature>
Signature* service(const char* name) {
  return reinterpret_cast<Signature*>(Host::resolve(name));
}

template <typename Signature>
Signature* globalMethod(const char* declaration) {
  return reinterpret_cast<Signature*>(
      service<void*(void*, const char*)>("REALLoadGlobalMethod")(nullptr, declaration));
}

REALstringStruct* handle(const Value& value) {
  return value.string().get();
}
REALobjectStruct* object(const Value& value) {
  return value.object().get();
}

struct EncodedText {
  std::uint32_t encoding;
  std::string bytes;  // of "aé"
};

TEST(HostStrings, ConvertBetweenAllEncodings) {
  Host host;
  using namespace std::string_literals;
  const EncodedText texts[] = {
      {kEncodingUTF8, "a\xC3\xA9"},
      {kEncodingMacRoman, "a\x8E"},
      {kEncodingUnknown, "a\x8E"},
      {kEncodingISOLatin1, "a\xE9"},
      {kEncodingWindowsLatin1, "a\xE9"},
      {kEncodingUTF16LE, "a\0\xE9\0"s},
      {kEncodingUTF16BE, "\0a\0\xE9"s},
      {kEncodingUTF32LE, "a\0\0\0\xE9\0\0\0"s},
      {kEncodingUTF32BE, "\0\0\0a\0\0\0\xE9"s},
  };
  const auto lengthOf = globalMethod<std::int64_t(REALstringStruct*)>("LenB( s as string ) as integer");
  const auto convert = service<REALstringStruct*(REALstringStruct*, std::uint32_t)>("REALConvertString");
  const auto compare = service<std::int32_t(REALstringStruct*, REALstringStruct*)>("RuntimeStringCompare");
  const auto fill = service<bool(REALstringStruct*, std::uint32_t, REALstringData*)>("PluginGetStringData");
  for (const EncodedText& from : texts) {
    const Value source = host.string(from.bytes, from.encoding);
    EXPECT_EQ(source.text(), "a\xC3\xA9") << from.encoding;
    for (const EncodedText& to : texts) {
      const StringRef converted = StringRef::adopt(convert(handle(source), to.encoding));
      EXPECT_EQ(lengthOf(converted.get()), static_cast<std::int64_t>(to.bytes.size()));
      EXPECT_EQ(compare(handle(source), converted.get()), 0);
      REALstringData record{};
      ASSERT_TRUE(fill(handle(source), to.encoding, &record));
      const auto* bytes = static_cast<const char*>(record.data);
      EXPECT_EQ(std::string(bytes, static_cast<std::size_t>(record.byteLength)), to.bytes)
          << from.encoding << " to " << to.encoding;
      EXPECT_EQ(std::memcmp(bytes + record.byteLength, "\0\0", 2), 0);
      service<void(REALstringData*)>("PluginDisposeStringData")(&record);
    }
  }
  REALstringData record{};
  EXPECT_FALSE(fill(handle(Value("\xC3\xA9")), 12345, &record));
  EXPECT_EQ(host.ledger().things, 0U);
}

TEST(HostStrings, WideCodesOfNoFixedOrderFollowTheMachine) {
  Host host;
  const char16_t units[] = {u'a', u'é'};
  const Value wide = host.string({reinterpret_cast<const char*>(units), sizeof(units)}, kEncodingUTF16);
  EXPECT_EQ(wide.text(), "a\xC3\xA9");
  const char32_t points[] = {U'a', U'é'};
  const Value wider = host.string({reinterpret_cast<const char*>(points), sizeof(points)}, kEncodingUTF32);
  EXPECT_EQ(wider.text(), "a\xC3\xA9");
}

TEST(HostStrings, CompareWithoutRegardToCase) {
  Host host;
  const auto compare = [&](const Value& a, const Value& b) {
    return service<std::int32_t(REALstringStruct*, REALstringStruct*)>("RuntimeStringCompare")(handle(a),
                                                                                               handle(b));
  };
  EXPECT_EQ(compare("Map", "mAP"), 0);
  EXPECT_LT(compare("Map", "maps"), 0);
  EXPECT_LT(compare("_", "A"), 0) << "folds to lower case";
  EXPECT_LT(compare("_\xC3\xA9", "A\xC3\xA9"), 0);
  EXPECT_LT(compare("a", "B"), 0);
  EXPECT_GT(compare("b", "A"), 0);
  EXPECT_EQ(compare("\xC3\x89t\xC3\xA9", host.string("\xE9T\xE9", kEncodingISOLatin1)), 0);
  EXPECT_EQ(compare(StringRef(), ""), 0);
  EXPECT_LT(compare(StringRef(), "a"), 0);
  EXPECT_LT(compare("\xEF\xBC\xA1", "\xF0\x90\x90\x80"), 0) << "code points, not code units, in order";
}

TEST(HostVariants, TellTheirTypesApart) {
  Host host;
  const auto typeOf = globalMethod<std::int64_t(REALobjectStruct*)>("VarType(value As Variant) As Integer");
  const auto classOf = service<void*(const char*)>("pluginObjectType");
  const auto isA = service<bool(REALobjectStruct*, void*)>("RuntimeObjectIsa");
  const Value signedOne = host.variant(VariantType::kInt64, 1);
  const Value unsignedOne = host.variant(VariantType::kInt64, 1, true);
  const Value narrow = host.variant(VariantType::kInt32, -1, true);
  EXPECT_EQ(typeOf(object(signedOne)), 3);
  EXPECT_EQ(typeOf(object(unsignedOne)), 3);
  EXPECT_EQ(typeOf(object(narrow)), 2);
  EXPECT_EQ(typeOf(nullptr), 0);
  EXPECT_EQ(typeOf(object(host.dictionary())), 9);
  EXPECT_FALSE(isA(object(signedOne), classOf("_VariantUInt64")));
  EXPECT_TRUE(isA(object(unsignedOne), classOf("_VariantUInt64")));
  EXPECT_FALSE(isA(object(unsignedOne), classOf("_VariantUInt32")));
  EXPECT_TRUE(isA(object(narrow), classOf("_VariantUInt32")));
  EXPECT_TRUE(isA(object(host.instantiate("KeyNotFoundException")), classOf("RuntimeException")));
  EXPECT_EQ(classOf("NoSuchClass"), nullptr);
}

TEST(HostVariants, Convert) {
  Host host;
  const auto integer = service<std::int64_t(REALobjectStruct*)>("VariantToInt64");
  const auto wide = service<std::uint64_t(REALobjectStruct*)>("VariantToUInt64");
  const auto number = service<double(REALobjectStruct*)>("VariantToDouble");
  const auto single = service<float(REALobjectStruct*)>("VariantToSingle");
  const auto text = [&](const Value& variant) {
    return Value(StringRef::adopt(
                     service<REALstringStruct*(REALobjectStruct*)>("VariantToString")(object(variant))))
        .text();
  };
  constexpr auto kMost = std::numeric_limits<std::int64_t>::max();
  EXPECT_EQ(integer(object(host.variant(VariantType::kString, "12"))), 12);
  EXPECT_EQ(integer(object(host.variant(VariantType::kDouble, -2.9))), -2);
  EXPECT_EQ(integer(object(host.variant(VariantType::kDouble, 1e300))), kMost);
  EXPECT_EQ(integer(object(host.variant(VariantType::kDouble, std::nan("")))), 0);
  EXPECT_EQ(integer(nullptr), 0);
  EXPECT_EQ(integer(object(host.dictionary())), 0);
  EXPECT_EQ(wide(object(host.variant(VariantType::kInt64, -1, true))), ~std::uint64_t{0});
  EXPECT_EQ(wide(object(host.variant(VariantType::kInt32, -1, true))), 0xFFFFFFFFU);
  EXPECT_EQ(number(object(host.variant(VariantType::kInt64, -1, true))), 18446744073709551616.0);
  EXPECT_EQ(single(object(host.variant(VariantType::kSingle, 0.1))), 0.1F);
  EXPECT_EQ(text(host.variant(VariantType::kInt64, -1, true)), "18446744073709551615");
  EXPECT_EQ(text(host.variant(VariantType::kDouble, 0.5)), "0.5");
  EXPECT_EQ(text(host.variant(VariantType::kBoolean, true)), "True");
  EXPECT_EQ(host.unbox(host.variant(VariantType::kText, "t")).text(), "t");
}

TEST(HostVariants, HashEqualValuesAlike) {
  Host host;
  const auto hash = service<std::uint32_t(REALobjectStruct*)>("VariantHash");
  const auto hashOf = [&](const Value& variant) { return hash(object(variant)); };
  EXPECT_EQ(hashOf(host.variant(VariantType::kDouble, 0.0)),
            hashOf(host.variant(VariantType::kDouble, -0.0)));
  EXPECT_EQ(hashOf(host.variant(VariantType::kInt64, 7)), hashOf(host.variant(VariantType::kInt64, 7)));
  EXPECT_NE(hashOf(host.variant(VariantType::kInt64, 7)), hashOf(host.variant(VariantType::kInt64, 8)));
  const Value dictionary = host.dictionary();
  const auto toObject = service<REALobjectStruct*(REALobjectStruct*)>("VariantToObject");
  const ObjectRef same = ObjectRef::adopt(toObject(object(dictionary)));
  EXPECT_EQ(same.get(), object(dictionary));
  EXPECT_EQ(host.references(dictionary), 2);
}

TEST(HostVariants, AreReadableByProperty) {
  Host host;
  const Value variant = host.variant(VariantType::kInt64, -2, true);
  std::uint64_t wide = 0;
  float single = 0;
  REALstringStruct* text = nullptr;
  EXPECT_TRUE((service<bool(REALobjectStruct*, const char*, std::uint64_t*)>("REALGetPropValueUInt64")(
      object(variant), "UInt64Value", &wide)));
  EXPECT_TRUE((service<bool(REALobjectStruct*, const char*, float*)>("REALGetPropValueSingle")(
      object(variant), "SingleValue", &single)));
  EXPECT_TRUE((service<bool(REALobjectStruct*, const char*, REALstringStruct**)>("REALGetPropValueString")(
      object(variant), "StringValue", &text)));
  EXPECT_EQ(wide, std::uint64_t{0} - 2);
  EXPECT_EQ(single, 18446744073709551616.0F);
  EXPECT_EQ(Value(StringRef::adopt(text)).text(), "18446744073709551614");
  std::int64_t untouched = 42;
  EXPECT_FALSE((service<bool(REALobjectStruct*, const char*, std::int64_t*)>("REALGetPropValueInteger")(
      object(variant), "NoSuchProperty", &untouched)));
  EXPECT_EQ(untouched, 42);
}

template <typename T>
T at(const REALobjectStruct* array, std::size_t offset) {
  T value;
  std::memcpy(&value, reinterpret_cast<const char*>(array) + offset, sizeof(value));
  return value;
}

TEST(HostArrays, LieInMemoryAsTheVersionDocuments) {
  using Layout = HostOptions::ArrayLayout;
  for (const double version : {2020.021, 2021.0}) {
    for (const Layout layout : {Layout::kDocumented, Layout::kOther}) {
      HostOptions options;
      options.version = version;
      options.arrayLayout = layout;
      Host host(options);
      const auto create =
          service<REALobjectStruct*(std::int32_t, std::int64_t)>("RuntimeArrayCreateSingleDimBoundedArray");
      const ObjectRef array = ObjectRef::adopt(create(kArrayOfIntegers, 1234));
      const bool wide = version >= 2021.0;
      EXPECT_EQ(at<std::int64_t>(array.get(), 24), 1);
      const std::int64_t dimensions =
          wide ? at<std::int64_t>(array.get(), 64) : at<std::int32_t>(array.get(), 64);
      const std::int32_t upperBound = at<std::int32_t>(array.get(), wide ? 84 : 76);
      EXPECT_EQ(dimensions == 1 && upperBound == 1234, layout == Layout::kDocumented);
      if (layout == Layout::kDocumented) at<std::int64_t*>(array.get(), 56)[9] = 77;
      EXPECT_EQ(host.elements(array)[9].integer(), layout == Layout::kDocumented ? 77 : 0);
      EXPECT_EQ(create(kArrayOfIntegers, -2), nullptr);
      EXPECT_EQ(create(99, 1), nullptr);
      EXPECT_EQ(create(kArrayOfIntegers, std::int64_t{1} << 62), nullptr);
    }
  }
}

TEST(HostArrays, ElementProceduresKeepReferencesOfTheirOwn) {
  Host host;
  using Procedure = void*(REALobjectStruct*);
  const Value text = "text";
  const Value array = host.array(kArrayOfStrings, {});
  const auto insert = reinterpret_cast<void (*)(REALobjectStruct*, std::int64_t, REALstringStruct*)>(
      service<Procedure>("PluginStringArrayInsertProc")(object(array)));
  const auto set = reinterpret_cast<void (*)(REALobjectStruct*, REALstringStruct*, std::int64_t)>(
      service<Procedure>("PluginStringArraySetProc")(object(array)));
  const auto get = reinterpret_cast<REALstringStruct* (*)(REALobjectStruct*, std::int64_t)>(
      service<Procedure>("PluginStringArrayGetProc")(object(array)));
  insert(object(array), 0, handle(text));
  insert(object(array), 0, handle(Value("first")));
  EXPECT_EQ(host.references(text), 2);
  EXPECT_EQ(service<std::int64_t(REALobjectStruct*)>("RuntimeUBound")(object(array)), 1);
  set(object(array), handle(text), 1);
  EXPECT_EQ(host.references(text), 2);
  const StringRef second = StringRef::adopt(get(object(array), 1));
  EXPECT_EQ(host.references(text), 3);
  set(object(array), nullptr, 1);
  EXPECT_EQ(host.references(text), 2);
  EXPECT_EQ(host.elements(array)[0].text(), "first");
  EXPECT_EQ(service<Procedure>("PluginIntegerArrayGetProc")(object(array)), nullptr);
  Host::PluginCall call;
  EXPECT_EQ(get(object(array), 2), nullptr);
  EXPECT_THROW(call.finish(), ScriptException);
}

TEST(HostDictionaries, ServeTheirMethodsByDeclaration) {
  Host host;
  const Value dictionary = host.dictionary();
  const auto method = [&](const char* declaration) {
    return service<void*(REALobjectStruct*, const char*)>("REALLoadObjectMethod")(object(dictionary),
                                                                                  declaration);
  };
  const auto get = reinterpret_cast<REALobjectStruct* (*)(REALobjectStruct*, REALobjectStruct*)>(
      method("Value(key As Variant) As Variant"));
  const auto set = reinterpret_cast<void (*)(REALobjectStruct*, REALobjectStruct*, REALobjectStruct*)>(
      method("Value(key As Variant, Assigns _value As Variant)"));
  const auto keyAt = reinterpret_cast<REALobjectStruct* (*)(REALobjectStruct*, std::int64_t)>(
      method("Key(index As Integer) As Variant"));
  EXPECT_EQ(method("Clear()"), nullptr);

  const Value lower = host.variant(VariantType::kString, "key"),
              upper = host.variant(VariantType::kString, "KEY");
  set(object(dictionary), object(lower), object(host.variant(VariantType::kInt64, 1)));
  set(object(dictionary), object(upper), object(host.variant(VariantType::kInt64, 2)));
  set(object(dictionary), object(host.variant(VariantType::kString, "key")),
      object(host.variant(VariantType::kInt64, 3)));
  host.setEntry(dictionary, nullptr, "nil");
  const auto entries = host.entries(dictionary);
  ASSERT_EQ(entries.size(), 3U);
  EXPECT_EQ(host.unbox(entries[0].second).integer(), 3);
  EXPECT_EQ(object(entries[1].first), object(upper));
  EXPECT_EQ(host.unbox(ObjectRef::adopt(get(object(dictionary), object(upper)))).integer(), 2);
  EXPECT_EQ(host.unbox(ObjectRef::adopt(get(object(dictionary), nullptr))).text(), "nil");
  EXPECT_EQ(ObjectRef::adopt(keyAt(object(dictionary), 0)).get(), object(lower));
  EXPECT_EQ(host.get(dictionary, "KeyCount").integer(), 3);

  Host::PluginCall call;
  EXPECT_EQ(get(object(dictionary), object(host.variant(VariantType::kInt64, 9))), nullptr);
  EXPECT_THROW(call.finish(), ScriptException);
  const Value other = host.dictionary("SortedDictionary");
  EXPECT_NE(at<void*>(object(other), 0), at<void*>(object(dictionary), 0));
  EXPECT_NE(at<void*>(object(other), 8), at<void*>(object(dictionary), 8));
}

TEST(HostServices, CanBeWithheldCountedAndMadeToFail) {
  HostOptions options;
  options.withheld = {"REALinRuntime", "LenB( s as string ) as integer"};
  options.version.reset();
  Host host(options);
  EXPECT_EQ(Host::resolve("REALinRuntime"), nullptr);
  EXPECT_EQ(Host::resolve("REALGetRBVersion"), nullptr);
  EXPECT_EQ(Host::resolve("NoSuchService"), nullptr);
  EXPECT_EQ(globalMethod<void()>("LenB( s as string ) as integer"), nullptr);
  host.withhold("REALinRuntime", false);
  EXPECT_NE(Host::resolve("REALinRuntime"), nullptr);

  const auto box = service<REALobjectStruct*(std::int64_t)>("IntegerToVariant");
  const auto works = [&] { return ObjectRef::adopt(box(1)).get() != nullptr; };
  host.resetCalls();
  EXPECT_TRUE(works());
  host.failFrom("IntegerToVariant", 2);
  EXPECT_TRUE(works());
  EXPECT_FALSE(works());
  EXPECT_FALSE(works());
  EXPECT_EQ(host.calls().at("IntegerToVariant"), 4U);
  host.resetCalls();
  EXPECT_FALSE(works());
  host.failFrom("IntegerToVariant", 0);
  EXPECT_TRUE(works());
  EXPECT_EQ(host.calls().at("IntegerToVariant"), 2U);
  EXPECT_THROW(host.failFrom("NoSuchService", 1), std::invalid_argument);
}

}  // namespace
}  // namespace vornik::host
