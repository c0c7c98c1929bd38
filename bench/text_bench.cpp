// Maps with String and Variant keys: the registered functions, side by side with the maps of C++ in the
// same order.
//
// Every key has the same short value, so that a raw map pays for one text an entry, its key's. Keys are other
// objects when they are asked for than when they went in, as script code would have them.
#include <functional>
#include <optional>

#include "bench/harness.h"
#include "bench/keys.h"
#include "bench/raw_map.h"
#include "bench/registered_map.h"

namespace vornik::bench {
namespace {

using host::Host;
using host::Value;

/// A map with the keys that it is asked about, in its own form of them.
template <typename Map>
struct Loaded {
  Map map;
  Workload<typename Map::Key>& load;

  const std::string& name() const { return map.name(); }
};
template <typename Map>
Loaded(Map, Workload<typename Map::Key>&) -> Loaded<Map>;

/// A workload in the host's form, and the references behind it.
template <typename Handle>
struct HostWorkload {
  Workload<Handle*> handles;
  std::vector<Value> owners;

  template <typename Key, typename Make>
  HostWorkload(const Workload<Key>& keys, Make make) {
    const auto fill = [&](std::vector<Handle*>& to, const std::vector<Key>& from) {
      for (const Key& key : from) {
        owners.push_back(make(key));
        if constexpr (std::is_same_v<Handle, REALstringStruct>) {
          to.push_back(owners.back().string().get());
        } else {
          to.push_back(owners.back().object().get());
        }
      }
    };
    fill(handles.inserted, keys.inserted);
    fill(handles.read, keys.read);
    fill(handles.removed, keys.removed);
    fill(handles.absent, keys.absent);
  }
};

const auto keyedPass = [](auto& subject, Figures& figures) {
  auto& map = subject.map;
  auto& load = subject.load;
  const std::size_t size = load.size();
  load.shuffleFew();
  map.create();
  figures.time("set", size, [&] { return map.set(load.inserted); });
  figures.time("set existing", size, [&] { return map.set(load.read); });
  figures.time("get", size, [&] { return map.get(load.read); });
  figures.time("has", size, [&] { return map.has(load.read); });
  figures.time("miss", size, [&] { return map.has(load.absent); });
  figures.time("remove", size, [&] { return map.remove(load.removed); });
  map.destroy();
};

const auto wholePass = [](auto& subject, Figures& figures) {
  auto& map = subject.map;
  auto& load = subject.load;
  const std::size_t size = load.size();
  map.create();
  map.set(load.inserted);
  figures.time("copy", size, [&] { return map.copy(); });
  map.dropCopy();
  figures.time("first walk", size, [&] { return map.walk(); });
  figures.time("second walk", size, [&] { return map.walk(); });
  map.destroy();
};

template <typename... Subjects>
void compare(Report& report, const Block& block, Subjects&&... subjects) {
  Comparison comparison(report, block, subjects...);
  comparison.run(keyedPass);
  comparison.run(wholePass);
  comparison.finish();
}

auto orderedRaw() {
  return RawMap<std::map<std::string, std::string, std::greater<>>>("std::map");
}
auto orderedBtree() {
  return RawMap<absl::btree_map<std::string, std::string, std::greater<>>>("absl::btree_map");
}

/// Both case choices of a class beside raw maps with the same texts.
template <typename Passing, typename Handle, typename... Raw>
void compareTexts(Report& report, Host& host, const Block& block, HostWorkload<Handle>& ours, Handle* value,
                  Raw&... raw) {
  using Map = RegisteredMap<Passing>;
  compare(report, block, Loaded{Map(host, block.group, "registered", {true}, value), ours.handles},
          Loaded{Map(host, block.group, "case-insensitive", {false}, value), ours.handles}, raw...);
}

void measureTexts(Report& report, Host& host, TextShape shape, const char* shapeName, std::size_t size) {
  const Value text("x");
  const Value variant = host.variant(kVariantString, text);
  std::optional<Texts> texts;
  std::optional<HostWorkload<REALstringStruct>> strings;
  std::optional<HostWorkload<REALobjectStruct>> variants;
  const auto wants = [&](const Block& block) {
    if (!report.wants(block)) return false;
    if (!texts) texts = makeTexts(size, shape);
    return true;
  };
  const auto makeString = [](const std::string& key) { return Value(key); };
  const auto makeVariant = [&](const std::string& key) { return host.variant(kVariantString, Value(key)); };
  for (const bool ordered : {true, false}) {
    const auto className = [&](const char* type) {
      return fmt::format("{0}To{0}{1}MapQZR", type, ordered ? "Ordered" : "Hash");
    };
    const auto besideRaw = [&](auto measure) {
      if (ordered) {
        measure(Loaded{orderedRaw(), *texts}, Loaded{orderedBtree(), *texts});
      } else {
        measure(Loaded{standardHashMap<std::string>(), *texts}, Loaded{flatHashMap<std::string>(), *texts});
      }
    };
    if (const Block block{className("String"), shapeName, size}; wants(block)) {
      if (!strings) strings.emplace(*texts, makeString);
      besideRaw([&](auto&&... raw) {
        compareTexts<StringPassing>(report, host, block, *strings, text.string().get(), raw...);
      });
    }
    if (shape != TextShape::kCustomer) continue;
    if (const Block block{className("Variant"), shapeName, size}; wants(block)) {
      if (!variants) variants.emplace(*texts, makeVariant);
      besideRaw([&](auto&&... raw) {
        compareTexts<VariantPassing>(report, host, block, *variants, variant.object().get(), raw...);
      });
    }
  }
}

void measureInt64Variants(Report& report, Host& host, std::size_t size) {
  const Value value = host.variant(kVariantInt64, 1);
  for (const bool ordered : {true, false}) {
    const Block block{fmt::format("VariantToVariant{}MapQZR", ordered ? "Ordered" : "Hash"), "Int64", size};
    if (!report.wants(block)) continue;
    Integers numbers = makeIntegers(size, false);
    HostWorkload<REALobjectStruct> variants(
        numbers, [&](std::int64_t key) { return host.variant(kVariantInt64, key); });
    Loaded registered{
        RegisteredMap<VariantPassing>(host, block.group, "registered", {}, value.object().get()),
        variants.handles};
    if (ordered) {
      using Order = std::greater<>;
      compare(report, block, registered,
              Loaded{RawMap<std::map<std::int64_t, std::string, Order>>("std::map"), numbers},
              Loaded{RawMap<absl::btree_map<std::int64_t, std::string, Order>>("absl::btree_map"), numbers});
    } else {
      compare(report, block, registered, Loaded{standardHashMap<std::int64_t, std::string>(), numbers},
              Loaded{flatHashMap<std::int64_t, std::string>(), numbers});
    }
  }
}

void run(Report& report) {
  Host host;
  host.load(report.options().plugin);
  for (const std::size_t size : {1'000u, 100'000u, 1'000'000u}) {
    measureTexts(report, host, TextShape::kCustomer, "customer N", size);
    if (!report.options().quick) measureTexts(report, host, TextShape::kUrl, "URLs", size);
    measureInt64Variants(report, host, size);
  }
}

}  // namespace
}  // namespace vornik::bench

int main(int argc, char** argv) {
  return vornik::bench::benchMain(argc, argv, "text-bench", vornik::bench::run);
}
