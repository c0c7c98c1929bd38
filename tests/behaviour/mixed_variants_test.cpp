// Variant containers under keys of every type at once, NaN among them: their order is no order at all, and
// nothing may come of it but an odd answer.
#include <cmath>
#include <random>

#include "tests/behaviour/container_test.h"

namespace vornik::behaviour {
namespace {

using Type = host::VariantType;

struct MixedVariants : ContainerTest {
  Values mixedKeys() {
    Values keys = {Value(), host().variant(Type::kDouble, std::nan("")),
                   host().variant(Type::kSingle, std::nan(""))};
    for (int i = 0; i < 12; ++i) {
      for (const Type type : {Type::kInt32, Type::kInt64, Type::kColor})
        keys.push_back(host().variant(type, i));
      for (const Type type : {Type::kSingle, Type::kDouble, Type::kCurrency})
        keys.push_back(host().variant(type, i / 2.0));
      for (const Type type : {Type::kString, Type::kText})
        keys.push_back(host().variant(type, std::string(1, "abAB"[i % 4])));
      keys.push_back(host().variant(Type::kInt64, i, true));
      keys.push_back(host().scriptObject("key"));
    }
    return keys;
  }
};
VORNIK_FOR_CLASSES(MixedVariants, [](const ClassFacts& f) { return f.key == kAny; });

TEST_P(MixedVariants, DoNoHarm) {
  const Values mixed = mixedKeys();
  std::mt19937 random(7);
  const auto any = [&] { return mixed[random() % mixed.size()]; };
  const Value container = make();
  Value held = call(container, "last");
  for (int step = 0; step < 20000; ++step) {
    const auto choice = random() % 8;
    raised([&] {  // stale and end positions are part of the mix
      if (choice < 3) return add(container, any(), any());
      if (choice == 3) call(container, "Remove", {any()});
      if (choice == 4) held = call(container, facts().ordered ? "LowerBound" : "find", {any()});
      if (choice == 5) call(held, "MoveNext");
      if (choice == 6) call(container, "Remove", {held});
      if (choice == 7 && step % 50 == 0) call(container, "Remove", {held, call(container, "last")});
    });
    if (step % 500 != 0) continue;
    ASSERT_EQ(keys(container).size(), static_cast<std::size_t>(count(container)));
    if (!facts().ordered || !facts().isMap()) continue;
    const Value copy = unmade();
    copyInto(copy, container);
    ASSERT_EQ(visit(copy), visit(container)) << "a copy has the sequence of what it was made from";
    ASSERT_EQ(visit(call(container, "Clone")), visit(container));
  }
}

}  // namespace
}  // namespace vornik::behaviour
