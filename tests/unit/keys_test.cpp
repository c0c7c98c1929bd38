// String and variant keys: folding, hashes, equality and order.
#include <cmath>
#include <limits>

#include "plugin/containers/kinds.h"
#include "plugin/values/case_folding.h"
#include "tests/unit/in_host.h"

namespace vornik {
namespace {

using namespace std::string_literals;
using Keys = test::InHost;
using host::Value;
using Type = host::VariantType;

TEST(CaseFolding, ExactlyTheFrozenFolding) {
  initLowerTable();
  int folded = 0;
  for (std::uint32_t unit = 0; unit < 0x10000; ++unit) folded += lower[unit] != unit ? 1 : 0;
  EXPECT_EQ(folded, 724);
  const struct {
    std::uint32_t from, to, target;
  } ranges[] = {
      {0x41, 0x5A, 0x61},       {0xB5, 0xB5, 0x3BC},      {0xC0, 0xD6, 0xE0},       {0xD7, 0xD7, 0xD7},
      {0xD8, 0xDE, 0xF8},       {0xDF, 0xDF, 0xDF},       {0x130, 0x131, 0x130},    {0x178, 0x178, 0xFF},
      {0x17F, 0x17F, 0x73},     {0x1C4, 0x1C4, 0x1C6},    {0x1C5, 0x1C5, 0x1C6},    {0x1C7, 0x1C7, 0x1C9},
      {0x1C8, 0x1C8, 0x1C9},    {0x1CA, 0x1CA, 0x1CC},    {0x1CB, 0x1CB, 0x1CC},    {0x1F1, 0x1F1, 0x1F3},
      {0x1F2, 0x1F2, 0x1F3},    {0x345, 0x345, 0x3B9},    {0x3C2, 0x3C2, 0x3C3},    {0x3D0, 0x3D0, 0x3B2},
      {0x3D1, 0x3D1, 0x3B8},    {0x3D5, 0x3D5, 0x3C6},    {0x3D6, 0x3D6, 0x3C0},    {0x3F0, 0x3F0, 0x3BA},
      {0x3F1, 0x3F1, 0x3C1},    {0x3F2, 0x3F2, 0x3C3},    {0x3F4, 0x3F4, 0x3B8},    {0x3F5, 0x3F5, 0x3B5},
      {0x10A0, 0x10C5, 0x10A0}, {0x1E9B, 0x1E9B, 0x1E61}, {0x1E9E, 0x1E9E, 0x1E9E}, {0x1F88, 0x1F8F, 0x1F80},
      {0x1F98, 0x1F9F, 0x1F90}, {0x1FA8, 0x1FAF, 0x1FA0}, {0x1FBC, 0x1FBC, 0x1FB3}, {0x1FCC, 0x1FCC, 0x1FC3},
      {0x1FFC, 0x1FFC, 0x1FF3}, {0x1FBE, 0x1FBE, 0x3B9},  {0x2126, 0x2126, 0x3C9},  {0x212A, 0x212A, 0x6B},
      {0x212B, 0x212B, 0xE5},   {0x2160, 0x216F, 0x2170}, {0x24B6, 0x24CF, 0x24D0}, {0xD800, 0xDFFF, 0xD800},
      {0xFF21, 0xFF3A, 0xFF41},
  };
  for (const auto& range : ranges) {
    for (std::uint32_t unit = range.from; unit <= range.to; ++unit) {
      EXPECT_EQ(lower[unit], range.target + (unit - range.from)) << std::hex << unit;
    }
  }
}

TEST_F(Keys, PinnedStringHashes) {
  const auto hashS = [&](const std::string& text) { return GetStringHashS(Value(text).string().get()); };
  const auto hashI = [&](const std::string& text) { return GetStringHashI(Value(text).string().get()); };
  EXPECT_EQ(hashS(""), 0u);
  EXPECT_EQ(GetStringHashS(nullptr), 0u);
  EXPECT_EQ(hashS("A"), 65u);
  EXPECT_EQ(hashS("AB"), 1106u);
  EXPECT_EQ(hashS("abc"), 26499u);
  EXPECT_EQ(hashS("\xC3\xA9"), 0x0FFFF229u);
  EXPECT_EQ(hashS("the quick brown fox") >> 28, 0u);
  EXPECT_NE(hashS("a\0b"s), hashS("a\0c"s));
  EXPECT_EQ(hashI("ABC"), hashI("aBc"));
  EXPECT_EQ(hashI("abc"), 26499u);
  EXPECT_EQ(hashI("\u01C5"), hashI("\u01C6"));
  EXPECT_EQ(hashI("\u212A"), hashI("k"));
  EXPECT_EQ(hashI("\u017F"), hashI("s"));
  EXPECT_NE(hashI("\u00DF"), hashI("ss"));
  EXPECT_NE(hashI("\u0130"), hashI("i"));
}

TEST_F(Keys, StringComparison) {
  const auto compareS = [&](const std::string& a, const std::string& b) {
    return CompareS(Value(a).string().get(), Value(b).string().get());
  };
  EXPECT_EQ(CompareS(StringOperand(nullptr), StringOperand(nullptr)), 0);
  EXPECT_EQ(CompareS(StringOperand(nullptr), Value("").string().get()), 0);
  EXPECT_LT(compareS("abc", "abcd"), 0);
  EXPECT_LT(compareS("abcd", "abd"), 0);
  EXPECT_LT(compareS("B", "a"), 0);
  EXPECT_LT(compareS("z", "\u00E9"), 0) << "bytes compare unsigned";
  EXPECT_EQ(compareS("a\0b"s, "a\0c"s), 0);
  const Value wide = host_.string("\xE9\0"s, kEncodingUTF16LE);
  EXPECT_EQ(CompareS(wide.string().get(), Value("\u00E9").string().get()), 0);

  const auto compareI = [&](const char* a, const char* b) {
    return CompareI(Value(a).string().get(), Value(b).string().get());
  };
  EXPECT_EQ(compareI("\u00C4bC", "\u00E4Bc"), 0);
  EXPECT_LT(compareI("a", "B"), 0);
  rbversion_rbversion = 2011.04;
  EXPECT_EQ(compareI("aBC", "AbC"), 0);
  EXPECT_NE(compareI("\u00C4", "\u00E4"), 0) << "older hosts fold ASCII only";
}

TEST_F(Keys, EqualHandlesAreNotLookedAt) {
  const Value text("abc");
  const Value number = host_.variant(Type::kInt64, 7);
  host_.resetCalls();
  EXPECT_EQ(CompareS(text.string().get(), StringOperand(text.string().get())), 0);
  EXPECT_EQ(CompareI(number.object().get(), VariantOperand(number.object().get())), 0);
  for (const auto& [service, calls] : host_.calls()) EXPECT_EQ(calls, 0u) << service;
}

TEST_F(Keys, VariantComparison) {
  const auto sign = [](std::int64_t n) { return n < 0 ? -1 : n > 0 ? 1 : 0; };
  const auto nan = std::numeric_limits<double>::quiet_NaN();
  const struct {
    const char* title;
    Value a, b;
    int s, i;  // signs of CompareS and CompareI; 2: by address
  } rows[] = {
      {"Int32", host_.variant(Type::kInt32, 7), host_.variant(Type::kInt32, 9), -1, -1},
      {"Int64", host_.variant(Type::kInt64, -1), host_.variant(Type::kInt64, 1), -1, -1},
      {"Int64 equal", host_.variant(Type::kInt64, 5), host_.variant(Type::kInt64, 5), 0, 0},
      {"UInt32", host_.variant(Type::kInt32, std::int64_t{0xFFFFFFFF}, true),
       host_.variant(Type::kInt32, 1, true), 1, 1},
      {"UInt64", host_.variant(Type::kInt64, -1, true), host_.variant(Type::kInt64, 1, true), 1, 1},
      {"Boolean", host_.variant(Type::kBoolean, false), host_.variant(Type::kBoolean, true), -1, -1},
      {"Color", host_.variant(Type::kColor, std::int64_t{0xFFFFFF}), host_.variant(Type::kColor, 1), 1, 1},
      {"Single", host_.variant(Type::kSingle, 1.5), host_.variant(Type::kSingle, 2.5), -1, -1},
      {"Double", host_.variant(Type::kDouble, 1.5), host_.variant(Type::kDouble, 1.5), 0, 0},
      {"Currency", host_.variant(Type::kCurrency, 2.5), host_.variant(Type::kCurrency, 1.5), 1, 1},
      {"NaN left", host_.variant(Type::kDouble, nan), host_.variant(Type::kDouble, 1.0), 1, 1},
      {"NaN right", host_.variant(Type::kDouble, 1.0), host_.variant(Type::kDouble, nan), 1, 1},
      {"NaN both", host_.variant(Type::kDouble, nan), host_.variant(Type::kDouble, nan), 1, 1},
      {"String", host_.variant(Type::kString, "abc"), host_.variant(Type::kString, "ABC"), 1, 0},
      {"Text", host_.variant(Type::kText, "abc"), host_.variant(Type::kText, "abc"), 0, 0},
      {"String and Text", host_.variant(Type::kString, "abc"), host_.variant(Type::kText, "abc"), 2, 2},
      {"Int32 and Double", host_.variant(Type::kInt32, 5), host_.variant(Type::kDouble, 5.0), 2, 2},
      {"Int32 and UInt32", host_.variant(Type::kInt32, 5), host_.variant(Type::kInt32, 5, true), 2, 2},
      {"objects", host_.scriptObject("a"), host_.scriptObject("b"), 2, 2},
  };
  for (const auto& row : rows) {
    REALobjectStruct* a = row.a.object().get();
    REALobjectStruct* b = row.b.object().get();
    const int byAddress = a < b ? -1 : 1;
    EXPECT_EQ(sign(CompareS(a, b)), row.s == 2 ? byAddress : row.s) << row.title;
    EXPECT_EQ(sign(CompareI(a, b)), row.i == 2 ? byAddress : row.i) << row.title;
    EXPECT_LT(CompareS(VariantOperand(nullptr), a), 0) << row.title;
    EXPECT_GT(CompareI(a, VariantOperand(nullptr)), 0) << row.title;
    if (row.s == 0) {
      EXPECT_EQ(MyGetVariantHashS(a), MyGetVariantHashS(b)) << row.title;
    }
    if (row.i == 0) {
      EXPECT_EQ(MyGetVariantHashI(a), MyGetVariantHashI(b)) << row.title;
    }
  }
  EXPECT_EQ(CompareS(VariantOperand(nullptr), VariantOperand(nullptr)), 0);
  EXPECT_EQ(MyGetVariantHashS(nullptr), 0u);
  EXPECT_EQ(MyGetVariantHashS(host_.variant(Type::kString, "abc").object().get()), 26499u);
}

/// A host that offers only the properties of variants.
void* resolveProperties(const char* name) {
  const std::string_view service = name;
  if (service.starts_with("VariantTo") || service == "REALLoadGlobalMethod" ||
      service == "RuntimeObjectIsa") {
    return nullptr;
  }
  return host::Host::resolve(name);
}

TEST_F(Keys, VariantsAreReadThroughPropertiesWhereServicesAreMissing) {
  gResolver = &resolveProperties;
  const auto compare = [](const Value& a, const Value& b) {
    return CompareS(a.object().get(), b.object().get());
  };
  EXPECT_EQ(GetVariantType(host_.variant(Type::kInt32, 1, true).object().get()), kVariantInt32);
  EXPECT_EQ(compare(host_.variant(Type::kInt32, 7), host_.variant(Type::kInt32, 9)), -1);
  EXPECT_EQ(compare(host_.variant(Type::kInt64, 9), host_.variant(Type::kInt64, 7)), 1);
  EXPECT_EQ(compare(host_.variant(Type::kSingle, 1.5), host_.variant(Type::kSingle, 1.5)), 0);
  EXPECT_EQ(compare(host_.variant(Type::kDouble, 1.0), host_.variant(Type::kDouble, 2.0)), -1);
  EXPECT_EQ(compare(host_.variant(Type::kColor, 3), host_.variant(Type::kColor, 2)), 1);
}

TEST_F(Keys, OrdersOfMapsAndSetsRunInOppositeDirections) {
  const Value a("a"), b("b");
  EXPECT_TRUE(LTRBStringS()(StringOperand(a.string().get()), RBStringS(b.string().get())));
  EXPECT_TRUE(RBStringMapOrderS()(RBStringS(b.string().get()), StringOperand(a.string().get())));
  const Value one = host_.variant(Type::kInt32, 1), two = host_.variant(Type::kInt32, 2);
  EXPECT_TRUE(LTRBVariantI()(VariantOperand(one.object().get()), RBVariantI(two.object().get())));
  EXPECT_FALSE(RBVariantMapOrderI()(VariantOperand(one.object().get()), RBVariantI(two.object().get())));
}

}  // namespace
}  // namespace vornik
