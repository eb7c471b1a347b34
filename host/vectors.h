// The 16 bytes that every x86-64 processor handles at once, for the fast paths of codecs.
#ifndef RQUNI_HOST_VECTORS_H
#define RQUNI_HOST_VECTORS_H

#include <emmintrin.h>

namespace rq::host {

using Vector = __m128i;

inline Vector loadVector(const void* from) {
  return _mm_loadu_si128(static_cast<const Vector*>(from));
}
inline void storeVector(Vector v, void* to) {
  _mm_storeu_si128(static_cast<Vector*>(to), v);
}

/// Does a comparison hold in any lane, in all lanes?
inline bool any(Vector mask) {
  return _mm_movemask_epi8(mask) != 0;
}
inline bool all(Vector mask) {
  return _mm_movemask_epi8(mask) == 0xFFFF;
}

/// Lanes of 4 bytes, each below 0x10000, as lanes of 2.
inline Vector narrowed(Vector low, Vector high) {
  // Narrowing saturates signed values: with their upper bits signs, all stay what they are.
  const auto extended = [](Vector v) { return _mm_srai_epi32(_mm_slli_epi32(v, 16), 16); };
  return _mm_packs_epi32(extended(low), extended(high));
}

/// Stores lanes of 2 bytes as 8 characters.
inline void storeWidened(Vector lanes, char32_t* to) {
  storeVector(_mm_unpacklo_epi16(lanes, _mm_setzero_si128()), to);
  storeVector(_mm_unpackhi_epi16(lanes, _mm_setzero_si128()), to + 4);
}

}  // namespace rq::host

#endif
