// A map class of the loaded library as a subject, reached as the host reaches it: through the registered
// functions, looked up once and called through their addresses.
#ifndef VORNIK_BENCH_REGISTERED_MAP_H
#define VORNIK_BENCH_REGISTERED_MAP_H

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "fmt/format.h"
#include "host/host.h"

namespace vornik::bench {

/// How keys and values of a kind are passed, and what becomes of a result.
struct IntegerPassing {
  using Raw = std::int64_t;
  static constexpr const char* kType = "integer";
  static std::int64_t use(Raw result) { return result; }
  static std::int64_t mixed(std::int64_t key, std::int64_t value) { return key ^ value; }
};
/// A result carries a reference, which its user gives back.
template <typename Handle>
struct ReferencePassing {
  using Raw = Handle*;
  static std::int64_t use(Raw result) {
    host::dropReference(result);
    return 1;
  }
  static std::int64_t mixed(std::int64_t key, std::int64_t value) { return key & value; }
};
struct StringPassing : ReferencePassing<REALstringStruct> {
  static constexpr const char* kType = "string";
};
struct VariantPassing : ReferencePassing<REALobjectStruct> {
  static constexpr const char* kType = "variant";
};

/// A map whose keys and values are of one kind. `value` is what every key is set to; without one, integers
/// are set to their successors.
template <typename Passing>
class RegisteredMap {
 public:
  using Key = typename Passing::Raw;
  using Keys = std::vector<Key>;

  RegisteredMap(host::Host& host, std::string className, std::string name = "registered",
                std::vector<host::Value> constructorArguments = {}, Key value = {})
      : host_(host),
        class_(std::move(className)),
        name_(std::move(name)),
        arguments_(std::move(constructorArguments)),
        value_(value) {
    const std::string type = Passing::kType;
    set_ = as<void, Key, Key>(host.setter(class_, fmt::format("value(key as {0}) as {0}", type)));
    get_ = find<Key, Key>(class_, fmt::format("value(key as {0}) as {0}", type));
    has_ = find<bool, Key>(class_, fmt::format("hasKey(key as {}) as boolean", type));
    remove_ = find<std::int64_t, Key>(class_, fmt::format("Remove(key as {}) as integer", type));
    keyAt_ = find<Key, std::int64_t>(class_, fmt::format("Key(index as integer) as {}", type));
    clone_ = find<REALobjectStruct*>(class_, fmt::format("Clone as {}", class_));
    // One class's iterator has a name of its own.
    iterator_ = class_ == "VariantToVariantOrderedMapQZR"
                    ? "VariantToVariantMapIteratorQZR"
                    : class_.substr(0, class_.size() - 3) + "IteratorQZR";
    removeRange_ = find<void, REALobjectStruct*, REALobjectStruct*>(
        class_, fmt::format("Remove(first as {0}, last as {0})", iterator_));
    moveNext_ = find<void>(iterator_, "MoveNext");
    iteratorKey_ = find<Key>(iterator_, fmt::format("Key as {}", type));
    iteratorValue_ = find<Key>(iterator_, fmt::format("Value as {}", type));
    isNotEqual_ = find<bool, REALobjectStruct*>(iterator_,
                                                fmt::format("isNotEqual(other as {}) as boolean", iterator_));
  }
  const std::string& name() const { return name_; }

  void create() { map_ = host_.create(class_, arguments_); }
  void destroy() { map_ = {}; }

  std::int64_t set(const Keys& keys) {
    setEach(keys, [] {});
    return host_.get(map_, "Count").integer();
  }
  /// Calls `after` after every key.
  template <typename After>
  void setEach(std::span<const Key> keys, After after) {
    each(keys, [&](REALobjectStruct* self, Key key) {
      set_(self, key, valueFor(key));
      after();
      return 0;
    });
  }
  std::int64_t get(const Keys& keys) {
    return each(keys, [this](REALobjectStruct* self, Key key) { return Passing::use(get_(self, key)); });
  }
  std::int64_t has(const Keys& keys) {
    return each(keys, [this](REALobjectStruct* self, Key key) { return has_(self, key) ? 1 : 0; });
  }
  std::int64_t remove(const Keys& keys) {
    return each(keys, [this](REALobjectStruct* self, Key key) { return remove_(self, key); });
  }
  /// As script code walks: four calls a step, the end kept.
  std::int64_t walk() {
    const host::Value first = host_.call(map_, "first");
    const host::Value last = host_.call(map_, "last");
    REALobjectStruct* const at = first.object().get();
    REALobjectStruct* const end = last.object().get();
    std::int64_t sum = 0;
    host::Host::PluginCall call;
    for (; isNotEqual_(at, end); moveNext_(at)) {
      sum += Passing::mixed(Passing::use(iteratorKey_(at)), Passing::use(iteratorValue_(at)));
    }
    call.finish();
    return sum;
  }
  std::int64_t copy() {
    host::Host::PluginCall call;
    REALobjectStruct* const clone = clone_(map_.object().get());
    call.finish();
    copy_ = host::Value(host::ObjectRef::adopt(clone));
    return host_.get(copy_, "Count").integer();
  }
  void dropCopy() { copy_ = {}; }

  void findMiddleThird() {
    const host::Value keys = host_.call(map_, "Keys");
    const std::int64_t third = host_.elementCount(keys) / 3;
    first_ = host_.call(map_, "find", {host_.element(keys, third)});
    last_ = host_.call(map_, "find", {host_.element(keys, 2 * third)});
  }
  std::int64_t removeMiddleThird() {
    host::Host::PluginCall call;
    removeRange_(map_.object().get(), first_.object().get(), last_.object().get());
    call.finish();
    return host_.get(map_, "Count").integer();
  }

  /// Exports all entries into the arrays that index access reads.
  std::int64_t firstIndex() {
    host::Host::PluginCall call;
    Passing::use(keyAt_(map_.object().get(), 0));
    call.finish();
    return 0;
  }
  std::int64_t furtherIndexes(std::size_t count) {
    std::int64_t sum = 0;
    host::Host::PluginCall call;
    for (std::size_t i = 0; i < count; ++i) {
      sum += Passing::use(keyAt_(map_.object().get(), static_cast<std::int64_t>(i)));
    }
    call.finish();
    return sum;
  }

  void clear() { host_.call(map_, "Clear"); }

 private:
  template <typename Result, typename... Arguments>
  using Function = Result(REALobjectStruct*, Arguments...);
  template <typename Result, typename... Arguments>
  static Function<Result, Arguments...>* as(REALproc function) {
    return reinterpret_cast<Function<Result, Arguments...>*>(function);
  }
  template <typename Result, typename... Arguments>
  Function<Result, Arguments...>* find(const std::string& className, const std::string& declaration) const {
    return as<Result, Arguments...>(host_.function(className, declaration));
  }
  Key valueFor(Key key) const {
    if constexpr (std::is_integral_v<Key>) return key + 1;
    return value_;
  }
  template <typename Operation>
  std::int64_t each(std::span<const Key> keys, Operation operation) {
    REALobjectStruct* const self = map_.object().get();
    std::int64_t sum = 0;
    host::Host::PluginCall call;
    for (const Key key : keys) sum += operation(self, key);
    call.finish();
    return sum;
  }

  host::Host& host_;
  std::string class_, name_, iterator_;
  std::vector<host::Value> arguments_;
  Key value_;
  host::Value map_, copy_, first_, last_;
  Function<void, Key, Key>* set_;
  Function<Key, Key>* get_;
  Function<bool, Key>* has_;
  Function<std::int64_t, Key>* remove_;
  Function<Key, std::int64_t>* keyAt_;
  Function<REALobjectStruct*>* clone_;
  Function<void, REALobjectStruct*, REALobjectStruct*>* removeRange_;
  Function<void>* moveNext_;
  Function<Key>*iteratorKey_, *iteratorValue_;
  Function<bool, REALobjectStruct*>* isNotEqual_;
};

}  // namespace vornik::bench

#endif  // VORNIK_BENCH_REGISTERED_MAP_H
