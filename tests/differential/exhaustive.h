/* Every short text over a small alphabet, for each codec and measure in each flavour. */
#ifndef RQUNI_TESTS_DIFFERENTIAL_EXHAUSTIVE_H
#define RQUNI_TESTS_DIFFERENTIAL_EXHAUSTIVE_H

#include <functional>

#include "tests/differential/comparison.h"

namespace rq::test {

/// Checks one case; false ends the run.
using Check = std::function<bool(const Case&)>;

/// All texts of up to `length` of six pieces, whole escapes among them; codecs with all capacities up to `capacity`.
void forEachTextOfPieces(unsigned length, std::uint64_t capacity, const Check& check);

/// All texts of up to `length` of ten letters of the notation; codecs with every capacity up to the longest output.
void forEachTextOfLetters(unsigned length, const Check& check);

}  // namespace rq::test

#endif
