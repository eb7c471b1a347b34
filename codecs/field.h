// The field of a notation: the digits after its opening marks, and all that follows up to its terminator.
#ifndef RQUNI_CODECS_FIELD_H
#define RQUNI_CODECS_FIELD_H

#include <algorithm>
#include <cstdint>

#include "codecs/flavour.h"
#include "codecs/units.h"
#include "kit/kit.h"

namespace rq {

constexpr std::uint64_t noTerminator = ~std::uint64_t{0};

/// Finds the unit that ends a notation. Remembers the last one found, and that none is left, so all searches of a
/// call together read the input once, however many notations begin and never end.
template <class Unit>
class Terminators {
 public:
  Terminators(const Unit* input, std::uint64_t units, Unit terminator)
      : end_(input + units), next_(input), terminator_(terminator) {}

  std::uint64_t left(const Unit* from) const { return static_cast<std::uint64_t>(end_ - from); }
  bool standsAt(const Unit* at) const { return at != end_ && load(at) == terminator_; }

  /// The number of units from `from` to the next terminator, or noTerminator. `from` never decreases in a call.
  std::uint64_t distance(const Unit* from) {
    if (next_ < from) next_ = scan(from);
    return next_ != end_ ? static_cast<std::uint64_t>(next_ - from) : noTerminator;
  }

 private:
  static constexpr std::uint64_t nearbyUnits = 10;  // most notations end within these, and need no kernel

  const Unit* scan(const Unit* from) const {
    for (const Unit* const near = from + std::min(nearbyUnits, left(from)); from != near; ++from)
      if (load(from) == terminator_) return from;
    const std::int64_t index = kit::findFirst(from, left(from), terminator_);
    return index >= 0 ? from + index : end_;
  }

  const Unit* const end_;
  const Unit* next_;
  const Unit terminator_;
};

/// A field's digits, and its units before the terminator, or noTerminator.
struct Field {
  Digits digits;
  std::uint64_t length;
};

template <class Unit>
inline Field decimalField(const Unit* field, Terminators<Unit>& terminators) {
  const Digits digits = readDecimalDigits(field, std::min(terminators.left(field), maxDigits));
  const bool ends = terminators.standsAt(field + digits.count);
  return {digits, ends ? digits.count : terminators.distance(field)};
}

template <Flavour F, class Unit = typename F::Unit>
inline Field hexField(const Unit* field, Terminators<Unit>& terminators) {
  std::uint64_t length = 0;
  if constexpr (F::hasServedDigits) {  // the digits end at the terminator: the host sees no unit behind it
    const bool isCommon = terminators.left(field) > 4 && terminators.standsAt(field + 4) &&
                          fourHexDigits.at(field) < noFourDigits;  // digits are no terminator
    length = isCommon ? 4 : terminators.distance(field);
  } else {
    const Digits digits = readHexDigits(field, std::min(terminators.left(field), maxDigits));
    if (terminators.standsAt(field + digits.count)) return {digits, digits.count};
    length = terminators.distance(field);
  }
  if (length == noTerminator) return {{}, length};
  return {F::readHex(field, std::min(length, maxDigits)), length};
}

}  // namespace rq

#endif
