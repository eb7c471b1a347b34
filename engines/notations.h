// The names under which the engines offer notations, and the operations behind them.
#ifndef RQUNI_ENGINES_NOTATIONS_H
#define RQUNI_ENGINES_NOTATIONS_H

#include <string_view>

#include "frame/rquni.h"

namespace rq::engines {

struct Notation {
  std::string_view name;
  RQCodec RQOperations::*decode;
  RQCodec RQOperations::*encode;  // null: the notation is read only
  /// The most units that one byte of text becomes. Every character above U+FFFF takes two bytes or more in every
  /// session encoding, so its longer notation is covered.
  std::uint64_t growth;
};

inline constexpr Notation notations[] = {
    {"ncr", &RQOperations::getNCR, &RQOperations::putNCR, 9},
    {"uesc", &RQOperations::getUEsc, &RQOperations::putUEsc, 6},
    {"uparen", &RQOperations::getUParen, &RQOperations::putUParen, 7},
    {"uparen-ascii", &RQOperations::getUParenP, nullptr, 0},
};
inline constexpr const char* decoderNames = "ncr, uesc, uparen, uparen-ascii";
inline constexpr const char* encoderNames = "ncr, uesc, uparen";

/// The notation of that name, or null.
inline const Notation* findNotation(std::string_view name) {
  for (const Notation& notation : notations)
    if (notation.name == name) return &notation;
  return nullptr;
}

/// The most units of one character in any notation. An encoder stops when a character does not fit, so it writes more
/// than `limit` units into a capacity of `limit + longestNotation` before it stops.
inline constexpr std::uint64_t longestNotation = 16;

/// The capacity to encode `bytes` bytes of text, where a result above `limit` bytes is too long anyway.
inline std::uint64_t encodedCapacity(const Notation& notation, std::uint64_t bytes, std::uint64_t limit) {
  const std::uint64_t worst = notation.growth * bytes;
  return (worst < limit ? worst : limit) + longestNotation;
}

}  // namespace rq::engines

#endif
