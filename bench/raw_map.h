// A map of C++ as a subject: created, filled and asked in this very program. Every operation runs over all
// the keys and answers something that depends on all results.
#ifndef VORNIK_BENCH_RAW_MAP_H
#define VORNIK_BENCH_RAW_MAP_H

#include <absl/container/btree_map.h>
#include <absl/container/flat_hash_map.h>

#include <cstdint>
#include <iterator>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <type_traits>
#include <unordered_map>
#include <vector>

namespace vornik::bench {

template <typename Map>
class RawMap {
 public:
  using Key = typename Map::key_type;
  using Keys = std::vector<Key>;
  using Value = typename Map::mapped_type;

  explicit RawMap(std::string name) : name_(std::move(name)) {}
  const std::string& name() const { return name_; }

  void create() { map_ = std::make_unique<Map>(); }
  void destroy() { map_.reset(); }

  std::int64_t set(const Keys& keys) {
    setEach(keys, [] {});
    return static_cast<std::int64_t>(map_->size());
  }
  /// Calls `after` after every key.
  template <typename After>
  void setEach(std::span<const Key> keys, After after) {
    for (const Key& key : keys) {
      if constexpr (std::is_integral_v<Value>) {
        (*map_)[key] = key + 1;
      } else {
        (*map_)[key] = text_;
      }
      after();
    }
  }
  std::int64_t get(const Keys& keys) {
    std::int64_t sum = 0;
    for (const Key& key : keys) sum += number(map_->find(key)->second);
    return sum;
  }
  std::int64_t has(const Keys& keys) {
    std::int64_t sum = 0;
    for (const Key& key : keys) sum += map_->find(key) != map_->end() ? 1 : 0;
    return sum;
  }
  std::int64_t lowerBound(const Keys& keys) {
    std::int64_t sum = 0;
    for (const Key& key : keys) {
      const auto found = map_->lower_bound(key);
      sum += found != map_->end() ? found->second : 7;
    }
    return sum;
  }
  std::int64_t upperBound(const Keys& keys) {
    std::int64_t sum = 0;
    for (const Key& key : keys) {
      const auto found = map_->upper_bound(key);
      sum += found != map_->end() ? found->second : 7;
    }
    return sum;
  }
  std::int64_t remove(const Keys& keys) {
    std::int64_t sum = 0;
    for (const Key& key : keys) sum += static_cast<std::int64_t>(map_->erase(key));
    return sum;
  }
  std::int64_t walk() {
    std::int64_t sum = 0;
    for (const auto& [key, value] : *map_) sum += mixed(key, value);
    return sum;
  }
  /// The copy outlives the call, so that its end is not measured.
  std::int64_t copy() {
    copy_ = std::make_unique<Map>(*map_);
    return static_cast<std::int64_t>(copy_->size());
  }
  void dropCopy() { copy_.reset(); }

  void findMiddleThird() {
    first_ = std::next(map_->begin(), static_cast<std::ptrdiff_t>(map_->size() / 3));
    last_ = std::next(first_, static_cast<std::ptrdiff_t>(map_->size() / 3));
  }
  std::int64_t removeMiddleThird() {
    map_->erase(first_, last_);
    return static_cast<std::int64_t>(map_->size());
  }

  void clear() { map_->clear(); }

 private:
  static std::int64_t number(std::int64_t value) { return value; }
  static std::int64_t number(const std::string& value) { return static_cast<std::int64_t>(value.size()); }

  static std::int64_t mixed(std::int64_t key, std::int64_t value) { return key ^ value; }
  static std::int64_t mixed(std::int64_t key, const std::string& value) { return number(value) | (key & 1); }
  static std::int64_t mixed(const std::string& key, const std::string& value) {
    return key.empty() ? 0 : number(value);
  }

  std::string name_;
  const std::string text_ = "x";  ///< the value of every key, where values are texts
  std::unique_ptr<Map> map_, copy_;
  typename Map::iterator first_, last_;
};

template <typename Key, typename Value = Key>
auto standardMap() {
  return RawMap<std::map<Key, Value>>("std::map");
}
template <typename Key, typename Value = Key>
auto btreeMap() {
  return RawMap<absl::btree_map<Key, Value>>("absl::btree_map");
}
template <typename Key, typename Value = Key>
auto standardHashMap() {
  return RawMap<std::unordered_map<Key, Value>>("std::unordered_map");
}
template <typename Key, typename Value = Key>
auto flatHashMap() {
  return RawMap<absl::flat_hash_map<Key, Value>>("absl::flat_hash_map");
}

}  // namespace vornik::bench

#endif  // VORNIK_BENCH_RAW_MAP_H
