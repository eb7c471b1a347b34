// Expands runs into two-level tables, at compile time. Wrong runs do not compile: the functions that name a fault
// have no body, so that a call ends the evaluation, and the compiler's message shows the name.
#ifndef RQUNI_KIT_CASEMAP_BUILD_H
#define RQUNI_KIT_CASEMAP_BUILD_H

#include <array>
#include <cstdint>
#include <span>

#include "kit/casemap/case_map.h"
#include "kit/casemap/runs.h"

namespace rq::kit::casemap {

void blocksAreNotAscending();
void runIsOutsideItsBlocks();
void runDoesNotEndOnItsStep();
void characterIsMappedTwice();
void blockMapsNothing();
void wrongNumberOfExceptions();
void exceptionIsNotReversible();
void asciiIsNotSimple();
void gapIsAtAnEnd();

using Runs = std::span<const Run>;
using Blocks = std::span<const std::uint16_t>;

constexpr std::size_t blocksOfPlane = planeSize / blockSize;

/// In a table of bytes this entry sends the reader to the list of exceptions.
constexpr std::int8_t exceptionMark = -128;
constexpr bool isException(std::int32_t delta) {
  return delta < -127 || delta > 127;
}

/// The index of each block of the plane in the tables of shifts, or -1.
template <class T>
constexpr std::array<T, blocksOfPlane> metaOf(Blocks blocks) {
  std::array<T, blocksOfPlane> meta{};
  for (T& entry : meta) entry = -1;
  for (std::size_t i = 0; i < blocks.size(); ++i) {
    if (i > 0 && blocks[i] <= blocks[i - 1]) blocksAreNotAscending();
    meta[blocks[i]] = static_cast<T>(i * blockSize);
  }
  return meta;
}

/// The distances of all characters of the blocks, in the order of the blocks.
template <std::size_t Count>
consteval std::array<std::int32_t, Count * blockSize> shiftsOf(Runs runs, Blocks blocks) {
  const auto meta = metaOf<std::int32_t>(blocks);
  std::array<std::int32_t, Count * blockSize> shifts{};
  if (blocks.size() != Count) blockMapsNothing();
  for (const Run& run : runs) {
    if (run.last < run.first || (run.last - run.first) % run.step != 0) runDoesNotEndOnItsStep();
    for (RQChar c = run.first; c <= run.last; c += run.step) {
      if (c >= planeSize || meta[c / blockSize] < 0) runIsOutsideItsBlocks();
      std::int32_t& shift = shifts[static_cast<std::size_t>(meta[c / blockSize]) + c % blockSize];
      if (shift != 0 || run.delta == 0) characterIsMappedTwice();
      shift = run.delta;
    }
  }
  return shifts;
}

/// The first level of a CaseMap, whose second level begins with a block of zeros.
consteval std::array<std::int32_t, blocksOfPlane + 1> startsOf(Blocks blocks) {
  const auto meta = metaOf<std::int32_t>(blocks);
  std::array<std::int32_t, blocksOfPlane + 1> starts{};
  for (std::size_t i = 0; i < meta.size(); ++i)
    if (meta[i] >= 0) starts[i] = meta[i] + static_cast<std::int32_t>(blockSize);
  return starts;
}
template <std::size_t Size>
consteval std::array<std::int32_t, blockSize + Size> behindZeros(const std::array<std::int32_t, Size>& shifts) {
  std::array<std::int32_t, blockSize + Size> all{};
  for (std::size_t i = 0; i < Size; ++i) all[blockSize + i] = shifts[i];
  return all;
}

/// The shifts modulo 2^16.
template <std::size_t Size>
consteval std::array<std::uint16_t, Size> halvesOf(const std::array<std::int32_t, Size>& shifts) {
  std::array<std::uint16_t, Size> halves{};
  for (std::size_t i = 0; i < Size; ++i) halves[i] = static_cast<std::uint16_t>(shifts[i] & 0xFFFF);
  return halves;
}

/// Does every block map a character in `a` or in `b`?
template <std::size_t Size>
consteval bool blocksAreUsed(const std::array<std::int32_t, Size>& a, const std::array<std::int32_t, Size>& b) {
  for (std::size_t block = 0; block < Size; block += blockSize) {
    bool used = false;
    for (std::size_t i = block; i < block + blockSize; ++i) used = used || a[i] != 0 || b[i] != 0;
    if (!used) return false;
  }
  return true;
}

/// The shifts as bytes, exceptions marked.
template <std::size_t Size>
consteval std::array<std::int8_t, Size> bytesOf(const std::array<std::int32_t, Size>& shifts) {
  std::array<std::int8_t, Size> bytes{};
  for (std::size_t i = 0; i < Size; ++i)
    bytes[i] = isException(shifts[i]) ? exceptionMark : static_cast<std::int8_t>(shifts[i]);
  return bytes;
}

/// The exceptions of `runs` in their order, as pairs (from, to), and a zero.
template <std::size_t Pairs>
consteval std::array<RQChar, 2 * Pairs + 1> exceptionsOf(Runs runs) {
  std::array<RQChar, 2 * Pairs + 1> list{};
  std::size_t size = 0;
  for (const Run& run : runs) {
    for (RQChar c = run.first; isException(run.delta) && c <= run.last; c += run.step) {
      if (size == 2 * Pairs) wrongNumberOfExceptions();
      list[size++] = c;
      list[size++] = c + static_cast<RQChar>(run.delta);
    }
  }
  if (size != 2 * Pairs) wrongNumberOfExceptions();
  return list;
}

/// The distance that `runs` give to `c`.
constexpr std::int32_t deltaOf(Runs runs, RQChar c) {
  for (const Run& run : runs)
    if (c >= run.first && c <= run.last && (c - run.first) % run.step == 0) return run.delta;
  return 0;
}

/// The exceptions of the reverse mapping: first `own`, which the other mapping lacks, then each pair of `list`
/// reversed.
template <std::size_t Size>
consteval std::array<RQChar, Size + 2> reversedExceptions(Runs runs, RQChar own,
                                                          const std::array<RQChar, Size>& list) {
  std::array<RQChar, Size + 2> reversed{own, own + static_cast<RQChar>(deltaOf(runs, own))};
  for (std::size_t i = 0; i + 1 < Size; i += 2) {
    if (list[i + 1] + static_cast<RQChar>(deltaOf(runs, list[i + 1])) != list[i]) exceptionIsNotReversible();
    reversed[i + 2] = list[i + 1];
    reversed[i + 3] = list[i];
  }
  return reversed;
}

/// A stretch of characters.
struct Gap {
  RQChar first = 0, count = 0;
};

/// The longest stretch of blocks without entries.
constexpr Gap longestGap(const std::array<std::int32_t, blocksOfPlane + 1>& starts) {
  Gap longest, current;
  for (RQChar block = 0; block < blocksOfPlane; ++block) {
    if (starts[block] != 0) {
      current = {(block + 1) * blockSize, 0};
      continue;
    }
    current.count += blockSize;
    if (current.count > longest.count) longest = current;
  }
  return longest;
}

}  // namespace rq::kit::casemap

#endif
