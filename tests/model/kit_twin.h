// The naive twin of the kit: each routine written from its definition, unit by unit.
#ifndef RQUNI_TESTS_MODEL_KIT_TWIN_H
#define RQUNI_TESTS_MODEL_KIT_TWIN_H

#include <cstdint>
#include <cstring>
#include <vector>

#include "tests/model/class_pairs.h"

namespace rq::test::twin {

using Byte = std::uint8_t;

/// The unit at `p`, which may lie at any address.
template <class U>
U get(const U* p, std::uint64_t i) {
  U value;
  std::memcpy(&value, reinterpret_cast<const Byte*>(p) + i * sizeof(U), sizeof(U));
  return value;
}
template <class U>
void set(U* p, std::uint64_t i, U value) {
  std::memcpy(reinterpret_cast<Byte*>(p) + i * sizeof(U), &value, sizeof(U));
}

/// The first index below n for which `holds`, or -1.
template <class Holds>
std::int64_t first(std::uint64_t n, Holds holds) {
  for (std::uint64_t i = 0; i < n; ++i)
    if (holds(i)) return static_cast<std::int64_t>(i);
  return -1;
}

template <class U>
std::int64_t scan(const U* p, std::uint64_t n, U c) {
  return first(n, [=](std::uint64_t i) { return get(p, i) == c; });
}
template <class U>
std::int64_t notScan(const U* p, std::uint64_t n, U c) {
  return first(n, [=](std::uint64_t i) { return get(p, i) != c; });
}
template <class U>
std::int64_t mismatch(const U* a, const U* b, std::uint64_t n) {
  return first(n, [=](std::uint64_t i) { return get(a, i) != get(b, i); });
}
template <class U>
std::uint64_t length(const U* s) {
  std::uint64_t n = 0;
  while (get(s, n) != 0) ++n;
  return n;
}
template <class U>
void fill(U* p, U c, std::uint64_t n) {
  for (std::uint64_t i = 0; i < n; ++i) set(p, i, c);
}

inline std::int32_t compare(const Byte* a, const Byte* b, std::uint64_t n) {
  const std::int64_t i = mismatch(a, b, n);
  return i < 0 ? 0 : a[i] < b[i] ? -1 : 1;
}
inline std::int32_t compare(const RQChar* a, const RQChar* b, std::uint64_t n) {
  const std::int64_t i = mismatch(a, b, n);
  if (i < 0) return 0;
  const auto at = static_cast<std::uint64_t>(i);
  return get(a, at) - get(b, at) >= 0x80000000 ? -1 : 1;
}

inline void upperAscii(Byte* p, std::uint64_t n) {
  for (std::uint64_t i = 0; i < n; ++i)
    if (p[i] >= 'a' && p[i] <= 'z') p[i] = static_cast<Byte>(p[i] - 0x20);
}
inline void lowerAscii(Byte* p, std::uint64_t n) {
  for (std::uint64_t i = 0; i < n; ++i)
    if (p[i] >= 'A' && p[i] <= 'Z') p[i] = static_cast<Byte>(p[i] + 0x20);
}

inline void copyForward(const Byte* s, Byte* d, std::uint64_t n) {
  for (std::uint64_t i = 0; i < n; ++i) static_cast<volatile Byte*>(d)[i] = s[i];
}
inline void copySafe(const Byte* s, Byte* d, std::uint64_t n) {
  const std::vector<Byte> buffer(s, s + n);
  copyForward(buffer.data(), d, n);
}

inline bool isMissing(std::uint64_t bits) {
  return (bits & 0x7FFFFFFFFFFFFFFF) > 0x7FF0000000000000;
}
inline std::int32_t hasMissing(const std::uint64_t* array, std::uint64_t n) {
  return first(n, [=](std::uint64_t i) { return isMissing(get(array, i)); }) >= 0;
}

template <class U>
std::uint64_t copyUntilPair(const U* in, std::uint64_t n, U* out, U a, U b, U keep) {
  std::uint64_t i = 0;
  for (; i < n && !(get(in, i) == a && i + 1 < n && (get(in, i + 1) & keep) == b); ++i) set(out, i, get(in, i));
  return i;
}
template <class U, class Out>
std::uint64_t copyWhileBelow(const U* in, std::uint64_t n, Out* out, U stop, U bound) {
  std::uint64_t i = 0;
  for (; i < n && get(in, i) != stop && get(in, i) < bound; ++i) set(out, i, static_cast<Out>(get(in, i)));
  return i;
}
template <class U>
std::uint64_t asciiPrefix(const U* p, std::uint64_t n) {
  std::uint64_t i = 0;
  while (i < n && get(p, i) <= 0x7F) ++i;
  return i;
}
inline std::uint64_t trimBlanks(const RQChar* p, std::uint64_t n) {
  while (n > 0 && get(p, n - 1) == 0x20) --n;
  return n;
}
/// The characters of two columns.
struct Range {
  RQChar first, last;
};
inline constexpr Range wideRanges[] = {{0x3000, 0x303F},  {0x3040, 0x309F},   {0x30A0, 0x30FF},   {0x3400, 0x4DFF},
                                       {0x4E00, 0x9FFF},  {0xAC00, 0xD7AF},   {0xF900, 0xFAFF},   {0xFF01, 0xFF5E},
                                       {0xFFE0, 0xFFE6},  {0x20000, 0x2A6DF}, {0x2A700, 0x2B73F}, {0x2B740, 0x2B81F},
                                       {0x2F800, 0x2FA1F}};
inline bool isWide(RQChar c) {
  for (const Range& range : wideRanges)
    if (c >= range.first && c <= range.last) return true;
  return false;
}
inline std::uint64_t countWide(const RQChar* p, std::uint64_t n) {
  std::uint64_t count = 0;
  for (std::uint64_t i = 0; i < n; ++i) count += isWide(get(p, i));
  return count;
}

/// A list of pairs, for each character of the BMP; a character without a pair maps to itself.
class CaseTable {
 public:
  template <std::size_t Size>
  explicit CaseTable(const CasePair (&pairs)[Size]) : to_(0x10000) {
    for (RQChar c = 0; c < 0x10000; ++c) to_[c] = c;
    for (const CasePair& pair : pairs) to_[pair.from] = pair.to;
  }
  RQChar operator()(RQChar c) const { return c < 0x10000 ? to_[c] : c; }

 private:
  std::vector<RQChar> to_;
};
inline RQChar lower(RQChar c) {
  static const CaseTable table(lowerPairs);
  return table(c);
}
inline RQChar upper(RQChar c) {
  static const CaseTable table(upperPairs);
  return table(c);
}
/// The smallest and the largest member of the character's case class.
inline RQChar smallest(RQChar c) {
  static const CaseTable table(smallestPairs);
  return table(c);
}
inline RQChar largest(RQChar c) {
  static const CaseTable table(largestPairs);
  return table(c);
}

inline std::int32_t equalIgnoringCase(const RQChar* a, std::int64_t na, const RQChar* b, std::int64_t nb) {
  if (na != nb) return 0;
  for (std::int64_t i = 0; i < na; ++i) {
    const auto at = static_cast<std::uint64_t>(i);
    if (lower(get(a, at)) != lower(get(b, at))) return 0;
  }
  return 1;
}
inline std::int32_t compareIgnoringCase(const RQChar* a, std::uint64_t na, const RQChar* b, std::uint64_t nb) {
  const auto isSigned = [](RQChar c) { return static_cast<std::int32_t>(c); };
  std::int32_t tie = 0;
  for (std::uint64_t i = 0; i < na && i < nb; ++i) {
    const RQChar x = get(a, i), y = get(b, i);
    if (x == y) continue;
    if (tie == 0) tie = isSigned(x) < isSigned(y) ? -1 : 1;
    if (isSigned(lower(x)) < isSigned(lower(y))) return -2;
    if (isSigned(lower(x)) > isSigned(lower(y))) return 2;
  }
  for (std::uint64_t i = na; i < nb; ++i)
    if (get(b, i) != 0x20) return -2;
  for (std::uint64_t i = nb; i < na; ++i)
    if (get(a, i) != 0x20) return 2;
  return tie;
}

}  // namespace rq::test::twin

#endif
