// Surrogate pairs written as two escapes.
#ifndef RQUNI_CODECS_SURROGATES_H
#define RQUNI_CODECS_SURROGATES_H

#include <cstdint>

namespace rq {

/// Both tests look at the low 16 bits only: U+1D800 counts as a high surrogate. Kept: hosts depend on it.
constexpr bool isHighSurrogate(std::uint32_t value) {
  return (value & 0xFC00) == 0xD800;
}
constexpr bool isLowSurrogate(std::uint32_t value) {
  return (value & 0xFC00) == 0xDC00;
}

constexpr std::uint32_t pairedCodePoint(std::uint32_t high, std::uint32_t low) {
  return ((high & 0x3FF) << 10 | (low & 0x3FF)) + 0x10000;
}

}  // namespace rq

#endif
