// Simple case folding of UTF-16 code units.
#ifndef VORNIK_VALUES_CASE_FOLDING_H
#define VORNIK_VALUES_CASE_FOLDING_H

#include <cstdint>

namespace vornik {

/// The code unit that each code unit folds to, by the simple case folding of Unicode 3.2.0. Units without a
/// folding, surrogates included, fold to themselves. Filled by initLowerTable().
extern std::uint16_t lower[0x10000];
/// Whether the table is filled. There is no other table, whatever the name says.
extern bool InitedLowerUpperTables;

/// Fills the table at its first call.
void initLowerTable() noexcept;

}  // namespace vornik

#endif  // VORNIK_VALUES_CASE_FOLDING_H
