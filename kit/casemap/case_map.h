// A case mapping as the kernels use it, and the four that exist.
#ifndef RQUNI_KIT_CASEMAP_CASE_MAP_H
#define RQUNI_KIT_CASEMAP_CASE_MAP_H

#include <cstdint>

#include "frame/types.h"

namespace rq::kit {

/// The characters of the BMP, and of one block of it.
constexpr RQChar planeSize = 0x10000, blockShift = 7, blockSize = 1 << blockShift;

/// Two levels. `meta` has an entry for each block of the BMP, and one for all characters beyond: the index at which
/// the block begins in `shift`. `shift` holds the distance of each character to what it maps to, `shift16` the same
/// modulo 2^16. Both begin with a block of zeros, for the blocks in which all characters stay.
struct CaseMap {
  const std::int32_t *meta, *shift;
  const std::uint16_t* shift16;
  /// The longest stretch of blocks without entries. At least one block behind it has entries.
  RQChar gapFirst, gapEnd;
  /// Characters up to asciiLast need no table: the 26 letters from asciiFirst on change the bits of asciiFlip, all
  /// others stay. If ASCII is not that simple, asciiLast and asciiFlip are 0.
  RQChar asciiFirst, asciiFlip, asciiLast;

  /// Without a branch: the blocks of a text follow no pattern.
  constexpr RQChar operator()(RQChar c) const {
    const RQChar block = c / blockSize, beyond = planeSize / blockSize;
    const std::int32_t start = meta[block < beyond ? block : beyond];
    return c + static_cast<RQChar>(shift[static_cast<RQChar>(start) + c % blockSize]);
  }
};

extern const CaseMap toUpper, toLower;
/// The smallest and the largest member of a character's case class.
extern const CaseMap toSmallest, toLargest;

}  // namespace rq::kit

#endif
