// String and variant keys: folding, hashes, equality and order.
#include <limits>

#include "plugin/containers/hashing.h"
#include "plugin/containers/kinds.h"
#include "plugin/containers/orders.h"
#include "plugin/structures/ordered_tree.h"
#include "plugin/values/case_folding.h"
#include "tests/support/in_host.h"

namespace vornik {
namespace {

using namespace std::string_literals;
using test::objectOf;
using test::stringOf;
using Keys = test::InHost;
using host::Value;

TEST(CaseFolding, ExactlyTheFrozenFolding) {
  initLowerTable();
  int folded = 0;
  std::uint32_t checksum = 0;
  for (std::uint32_t unit = 0; unit < 0x10000; ++unit) {
    folded += lower[unit] != unit ? 1 : 0;
    checksum = checksum * 31 + lower[unit];
  }
  EXPECT_EQ(folded, 724);
  EXPECT_EQ(checksum, 3338560131u) << "pinned: hashes, and with them visiting orders, depend on every unit";
}

TEST_F(Keys, PinnedStringHashes) {
  const auto hashS = [](const std::string& text) { return GetStringHashS(stringOf(text)); };
  const auto hashI = [](const std::string& text) { return GetStringHashI(stringOf(text)); };
  const std::pair<const char*, std::uint32_t> pinned[] = {
      {"", 0}, {"A", 65}, {"AB", 1106}, {"abc", 26499}, {"\xC3\xA9", 0x0FFFF229}};
  for (const auto& [text, hash] : pinned) EXPECT_EQ(hashS(text), hash) << text;
  EXPECT_EQ(GetStringHashS(nullptr), 0u);
  EXPECT_EQ(hashS("the quick brown fox") >> 28, 0u);
  EXPECT_NE(hashS("a\0b"s), hashS("a\0c"s));
  EXPECT_EQ(hashI("abc"), 26499u);
  using Texts = std::pair<const char*, const char*>;
  for (const auto& [a, b] :
       {Texts("ABC", "aBc"), Texts("\u01C5", "\u01C6"), Texts("\u212A", "k"), Texts("\u017F", "s")}) {
    EXPECT_EQ(hashI(a), hashI(b)) << a;
  }
  EXPECT_NE(hashI("\u00DF"), hashI("ss"));
  EXPECT_NE(hashI("\u0130"), hashI("i"));
}

int sign(std::int64_t n) {
  return n < 0 ? -1 : n > 0 ? 1 : 0;
}

TEST_F(Keys, StringComparison) {
  const struct {
    Value a, b;
    int s, i;  // signs of CompareS and CompareI
    double version = 2024.01;
  } rows[] = {{host::StringRef(), "", 0, 0},
              {"abc", "abcd", -1, -1},
              {"abcd", "abd", -1, -1},
              {"B", "a", -1, 1},
              {"_", "A", 1, -1},  // folded to lower case
              {"_\xC3\xA9", "A\xC3\xA9", 1, -1},
              {"\xEF\xBC\xA1", "\xF0\x90\x90\x80", -1, -1},  // by code points, not units
              {"z", "\u00E9", -1, -1},                       // bytes compare unsigned
              {"a\0b"s, "a\0c"s, 0, -1},
              {"\u00C4bC", "\u00E4Bc", -1, 0},
              {host_.string("\xE9\0"s, kEncodingUTF16LE), "\u00E9", 0, 0},
              {"\u00C4", "\u00E4", -1, 0, 2012.0},
              {"AbC", "aBC", -1, 0, 2011.04},
              {"\u00C4", "\u00E4", -1, -1, 2011.04}};  // older hosts fold ASCII only
  for (const auto& row : rows) {
    rbversion_rbversion = row.version;
    EXPECT_EQ(sign(CompareS(stringOf(row.a), stringOf(row.b))), row.s) << row.a.text();
    EXPECT_EQ(sign(CompareI(stringOf(row.a), stringOf(row.b))), row.i) << row.a.text();
  }
  EXPECT_EQ(CompareS(StringOperand(nullptr), StringOperand(nullptr)), 0);
}

TEST_F(Keys, AllKindsOfTextAreOfOneOrderAndHaveOneHash) {
  for (const int code : {8, 18, 19, 20, 21, 22, 23, 24}) {
    const Value a = host_.variant(VariantType{code}, "abc"), b = host_.variant(VariantType{code}, "abc");
    const bool isText = code != 22 && code != 24;  // what lies between them is none
    EXPECT_EQ(CompareS(objectOf(a), objectOf(b)) == 0, isText) << code;
    EXPECT_EQ(MyGetVariantHashS(objectOf(a)) == 26499u, isText) << code;
  }
  EXPECT_EQ(MyGetVariantHashS(nullptr), 0u);
}

TEST_F(Keys, NothingIsEqualToNanButItsOwnHandle) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const Value keys[] = {host_.variant(kVariantDouble, nan), host_.variant(kVariantDouble, 1.0),
                        host_.variant(kVariantDouble, nan)};
  for (const Value& a : keys) {
    for (const Value& b : keys)
      EXPECT_EQ(CompareS(objectOf(a), VariantOperand(objectOf(b))), &a == &b ? 0 : 1);
    EXPECT_LT(CompareS(VariantOperand(nullptr), objectOf(a)), 0);
    EXPECT_GT(CompareI(objectOf(a), VariantOperand(nullptr)), 0);
  }
}

TEST_F(Keys, TextsThatNumbersLeaveAloneShareMoreWhenALargeNodeIsSplit) {
  // "b" keeps all texts of the first leaf from sharing anything until half of them move to one of their own.
  OrderedTree<RBStringS, NoValue, LTRBStringS, NodeSizes<512, 64>> tree;
  tree.findOrInsert(stringOf("b"));
  for (int i = 512; i > 0; --i) tree.findOrInsert(stringOf("customer " + std::to_string(1000 + i)));
  const auto* leaf = tree.begin().leaf;
  EXPECT_EQ(leaf->shared.text(), "");
  EXPECT_EQ(leaf->next->shared.text(), "customer 1");
  for (int i = 512; i > 0; --i) {
    EXPECT_NE(tree.find(stringOf("customer " + std::to_string(1000 + i))), tree.end());
  }
}

TEST_F(Keys, TheFirstUnsignedVariantIsKnownAsOne) {
  test::inOwnProcess(
      [this] { EXPECT_EQ(GetVariantType(objectOf(host_.variant(kVariantInt32, 1, true))), kVariantUInt32); });
}

TEST_F(Keys, VariantsAreReadThroughPropertiesWhereServicesAreMissing) {
  test::inOwnProcess([this] {
    gResolver = [](const char* name) {
      const std::string_view service = name;
      const bool isMissing = service.starts_with("VariantTo") || service == "REALLoadGlobalMethod" ||
                             service == "RuntimeObjectIsa";
      return isMissing ? nullptr : host::Host::resolve(name);
    };
    EXPECT_EQ(GetVariantType(objectOf(host_.variant(kVariantInt32, 1, true))), kVariantInt32);
    for (const VariantType type :
         {kVariantInt32, kVariantInt64, kVariantColor, kVariantSingle, kVariantDouble}) {
      const Value a = host_.variant(type, 7), b = host_.variant(type, 9), same = host_.variant(type, 9);
      EXPECT_EQ(CompareS(objectOf(a), objectOf(b)), -1);
      EXPECT_EQ(CompareS(objectOf(b), objectOf(same)), 0);
    }
  });
}

}  // namespace
}  // namespace vornik
