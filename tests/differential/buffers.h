/* The places of a case's texts: guarded buffers that serve case after case. */
#ifndef RQUNI_TESTS_DIFFERENTIAL_BUFFERS_H
#define RQUNI_TESTS_DIFFERENTIAL_BUFFERS_H

#include "tests/model/guarded_buffer.h"

namespace rq::test {

/// Bytes of canary on either side of a text; more would cost time in each case.
inline constexpr std::size_t margin = 64;

/// A buffer for texts of up to `max` bytes at any place.
struct CaseBuffer : GuardedBuffer {
  explicit CaseBuffer(std::size_t max) : GuardedBuffer(max + pageBytes, margin) {}

  /// `bytes` bytes, `where` % 64 bytes away from a guard page: the one in front from 128 on, else the one behind.
  /// With bit 6 it is as far from the border between two pages: it begins before the first one, or ends behind the
  /// last.
  std::uint8_t* placeAt(std::size_t bytes, unsigned where) {
    const std::size_t gap = where % margin;
    return place(bytes, where & 0x80 ? Flush::atBeginning : Flush::atEnd, where & 0x40 ? pageBytes - gap : gap);
  }
};

}  // namespace rq::test

#endif
