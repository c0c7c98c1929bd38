// The hash table behind the hash classes. Bucket choice, growth and visiting order are exact, because script
// code sees them: in BinCount, in iteration, in exported arrays and in copies.
//
// All elements lie on one chain; the elements of a bucket are neighbours on it, its run. A bucket designates
// the first element of its run. Elements know their predecessor and whether they end their run, so that a
// lookup touches the bucket array and the elements of one run and nothing else, and a new run at the head of
// the chain touches no other bucket.
//
// Keys and values lie in one array that grows. A reference to one of them, or a place, is good only until the
// next change of the table: it must not be held across an insertion, nor across anything that can run host
// code, which may insert. What outlives changes is a position's handle.
#ifndef VORNIK_STRUCTURES_HASH_TABLE_H
#define VORNIK_STRUCTURES_HASH_TABLE_H

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>
#include <vector>

#include "plugin/structures/anchors.h"
#include "plugin/structures/bucket_count.h"
#include "plugin/structures/hashing_policy.h"
#include "plugin/structures/node_chain.h"
#include "plugin/structures/positions.h"
#include "plugin/structures/relocation.h"
#include "plugin/structures/table_room.h"

namespace vornik {

/// Hashing says how keys are searched for and kept (hashing_policy.h); Key is what of one leaves the table
/// with its element, and Value what else an element holds.
///
/// Destroying keys and values can run host code, and host code can come back to this very container. Whatever
/// takes elements out therefore hands them to the caller, who lets them die once the container is whole
/// again. Every operation leaves the container as it was when it throws. Unless said otherwise an operation
/// is constant time on average.
template <typename Key, typename Value, typename Hashing, typename Sizes = HashTableSizes>
class HashTable {
  static_assert(HashingPolicyOf<Hashing, Key>);
  using Probe = typename Hashing::Probe;
  using Stored = typename Hashing::Stored;
  struct Element;
  using Chain = NodeChain<Element>;

 public:
  using Policy = Hashing;
  using Place = NodeIndex;  ///< 0 is the end
  using Positions = PositionTable<HashTable>;
  /// An element that has left the container but still holds its key and value.
  struct Removed {
    Key key;
    [[no_unique_address]] Value value;
  };
  using RemovedRange = std::vector<Removed>;
  /// Where a handle leads; the owner is null when it has become stale.
  struct Located {
    HashTable* owner;
    Place place;
  };

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
  Place begin() const { return chain_.first(); }
  Place end() const { return 0; }

  /// The key as callers see it, borrowed.
  auto key(Place place) const { return Hashing::lend(chain_[place].key); }
  Value& value(Place place) { return chain_[place].value; }
  Place next(Place place) const { return chain_.next(place); }

  /// The key's element, or the end.
  Place find(const Probe& key) const {
    if (bucketCount() == 0) return end();
    const std::uint64_t hash = Hashing::hash(key);
    return findIn(count_.bucketOf(hash), hash, key);
  }

  /// The key's element; a new one with an empty value where there is none. Amortised constant.
  Place findOrInsert(const Probe& key) {
    const std::uint64_t hash = Hashing::hash(key);
    if (bucketCount() == 0) return insert(0, hash, key);
    const std::uint64_t bucket = count_.bucketOf(hash);
    const Place found = findIn(bucket, hash, key);
    return found != end() ? found : insert(bucket, hash, key);
  }

  /// Inserts all elements of `other` into this new table in the order of its chain. What is in the table when
  /// it throws, the caller discards. Linear.
  ///
  /// The order is that of inserting one by one, so none of the growths on the way can be left out; but no
  /// element needs to be looked for.
  void copyFrom(const HashTable& other) {
    chain_ = Chain(static_cast<NodeIndex>(std::min<std::uint64_t>(other.size_, Sizes::kMovedFrom)));
    for (Place place = other.begin(); size_ != other.size_;) {
      if (mustGrow(size_ + 1, bucketCount())) grow(other.size_);
      // As many as the buckets are good for, or a single one: single precision can ask for more.
      const std::uint64_t stage =
          std::min<std::uint64_t>(other.size_, std::max<std::uint64_t>(bucketCount(), size_ + 1)) - size_;
      if (chain_.capacity() < size_ + stage) chain_.enlarge(room(other.size_, bucketCount()));
      place = forEachWithBucket(other.chain_, place, stage, [&](Place original, std::uint64_t bucket) {
        link(chain_.construct(Element(other.chain_[original])), bucket);
      });
      size_ += stage;
      change_ = newChangeStamp();
    }
  }

  /// Takes out one element.
  [[nodiscard]] Removed extract(Place place) {
    anchors_.forget(place);
    unlink(place);
    Element& element = chain_[place];
    Removed removed{Hashing::release(std::move(element.key)), std::move(element.value)};
    chain_.destroy(place);
    return removed;
  }

  /// Takes out the elements from `first` up to, not including, `last`, which must be reachable from it.
  [[nodiscard]] RemovedRange extract(Place first, Place last) {
    RemovedRange removed;
    if constexpr (kElementsRunHostCode) {
      std::size_t count = 0;
      for (Place place = first; place != last; place = next(place)) ++count;
      removed.reserve(count);
    }
    while (first != last) {
      const Place place = std::exchange(first, next(first));
      if constexpr (kElementsRunHostCode) {
        removed.push_back(extract(place));
      } else {
        static_cast<void>(extract(place));
      }
    }
    return removed;
  }

  /// Elements that have left the table all at once, with the memory they lie in.
  class RemovedAll {
   public:
    RemovedAll(RemovedAll&&) = delete;
    ~RemovedAll() {
      if constexpr (kElementsRunHostCode) {
        for (Place place = chain_.first(); place != 0;)
          chain_.destroy(std::exchange(place, chain_.next(place)));
      }
    }

   private:
    friend HashTable;
    explicit RemovedAll(Chain chain) noexcept : chain_(std::move(chain)) {}
    Chain chain_;
  };

  /// Takes out everything. The bucket count and the end position stay what they were. Linear.
  [[nodiscard]] RemovedAll extractAll() noexcept {
    anchors_.forgetAll();
    if (size_ != 0) std::fill_n(buckets_.get(), bucketCount(), Place{0});
    size_ = 0;
    change_ = newChangeStamp();
    anchors_.release();
    return RemovedAll(std::exchange(chain_, Chain()));
  }

  /// Makes every position of this container stale, that of its end included. Linear.
  void forgetPositions() noexcept {
    end_.release();
    anchors_.forgetAll();
  }

  /// Whether MoveNext leads from `first` to `last`. Linear in the distance between them, or to the end.
  bool reaches(Place first, Place last) const {
    if (last == end()) return true;
    while (first != end() && first != last) first = next(first);
    return first == last;
  }

  /// The handle of a place in this container; may throw std::bad_alloc. Amortised constant: the first handle
  /// makes anchors for all elements there is room for.
  PositionHandle handle(Place place) {
    return place != end() ? anchors_.handle(this, place, chain_.capacity()) : end_.handle(this);
  }

  /// For a walk that has come to this place: has what it needs of the next one on its way to the cache, since
  /// neighbours on the chain of a large table lie anywhere in memory.
  void fetchNext(Place place) const {
    if (place == end() || size_ < Sizes::kMovedFrom) return;
    const Place following = next(place);
    if (following == end()) return;
    chain_.fetch(following);
    anchors_.fetch(following);
  }

  static Located locate(PositionHandle handle) noexcept {
    const auto* slot = Positions::resolve(handle);
    return slot != nullptr ? Located{slot->owner, slot->index} : Located{nullptr, 0};
  }

 private:
  static constexpr bool kElementsRunHostCode =
      !std::is_trivially_destructible_v<Key> || !std::is_trivially_destructible_v<Value>;

  struct Element {
    static constexpr bool kTriviallyRelocatable = TriviallyRelocatable<Stored> && TriviallyRelocatable<Value>;
    explicit Element(Stored&& stored) noexcept : key(std::move(stored)) {}
    Stored key;
    [[no_unique_address]] Value value{};
  };

  static std::uint64_t hashOf(const Element& element) { return Hashing::hash(element.key); }
  std::uint64_t bucketOf(const Element& element) const { return count_.bucketOf(hashOf(element)); }

  /// Compares hashes first, so that keys are compared only where hashes are equal.
  static bool matches(const Element& element, std::uint64_t hash, const Probe& key) {
    return hashOf(element) == hash && Hashing::equal(element.key, key);
  }

  Place findIn(std::uint64_t bucket, std::uint64_t hash, const Probe& key) const {
    Place place = buckets_[bucket];
    if (place == 0 || matches(chain_[place], hash, key)) return place;
    while (!chain_.endsRun(place)) {
      place = next(place);
      if (matches(chain_[place], hash, key)) return place;
    }
    return 0;
  }

  /// Adds an element whose key is absent, in the bucket that is the hash's before the table grows.
  Place insert(std::uint64_t bucket, std::uint64_t hash, const Probe& key) {
    // Everything that can fail or ask the host comes before anything that changes.
    Stored stored = Hashing::hold(hash, key);
    if (mustGrow(size_ + 1, bucketCount())) {
      grow(0);
      bucket = count_.bucketOf(hash);
    }
    if (chain_.isFull()) chain_.enlarge(room(0, bucketCount()));
    const Place place = chain_.construct(std::move(stored));
    link(place, bucket);
    ++size_;
    change_ = newChangeStamp();
    return place;
  }

  /// Links a new element as the first of its bucket's run; a new run goes to the head of the chain.
  void link(Place place, std::uint64_t bucket) {
    const Place runStart = std::exchange(buckets_[bucket], place);
    if (runStart != 0) {
      chain_.linkBefore(runStart, place, false);
    } else {
      chain_.linkBefore(chain_.next(0), place, true);
    }
  }

  void unlink(Place place) {
    if (chain_.startsRun(place)) {
      buckets_[bucketOf(chain_[place])] = chain_.endsRun(place) ? 0 : next(place);
    }
    chain_.unlink(place);
    --size_;
    change_ = newChangeStamp();
  }

  // ---- Growth

  /// For how many elements to make room when one more needs it and so many are expected, or 0.
  NodeIndex room(std::uint64_t expected, std::uint64_t bucketCount) const {
    return roomFor<Sizes>(size_ + 1, expected, bucketCount);
  }

  /// Regroups the chain into more buckets, and makes room for one element at least. Linear.
  void grow(std::uint64_t expected) {
    const BucketCount count(grownBucketCount(size_ + 1, bucketCount()));
    auto buckets = std::make_unique<Place[]>(count.value());
    const NodeIndex capacity = room(expected, count.value());
    const bool moved = size_ >= Sizes::kMovedFrom && moveInOrder(capacity);
    if (!moved && chain_.isFull()) chain_.enlarge(capacity);
    count_ = count;
    buckets_ = std::move(buckets);
    regroup();
  }

  /// Moves the elements to new memory in the order of the chain. Where there is no such memory, they stay: it
  /// is a matter of speed only.
  bool moveInOrder(NodeIndex capacity) noexcept try {
    Chain fresh(capacity);
    auto anchors = anchors_.forMove(capacity);
    chain_.moveInOrder(std::move(fresh), [&](Place from, Place to) { anchors_.move(from, anchors, to); });
    anchors_ = std::move(anchors);
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }

  /// Cuts the chain into runs anew, for empty buckets. The runs keep the order of their first elements; an
  /// element that meets a run of its bucket further up goes to that run's front.
  void regroup() noexcept {
    Place last = 0;  // of the elements regrouped so far, in chain order
    std::uint64_t lastBucket = 0;
    forEachWithBucket(chain_, begin(), size_, [&](Place place, std::uint64_t bucket) {
      Place& runStart = buckets_[bucket];
      if (runStart != 0 && bucket != lastBucket) {
        chain_.unlink(place);
        chain_.linkBefore(runStart, place, false);
        runStart = place;
        return;
      }
      if (runStart == 0) {
        runStart = place;
      } else {
        chain_.setEndsRun(last, false);
      }
      chain_.setEndsRun(place, true);
      last = place;
      lastBucket = bucket;
    });
  }

  /// Runs visit(place, bucket of this table) over `count` elements of a chain. Buckets lie all over memory,
  /// so each is on its way to the cache while the elements before it are visited. `visit` may unlink the
  /// element, but nothing behind it. Answers the place after the last one.
  template <typename Visit>
  Place forEachWithBucket(const Chain& chain, Place place, std::uint64_t count, Visit visit) {
    if (count < Sizes::kMovedFrom) {
      for (; count > 0; --count) {
        const Place visited = std::exchange(place, chain.next(place));
        visit(visited, bucketOf(chain[visited]));
      }
      return place;
    }
    constexpr std::uint64_t kAhead = 8;
    std::array<std::uint64_t, kAhead> buckets;
    Place ahead = place;
    std::uint64_t fetched = 0;
    const auto fetch = [&] {
      const std::uint64_t bucket = bucketOf(chain[ahead]);
      __builtin_prefetch(&buckets_[bucket], 1);
      buckets[fetched++ % kAhead] = bucket;
      ahead = chain.next(ahead);
    };
    while (fetched < std::min(count, kAhead)) fetch();
    for (std::uint64_t visited = 0; visited < count; ++visited) {
      const std::uint64_t bucket = buckets[visited % kAhead];
      if (fetched < count) fetch();
      visit(std::exchange(place, chain.next(place)), bucket);
    }
    return place;
  }

  std::unique_ptr<Place[]> buckets_;  // the first element of each one's run, or 0
  BucketCount count_;
  Chain chain_;
  std::size_t size_ = 0;
  Anchors<Positions> anchors_;
  ChangeStamp change_ = 0;
  EndPosition<Positions> end_;
};

}  // namespace vornik

#endif  // VORNIK_STRUCTURES_HASH_TABLE_H
