// What the allocation functions of this program know.
#ifndef VORNIK_TESTS_ORACLE_ALLOCATIONS_H
#define VORNIK_TESTS_ORACLE_ALLOCATIONS_H

namespace vornik::oracle {

/// How many allocations were not given back yet.
extern long allocationsAlive;

}  // namespace vornik::oracle

#endif  // VORNIK_TESTS_ORACLE_ALLOCATIONS_H
