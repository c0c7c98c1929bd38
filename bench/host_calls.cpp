// How many host calls one operation costs, by class and number of keys: host_calls PLUGIN
//
// Counts, not times: the stand-in host counts every call of its services.
#include <cstdio>
#include <numeric>
#include <string>
#include <vector>

#include "host/host.h"

namespace {

using vornik::host::Host;
using vornik::host::Value;

std::uint64_t allCalls(const Host& host) {
  const auto calls = host.calls();
  return std::accumulate(calls.begin(), calls.end(), std::uint64_t{0},
                         [](std::uint64_t sum, const auto& service) { return sum + service.second; });
}

Value keyOf(Host& host, const std::string& kind, std::int64_t number) {
  if (kind == "Variant") return host.variant(vornik::host::VariantType::kInt64, number);
  char text[32];
  std::snprintf(text, sizeof text, "key %012lld", static_cast<long long>(number));
  return kind == "String" ? Value(text) : host.variant(vornik::host::VariantType::kString, Value(text));
}

void measure(Host& host, const std::string& className, const std::string& kind, bool caseSensitive,
             std::int64_t keys) {
  const bool isMap = className.find("Map") != std::string::npos;
  const Value container = host.create(className, {caseSensitive});
  for (std::int64_t i = 0; i < keys; ++i) {
    const Value key = keyOf(host, kind, i * 2654435761 % 4294967296);
    if (isMap) {
      host.assign(container, "value", {key}, Value("x"));
    } else {
      host.call(container, "insert", {key});
    }
  }
  constexpr int kRounds = 1000;
  std::uint64_t hits = 0, misses = 0;
  for (int round = 0; round < kRounds; ++round) {
    const Value present = keyOf(host, kind, (round * keys / kRounds) * 2654435761 % 4294967296);
    const Value absent = keyOf(host, kind, (round * keys / kRounds) * 2654435761 % 4294967296 + 4294967296);
    host.resetCalls();
    host.call(container, "CountKey", {present});
    hits += allCalls(host);
    host.resetCalls();
    host.call(container, "CountKey", {absent});
    misses += allCalls(host);
  }
  std::printf("%-30s %-14s %-11s %8lld %8.1f %8.1f\n", className.c_str(),
              kind == "Text"      ? "String variant"
              : kind == "Variant" ? "Int64 variant"
                                  : "String",
              caseSensitive ? "sensitive" : "insensitive", static_cast<long long>(keys),
              static_cast<double>(hits) / kRounds, static_cast<double>(misses) / kRounds);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: host-calls PLUGIN\n");
    return 2;
  }
  Host host;
  host.load(argv[1]);
  std::printf("%-30s %-14s %-11s %8s %8s %8s\n", "class", "keys", "case", "count", "hit", "miss");
  for (const std::int64_t keys : {1000, 1000000}) {
    for (const char* name : {"StringToStringOrderedMapQZR", "StringToStringHashMapQZR", "StringOrderedSetQZR",
                             "StringHashSetQZR"}) {
      for (const bool caseSensitive : {true, false}) measure(host, name, "String", caseSensitive, keys);
    }
    for (const char* name : {"VariantToVariantOrderedMapQZR", "VariantToVariantHashMapQZR",
                             "VariantOrderedSetQZR", "VariantHashSetQZR"}) {
      for (const char* kind : {"Variant", "Text"}) {
        for (const bool caseSensitive : {true, false}) measure(host, name, kind, caseSensitive, keys);
      }
    }
  }
}
