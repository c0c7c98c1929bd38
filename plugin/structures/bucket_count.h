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
  constexpr explicit BucketCount(std::uint64_t count) : count_(count), reciprocal_(~Wide{0} / count + 1) {}

  constexpr std::uint64_t value() const { return count_; }

  /// hash modulo the count, which must not be 0.
  constexpr std::uint64_t bucketOf(std::uint64_t hash) const {
    // The quotient's fraction in 128 bits, which is exact enough for every 64-bit hash, times the count.
    // There is no shift by a variable amount: compilers put one through a partial register, and calls then
    // wait for each other.
    const Wide fraction = reciprocal_ * hash;
    const Wide low = Wide{static_cast<std::uint64_t>(fraction)} * count_ >> 64;
    const Wide high = Wide{static_cast<std::uint64_t>(fraction >> 64)} * count_;
    return static_cast<std::uint64_t>((low + high) >> 64);
  }

 private:
  __extension__ using Wide = unsigned __int128;

  std::uint64_t count_ = 0;
  Wide reciprocal_ = 0;
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
