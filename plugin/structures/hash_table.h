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

#include "plugin/structures/bucket_count.h"
#include "plugin/structures/node_chain.h"
#include "plugin/structures/positions.h"

namespace vornik {

/// Where a table changes its ways.
struct ShippedHashTableSizes {
  /// Links have 31 bits, and node 0 is no element's. One element more is a failed allocation.
  static constexpr std::uint64_t kMostElements = (std::uint64_t{1} << 31) - 2;
  /// From here on elements move into the order of the chain when the table grows: walks, copies and the next
  /// growth then run through memory. Below, everything is in the cache anyway.
  static constexpr std::uint64_t kMovedFrom = 4096;
  /// Below, there is room for all elements that the buckets are good for; from here on for fewer, because
  /// half of a large table would be much memory to keep for elements that may never come.
  static constexpr std::uint64_t kSparingFrom = 65536;
};

/// Every way within the reach of a few elements, for tests that run at random.
struct TinyHashTableSizes : ShippedHashTableSizes {
  static constexpr std::uint64_t kMovedFrom = 10;
  static constexpr std::uint64_t kSparingFrom = 20;
};

#ifdef VORNIK_TINY
using HashTableSizes = TinyHashTableSizes;
#else
using HashTableSizes = ShippedHashTableSizes;
#endif

/// Key and Value are what elements hold. Hashing answers hash(key) for keys and probes and equal(key, probe).
///
/// Destroying keys and values can run host code, and host code can come back to this very container. Whatever
/// takes elements out therefore hands them to the caller, who lets them die once the container is whole
/// again. Every operation leaves the container as it was when it throws. Unless said otherwise an operation
/// is constant time on average.
template <typename Key, typename Value, typename Hashing, typename Sizes = HashTableSizes>
class HashTable {
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

  const Key& key(Place place) const { return chain_[place].key; }
  Value& value(Place place) { return chain_[place].value; }
  Place next(Place place) const { return chain_.next(place); }

  /// The key's element, or the end.
  template <typename Probe>
  Place find(const Probe& key) const {
    if (bucketCount() == 0) return end();
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
      if (chain_.capacity() < size_ + stage) chain_.enlarge(roomFor(other.size_, bucketCount()));
      place = forEachWithBucket(other.chain_, place, stage, [&](Place original, std::uint64_t bucket) {
        link(chain_.construct(other.chain_[original]), bucket);
      });
      size_ += stage;
      change_ = newChangeStamp();
    }
  }

  /// Takes out one element.
  [[nodiscard]] Removed extract(Place place) {
    forget(place);
    unlink(place);
    Element& element = chain_[place];
    Removed removed{std::move(element.key), std::move(element.value)};
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
    forgetEntryPositions();
    if (size_ != 0) std::fill_n(buckets_.get(), bucketCount(), Place{0});
    size_ = 0;
    change_ = newChangeStamp();
    Anchors().swap(anchors_);
    return RemovedAll(std::exchange(chain_, Chain()));
  }

  /// Makes every position of this container stale, that of its end included. Linear.
  void forgetPositions() noexcept {
    end_.release();
    forgetEntryPositions();
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
    if (place == end()) return end_.handle(this);
    SlotNumber& anchor = anchorOf(place);
    if (anchor == 0) {
      anchor = Positions::take(this, {}, place);
      ++positioned_;
    }
    return Positions::handle(anchor);
  }

  static Located locate(PositionHandle handle) noexcept {
    const auto* slot = Positions::resolve(handle);
    return slot != nullptr ? Located{slot->owner, slot->index} : Located{nullptr, 0};
  }

 private:
  static constexpr bool kElementsRunHostCode =
      !std::is_trivially_destructible_v<Key> || !std::is_trivially_destructible_v<Value>;

  struct NoHash {};
  struct StoredHash {
    std::uint32_t hash;
  };
  // Integers are their own hash. All other hashes have 32 bits.
  using HashField = std::conditional_t<Hashing::kKeyIsHash, NoHash, StoredHash>;

  struct Element : HashField {
    template <typename Probe>
    Element(HashField field, const Probe& probe) : HashField(field), key(probe) {}
    Key key;
    [[no_unique_address]] Value value{};
  };

  static std::uint64_t hashOf(const Element& element) {
    if constexpr (Hashing::kKeyIsHash) {
      return Hashing::hash(element.key);
    } else {
      return element.hash;
    }
  }
  static HashField hashField(std::uint64_t hash) {
    if constexpr (Hashing::kKeyIsHash) {
      return {};
    } else {
      return {static_cast<std::uint32_t>(hash)};
    }
  }

  std::uint64_t bucketOf(const Element& element) const { return count_.bucketOf(hashOf(element)); }

  /// Compares hashes first, so that keys are compared only where hashes are equal.
  template <typename Probe>
  static bool matches(const Element& element, std::uint64_t hash, const Probe& key) {
    if constexpr (!Hashing::kKeyIsHash) {
      if (element.hash != hash) return false;
    }
    return Hashing::equal(element.key, key);
  }

  template <typename Probe>
  Place findIn(std::uint64_t bucket, std::uint64_t hash, const Probe& key) const {
    Place place = buckets_[bucket];
    if (place == 0 || matches(chain_[place], hash, key)) return place;
    while (!chain_.endsRun(place)) {
      place = next(place);
      if (matches(chain_[place], hash, key)) return place;
    }
    return 0;
  }

  /// Adds an element whose key is absent.
  template <typename Probe>
  Place insert(std::uint64_t hash, const Probe& key) {
    // Everything that can fail comes before anything that changes.
    if (mustGrow(size_ + 1, bucketCount())) grow(0);
    if (chain_.isFull()) chain_.enlarge(roomFor(0, bucketCount()));
    const Place place = chain_.construct(hashField(hash), key);
    link(place, count_.bucketOf(hash));
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

  /// For how many elements to make room when one more needs it: all that are `expected`, or some to spare,
  /// but no more than the buckets are good for, and one, which makes a full table's growth independent of a
  /// second room. std::bad_alloc at the limit.
  NodeIndex roomFor(std::uint64_t expected, std::uint64_t bucketCount) const {
    const std::uint64_t needed = size_ + 1;
    if (needed > Sizes::kMostElements) throw std::bad_alloc();
    const std::uint64_t most = std::min(std::max(needed, bucketCount + 1), Sizes::kMostElements);
    if (needed < Sizes::kSparingFrom) return static_cast<NodeIndex>(most);
    // A sixth is spare at first, and more as the buckets fill: with 24 bytes a node and 4 a bucket, an entry
    // of two Integers takes 36 at most.
    const std::uint64_t spare = std::max(needed / 6, needed / 2 - std::min(needed / 2, bucketCount / 6));
    return static_cast<NodeIndex>(std::min(std::max(expected, needed + spare), most));
  }

  /// Regroups the chain into more buckets, and makes room for one element at least. Linear.
  void grow(std::uint64_t expected) {
    const BucketCount count(grownBucketCount(size_ + 1, bucketCount()));
    auto buckets = std::make_unique<Place[]>(count.value());
    const NodeIndex room = roomFor(expected, count.value());
    const bool moved = size_ >= Sizes::kMovedFrom && moveInOrder(room);
    if (!moved && chain_.isFull()) chain_.enlarge(room);
    count_ = count;
    buckets_ = std::move(buckets);
    regroup();
  }

  /// Moves the elements to new memory in the order of the chain. Where there is no such memory, they stay: it
  /// is a matter of speed only.
  bool moveInOrder(NodeIndex room) noexcept try {
    Chain fresh(room);
    Anchors anchors(positioned_ != 0 ? std::size_t{room} + 1 : 0);
    chain_.moveInOrder(std::move(fresh), [&](Place from, Place to) {
      if (from >= anchors_.size() || anchors_[from] == 0) return;
      anchors[to] = anchors_[from];
      Positions::move(anchors[to], {}, to);
    });
    anchors_.swap(anchors);
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

  // ---- Positions

  using Anchors = std::vector<SlotNumber>;

  /// Where the element keeps the slot of its position, or 0.
  SlotNumber& anchorOf(Place place) {
    if (place >= anchors_.size()) {
      const std::size_t count = std::size_t{chain_.capacity()} + 1;
      anchors_.reserve(count);  // and no more
      anchors_.resize(count);
    }
    return anchors_[place];
  }

  /// Makes the element's position stale, if it has one.
  void forget(Place place) noexcept {
    if (positioned_ == 0 || place >= anchors_.size() || anchors_[place] == 0) return;
    Positions::free(std::exchange(anchors_[place], 0));
    --positioned_;
  }

  void forgetEntryPositions() noexcept {
    for (Place place = 1; positioned_ != 0; ++place) forget(place);
  }

  std::unique_ptr<Place[]> buckets_;  // the first element of each one's run, or 0
  BucketCount count_;
  Chain chain_;
  std::size_t size_ = 0;
  std::size_t positioned_ = 0;  // anchors that are not 0
  Anchors anchors_;             // of the first elements in memory, up to any number; the others have none
  ChangeStamp change_ = 0;
  EndPosition<Positions> end_;
};

}  // namespace vornik

#endif  // VORNIK_STRUCTURES_HASH_TABLE_H
