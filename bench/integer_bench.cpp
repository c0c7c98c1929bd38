// Maps from Integer to Integer: the registered functions, side by side with the maps of C++.
#include "bench/harness.h"
#include "bench/keys.h"
#include "bench/raw_map.h"
#include "bench/registered_map.h"

namespace vornik::bench {
namespace {

using Registered = RegisteredMap<IntegerPassing>;

/// Filling, asking and emptying.
template <bool kOrdered>
auto keyedPass(Integers& load, bool dense) {
  return [&load, dense](auto& subject, Figures& figures) {
    const std::size_t size = load.size();
    load.shuffleFew();
    subject.create();
    figures.time("set", size, [&] { return subject.set(load.inserted); });
    figures.time("get", size, [&] { return subject.get(load.read); });
    if (!dense || !kOrdered) figures.time("miss", size, [&] { return subject.has(load.absent); });
    if (kOrdered) figures.time("miss beyond", size, [&] { return subject.has(load.beyond); });
    figures.time("remove", size, [&] { return subject.remove(load.removed); });
    subject.destroy();
  };
}

/// What goes over whole containers.
auto wholePass(Integers& load) {
  return [&load](auto& subject, Figures& figures) {
    const std::size_t size = load.size();
    load.shuffleFew();
    subject.create();
    subject.set(load.inserted);
    figures.time("copy", size, [&] { return subject.copy(); });
    subject.dropCopy();
    figures.time("first walk", size, [&] { return subject.walk(); });
    figures.time("second walk", size, [&] { return subject.walk(); });
    figures.time("remove, walked", size, [&] { return subject.remove(load.removed); });
    subject.create();
    subject.set(load.inserted);
    subject.findMiddleThird();
    figures.time("remove middle third", size / 3, [&] { return subject.removeMiddleThird(); });
    subject.destroy();
  };
}

auto indexPass(Integers& load) {
  return [&load](Registered& subject, Figures& figures) {
    subject.create();
    subject.set(load.inserted);
    figures.time("first Key(i)", load.size(), [&] { return subject.firstIndex(); });
    figures.time("further Key(i)", load.size(), [&] { return subject.furtherIndexes(load.size()); });
    subject.destroy();
  };
}

template <bool kOrdered, typename... Raw>
void compare(Report& report, host::Host& host, const std::string& className,
             std::initializer_list<std::size_t> sizes, Raw... raw) {
  Registered registered(host, className);
  for (const bool dense : {true, false}) {
    for (const std::size_t size : sizes) {
      const Block block{className, dense ? "dense" : "random", size};
      if (!report.wants(block)) continue;
      Integers load = makeIntegers(size, dense);
      Comparison comparison(report, block, registered, raw...);
      comparison.run(keyedPass<kOrdered>(load, dense));
      comparison.run(wholePass(load));
      comparison.finish();
    }
  }
}

/// Arrays are read directly where the host keeps them as documented, and through its procedures elsewhere.
void measureIndexAccess(Report& report, host::HostOptions::ArrayLayout layout, const char* layoutName) {
  host::HostOptions options;
  options.arrayLayout = layout;
  host::Host host(options);
  host.load(report.options().plugin);
  for (const char* className : {"IntegerToIntegerOrderedMapQZR", "IntegerToIntegerHashMapQZR"}) {
    for (const std::size_t size : {1'000u, 100'000u, 1'000'000u}) {
      const Block block{fmt::format("{}, index access, {}", className, layoutName), "random", size};
      if (!report.wants(block)) continue;
      Registered registered(host, className);
      Integers load = makeIntegers(size, false);
      Comparison comparison(report, block, registered);
      comparison.run(indexPass(load));
      comparison.finish();
    }
  }
}

void run(Report& report) {
  {
    host::Host host;
    host.load(report.options().plugin);
    compare<true>(report, host, "IntegerToIntegerOrderedMapQZR", {1'000, 100'000, 1'000'000},
                  standardMap<std::int64_t>(), btreeMap<std::int64_t>());
    compare<false>(report, host, "IntegerToIntegerHashMapQZR",
                   {1'000, 10'000, 100'000, 1'000'000, 10'000'000}, standardHashMap<std::int64_t>(),
                   flatHashMap<std::int64_t>());
  }
  measureIndexAccess(report, host::HostOptions::ArrayLayout::kDocumented, "direct");
  measureIndexAccess(report, host::HostOptions::ArrayLayout::kOther, "the host's procedures");
}

}  // namespace
}  // namespace vornik::bench

int main(int argc, char** argv) {
  return vornik::bench::benchMain(argc, argv, "integer-bench", vornik::bench::run);
}
