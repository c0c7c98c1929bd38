// The hash table behind the hash classes. Bucket choice, growth and visiting order are exact, because script
// code sees them: in BinCount, in iteration, in exported arrays and in copies.
//
// All elements lie on one chain; the elements of a bucket are neighbours on it, its run. A bucket designates
// the first element of its run. Elements know their predecessor and whether they end their run, so that a
// lookup touches the bucket array and the elements of one run and nothing else, and a new run at the head of
// the chain touches no other bucket.
#ifndef VORNIK_STRUCTURES_HASH_TABLE_H
#define VORNIK_STRUCTURES_HASH_TABLE_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>
#include <vector>

#include "plugin/structures/bucket_count.h"
#include "plugin/structures/node_pool.h"
#include "plugin/structures/positions.h"

namespace vornik {

/// Key and Value are what elements hold. Hashing answers hash(key) for keys and probes and equal(key, probe).
///
/// Destroying keys and values can run host code, and host code can come back to this very container. Whatever
/// takes elements out therefore hands them to the caller, who lets them die once the container is whole
/// again. Every operation leaves the container as it was when it throws. Unless said otherwise an operation
/// is constant time on average.
template <typename Key, typename Value, typename Hashing>
class HashTable {
  struct Node;

 public:
  using Policy = Hashing;
  using Place = Node*;  ///< null is the end
  using Positions = PositionTable<HashTable, Place>;
  struct Located {
    HashTable* owner;  ///< null when the handle is stale
    Place place;
  };
  /// An element that has left the container but still holds its key and value.
  struct Removed {
    Key key;
    [[no_unique_address]] Value value;
  };
  using RemovedRange = std::vector<Removed>;

  HashTable() = default;
  HashTable(const HashTable&) = delete;
  HashTable& operator=(const HashTable&) = delete;
  ~HashTable() {
    forgetPositions();
    const auto removed = extractAll();
  }

  std::size_t size() const { return size_; }
  bool empty() const { return size_ == 0; }
  /// Another one after every change of structure.
  ChangeStamp change() const { return change_; }
  /// 0 for a new table; never shrinks.
  std::uint64_t bucketCount() const { return count_.value(); }
  Place begin() const { return first_; }
  Place end() const { return nullptr; }

  static const Key& key(Place place) { return place->key; }
  static Value& value(Place place) { return place->value; }
  static Place next(Place place) { return place->next; }

  /// The key's element, or the end.
  template <typename Probe>
  Place find(const Probe& key) const {
    if (bucketCount() == 0) return nullptr;
    const std::uint64_t hash = Hashing::hash(key);
    return findIn(count_.bucketOf(hash), hash, key);
  }

  /// The key's element; a new one with an empty value where there is none. Amortised constant.
  template <typename Probe>
  Place findOrInsert(const Probe& key) {
    const std::uint64_t hash = Hashing::hash(key);
    if (bucketCount() != 0) {
      if (const Place found = findIn(count_.bucketOf(hash), hash, key)) return found;
    }
    return insert(hash, key);
  }

  /// Inserts all elements of `other` into this empty table, one by one in the order of its chain. Linear.
  void copyFrom(HashTable& other) {
    for (Place place = other.first_; place != nullptr; place = place->next) {
      insert(hashOf(*place), place->key)->value = place->value;
    }
  }

  /// Takes out one element.
  [[nodiscard]] Removed extract(Place place) {
    forget(*place);
    unlink(*place);
    Removed removed{std::move(place->key), std::move(place->value)};
    destroy(place);
    return removed;
  }

  /// Takes out the elements from `first` up to, not including, `last`, which must be reachable from it.
  [[nodiscard]] RemovedRange extract(Place first, Place last) {
    RemovedRange removed;
    if constexpr (kElementsRunHostCode) {
      std::size_t count = 0;
      for (Place place = first; place != last; place = place->next) ++count;
      removed.reserve(count);
    }
    while (first != last) {
      const Place place = std::exchange(first, first->next);
      if constexpr (kElementsRunHostCode) {
        removed.push_back(extract(place));
      } else {
        static_cast<void>(extract(place));
      }
    }
    return removed;
  }

  /// Elements that have left the table all at once, with the memory they lie in.
  class Chain {
   public:
    Chain(Chain&&) = delete;
    ~Chain() {
      if constexpr (kElementsRunHostCode) {
        while (first_ != nullptr) std::exchange(first_, first_->next)->~Node();
      }
    }

   private:
    friend HashTable;
    Chain(Place first, NodePool<Node> pool) noexcept : pool_(std::move(pool)), first_(first) {}
    NodePool<Node> pool_;
    Place first_;
  };

  /// Takes out everything. The bucket count and the end position stay what they were. Linear.
  [[nodiscard]] Chain extractAll() noexcept {
    forgetEntryPositions();
    if (size_ != 0) std::fill_n(buckets_.get(), bucketCount(), nullptr);
    size_ = 0;
    change_ = ++lastChange;
    return Chain(std::exchange(first_, nullptr), std::move(pool_));
  }

  /// Makes every position of this container stale, that of its end included. Linear.
  void forgetPositions() noexcept {
    end_.release();
    forgetEntryPositions();
  }

  /// Whether MoveNext leads from `first` to `last`. Linear in the distance between them, or to the end.
  bool reaches(Place first, Place last) const {
    if (last == nullptr) return true;
    while (first != nullptr && first != last) first = first->next;
    return first == last;
  }

  /// The handle of a place in this container; may throw std::bad_alloc.
  PositionHandle handle(Place place) {
    if (place == nullptr) return end_.handle(this);
    if (place->anchor == 0) {
      place->anchor = Positions::take(this, place, 0);
      ++positioned_;
    }
    return Positions::handle(place->anchor);
  }

  /// Where a handle points.
  static Located locate(PositionHandle handle) noexcept {
    const auto* const slot = Positions::resolve(handle);
    return slot != nullptr ? Located{slot->owner, slot->node} : Located{nullptr, nullptr};
  }

 private:
  static constexpr bool kElementsRunHostCode =
      !std::is_trivially_destructible_v<Key> || !std::is_trivially_destructible_v<Value>;

  struct NoHash {};
  struct StoredHash {
    std::uint64_t hash;
  };
  // Integers are their own hash.
  using HashField = std::conditional_t<Hashing::kKeyIsHash, NoHash, StoredHash>;

  struct Node : HashField {
    template <typename Probe>
    Node(HashField field, const Probe& probe) : HashField(field), key(probe) {}
    Node* next = nullptr;
    Node* previous = nullptr;
    Key key;
    [[no_unique_address]] Value value{};
    SlotNumber anchor = 0;
    bool endsRun = false;
  };

  static std::uint64_t hashOf(const Node& node) {
    if constexpr (Hashing::kKeyIsHash) {
      return Hashing::hash(node.key);
    } else {
      return node.hash;
    }
  }
  static HashField hashField(std::uint64_t hash) {
    if constexpr (Hashing::kKeyIsHash) {
      return {};
    } else {
      return {hash};
    }
  }
  std::uint64_t bucketOf(const Node& node) const { return count_.bucketOf(hashOf(node)); }

  template <typename Probe>
  Place findIn(std::uint64_t bucket, std::uint64_t hash, const Probe& key) const {
    for (Place place = buckets_[bucket]; place != nullptr; place = place->next) {
      if (hashOf(*place) == hash && Hashing::equal(place->key, key)) return place;
      if (place->endsRun) break;
    }
    return nullptr;
  }

  /// Adds an element whose key is absent.
  template <typename Probe>
  Place insert(std::uint64_t hash, const Probe& key) {
    // Everything that can fail comes before anything that changes.
    pool_.reserveOne();
    if (mustGrow(size_ + 1, bucketCount())) {
      const BucketCount grown(grownBucketCount(size_ + 1, bucketCount()));
      auto buckets = std::make_unique<Place[]>(grown.value());
      rebuild(grown, std::move(buckets));
    }
    const Place node = ::new (pool_.take()) Node(hashField(hash), key);
    link(*node, count_.bucketOf(hash));
    ++size_;
    change_ = ++lastChange;
    return node;
  }

  /// Links a new element as the first of its bucket's run; a new run goes to the head of the chain.
  void link(Node& node, std::uint64_t bucket) {
    const Place runStart = std::exchange(buckets_[bucket], &node);
    node.endsRun = runStart == nullptr;
    linkBefore(node, runStart != nullptr ? runStart : first_);
  }

  void linkBefore(Node& node, Place successor) {
    node.next = successor;
    node.previous = successor != nullptr ? successor->previous : nullptr;
    (node.previous != nullptr ? node.previous->next : first_) = &node;
    if (successor != nullptr) successor->previous = &node;
  }

  void unlinkFromChain(Node& node) {
    (node.previous != nullptr ? node.previous->next : first_) = node.next;
    if (node.next != nullptr) node.next->previous = node.previous;
  }

  void unlink(Node& node) {
    Place& runStart = buckets_[bucketOf(node)];
    if (runStart == &node) {
      runStart = node.endsRun ? nullptr : node.next;
    } else if (node.endsRun) {
      node.previous->endsRun = true;
    }
    unlinkFromChain(node);
    --size_;
    change_ = ++lastChange;
  }

  /// Regroups the chain into a fresh array of empty buckets. The runs keep the order of their first elements;
  /// an element that meets a run of its bucket further up goes to that run's front.
  void rebuild(BucketCount count, std::unique_ptr<Place[]> buckets) noexcept {
    count_ = count;
    buckets_ = std::move(buckets);
    if (first_ == nullptr) return;
    Place last = first_;  // of the elements regrouped so far, in chain order
    std::uint64_t lastBucket = bucketOf(*last);
    buckets_[lastBucket] = last;
    last->endsRun = true;
    while (const Place place = last->next) {
      const std::uint64_t bucket = bucketOf(*place);
      Place& runStart = buckets_[bucket];
      if (runStart != nullptr && bucket != lastBucket) {
        unlinkFromChain(*place);
        place->endsRun = false;
        linkBefore(*place, runStart);
        runStart = place;
        continue;
      }
      if (runStart == nullptr) {
        runStart = place;
      } else {
        last->endsRun = false;
      }
      place->endsRun = true;
      last = place;
      lastBucket = bucket;
    }
  }

  /// Makes the element's position stale, if it has one.
  void forget(Node& node) noexcept {
    if (node.anchor == 0) return;
    Positions::free(std::exchange(node.anchor, 0));
    --positioned_;
  }

  void forgetEntryPositions() noexcept {
    for (Place place = first_; positioned_ != 0; place = place->next) forget(*place);
  }

  void destroy(Place place) noexcept {
    place->~Node();
    pool_.giveBack(place);
  }

  std::unique_ptr<Place[]> buckets_;
  BucketCount count_;
  Place first_ = nullptr;
  std::size_t size_ = 0;
  std::size_t positioned_ = 0;  // elements whose anchor holds a slot
  NodePool<Node> pool_;
  ChangeStamp change_ = 0;
  EndPosition<Positions> end_;
};

}  // namespace vornik

#endif  // VORNIK_STRUCTURES_HASH_TABLE_H
