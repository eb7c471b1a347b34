// Every length and alignment that a kernel could treat differently, in guarded buffers.
#ifndef RQUNI_TESTS_KIT_BUFFERS_H
#define RQUNI_TESTS_KIT_BUFFERS_H

#include <cstdint>
#include <random>

#include "tests/model/guarded_buffer.h"

namespace rq::test {

constexpr std::size_t maxUnits = 1024, alignments = 64;

/// Calls check(n, offset) for each length up to `max` units and each offset in the room: every alignment behind the
/// front guard page, and flush against the back one.
template <class U, class Check>
void forEachShape(const GuardedBuffer& buffer, Check check, std::size_t max = maxUnits) {
  for (std::size_t n = 0; n <= max; ++n) {
    for (std::size_t offset = 0; offset < alignments; ++offset) check(n, offset);
    check(n, buffer.size() - n * sizeof(U));
  }
}

/// The same numbers in each run.
using Random = std::mt19937_64;

inline std::uint64_t below(Random& random, std::uint64_t bound) {
  return random() % bound;
}

}  // namespace rq::test

#endif
