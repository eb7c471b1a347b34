// Input read and output written so far, and the moves that the notations share.
#ifndef RQUNI_CODECS_OUTPUT_H
#define RQUNI_CODECS_OUTPUT_H

#include <cstdint>

#include "codecs/round_trip.h"
#include "codecs/units.h"
#include "kit/kit.h"

namespace rq {

/// How far an encoder went: characters read and units written.
struct Moved {
  std::uint64_t read = 0, written = 0;
};

/// A decoder's place in its input and output.
template <class Unit>
class Progress {
 public:
  Progress(const Unit* input, std::uint64_t units, Unit* output, std::uint64_t capacity)
      : in_(input), inEnd_(input + units), out_(output), capacity_(capacity) {}

  const Unit* at() const { return in_; }
  const Unit* end() const { return inEnd_; }
  std::uint64_t remaining() const { return static_cast<std::uint64_t>(inEnd_ - in_); }
  std::uint64_t written() const { return written_; }
  /// Whether input is left and the output is not full. A doubled escape marker may fill it by one more than it holds.
  bool goesOn() const { return in_ != inEnd_ && written_ < capacity_; }

  /// Copies text up to the next place where `first` is followed by `second` (the bits of `kept` alone count in that
  /// comparison), or to the end of input or output. True when such a place was found and there is room for a unit.
  bool copyUpTo(Unit first, Unit second, Unit kept) {
    const auto isPair = [&](const Unit* p) { return load(p) == first && (load(p + 1) & kept) == second; };
    const std::uint64_t left = remaining();
    if (left > 1 && isPair(in_)) return true;
    if (left > 2 && capacity_ - written_ > 1 && isPair(in_ + 1)) {  // such as the blank between two words of escapes
      store(out_ + written_, load(in_));
      advance(1);
      return true;
    }
    std::uint64_t most = smaller(left, capacity_ - written_);
    if (most < left && isPair(in_ + most - 1)) --most;  // the output ends between the two: not text, so not copied

    constexpr std::uint64_t few = 4;  // need no kernel
    if (most > few) {
      advance(kit::copyUntilPair(in_, most, out_ + written_, first, second, kept));
    } else {
      for (; most > 0 && (most == 1 || !isPair(in_)); --most) {
        store(out_ + written_, load(in_));
        advance(1);
      }
    }
    return goesOn();
  }

  /// Copies as much of the rest as fits.
  void copyRest() {
    const std::uint64_t most = smaller(remaining(), capacity_ - written_);
    copyUnits(out_ + written_, in_, most);
    advance(most);
  }

  /// Puts `replacement` in the place of `consumed` units, or these units themselves when there is none. False, and
  /// nothing is written, when it does not fit.
  bool replace(std::uint64_t consumed, Replacement<Unit> replacement) {
    const Unit* const text = replacement.units != nullptr ? replacement.units : in_;
    const std::uint64_t count = replacement.units != nullptr ? replacement.count : consumed;
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
  void advance(std::uint64_t units) {
    in_ += units;
    written_ += units;
  }

  const Unit* in_;
  const Unit* const inEnd_;
  Unit* const out_;
  const std::uint64_t capacity_;
  std::uint64_t written_ = 0;
};

}  // namespace rq

#endif
