// Encoding by blocks. An encoder that searches for each escaped character behind the last one waits for every single
// one. Here a kernel finds all of a block at once; then they are encoded with nothing to wait for.
#ifndef RQUNI_CODECS_ENCODE_BLOCKS_H
#define RQUNI_CODECS_ENCODE_BLOCKS_H

#include <emmintrin.h>

#include <algorithm>
#include <cstdint>

#include "codecs/cursor.h"
#include "codecs/units.h"
#include "kit/kit.h"
#include "kit/work_buffer.h"

namespace rq {

/// No escape and no unescaped character takes more units. Stores may write as many again behind each.
constexpr std::uint64_t maxEncoded = 10;

/// Leaves a character to the caller.
constexpr std::uint64_t leave = ~std::uint64_t{0};

/// Fewer bytes than this may be read and written behind what copyVectors() copies.
constexpr std::uint64_t overshoot = 64;

/// Copies units of a block in whole vectors: one, then four at a time. Most literals are few, and branches on their
/// number are hard to predict.
template <class Unit>
inline void copyVectors(Unit* out, const Unit* in, std::uint64_t count) {
  constexpr std::uint64_t vectorUnits = 16 / sizeof(Unit);
  const auto copy = [&](std::uint64_t i) { store(out + i, load<__m128i>(static_cast<const void*>(in + i))); };
  copy(0);
  for (std::uint64_t i = vectorUnits; i < kit::memberBlock && i < count; i += 4 * vectorUnits)
    for (std::uint64_t k = 0; k < 4; ++k) copy(i + k * vectorUnits);
}
/// Copies literals. `narrow` holds them as bytes.
inline void copyLiterals(std::uint8_t* out, const RQChar*, const std::uint8_t* narrow, std::uint64_t count) {
  copyVectors(out, narrow, count);
}
inline void copyLiterals(RQChar* out, const RQChar* text, const std::uint8_t*, std::uint64_t count) {
  copyVectors(out, text, count);
}

constexpr std::uint64_t maxStaged = kit::memberBlock * maxEncoded;

/// Whether there is a block to encode, some text behind it, and more room than it can take.
constexpr bool fitsBlock(std::uint64_t count, std::uint64_t room) {
  constexpr std::uint64_t lookAhead = overshoot / sizeof(RQChar);  // and the character behind an escaped one
  return count >= kit::memberBlock + lookAhead && room > maxStaged;
}

/// Encodes whole blocks while fitsBlock(), or up to a character that `write` leaves. Where a block is all `literals`,
/// copyRun(out, at, most) copies it, or a longer run of them, and returns its length. For any other character
/// write(out, at), which may read the character behind it, returns the units written or `leave`.
///
/// The output of a block is staged, because stores of a fixed size write too many units, and the output must keep all
/// behind the last one.
template <class Unit, class CopyRun, class Write>
[[gnu::noinline]] Moved encodeBlocks(const RQChar* text, std::uint64_t count, Unit* out, std::uint64_t room,
                                     const kit::AsciiSet& literals, CopyRun copyRun, Write write) {
  constexpr std::uint64_t block = kit::memberBlock;
  RQ_UNINITIALIZED Unit staging[maxStaged + overshoot / sizeof(Unit)];
  RQ_UNINITIALIZED std::uint8_t narrow[block + overshoot];
  Moved moved;
  while (fitsBlock(count - moved.read, room - moved.written)) {
    const RQChar* const in = text + moved.read;
    std::uint64_t others = ~kit::narrowMembers(in, narrow, literals);
    if (others == 0) {
      const std::uint64_t most = std::min(count - moved.read, room - moved.written);
      const std::uint64_t copied = copyRun(out + moved.written, in, most);
      moved.read += copied;
      moved.written += copied;
      continue;
    }
    std::uint64_t from = 0;  // literals that are not yet copied
    Unit* end = staging;
    const auto copyUpTo = [&](std::uint64_t place) {
      copyLiterals(end, in + from, narrow + from, place - from);
      end += place - from;
      from = place;
    };
    bool left = false;
    for (; others != 0; others &= others - 1) {
      const std::uint64_t place = static_cast<std::uint32_t>(__builtin_ctzll(others));
      copyUpTo(place);
      const std::uint64_t written = write(end, in + place);
      left = written == leave;
      if (left) [[unlikely]]
        break;
      end += written;
      ++from;
    }
    if (!left) copyUpTo(block);
    const auto staged = static_cast<std::uint64_t>(end - staging);
    kit::copyForward(staging, out + moved.written, staged * sizeof(Unit));
    moved.read += from;
    moved.written += staged;
    if (left) break;
  }
  return moved;
}
/// Bytes are ASCII: the encoders have faster ways.
template <class Unit, class CopyRun, class Write>
Moved encodeBlocks(const std::uint8_t*, std::uint64_t, Unit*, std::uint64_t, const kit::AsciiSet&, CopyRun, Write) {
  return {};
}

}  // namespace rq

#endif
