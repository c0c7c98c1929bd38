// Variant containers under keys of every type at once, NaN among them: their order is no order at all, and
// nothing may come of it but an odd answer.
#include <cmath>
#include <random>

#include "tests/behaviour/fixture.h"

namespace vornik::behaviour {
namespace {

using host::Host;
using host::Value;
using Type = host::VariantType;

std::vector<Value> mixedKeys(Host& host) {
  std::vector<Value> keys = {Value(), host.variant(Type::kDouble, std::nan("")),
                             host.variant(Type::kSingle, std::nan(""))};
  for (int i = 0; i < 12; ++i) {
    for (const Type type : {Type::kInt32, Type::kInt64, Type::kColor}) keys.push_back(host.variant(type, i));
    for (const Type type : {Type::kSingle, Type::kDouble, Type::kCurrency})
      keys.push_back(host.variant(type, i / 2.0));
    for (const Type type : {Type::kString, Type::kText})
      keys.push_back(host.variant(type, std::string(1, "abAB"[i % 4])));
    keys.push_back(host.variant(Type::kInt64, i, true));
    keys.push_back(host.scriptObject("key"));
  }
  return keys;
}

class MixedVariants : public ::testing::TestWithParam<std::tuple<const char*, bool>> {};

TEST_P(MixedVariants, DoNoHarm) {
  const auto& [name, caseSensitive] = GetParam();
  const bool map = std::string_view(name).find("Map") != std::string_view::npos;
  const bool hash = std::string_view(name).find("Hash") != std::string_view::npos;
  Host host;
  host.load(VORNIK_PLUGIN_PATH);
  {
    const auto keys = mixedKeys(host);
    std::mt19937 random(7);
    const auto any = [&] { return keys[random() % keys.size()]; };
    const Value container = host.create(name, {caseSensitive});
    Value held = host.call(container, "last");
    for (int step = 0; step < 20000; ++step) {
      try {
        switch (random() % 8) {
          case 0:
          case 1:
          case 2:
            map ? host.assign(container, "value", {any()}, any())
                : void(host.call(container, "insert", {any()}));
            break;
          case 3:
            host.call(container, "Remove", {any()});
            break;
          case 4:
            held = host.call(container, hash ? "find" : "LowerBound", {any()});
            break;
          case 5:
            host.call(held, "MoveNext");
            break;
          case 6:
            host.call(container, "Remove", {held});
            break;
          default:
            if (step % 50 == 0) host.call(container, "Remove", {held, host.call(container, "last")});
        }
      } catch (const host::ScriptException&) {
        // Stale and end positions are part of the mix.
      }
      if (step % 500 == 0) {
        std::int64_t walked = 0;
        for (const Value it = host.call(container, "first"), end = host.call(container, "last");
             host.call(it, "isNotEqual", {end}).boolean(); host.call(it, "MoveNext")) {
          ++walked;
        }
        ASSERT_EQ(walked, host.get(container, "Count").integer());
      }
    }
  }
  EXPECT_THAT(host.leftovers(), ::testing::IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Classes, MixedVariants,
                         ::testing::Combine(::testing::Values("VariantToVariantOrderedMapQZR",
                                                              "VariantToVariantHashMapQZR",
                                                              "VariantOrderedSetQZR", "VariantHashSetQZR"),
                                            ::testing::Bool()));

}  // namespace
}  // namespace vornik::behaviour
