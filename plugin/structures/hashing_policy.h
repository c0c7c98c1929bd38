// What a hash table asks of its keys.
#ifndef VORNIK_STRUCTURES_HASHING_POLICY_H
#define VORNIK_STRUCTURES_HASHING_POLICY_H

#include <concepts>
#include <cstdint>
#include <type_traits>
#include <utility>

namespace vornik {

/// How keys are searched for, and what an element keeps of one.
///
///   Probe    a key that is searched for, for as long as the search; may remember what it has found out
///   Stored   what an element keeps of its key: what it owns of it, and what decides the most comparisons.
///            Copying one takes whatever a further element must own.
///
/// Tables rely on the meaning of the functions, which no compiler checks:
///
///   hash(probe)          the same throughout a search; may ask the host
///   hash(stored)         what hash(probe) was when the key went in, whatever it would be now
///   equal(stored, probe)  whether they are the same key. Asked only where their hashes are equal, so it
///                        need not look at what follows from that. Its answers decide where a search ends and
///                        nothing else: a policy that changes its mind cannot harm a table.
///   hold(hash, probe)    what an element with this probe as its key is going to keep. Asked after hash(probe)
///                        and before the table changes.
///   lend(stored)         the key as callers see it, borrowed
template <typename Policy>
concept HashingPolicy = requires(const typename Policy::Probe& probe, const typename Policy::Stored& stored,
                                 std::uint64_t hash) {
  { Policy::hash(probe) } -> std::convertible_to<std::uint64_t>;
  { Policy::hash(stored) }
  noexcept->std::convertible_to<std::uint64_t>;
  { Policy::equal(stored, probe) } -> std::same_as<bool>;
  { Policy::hold(hash, probe) } -> std::same_as<typename Policy::Stored>;
  Policy::lend(stored);
}
&&std::copy_constructible<typename Policy::Stored>&&
    std::is_nothrow_move_constructible_v<typename Policy::Stored>;

/// A policy for keys that leave a table as Key, which is all that they still own then:
///
///   release(stored)      that key; what was stored owns nothing any more
template <typename Policy, typename Key>
concept HashingPolicyOf = HashingPolicy<Policy> && requires(typename Policy::Stored stored) {
  { Policy::release(std::move(stored)) }
  noexcept->std::same_as<Key>;
};

}  // namespace vornik

#endif  // VORNIK_STRUCTURES_HASHING_POLICY_H
