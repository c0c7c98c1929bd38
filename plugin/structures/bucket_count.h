// Sizes of the hash table's bucket array, and division by them.
#ifndef VORNIK_STRUCTURES_BUCKET_COUNT_H
#define VORNIK_STRUCTURES_BUCKET_COUNT_H

#include <bit>
#include <cstdint>

namespace vornik {

/// A bucket count with its reciprocal, so that choosing a bucket takes multiplications and no division.
class BucketCount {
 public:
  constexpr BucketCount() = default;
  /// `count` is at least 2.
  constexpr explicit BucketCount(std::uint64_t count) : count_(count), reciprocal_(kMost / count) {}

  constexpr std::uint64_t value() const { return count_; }

  /// hash modulo the count, which must not be 0.
  constexpr std::uint64_t bucketOf(std::uint64_t hash) const {
    // The reciprocal is too small by less than one, hence the quotient by less than one, too: rounded down,
    // it is right or one too small. There is no branch, because nobody can predict it.
    const auto quotient = static_cast<std::uint64_t>(Wide{reciprocal_} * hash >> 64);
    const std::uint64_t remainder = hash - quotient * count_;
    return remainder < count_ ? remainder : remainder - count_;
  }

 private:
  __extension__ using Wide = unsigned __int128;
  static constexpr std::uint64_t kMost = ~std::uint64_t{0};

  std::uint64_t count_ = 0;
  std::uint64_t reciprocal_ = 0;
};

/// The smallest prime that is not less than n. Square root of the result in time; asked once a growth.
constexpr std::uint64_t nextPrime(std::uint64_t n) {
  if (n <= 2) return 2;
  for (n |= 1;; n += 2) {
    bool prime = true;
    for (std::uint64_t divisor = 3; divisor <= n / divisor; divisor += 2) {
      if (n % divisor == 0) {
        prime = false;
        break;
      }
    }
    if (prime) return n;
  }
}

/// Whether a table of `bucketCount` buckets must grow before it takes its `size`th element. Compared in
/// 32-bit floating point: past 2^24 elements that decides when growth happens, and script code can see it.
constexpr bool mustGrow(std::uint64_t size, std::uint64_t bucketCount) {
  return bucketCount == 0 || static_cast<float>(size) > static_cast<float>(bucketCount);
}

/// The bucket count to grow to for `size` elements.
constexpr std::uint64_t grownBucketCount(std::uint64_t size, std::uint64_t bucketCount) {
  const bool staysPowerOfTwo = bucketCount > 2 && std::has_single_bit(bucketCount);
  const std::uint64_t doubled = 2 * bucketCount + (staysPowerOfTwo ? 0 : 1);
  const auto needed = static_cast<std::uint64_t>(static_cast<float>(size));
  const std::uint64_t requested = doubled > needed ? doubled : needed;
  if (requested == 1) return 2;
  return std::has_single_bit(requested) ? requested : nextPrime(requested);
}

}  // namespace vornik

#endif  // VORNIK_STRUCTURES_BUCKET_COUNT_H
