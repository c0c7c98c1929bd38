// How many host calls one operation costs: counts, not times, as the stand-in host counts every call of its
// services. Means over many keys.
#include <functional>
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

/// Makes the key of a number.
using MakeKey = std::function<Value(std::uint64_t number)>;

/// A container of any class, and what it costs.
class Counted {
 public:
  Counted(Host& host, const std::string& className, bool caseSensitive, MakeKey key)
      : host_(host),
        key_(std::move(key)),
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
  Figures measure(std::size_t size) {
    std::vector<std::uint64_t> numbers(size);
    std::iota(numbers.begin(), numbers.end(), 0);
    std::shuffle(numbers.begin(), numbers.end(), std::mt19937_64(1));
    for (const std::uint64_t number : numbers) insert(key_(2 * number));
    numbers.resize(std::min<std::size_t>(size / 10, 1000));
    Figures figures;
    const auto count = [&](const char* operation, std::uint64_t offset, auto call) {
      std::uint64_t calls = 0;
      for (const std::uint64_t number : numbers) {
        const Value searched = key_(2 * number + offset);
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
  Host& host_;
  MakeKey key_;
  bool isMap_, isOrdered_;
  Value container_;
  Value value_ = Value("x");
};

void measure(Report& report, Host& host, const Block& block, const std::string& className,
             const MakeKey& key) {
  if (!report.wants(block)) return;
  std::vector<Report::Column> columns;
  for (const bool caseSensitive : {true, false}) {
    columns.push_back({caseSensitive ? "case-sensitive" : "insensitive",
                       Counted(host, className, caseSensitive, key).measure(block.size)});
  }
  report.add(block, columns);
}

/// Texts of all shapes, in maps and sets, ordered and hashed.
void measureShapes(Report& report, Host& host, const std::string& type) {
  const bool isString = type == "String";
  const auto measureShape = [&](const std::string& className, const Shape& shape, std::size_t size) {
    const Block block{className + (isString ? ", String" : ", text Variant"), shape.name, size, "calls"};
    measure(report, host, block, className, [&](std::uint64_t number) {
      const Value text(shape.text(number));
      return isString ? text : host.variant(kVariantString, text);
    });
  };
  for (const char* order : {"Ordered", "Hash"}) {
    for (const std::size_t size : {1'000u, 50'000u, 100'000u}) {
      for (const Shape& shape : kShapes) {
        const bool isCommon = &shape - kShapes < 2;
        if (isCommon || (size == 50'000 && !report.options().quick))
          measureShape(fmt::format("{0}To{0}{1}MapQZR", type, order), shape, size);
      }
      if (size != 50'000) measureShape(fmt::format("{}{}SetQZR", type, order), kShapes[1], size);
    }
  }
}

/// Texts of exact lengths and in another encoding, in hash classes, where short ones are kept beside the key.
void measureLengths(Report& report, Host& host, const std::string& type) {
  const bool isString = type == "String";
  const std::string className = fmt::format("{0}To{0}HashMapQZR", type);
  const auto measureTexts = [&](const std::string& name, const MakeKey& text) {
    measure(report, host, {className + ", by length", name, 1'000, "calls"}, className,
            [&](std::uint64_t number) {
              return isString ? text(number) : host.variant(kVariantString, text(number));
            });
  };
  for (const std::size_t bytes : {8u, 15u, 16u, 40u, 100u}) {
    measureTexts(fmt::format("{} bytes", bytes), [=](std::uint64_t number) {
      return Value(fmt::format("{:a<{}}{:08}", "", bytes - 8, number));
    });
  }
  measureTexts("UTF-16", [&](std::uint64_t number) {
    std::string bytes;
    for (const char c : fmt::format("{:08}", number)) bytes += {c, '\0'};
    return host.string(bytes, kEncodingUTF16);
  });
}

/// Variants that hold no text, by what they hold. There are two Booleans.
void measureVariants(Report& report, Host& host) {
  const auto measureKeys = [&](const std::string& className, const char* name, const MakeKey& key) {
    for (const std::size_t size : {1'000u, 100'000u}) {
      measure(report, host, {fmt::format("{}, {}", className, name), "random", size, "calls"}, className,
              key);
    }
  };
  const auto integers = [&](VariantType type, bool isUnsigned = false) {
    return [=, &host](std::uint64_t number) {
      return host.variant(type, static_cast<std::int64_t>(scrambled(number)), isUnsigned);
    };
  };
  for (const char* className : {"VariantToVariantOrderedMapQZR", "VariantOrderedSetQZR",
                                "VariantToVariantHashMapQZR", "VariantHashSetQZR"}) {
    measureKeys(className, "Int64 Variant", integers(kVariantInt64));
  }
  const char* const map = "VariantToVariantHashMapQZR";
  measureKeys(map, "UInt64 Variant", integers(kVariantInt64, true));
  measureKeys(map, "Int32 Variant", integers(kVariantInt32));
  measureKeys(map, "UInt32 Variant", integers(kVariantInt32, true));
  measureKeys(map, "Color Variant", integers(kVariantColor));
  measureKeys(map, "Boolean Variant",
              [&](std::uint64_t number) { return host.variant(kVariantBoolean, number % 2 != 0); });
  for (const auto& [name, type] : {std::pair{"Single Variant", kVariantSingle},
                                   {"Double Variant", kVariantDouble},
                                   {"Currency Variant", kVariantCurrency}}) {
    measureKeys(map, name, [&host, type = type](std::uint64_t number) {
      return host.variant(type, static_cast<double>(number) / 2);
    });
  }
}

void run(Report& report) {
  Host host;
  host.load(report.options().plugin);
  for (const char* type : {"String", "Variant"}) {
    measureShapes(report, host, type);
    measureLengths(report, host, type);
  }
  measureVariants(report, host);
}

}  // namespace
}  // namespace vornik::bench

int main(int argc, char** argv) {
  return vornik::bench::benchMain(argc, argv, "host-calls", vornik::bench::run);
}
