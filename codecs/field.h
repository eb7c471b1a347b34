// Fields: the digits of a notation, and the terminator that they reach up to.
#ifndef RQUNI_CODECS_FIELD_H
#define RQUNI_CODECS_FIELD_H

#include <cstdint>

#include "codecs/flavour.h"
#include "codecs/units.h"
#include "kit/kit.h"

namespace rq {

constexpr std::uint64_t noTerminator = ~std::uint64_t{0};

/// The next unit that ends a notation. Remembers where it was and that none is left, so that all searches of a call
/// together pass over the input once, however many notations begin and never end.
template <class Unit>
class Terminators {
 public:
  Terminators(const Unit* input, std::uint64_t units, Unit terminator)
      : end_(input + units), next_(input), terminator_(terminator) {}

  std::uint64_t left(const Unit* from) const { return static_cast<std::uint64_t>(end_ - from); }
  bool standsAt(const Unit* at) const { return at != end_ && load(at) == terminator_; }

  /// The number of units from `from` up to the first terminator, or noTerminator. `from` must not go backwards.
  std::uint64_t distance(const Unit* from) {
    if (next_ < from) next_ = scan(from);
    return next_ != end_ ? static_cast<std::uint64_t>(next_ - from) : noTerminator;
  }

 private:
  static constexpr std::uint64_t nearby = 10;  // units: most notations end here, and need no kernel

  const Unit* scan(const Unit* from) const {
    for (const Unit* const near = from + smaller(nearby, left(from)); from != near; ++from)
      if (load(from) == terminator_) return from;
    const std::int64_t index = kit::findFirst(from, left(from), terminator_);
    return index >= 0 ? from + index : end_;
  }

  const Unit* const end_;
  const Unit* next_;
  const Unit terminator_;
};

/// The digits at the beginning of a field, and the units that it has up to its terminator, or noTerminator.
struct Field {
  Digits digits;
  std::uint64_t length;
};

template <class Unit>
inline Field decimalField(const Unit* field, Terminators<Unit>& terminators) {
  const Digits digits = readDecimalDigits(field, smaller(terminators.left(field), mostDigits));
  const bool ends = terminators.standsAt(field + digits.count);
  return {digits, ends ? digits.count : terminators.distance(field)};
}

template <Flavour F, class Unit = typename F::Unit>
inline Field hexField(const Unit* field, Terminators<Unit>& terminators) {
  if constexpr (!F::hasServedDigits) {  // else the host must be asked, and gets no unit behind the field
    const Digits digits = readHexDigits(field, smaller(terminators.left(field), mostDigits));
    if (terminators.standsAt(field + digits.count)) return {digits, digits.count};
  }
  const std::uint64_t length = terminators.distance(field);
  if (length == noTerminator) return {{}, length};
  return {F::readHex(field, smaller(length, mostDigits)), length};
}

}  // namespace rq

#endif
