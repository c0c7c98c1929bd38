// How many host calls one operation costs: counts, not times, as the stand-in host counts every call of its
// services. Means over many keys.
#include <numeric>

#include "bench/harness.h"
#include "bench/keys.h"
#include "host/host.h"

namespace vornik::bench {
namespace {

using host::Host;
using host::Value;

/// How the texts look, by what they have in common.
struct Shape {
  const char* name;
  std::string (*text)(std::uint64_t number);
};

std::uint64_t scrambled(std::uint64_t number) {
  return (number + 1) * 0x9E3779B97F4A7C15;
}
template <int kBytes>
std::string behindPrefix(std::uint64_t number) {
  return fmt::format("{:a<{}}{:016x}", "", kBytes, scrambled(number));
}

constexpr Shape kShapes[] = {
    {"nothing in common", behindPrefix<0>},
    {"customer 000017", [](std::uint64_t number) { return fmt::format("customer {:06}", number); }},
    {"URLs", [](std::uint64_t number) { return textKey(TextShape::kUrl, number); }},
    {"paths",
     [](std::uint64_t number) {
       return fmt::format("/home/user/documents/{}/{:02}/report-{:06}.txt", 2000 + number % 25, number % 12,
                          number);
     }},
    {"8 bytes in common", behindPrefix<8>},
    {"24 bytes in common", behindPrefix<24>},
    {"40 bytes in common", behindPrefix<40>},
    {"100 bytes in common", behindPrefix<100>},
};

enum class Kind { kString, kTextVariant, kInt64Variant };

/// A container of any class, and what it costs.
class Counted {
 public:
  Counted(Host& host, const std::string& className, Kind kind, bool caseSensitive)
      : host_(host),
        kind_(kind),
        isMap_(className.find("Map") != std::string::npos),
        isOrdered_(className.find("Ordered") != std::string::npos),
        container_(host.create(className, {caseSensitive})) {}

  void insert(const Value& key) {
    if (isMap_) {
      host_.assign(container_, "value", {key}, value_);
    } else {
      host_.call(container_, "insert", {key});
    }
  }

  /// Fills with even numbers, and asks for some of them and for the odd ones between.
  Figures measure(const Shape& shape, std::size_t size) {
    std::vector<std::uint64_t> numbers(size);
    std::iota(numbers.begin(), numbers.end(), 0);
    std::shuffle(numbers.begin(), numbers.end(), std::mt19937_64(1));
    for (const std::uint64_t number : numbers) insert(key(shape, 2 * number));
    numbers.resize(std::min<std::size_t>(size / 10, 1000));
    Figures figures;
    const auto count = [&](const char* operation, std::uint64_t offset, auto call) {
      std::uint64_t calls = 0;
      for (const std::uint64_t number : numbers) {
        const Value searched = key(shape, 2 * number + offset);
        host_.resetCalls();
        call(searched);
        for (const auto& service : host_.calls()) calls += service.second;
      }
      figures.keep(operation, static_cast<double>(calls) / static_cast<double>(numbers.size()));
    };
    const auto method = [this](const char* name) {
      return [this, name](const Value& searched) { host_.call(container_, name, {searched}); };
    };
    const auto set = [this](const Value& searched) { insert(searched); };
    count("hit", 0, method("CountKey"));
    count("miss", 1, method("CountKey"));
    count("set existing", 0, set);
    count("set new", 1, set);
    count("remove", 1, method("Remove"));
    if (isOrdered_) {
      count("lower bound", 0, method("LowerBound"));
      count("upper bound", 0, method("UpperBound"));
    }
    return figures;
  }

 private:
  Value key(const Shape& shape, std::uint64_t number) const {
    if (kind_ == Kind::kInt64Variant) {
      return host_.variant(kVariantInt64, static_cast<std::int64_t>(scrambled(number)));
    }
    const Value text(shape.text(number));
    return kind_ == Kind::kString ? text : host_.variant(kVariantString, text);
  }

  Host& host_;
  Kind kind_;
  bool isMap_, isOrdered_;
  Value container_;
  Value value_ = Value("x");
};

void measure(Report& report, Host& host, const std::string& className, Kind kind, const Shape& shape,
             std::size_t size) {
  const char* const kindName = kind == Kind::kString        ? "String"
                               : kind == Kind::kTextVariant ? "text Variant"
                                                            : "Int64 Variant";
  const Block block{fmt::format("{}, {}", className, kindName),
                    kind == Kind::kInt64Variant ? "random" : shape.name, size, "calls"};
  if (!report.wants(block)) return;
  std::vector<Report::Column> columns;
  for (const bool caseSensitive : {true, false}) {
    columns.push_back({caseSensitive ? "case-sensitive" : "insensitive",
                       Counted(host, className, kind, caseSensitive).measure(shape, size)});
  }
  report.add(block, columns);
}

void run(Report& report) {
  Host host;
  host.load(report.options().plugin);
  for (const Kind kind : {Kind::kString, Kind::kTextVariant, Kind::kInt64Variant}) {
    const std::string type = kind == Kind::kString ? "String" : "Variant";
    for (const char* order : {"Ordered", "Hash"}) {
      const std::string map = fmt::format("{0}To{0}{1}MapQZR", type, order);
      for (const std::size_t size : {1'000u, 50'000u, 100'000u}) {
        for (const Shape& shape : kShapes) {
          const bool isCommon = &shape - kShapes < 2;
          if (kind == Kind::kInt64Variant && &shape != kShapes) continue;
          if (isCommon || (size == 50'000 && !report.options().quick))
            measure(report, host, map, kind, shape, size);
        }
        const std::string set = fmt::format("{}{}SetQZR", type, order);
        if (size != 50'000) measure(report, host, set, kind, kShapes[1], size);
      }
    }
  }
}

}  // namespace
}  // namespace vornik::bench

int main(int argc, char** argv) {
  return vornik::bench::benchMain(argc, argv, "host-calls", vornik::bench::run);
}
