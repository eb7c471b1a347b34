// Finds the notations of a text by the rules of the library's decoders, to explain what these do.
#ifndef RQUNI_CLI_NOTATIONS_H
#define RQUNI_CLI_NOTATIONS_H

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string_view>

#include "frame/types.h"
#include "host/notation.h"

namespace rq::cli {

using host::Notation;

/// One notation, or the beginning of one. Offset and length count units.
struct Finding {
  std::size_t offset, length;
  std::optional<RQChar> character;  // nothing if it names none
  bool decoded;                     // false: its own text stays
  std::string_view why;             // empty if there is nothing to explain
  bool lacking = false;             // kept because the session encoding lacks the character
};

/// Hands each notation to `take`. `carries` is true for characters that the session encoding holds. The cost is
/// linear in the text. Defined for bytes and RQChar.
template <class Unit>
void findNotations(Notation notation, std::span<const Unit> text, const std::function<bool(RQChar)>& carries,
                   const std::function<void(const Finding&)>& take);

}  // namespace rq::cli

#endif
