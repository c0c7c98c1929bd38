// Maps with String and Variant keys, side by side with the raw containers of std::string, in the same order
// and under the same hash, and the host calls that an operation costs.
//
// Usage: text-bench [rounds [size...]]
#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <map>
#include <numeric>
#include <random>
#include <unordered_map>

#include "fmt/format.h"
#include "host/host.h"

namespace vornik::bench {
namespace {

using host::Host;
using host::Value;
using Texts = std::vector<std::string>;

constexpr const char* kOperations[] = {"set", "get", "miss", "iterate", "remove"};

/// The library's hash of a case-sensitive string.
struct TextHash {
  std::size_t operator()(const std::string& text) const {
    std::uint32_t hash = 0;
    for (const char byte : text) {
      hash = (hash << 4) + static_cast<std::uint32_t>(static_cast<signed char>(byte));
      const std::uint32_t top = hash & 0xF0000000;
      hash = (hash ^ (top >> 24)) & ~top;
    }
    return hash;
  }
};

template <typename Map>
struct Standard {
  Map map;

  void set(const Texts& keys) {
    for (const auto& key : keys) map[key] = key;
  }
  std::size_t run(std::size_t operation, const Texts& keys) {
    std::size_t sum = 0;
    switch (operation) {
      case 0:
        set(keys);
        break;
      case 1:
      case 2:
        for (const auto& key : keys) sum += map.find(key) != map.end() ? 1 : 0;
        break;
      case 3:
        for (const auto& [key, value] : map) sum += key.size() + value.size();
        break;
      default:
        for (const auto& key : keys) sum += map.erase(key);
    }
    return sum;
  }
};

/// Handles of strings and of variants look alike to the calls below.
struct Registered {
  using Handle = void*;

  Registered(Host& h, const std::string& name, const char* keyType, const char* valueType)
      : host(h), className(name) {
    const std::string property = fmt::format("value(key as {}) as {}", keyType, valueType);
    const std::string iterator = name == "VariantToVariantOrderedMapQZR"
                                     ? "VariantToVariantMapIteratorQZR"
                                     : name.substr(0, name.size() - 3) + "IteratorQZR";
    set = reinterpret_cast<decltype(set)>(host.setter(name, property));
    has = reinterpret_cast<decltype(has)>(
        host.function(name, fmt::format("hasKey(key as {}) as boolean", keyType)));
    remove = reinterpret_cast<decltype(remove)>(
        host.function(name, fmt::format("Remove(key as {}) as integer", keyType)));
    next = reinterpret_cast<decltype(next)>(host.function(iterator, "MoveNext"));
    notEqual = reinterpret_cast<decltype(notEqual)>(
        host.function(iterator, fmt::format("isNotEqual(other as {}) as boolean", iterator)));
  }

  void run(std::size_t operation, const std::vector<Handle>& keys) {
    REALobjectStruct* self = map.object().get();
    if (operation == 3) {
      const Value first = host.call(map, "first"), last = host.call(map, "last");
      Host::PluginCall call;
      while (notEqual(first.object().get(), last.object().get())) next(first.object().get());
      return call.finish();
    }
    Host::PluginCall call;
    for (const Handle key : keys) {
      if (operation == 0) set(self, key, key);
      if (operation == 1 || operation == 2) has(self, key);
      if (operation == 4) remove(self, key);
    }
    call.finish();
  }

  Host& host;
  std::string className;
  Value map;
  void (*set)(REALobjectStruct*, Handle, Handle);
  bool (*has)(REALobjectStruct*, Handle);
  std::int64_t (*remove)(REALobjectStruct*, Handle);
  void (*next)(REALobjectStruct*);
  bool (*notEqual)(REALobjectStruct*, REALobjectStruct*);
};

Texts makeTexts(std::size_t size, const char* format) {
  Texts texts(size);
  for (std::size_t i = 0; i < size; ++i)
    texts[i] = fmt::format(fmt::runtime(format), i * 2654435761 % 4294967296);
  return texts;
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

template <typename Body>
double nanoseconds(std::size_t size, Body body) {
  const auto start = std::chrono::steady_clock::now();
  body();
  return std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - start).count() /
         static_cast<double>(size);
}

std::uint64_t allCalls(const Host& host) {
  const auto calls = host.calls();
  return std::accumulate(calls.begin(), calls.end(), std::uint64_t{0},
                         [](std::uint64_t sum, const auto& service) { return sum + service.second; });
}

template <typename Map>
void compare(Host& host, const char* name, bool variants, std::size_t size, int rounds) {
  const Texts present = makeTexts(size, "customer {:010}"), absent = makeTexts(size, "customer {:010}x");
  std::vector<Value> owners;
  const auto handles = [&](const Texts& texts) {
    std::vector<Registered::Handle> result;
    for (const auto& text : texts) {
      owners.push_back(variants ? host.variant(host::VariantType::kString, Value(text)) : Value(text));
      const Value& owner = owners.back();
      result.push_back(variants ? static_cast<void*>(owner.object().get()) : owner.string().get());
    }
    return result;
  };
  const auto presentHandles = handles(present), absentHandles = handles(absent);
  Registered registered(host, name, variants ? "variant" : "string", variants ? "variant" : "string");
  std::vector<double> ours[std::size(kOperations)], theirs[std::size(kOperations)];
  double calls[std::size(kOperations)] = {};
  std::size_t sum = 0;
  for (int round = 0; round < rounds; ++round) {
    Standard<Map> standard;
    registered.map = host.create(name);
    for (std::size_t operation = 0; operation < std::size(kOperations); ++operation) {
      theirs[operation].push_back(
          nanoseconds(size, [&] { sum += standard.run(operation, operation == 2 ? absent : present); }));
      host.resetCalls();
      ours[operation].push_back(nanoseconds(
          size, [&] { registered.run(operation, operation == 2 ? absentHandles : presentHandles); }));
      calls[operation] = static_cast<double>(allCalls(host)) / static_cast<double>(size);
    }
  }
  for (std::size_t operation = 0; operation < std::size(kOperations); ++operation) {
    const double our = median(ours[operation]), their = median(theirs[operation]);
    fmt::print("{:30} {:>7}  {:8} {:>10.1f} {:>10.1f} {:>7.2f} {:>10.1f}\n", name, size,
               kOperations[operation], our, their, our / their, calls[operation]);
  }
  if (sum == 0) fmt::print("nothing was found\n");
}

int run(int argc, char** argv) {
  const int rounds = argc > 1 ? std::atoi(argv[1]) : 5;
  std::vector<std::size_t> sizes;
  for (int i = 2; i < argc; ++i) sizes.push_back(std::strtoull(argv[i], nullptr, 10));
  if (sizes.empty()) sizes = {1'000, 100'000};
  if (rounds < 1 || std::count(sizes.begin(), sizes.end(), 0u) != 0) {
    fmt::print(stderr, "usage: text-bench [rounds [size...]]\n");
    return 2;
  }
  Host host;
  host.load(VORNIK_PLUGIN_PATH);
  fmt::print("ns per key, medians of {} rounds\n{:30} {:>7}  {:8} {:>10} {:>10} {:>7} {:>10}\n", rounds,
             "class", "size", "", "registered", "raw", "ratio", "host calls");
  using Ordered = std::map<std::string, std::string, std::greater<>>;
  using Hashed = std::unordered_map<std::string, std::string, TextHash>;
  for (const std::size_t size : sizes) {
    compare<Ordered>(host, "StringToStringOrderedMapQZR", false, size, rounds);
    compare<Hashed>(host, "StringToStringHashMapQZR", false, size, rounds);
    compare<Ordered>(host, "VariantToVariantOrderedMapQZR", true, size, rounds);
    compare<Hashed>(host, "VariantToVariantHashMapQZR", true, size, rounds);
  }
  return 0;
}

}  // namespace
}  // namespace vornik::bench

int main(int argc, char** argv) {
  try {
    return vornik::bench::run(argc, argv);
  } catch (const std::exception& failure) {
    fmt::print(stderr, "text-bench: {}\n", failure.what());
    return 1;
  }
}
