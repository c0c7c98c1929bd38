// The two sides of the comparison: a standard container in this very program, and a container class of the
// loaded library, reached as the host reaches it: through the registered functions, looked up once.
#ifndef VORNIK_BENCH_SUBJECTS_H
#define VORNIK_BENCH_SUBJECTS_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "host/host.h"

namespace vornik::bench {

using Keys = std::vector<std::int64_t>;

/// A standard map. Every operation runs over all the keys and answers a sum that depends on all results.
template <typename Map>
class StandardSubject {
 public:
  void create() { map_ = std::make_unique<Map>(); }
  void destroy() { map_.reset(); }

  std::int64_t set(const Keys& keys) {
    for (const std::int64_t key : keys) (*map_)[key] = key + 1;
    return static_cast<std::int64_t>(map_->size());
  }
  std::int64_t get(const Keys& keys) {
    std::int64_t sum = 0;
    for (const std::int64_t key : keys) sum += map_->find(key)->second;
    return sum;
  }
  std::int64_t miss(const Keys& keys) {
    std::int64_t sum = 0;
    for (const std::int64_t key : keys) {
      const auto found = map_->find(key);
      sum += found != map_->end() ? found->second : 7;
    }
    return sum;
  }
  std::int64_t iterate(const Keys&) {
    std::int64_t sum = 0;
    for (const auto& [key, value] : *map_) sum += key ^ value;
    return sum;
  }
  /// There is no index access: the same walk is what Key(i) and ValueAtIndex(i) are compared with.
  std::int64_t index(const Keys& keys) { return iterate(keys); }
  std::int64_t remove(const Keys& keys) {
    std::int64_t sum = 0;
    for (const std::int64_t key : keys) sum += static_cast<std::int64_t>(map_->erase(key));
    return sum;
  }

 private:
  std::unique_ptr<Map> map_;
};

/// A map class of the library, from Integer to Integer.
class RegisteredSubject {
 public:
  RegisteredSubject(host::Host& host, std::string name)
      : host_(host), name_(std::move(name)), iterator_(name_.substr(0, name_.size() - 3) + "IteratorQZR") {
    set_ = as<Setter>(host.setter(name_, "value(key as integer) as integer"));
    value_ = find<Getter>(name_, "value(key as integer) as integer");
    lookup_ = find<Lookup>(name_, "lookup(key as integer, defaultvalue as integer) as integer");
    remove_ = find<Getter>(name_, "Remove(key as integer) as integer");
    key_ = find<Getter>(name_, "Key(index as integer) as integer");
    valueAtIndex_ = find<Getter>(name_, "ValueAtIndex(index as integer) as integer");
    moveNext_ = find<Action>(iterator_, "MoveNext");
    iteratorKey_ = find<Property>(iterator_, "Key as integer");
    iteratorValue_ = find<Property>(iterator_, "Value as integer");
    isNotEqual_ = find<Comparison>(iterator_, "isNotEqual(other as " + iterator_ + ") as boolean");
  }

  void create() { object_ = host_.create(name_); }
  void destroy() { object_ = {}; }

  std::int64_t set(const Keys& keys) {
    REALobjectStruct* self = object_.object().get();
    host::Host::PluginCall call;
    for (const std::int64_t key : keys) set_(self, key, key + 1);
    call.finish();
    return static_cast<std::int64_t>(keys.size());
  }
  std::int64_t get(const Keys& keys) {
    return sumOver(keys, [this](REALobjectStruct* self, std::int64_t key) { return value_(self, key); });
  }
  std::int64_t miss(const Keys& keys) {
    return sumOver(keys, [this](REALobjectStruct* self, std::int64_t key) { return lookup_(self, key, 7); });
  }
  std::int64_t remove(const Keys& keys) {
    return sumOver(keys, [this](REALobjectStruct* self, std::int64_t key) { return remove_(self, key); });
  }
  std::int64_t iterate(const Keys&) {
    const host::Value first = host_.call(object_, "first");
    const host::Value last = host_.call(object_, "last");
    REALobjectStruct* iterator = first.object().get();
    REALobjectStruct* end = last.object().get();
    std::int64_t sum = 0;
    host::Host::PluginCall call;
    for (; isNotEqual_(iterator, end); moveNext_(iterator))
      sum += iteratorKey_(iterator) ^ iteratorValue_(iterator);
    call.finish();
    return sum;
  }
  /// Builds the arrays behind the index at its first step.
  std::int64_t index(const Keys& keys) {
    REALobjectStruct* self = object_.object().get();
    std::int64_t sum = 0;
    host::Host::PluginCall call;
    for (std::size_t i = 0; i < keys.size(); ++i) {
      const auto at = static_cast<std::int64_t>(i);
      sum += key_(self, at) ^ valueAtIndex_(self, at);
    }
    call.finish();
    return sum;
  }

 private:
  using Setter = void(REALobjectStruct*, std::int64_t, std::int64_t);
  using Getter = std::int64_t(REALobjectStruct*, std::int64_t);
  using Lookup = std::int64_t(REALobjectStruct*, std::int64_t, std::int64_t);
  using Action = void(REALobjectStruct*);
  using Property = std::int64_t(REALobjectStruct*);
  using Comparison = bool(REALobjectStruct*, REALobjectStruct*);

  template <typename Function>
  static Function* as(REALproc function) {
    return reinterpret_cast<Function*>(function);
  }
  template <typename Function>
  Function* find(const std::string& className, const std::string& declaration) const {
    return as<Function>(host_.function(className, declaration));
  }

  template <typename Operation>
  std::int64_t sumOver(const Keys& keys, Operation operation) {
    REALobjectStruct* self = object_.object().get();
    std::int64_t sum = 0;
    host::Host::PluginCall call;
    for (const std::int64_t key : keys) sum += operation(self, key);
    call.finish();
    return sum;
  }

  host::Host& host_;
  std::string name_;
  std::string iterator_;
  host::Value object_;
  Setter* set_;
  Getter *value_, *remove_, *key_, *valueAtIndex_;
  Lookup* lookup_;
  Action* moveNext_;
  Property *iteratorKey_, *iteratorValue_;
  Comparison* isNotEqual_;
};

}  // namespace vornik::bench

#endif  // VORNIK_BENCH_SUBJECTS_H
