// Bytes an entry after loads in several orders and after removal, and growth to ten million entries.
#include <cmath>

#include "bench/harness.h"
#include "bench/keys.h"
#include "bench/memory_use.h"
#include "bench/raw_map.h"
#include "bench/registered_map.h"

namespace vornik::bench {
namespace {

using host::Host;
using host::Value;

/// Bytes allocated since this object was made, over a count.
class Allocated {
 public:
  void keep(Figures& figures, const char* operation, std::size_t count) const {
    const auto now = allocatedBytes();
    if (!now || !before_) return;
    figures.keep(operation,
                 (static_cast<double>(*now) - static_cast<double>(*before_)) / static_cast<double>(count));
  }

 private:
  std::optional<std::size_t> before_ = allocatedBytes();
};

/// The same keys in the three orders. Descending for us means against the container's order, whichever
/// that is.
template <typename Key>
struct Loads {
  std::vector<Key> random, ascending, descending;

  template <typename Source, typename Make>
  static Loads from(std::vector<Source> keys, Make make) {
    Loads loads;
    const auto fill = [&](std::vector<Key>& to) {
      for (const Source& key : keys) to.push_back(make(key));
    };
    std::shuffle(keys.begin(), keys.end(), std::mt19937_64(3));
    fill(loads.random);
    std::sort(keys.begin(), keys.end());
    fill(loads.ascending);
    std::reverse(keys.begin(), keys.end());
    fill(loads.descending);
    return loads;
  }
};

/// Everything is told per entry of the full container.
template <typename Subject>
Report::Column measureBytes(Subject subject, const Loads<typename Subject::Key>& loads) {
  const std::size_t size = loads.random.size();
  Figures figures;
  const auto load = [&](const char* operation, const auto& keys) {
    subject.create();
    const Allocated allocated;
    subject.set(keys);
    allocated.keep(figures, operation, size);
    subject.destroy();
  };
  load("random load", loads.random);
  load("ascending load", loads.ascending);
  load("descending load", loads.descending);
  subject.create();
  const Allocated allocated;
  subject.set(loads.random);
  subject.walk();
  allocated.keep(figures, "walked", size);
  subject.create();
  const Allocated emptied;
  subject.set(loads.random);
  subject.remove({loads.random.begin(), loads.random.end() - static_cast<std::ptrdiff_t>(size / 10)});
  emptied.keep(figures, "nine tenths removed", size);
  subject.clear();
  emptied.keep(figures, "cleared", size);
  subject.destroy();
  return {subject.name(), figures};
}

using RegisteredIntegers = RegisteredMap<IntegerPassing>;
constexpr const char* kOrdered = "IntegerToIntegerOrderedMapQZR";
constexpr const char* kHash = "IntegerToIntegerHashMapQZR";

void measureIntegerBytes(Report& report, Host& host, std::size_t size) {
  const auto loads =
      Loads<std::int64_t>::from(makeIntegers(size, false).inserted, [](std::int64_t key) { return key; });
  if (const Block block{kOrdered, "random", size, "bytes"}; report.wants(block)) {
    report.add(block, {measureBytes(RegisteredIntegers(host, kOrdered), loads),
                       measureBytes(standardMap<std::int64_t>(), loads),
                       measureBytes(btreeMap<std::int64_t>(), loads)});
  }
  if (const Block block{kHash, "random", size, "bytes"}; report.wants(block)) {
    report.add(block, {measureBytes(RegisteredIntegers(host, kHash), loads),
                       measureBytes(standardHashMap<std::int64_t>(), loads),
                       measureBytes(flatHashMap<std::int64_t>(), loads)});
  }
}

/// Texts and values are there already and not counted.
template <typename Passing, typename Make>
void measureReferenceBytes(Report& report, Host& host, const std::string& type, std::size_t size, Make make) {
  using Map = RegisteredMap<Passing>;
  std::vector<Value> owners;
  const auto loads = Loads<typename Map::Key>::from(makeTexts(size, TextShape::kCustomer).inserted,
                                                    [&](const std::string& key) {
                                                      owners.push_back(make(key));
                                                      if constexpr (std::is_same_v<Passing, StringPassing>) {
                                                        return owners.back().string().get();
                                                      } else {
                                                        return owners.back().object().get();
                                                      }
                                                    });
  for (const char* order : {"Ordered", "Hash"}) {
    const Block block{fmt::format("{0}To{0}{1}MapQZR", type, order), "customer N", size, "bytes"};
    if (!report.wants(block)) continue;
    const auto value = loads.random.front();
    report.add(block, {measureBytes(Map(host, block.group, "case-sensitive", {true}, value), loads),
                       measureBytes(Map(host, block.group, "case-insensitive", {false}, value), loads)});
  }
}

/// Bytes an entry of a map that was filled with the first `size` keys.
template <typename Subject>
double bytesOf(Subject& subject, const std::vector<typename Subject::Key>& keys, std::size_t size) {
  const std::vector first(keys.begin(), keys.begin() + static_cast<std::ptrdiff_t>(size));
  subject.create();
  Figures figures;
  const Allocated allocated;
  subject.set(first);
  allocated.keep(figures, "", size);
  subject.destroy();
  return figures.all().empty() ? 0 : figures.all().front().value;
}

/// Hash maps by size: what is spare goes up and down with it. And of the small ones the mean and the worst,
/// in even steps of a logarithm.
void measureHashBySize(Report& report, Host& host) {
  const Block block{"hash maps, by size", "", 0, "bytes"};
  if (!report.wants(block)) return;
  std::vector<Report::Column> columns;
  const auto measure = [&](auto subject, const auto& keys) {
    Figures figures;
    static_cast<void>(bytesOf(subject, keys, 1));  // what comes with the first map of a class
    for (const std::size_t size : {100u, 300u, 1'000u, 3'000u, 10'000u, 30'000u, 100'000u, 1'000'000u}) {
      if (report.wants(size)) figures.keep(std::to_string(size), bytesOf(subject, keys, size));
    }
    if constexpr (std::is_integral_v<typename decltype(subject)::Key>) {
      constexpr int kSteps = 200;
      double sum = 0, worst = 0;
      for (int step = 0; step <= kSteps; ++step) {
        const double bytes =
            bytesOf(subject, keys,
                    static_cast<std::size_t>(100 * std::pow(655.36, static_cast<double>(step) / kSteps)));
        sum += bytes;
        worst = std::max(worst, bytes);
      }
      figures.keep("mean of 100 to 65,536", sum / (kSteps + 1));
      figures.keep("worst of them", worst);
    }
    columns.push_back({subject.name(), figures});
  };
  const std::size_t most = report.options().quick ? 100'000 : 1'000'000;
  const auto numbers = makeIntegers(most, false).inserted;
  measure(RegisteredIntegers(host, kHash, "Integer"), numbers);
  measure(standardHashMap<std::int64_t>(), numbers);
  std::vector<Value> owners;
  std::vector<REALstringStruct*> strings;
  std::vector<REALobjectStruct*> variants;
  for (const std::string& key : makeTexts(most, TextShape::kCustomer).inserted) {
    owners.push_back(Value(key));
    strings.push_back(owners.back().string().get());
    owners.push_back(host.variant(kVariantString, owners.back()));
    variants.push_back(owners.back().object().get());
  }
  for (const bool isSensitive : {true, false}) {
    const char* const suffix = isSensitive ? "" : ", any case";
    measure(RegisteredMap<StringPassing>(host, "StringToStringHashMapQZR", fmt::format("String{}", suffix),
                                         {isSensitive}, strings.front()),
            strings);
    measure(RegisteredMap<VariantPassing>(host, "VariantToVariantHashMapQZR",
                                          fmt::format("Variant{}", suffix), {isSensitive}, variants.front()),
            variants);
  }
  report.add(block, columns);
}

/// Fills to ten million, with a look at every power of ten: what an insertion took since the last one, the
/// longest of them, what a lookup takes now, and bytes. A reading of the clock an insertion is taken off.
template <typename Subject>
void grow(Report& report, Subject& subject, const std::vector<std::int64_t>& keys,
          std::vector<Figures>& times, std::vector<Figures>& bytes) {
  constexpr std::size_t kClockReadings = 100'000;
  Figures clock;
  for (int round = 0; round < 10; ++round) {
    clock.time("", kClockReadings, [] {
      for (std::size_t i = 0; i < kClockReadings; ++i) static_cast<void>(Clock::now());
      return 0;
    });
  }
  const double clockReading = clock.all().front().value;
  const ResidentPeak peak;
  subject.create();
  const Allocated allocated;
  std::size_t done = 0, decade = 0;
  for (std::size_t size = 1'000; size <= keys.size() && report.wants(size); size *= 10, ++decade) {
    times.resize(std::max(times.size(), decade + 1));
    bytes.resize(std::max(bytes.size(), decade + 1));
    Clock::duration longest{};
    const auto start = Clock::now();
    auto previous = start;
    subject.setEach({keys.data() + done, size - done}, [&] {
      const auto now = Clock::now();
      longest = std::max(longest, now - previous);
      previous = now;
    });
    times[decade].keep("set",
                       nanoseconds(previous - start) / static_cast<double>(size - done) - clockReading);
    times[decade].keep("longest set", nanoseconds(longest));
    done = size;
    allocated.keep(bytes[decade], "allocated", size);
    if (const auto growth = peak.growth()) {
      bytes[decade].keep("resident peak", static_cast<double>(*growth) / static_cast<double>(size));
    }
    std::vector<std::int64_t> sample(std::min<std::size_t>(size, 100'000));
    for (std::size_t i = 0; i < sample.size(); ++i) sample[i] = keys[i * 7919 % size];
    times[decade].time("get", sample.size(), [&] { return subject.get(sample); });
  }
  subject.destroy();
}

template <typename... Subjects>
void measureGrowth(Report& report, const std::string& className, Subjects... subjects) {
  const Block title{className + ", growth", "random", 1'000, "ns"};
  if (!report.wants(title)) return;
  const auto keys = makeIntegers(report.options().quick ? 100'000 : 10'000'000, false).inserted;
  std::vector<std::vector<Report::Column>> times, bytes;
  const auto measure = [&](auto& subject) {
    std::vector<Figures> ownTimes, ownBytes;
    for (int round = 0; round < 2; ++round) grow(report, subject, keys, ownTimes, ownBytes);
    times.resize(ownTimes.size());
    bytes.resize(ownBytes.size());
    for (std::size_t i = 0; i < ownTimes.size(); ++i) {
      times[i].push_back({subject.name(), ownTimes[i]});
      bytes[i].push_back({subject.name(), ownBytes[i]});
    }
  };
  (measure(subjects), ...);
  std::size_t size = 1'000;
  for (std::size_t i = 0; i < times.size(); ++i, size *= 10) {
    report.add({title.group, title.keys, size, "ns"}, times[i]);
    report.add({title.group, title.keys, size, "bytes"}, bytes[i]);
  }
}

void run(Report& report) {
  Host host;
  host.load(report.options().plugin);
  // First, while the heap is small; the table before everything, since its outgrown arrays would stay
  // resident where they come out of a heap with large gaps.
  measureGrowth(report, kHash, RegisteredIntegers(host, kHash), standardHashMap<std::int64_t>(),
                flatHashMap<std::int64_t>());
  measureGrowth(report, kOrdered, RegisteredIntegers(host, kOrdered), standardMap<std::int64_t>(),
                btreeMap<std::int64_t>());
  measureHashBySize(report, host);
  for (const std::size_t size : {1'000u, 100'000u, 1'000'000u}) {
    measureIntegerBytes(report, host, size);
    if (size == 1'000'000) continue;
    measureReferenceBytes<StringPassing>(report, host, "String", size,
                                         [](const std::string& key) { return Value(key); });
    measureReferenceBytes<VariantPassing>(report, host, "Variant", size, [&](const std::string& key) {
      return host.variant(kVariantString, Value(key));
    });
  }
}

}  // namespace
}  // namespace vornik::bench

int main(int argc, char** argv) {
  return vornik::bench::benchMain(argc, argv, "memory-bench", vornik::bench::run);
}
