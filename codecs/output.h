// Input read and output written so far, and the moves that the notations share.
#ifndef RQUNI_CODECS_OUTPUT_H
#define RQUNI_CODECS_OUTPUT_H

#include "codecs/round_trip.h"
#include "codecs/units.h"
#include "kit/kit.h"

namespace rq {

/// A decoder's place in its input and output.
template <class Unit>
class Progress {
 public:
  Progress(const Unit* input, uint64_t units, Unit* output, uint64_t capacity)
      : in_(input), inEnd_(input + units), out_(output), capacity_(capacity) {}

  const Unit* at() const { return in_; }
  const Unit* end() const { return inEnd_; }
  uint64_t remaining() const { return static_cast<uint64_t>(inEnd_ - in_); }
  uint64_t written() const { return written_; }
  /// Whether input is left and the output is not full. A doubled escape marker may fill it by one more than it holds.
  bool goesOn() const { return in_ != inEnd_ && written_ < capacity_; }

  /// Copies text up to the next place where `first` is followed by `second` (the bits of `kept` alone count in that
  /// comparison), or to the end of input or output. True when such a place was found and there is room for a unit.
  bool copyUpTo(Unit first, Unit second, Unit kept) {
    const auto isPair = [&](const Unit* p) { return load(p) == first && (load(p + 1) & kept) == second; };
    const uint64_t left = remaining();
    if (left > 1 && isPair(in_)) return true;
    if (left > 2 && capacity_ - written_ > 1 && isPair(in_ + 1)) {  // such as the blank between two words of escapes
      store(out_ + written_, load(in_));
      advance(1);
      return true;
    }
    uint64_t most = smaller(left, capacity_ - written_);
    if (most < left && isPair(in_ + most - 1)) --most;  // the output ends between the two: not text, so not copied
    advance(kit::copyUntilPair(in_, most, out_ + written_, first, second, kept));
    return goesOn();
  }

  /// Copies as much of the rest as fits.
  void copyRest() {
    const uint64_t most = smaller(remaining(), capacity_ - written_);
    copyUnits(out_ + written_, in_, most);
    advance(most);
  }

  /// Puts `replacement` in the place of `consumed` units, or these units themselves when there is none. False, and
  /// nothing is written, when it does not fit.
  bool replace(uint64_t consumed, Replacement<Unit> replacement) {
    const Unit* const text = replacement.units != nullptr ? replacement.units : in_;
    const uint64_t count = replacement.units != nullptr ? replacement.count : consumed;
    if (count > capacity_ - written_) return false;
    copyUnits(out_ + written_, text, count);
    in_ += consumed;
    written_ += count;
    return true;
  }

  /// Writes two units for three consumed ones without looking at the capacity: what a doubled marker stands for.
  void writeDoubled(Unit first, Unit second) {
    store(out_ + written_, first);
    store(out_ + written_ + 1, second);
    in_ += 3;
    written_ += 2;
  }

 private:
  void advance(uint64_t units) {
    in_ += units;
    written_ += units;
  }

  const Unit* in_;
  const Unit* const inEnd_;
  Unit* const out_;
  const uint64_t capacity_;
  uint64_t written_ = 0;
};

/// The next unit that ends a notation. Remembers where it was and that none is left, so that all searches of a call
/// together pass over the input once, however many notations begin and never end.
template <class Unit>
class Terminators {
 public:
  Terminators(const Unit* input, uint64_t units, Unit terminator)
      : end_(input + units), next_(input), terminator_(terminator) {}

  /// The first terminator at or after `from`, or the end of the input. `from` must not go backwards.
  const Unit* find(const Unit* from) {
    if (next_ < from) next_ = scan(from);
    return next_;
  }

 private:
  static constexpr uint64_t nearby = 10;  // units: most notations end here, and need no kernel

  const Unit* scan(const Unit* from) const {
    for (const Unit* const near = from + smaller(nearby, left(from)); from != near; ++from)
      if (load(from) == terminator_) return from;
    const int64_t index = kit::scan(from, left(from), terminator_);
    return index >= 0 ? from + index : end_;
  }

  uint64_t left(const Unit* from) const { return static_cast<uint64_t>(end_ - from); }

  const Unit* const end_;
  const Unit* next_;
  const Unit terminator_;
};

}  // namespace rq

#endif
