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
  static constexpr std::uint64_t asText = std::uint64_t{1} << 32;
  std::uint64_t codePoint = 0;  // or asText: the notation stays
  std::uint64_t length = 0;
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
  static constexpr std::uint64_t lookAhead = 64;                   // units behind a block that may be read
  static constexpr std::uint64_t minInput = listedUnits + lookAhead;
  static constexpr std::uint64_t minStart = 160;  // for less, the set-up does not pay
  /// Units between two notations; longer text is not staged.
  static constexpr std::uint64_t maxGap = sizeof(Unit) == 1 ? 128 : 64;
  static constexpr std::uint64_t maxStep = maxGap + roundTripRoom;  // units that one notation and its gap become
  static constexpr std::uint64_t maxStaged = 1024;                  // units
  static_assert(Notation::maxLength <= roundTripRoom, "a notation that stays as text fits too");
  static constexpr std::uint64_t vectorUnits = 16 / sizeof(Unit);
  static constexpr std::uint64_t longCopy = sizeof(Unit) == 1 ? 64 : 32;  // units

  /// Up to this distance of notations, blocks are faster than a kernel that copies the text between them.
  static constexpr std::uint64_t maxDistance = sizeof(Unit) == 1 ? 100 : 64;
  /// From this distance on, most gaps are longer than a vector.
  static constexpr std::uint64_t minSparse = 16;
  /// Where notations are rarer, or after so many calls in a row that decoded nothing, some input is left to the
  /// caller: more each time, from minRest to maxRest units.
  static constexpr std::uint64_t minRest = 1024, maxRest = 32 * maxBlock;
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
      nextRest_ = minRest;
      return true;
    }
    blockUnits_ = minBlock;
    if (++misses_ == maxMisses) {
      misses_ = 0;
      rest(cursor);
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
    const auto count =
        static_cast<std::uint32_t>(kit::listPairs(block_, units, marks.first, marks.second, marks.kept, places_));
    if (count * maxDistance >= units) {
      count_ = count;
      longGap_ = count * minSparse >= units ? vectorUnits + 1 : 0;
      return true;
    }
    rest(cursor);
    return false;
  }

  /// Leaves the next units to the caller.
  void rest(const Cursor<Unit>& cursor) {
    restsUntil_ = cursor.at() + std::min(nextRest_, cursor.remaining());
    nextRest_ = std::min(2 * nextRest_, maxRest);
  }

  /// Decodes the listed notations. Returns false when it leaves the rest, from the cursor on, to the caller.
  ///
  /// The output is staged, because stores of a fixed size write too many units, and the output must keep all behind
  /// the last one.
  bool decodeListed(Cursor<Unit>& cursor, RoundTrips<Unit, roundTripRoom>& roundTrips) {
    RQ_UNINITIALIZED Unit staging[maxStaged + longCopy];
    const Unit* const block = block_;
    const Unit* from = cursor.at();  // behind the last notation
    Unit* out = staging;
    const Unit* limit = limitOf(staging, cursor);
    for (std::uint64_t next = next_; next != count_; ++next) {
      const Unit* const at = block + places_[next];
      if constexpr (Notation::includesOthers)
        if (at < from) continue;
      if (at > from + maxGap || out > limit) [[unlikely]] {
        next_ = next;
        if (!moveTo(at, cursor, staging, out, from) || cursor.room() < maxStep) return false;
        from = at;
        out = staging;
        limit = limitOf(staging, cursor);
      }
      out = copyText(out, from, at);
      from = at;
      const Common common = notation_.read(at);
      if (common.length == 0) [[unlikely]] {
        next_ = next;
        moveTo(at, cursor, staging, out, at);
        return false;
      }
      from = at + common.length;
      if (common.codePoint == Common::asText) {
        out = copyText(out, at, from);
        continue;
      }
      const auto codePoint = static_cast<std::uint32_t>(common.codePoint);
      const Remembered remembered = roundTrips.remembered(codePoint);
      if (remembered.bytes != 0) [[likely]] {
        store(out, remembered.text);
        out += remembered.bytes / sizeof(Unit);
      } else {
        out = writeAsked(out, roundTrips, codePoint, at, from);
      }
    }
    next_ = count_;
    moveTo(from, cursor, staging, out, from);
    return true;
  }

  /// Writes the staged output, which ends at `out` and stands for the input up to `from`, and copies the text up to
  /// `at`. Returns false when that does not fit. Not inlined: the loop above needs the registers, here and below.
  [[gnu::noinline]] static bool moveTo(const Unit* at, Cursor<Unit>& cursor, const Unit* staging, const Unit* out,
                                       const Unit* from) {
    cursor.write(staging, static_cast<std::uint64_t>(out - staging), from);
    return cursor.copyTo(at);
  }

  /// Asks the host for a character. Writes it, or the notation [at, end) where the session has no such character.
  [[gnu::noinline]] static Unit* writeAsked(Unit* out, RoundTrips<Unit, roundTripRoom>& roundTrips,
                                            std::uint32_t codePoint, const Unit* at, const Unit* end) {
    const Replacement<Unit> asked = roundTrips.of(codePoint);
    const std::uint64_t count = asked.units ? asked.count : static_cast<std::uint64_t>(end - at);
    copyUnits(out, asked.units ? asked.units : at, count);
    return out + count;
  }

  /// Where the staged output may no more be followed by a notation and its gap.
  static const Unit* limitOf(const Unit* staging, const Cursor<Unit>& cursor) {
    return staging + std::min(maxStaged, cursor.room()) - maxStep;
  }

  /// Copies up to maxGap units and returns the end of the copy. Where gaps differ, one size for all of them
  /// mispredicts least.
  Unit* copyText(Unit* out, const Unit* from, const Unit* to) const {
    const auto count = static_cast<std::uint64_t>(to - from);
    copyVector(out, from);
    if (count >= longGap_)
      for (std::uint64_t i = 0; i < count; i += longCopy)
        for (std::uint64_t k = 0; k < longCopy; k += vectorUnits) copyVector(out + i + k, from + i + k);
    return out + count;
  }
  static void copyVector(Unit* to, const Unit* from) { store(to, load<__m128i>(static_cast<const void*>(from))); }

  const Notation notation_;
  const Unit* block_ = nullptr;
  const Unit* restsUntil_ = nullptr;
  std::uint64_t blockUnits_ = minBlock;  // of the next list: few until something is decoded
  std::uint64_t longGap_ = 0;            // text of so many units is copied by longCopy units
  std::uint64_t nextRest_ = minRest;
  std::uint32_t misses_ = 0;
  std::uint64_t next_ = 0, count_ = 0;  // of places_
  std::uint16_t places_[maxBlock / 2 + kit::maxPairsBehind];
};

}  // namespace rq

#endif
