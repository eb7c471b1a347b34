/* All texts of up to so many pieces, from a small alphabet for each codec and measure. */
#ifndef RQUNI_TESTS_DIFFERENTIAL_EXHAUSTIVE_H
#define RQUNI_TESTS_DIFFERENTIAL_EXHAUSTIVE_H

#include <functional>

#include "tests/differential/comparison.h"

namespace rq::test {

/// Calls `check` for all texts of up to `length` pieces, in all flavours, codecs with all capacities up to
/// `capacity`; ends early when it returns false.
void forEachShortText(unsigned length, std::uint64_t capacity, const std::function<bool(const Case&)>& check);

}  // namespace rq::test

#endif
