// A case mapping as the kernels use it, and the four that exist.
#ifndef RQUNI_KIT_CASEMAP_CASE_MAP_H
#define RQUNI_KIT_CASEMAP_CASE_MAP_H

#include <cstdint>

#include "frame/types.h"

namespace rq::kit {

/// Two levels: `meta` has a word for each block of 128 characters of the BMP, -1 or where the block begins in
/// `shift`, which holds the distance to the mapped character. Characters beyond the BMP stay.
struct CaseMap {
  const std::int32_t *meta, *shift;
  /// The longest stretch of characters in blocks that have nothing to map. Some block behind it has.
  RQChar gapFirst, gapEnd;
  /// Up to asciiLast the table is not needed: the 26 letters from asciiFirst on have asciiFlip inverted, others stay.
  /// Where ASCII is not that simple, asciiLast and asciiFlip are 0.
  RQChar asciiFirst, asciiFlip, asciiLast;

  constexpr RQChar operator()(RQChar c) const {
    if (c >= 0x10000) return c;
    const std::int32_t start = meta[c >> 7];
    return start < 0 ? c : c + static_cast<RQChar>(shift[static_cast<RQChar>(start) + (c & 0x7F)]);
  }
};

extern const CaseMap toUpper, toLower;
/// The smallest and the largest member of a character's case class.
extern const CaseMap toSmallest, toLargest;

}  // namespace rq::kit

#endif
