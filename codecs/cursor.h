// A codec's place in its input and output, and the moves that the notations share.
#ifndef RQUNI_CODECS_CURSOR_H
#define RQUNI_CODECS_CURSOR_H

#include <algorithm>
#include <cstdint>

#include "codecs/round_trip.h"
#include "codecs/units.h"
#include "kit/kit.h"

namespace rq {

/// Characters that one step of an encoder read, and units that it wrote.
struct Moved {
  std::uint64_t read = 0, written = 0;
};

/// A decoder's place in its input and output.
template <class Unit>
class Cursor {
 public:
  /// Stands behind `copied` units of text, which are in the output already.
  Cursor(const Unit* input, std::uint64_t units, Unit* output, std::uint64_t capacity, std::uint64_t copied = 0)
      : in_(input + copied), inEnd_(input + units), out_(output), capacity_(capacity), written_(copied) {}

  const Unit* at() const { return in_; }
  const Unit* end() const { return inEnd_; }
  std::uint64_t remaining() const { return static_cast<std::uint64_t>(inEnd_ - in_); }
  std::uint64_t written() const { return written_; }
  std::uint64_t room() const { return capacity_ - written_; }
  /// Whether input is left and the output is not full. A doubled escape marker may overfill it by one unit.
  bool hasWork() const { return in_ != inEnd_ && written_ < capacity_; }

  /// Copies text up to the next pair: `first`, then a unit that equals `second` in the bits of `kept`. Stops at the
  /// end of input or output. True when a pair was found and the output has room for a unit.
  bool copyUpTo(Unit first, Unit second, Unit kept) {
    const auto isPair = [&](const Unit* p) { return load(p) == first && (load(p + 1) & kept) == second; };
    const std::uint64_t left = remaining();
    std::uint64_t count = std::min(left, room());
    constexpr std::uint64_t shortCopy = 4;  // a loop is faster than a kernel
    if (count > shortCopy) {
      if (isPair(in_)) return true;
      if (isPair(in_ + 1)) {  // a blank between two words of notations
        store(out_ + written_, load(in_));
        advance(1);
        return true;
      }
    }
    // The output ends inside a pair, which is not text. Pairs overlap when a host made both units the same.
    while (count > 0 && count < left && isPair(in_ + count - 1)) --count;
    if (count > shortCopy) {
      advance(kit::copyUntilPair(in_, count, out_ + written_, first, second, kept));
    } else {
      for (; count > 0 && (count == 1 || !isPair(in_)); --count) {
        store(out_ + written_, load(in_));
        advance(1);
      }
    }
    return hasWork();
  }

  /// Copies as much of the rest as fits.
  void copyRest() {
    const std::uint64_t count = std::min(remaining(), capacity_ - written_);
    copyUnits(out_ + written_, in_, count);
    advance(count);
  }

  /// Consumes units and writes their replacement, or the units themselves when there is none. Returns false and
  /// writes nothing when that does not fit.
  bool replace(std::uint64_t consumed, Replacement<Unit> replacement) {
    const Unit* const text = replacement.units ? replacement.units : in_;
    const std::uint64_t count = replacement.units ? replacement.count : consumed;
    if (count > capacity_ - written_) return false;
    copyUnits(out_ + written_, text, count);
    in_ += consumed;
    written_ += count;
    return true;
  }

  /// Goes to the place of another cursor over the same input and output.
  void moveTo(const Cursor& other) {
    in_ = other.in_;
    written_ = other.written_;
  }
  /// Writes `count` units, for which there is room, and goes on to `in`.
  void write(const Unit* text, std::uint64_t count, const Unit* in) {
    copyUnits(out_ + written_, text, count);
    in_ = in;
    written_ += count;
  }
  /// Copies the text up to `to`. Returns false and copies nothing when it does not fit.
  bool copyTo(const Unit* to) {
    const auto count = static_cast<std::uint64_t>(to - in_);
    if (count > room()) return false;
    write(in_, count, to);
    return true;
  }

  /// Consumes a doubled marker and writes the two units that it stands for. Does not test the capacity.
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
  std::uint64_t written_;
};

}  // namespace rq

#endif
