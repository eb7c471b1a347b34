// Decoding by blocks. A decoder that searches for each notation behind the last one waits for every single one. Here
// a kernel lists all notations of a block first; then they are decoded with nothing to wait for.
//
// Only notations of the common shape are decoded here. All others, texts with few notations, and the ends of input
// and output are left to the loop that calls this.
#ifndef RQUNI_CODECS_BLOCKS_H
#define RQUNI_CODECS_BLOCKS_H

#include <emmintrin.h>

#include <algorithm>
#include <cstdint>

#include "codecs/cursor.h"
#include "codecs/round_trip.h"
#include "codecs/units.h"
#include "kit/kit.h"
#include "kit/work_buffer.h"

namespace rq {

/// The two characters that begin a notation.
template <class Unit>
struct Marks {
  Unit first, second;
  Unit kept;  // the bits of the second one that count
};

/// A notation of the common shape. It has no length when the notation is of another shape.
struct Common {
  std::uint32_t codePoint = 0;
  std::uint64_t length = 0;
  bool stays = false;  // as text
};

/// Decodes notations of one kind by blocks. `Notation` has marks(), the characters that begin it, and read(at), which
/// returns the notation at `at` as Common and reads up to 16 units for that. Its maxLength is the longest of these,
/// and includesOthers whether one may include another.
template <class Notation, class Unit, std::uint64_t roundTripRoom>
class BlockDecoder {
 public:
  explicit BlockDecoder(const Notation& notation) : notation_(notation) {}

  /// Decodes from the notation at the cursor on. Returns false when it leaves that notation to the caller.
  bool decode(Cursor<Unit>& cursor, RoundTrips<Unit, roundTripRoom>& roundTrips) {
    if (cursor.at() < restsUntil_ || cursor.remaining() < minStart || cursor.room() < maxStep) return false;
    Cursor<Unit> moved = cursor;  // a copy, so that the caller can keep its cursor in registers
    const bool hasMoved = decodeBlocks(moved, roundTrips);
    cursor.moveTo(moved);
    return hasMoved;
  }

 private:
  static constexpr std::uint64_t listedUnits = 64;                 // blocks are a multiple of these
  static constexpr std::uint64_t minBlock = 128, maxBlock = 1024;  // units
  static constexpr std::uint64_t lookAhead = 32;                   // units behind a block that may be read
  static constexpr std::uint64_t minInput = listedUnits + lookAhead;
  static constexpr std::uint64_t minStart = 2 * listedUnits + lookAhead;  // for less, the set-up does not pay
  static constexpr std::uint64_t maxGap = 64;  // units between two notations; longer text is not staged
  static constexpr std::uint64_t maxStep = maxGap + roundTripRoom;  // units that one notation and its gap become
  static constexpr std::uint64_t maxStaged = 1024;                  // units
  static_assert(Notation::maxLength <= roundTripRoom, "a notation that stays as text fits too");
  static constexpr std::uint64_t vectorUnits = 16 / sizeof(Unit);

  /// Up to this distance of notations, blocks are faster than a kernel that copies the text between them.
  static constexpr std::uint64_t maxDistance = 100;
  /// After so many calls in a row that decoded nothing, some input is left to the caller: more each time, from
  /// minRest to maxRest units. Where notations are rare, maxRest at once.
  static constexpr std::uint64_t minRest = 256, maxRest = 32 * maxBlock;
  static constexpr std::uint32_t maxMisses = 3;

  [[gnu::noinline]] bool decodeBlocks(Cursor<Unit>& cursor, RoundTrips<Unit, roundTripRoom>& roundTrips) {
    const Unit* const begin = cursor.at();
    while (next_ < count_ && block_ + places_[next_] < begin) ++next_;
    if (next_ == count_ && !list(cursor)) return false;
    roundTrips.prepare();
    while (decodeListed(cursor, roundTrips) && list(cursor)) {
    }
    if (cursor.at() != begin) {
      misses_ = 0;
      restAfterMisses_ = minRest;
      return true;
    }
    blockUnits_ = minBlock;
    if (++misses_ == maxMisses) {
      misses_ = 0;
      rest(cursor, restAfterMisses_);
      restAfterMisses_ = std::min(2 * restAfterMisses_, maxRest);
    }
    return false;
  }

  /// Lists the notations of the block at the cursor. Returns false when it has too few, or too little input is left.
  bool list(const Cursor<Unit>& cursor) {
    next_ = count_ = 0;
    if (cursor.remaining() < minInput) return false;
    block_ = cursor.at();
    const std::uint64_t units = std::min(blockUnits_, (cursor.remaining() - lookAhead) / listedUnits * listedUnits);
    blockUnits_ = maxBlock;
    const Marks<Unit> marks = notation_.marks();
    const std::uint64_t count = kit::listPairs(block_, units, marks.first, marks.second, marks.kept, places_);
    if (count * maxDistance >= units) {
      count_ = count;
      return true;
    }
    rest(cursor, maxRest);
    return false;
  }

  /// Leaves the next `units` units to the caller.
  void rest(const Cursor<Unit>& cursor, std::uint64_t units) {
    restsUntil_ = cursor.at() + std::min(units, cursor.remaining());
  }

  /// Decodes the listed notations. Returns false when it leaves the rest, from the cursor on, to the caller.
  ///
  /// The output is staged, because stores of a fixed size write too many units, and the output must keep all behind
  /// the last one.
  // NOLINTNEXTLINE(readability-function-cognitive-complexity): one loop, whose state stays in registers
  bool decodeListed(Cursor<Unit>& cursor, RoundTrips<Unit, roundTripRoom>& roundTrips) {
    RQ_UNINITIALIZED Unit staging[maxStaged + vectorUnits];
    const Unit* const block = block_;
    const Unit* from = cursor.at();  // text that is not yet copied
    const Unit* end = from;          // of the last notation
    Unit* out = staging;
    const Unit* limit = limitOf(staging, cursor);
    const auto moveStaged = [&] {  // and the notations that stay as text
      cursor.write(staging, static_cast<std::uint64_t>(out - staging), from);
      cursor.copyTo(end);
      from = end;
      out = staging;
    };
    for (; next_ != count_; ++next_) {
      const Unit* const at = block + places_[next_];
      if constexpr (Notation::includesOthers)
        if (at < end) continue;
      if (at > from + maxGap || out > limit) [[unlikely]] {
        moveStaged();
        if (!cursor.copyTo(at) || cursor.room() < maxStep) return false;
        from = end = at;
        limit = limitOf(staging, cursor);
      }
      const Common common = notation_.read(at);
      if (common.length == 0) [[unlikely]] {
        moveStaged();
        cursor.copyTo(at);
        return false;
      }
      const Remembered remembered = common.stays ? Remembered{} : roundTrips.remembered(common.codePoint);
      Replacement<Unit> asked = {nullptr, 0};
      if (remembered.bytes == 0) [[unlikely]] {
        if (!common.stays) asked = ask(roundTrips, common.codePoint);
        if (!asked.units) {  // the notation is text
          end = at + common.length;
          continue;
        }
      }
      out = copyGap(out, from, at);
      if (remembered.bytes != 0) {
        store(out, remembered.text);
        out += remembered.bytes / sizeof(Unit);
      } else {
        copyUnits(out, asked.units, asked.count);
        out += asked.count;
      }
      from = end = at + common.length;
    }
    moveStaged();
    return true;
  }

  /// Not inlined: most answers are remembered, and the loop that decodes needs the registers.
  [[gnu::noinline]] static Replacement<Unit> ask(RoundTrips<Unit, roundTripRoom>& roundTrips,
                                                 std::uint32_t codePoint) {
    return roundTrips.of(codePoint);
  }

  /// Where the staged output may no more be followed by a notation and its gap.
  static const Unit* limitOf(const Unit* staging, const Cursor<Unit>& cursor) {
    return staging + std::min(maxStaged, cursor.room()) - maxStep;
  }

  /// Copies the text between two notations; most of it is shorter than a vector. Returns the end of the copy.
  static Unit* copyGap(Unit* out, const Unit* from, const Unit* to) {
    const auto gap = static_cast<std::uint64_t>(to - from);
    copyVector(out, from);
    for (std::uint64_t i = vectorUnits; i < gap; i += vectorUnits) copyVector(out + i, from + i);
    return out + gap;
  }
  static void copyVector(Unit* to, const Unit* from) { store(to, load<__m128i>(static_cast<const void*>(from))); }

  const Notation notation_;
  const Unit* block_ = nullptr;
  const Unit* restsUntil_ = nullptr;
  std::uint64_t blockUnits_ = minBlock;  // of the next list: few until something is decoded
  std::uint64_t restAfterMisses_ = minRest;
  std::uint32_t misses_ = 0;
  std::uint64_t next_ = 0, count_ = 0;  // of places_
  std::uint16_t places_[maxBlock / 2 + kit::maxPairsBehind];
};

}  // namespace rq

#endif
