// The characters that take two columns: 13 ranges of code points, as data.
#ifndef RQUNI_KIT_SIMD_WIDE_RANGES_H
#define RQUNI_KIT_SIMD_WIDE_RANGES_H

#include <algorithm>
#include <cstdint>

#include "frame/types.h"

namespace rq::kit::simd {

constexpr RQChar firstOfPlane1 = 0x10000;

struct WideRange {
  RQChar first, last;
};

/// All wide characters, ascending. Every other character takes one column.
constexpr WideRange wideRanges[] = {
    {0x3000, 0x303F},    // CJK Symbols and Punctuation
    {0x3040, 0x309F},    // Hiragana
    {0x30A0, 0x30FF},    // Katakana
    {0x3400, 0x4DFF},    // CJK Unified Ideographs Extension A, Yijing Hexagram Symbols
    {0x4E00, 0x9FFF},    // CJK Unified Ideographs
    {0xAC00, 0xD7AF},    // Hangul Syllables
    {0xF900, 0xFAFF},    // CJK Compatibility Ideographs
    {0xFF01, 0xFF5E},    // fullwidth forms of the printable ASCII characters
    {0xFFE0, 0xFFE6},    // fullwidth signs
    {0x20000, 0x2A6DF},  // CJK Unified Ideographs Extension B
    {0x2A700, 0x2B73F},  // CJK Unified Ideographs Extension C
    {0x2B740, 0x2B81F},  // CJK Unified Ideographs Extension D
    {0x2F800, 0x2FA1F},  // CJK Compatibility Ideographs Supplement
};

/// The ranges for a search: those that touch are joined. The first `inPlane0` of them lie below U+10000.
struct WideIntervals {
  static constexpr unsigned maxCount = sizeof wideRanges / sizeof *wideRanges;
  WideRange interval[maxCount] = {};
  unsigned count = 0, inPlane0 = 0;
};
consteval WideIntervals joined() {
  WideIntervals all;
  for (const WideRange& range : wideRanges) {
    if (all.count != 0 && all.interval[all.count - 1].last + 1 == range.first)
      all.interval[all.count - 1].last = range.last;
    else
      all.interval[all.count++] = range;
  }
  while (all.interval[all.inPlane0].last < firstOfPlane1) ++all.inPlane0;
  return all;
}
constexpr WideIntervals wideIntervals = joined();
static_assert(WideIntervals::maxCount == 13 && wideIntervals.count == 9 && wideIntervals.inPlane0 == 6);

/// The rows below U+10000, each of 256 characters with the same high byte: those that are all wide, and those of
/// which a part is.
struct WideRows {
  WideIntervals whole;
  unsigned partCount = 0;
  std::uint8_t part[2 * WideIntervals::maxCount] = {};
};
consteval WideRows rowsOf(const WideIntervals& intervals) {
  WideRows rows;
  for (unsigned row = 0; row < 0x100; ++row) {
    const RQChar rowFirst = row << 8, rowLast = rowFirst + 0xFF;
    RQChar wide = 0;
    for (unsigned i = 0; i < intervals.inPlane0; ++i) {
      const RQChar first = std::max(intervals.interval[i].first, rowFirst);
      const RQChar last = std::min(intervals.interval[i].last, rowLast);
      if (first <= last) wide += last - first + 1;
    }
    if (wide == 0) continue;
    if (wide < 0x100) {
      rows.part[rows.partCount++] = static_cast<std::uint8_t>(row);
    } else if (rows.whole.count != 0 && rows.whole.interval[rows.whole.count - 1].last + 1 == row) {
      ++rows.whole.interval[rows.whole.count - 1].last;
    } else {
      rows.whole.interval[rows.whole.count++] = {row, row};
    }
  }
  return rows;
}
constexpr WideRows wideRows = rowsOf(wideIntervals);
constexpr WideIntervals wholeRows = wideRows.whole;  // a template's argument; clang 14 takes no part of an object
static_assert(wideRows.whole.count == 4 && wideRows.partCount == 2);

}  // namespace rq::kit::simd

#endif
