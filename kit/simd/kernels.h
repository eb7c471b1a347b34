// The kernels of one instruction set as a table of functions, and the table that is in use.
//
// find.h, copy.h, copy_until.h, members.h, case.h and width.h hold each algorithm once, as a template over a vector
// type. sse2.cpp, avx2.cpp and avx512.cpp compile them, each for its vector. dispatch.cpp chooses when the library is
// loaded.
#ifndef RQUNI_KIT_SIMD_KERNELS_H
#define RQUNI_KIT_SIMD_KERNELS_H

#include <cstddef>
#include <cstdint>

#include "frame/types.h"

namespace rq::kit {
struct AsciiSet;
struct CaseMap;
}  // namespace rq::kit

namespace rq::kit::simd {

/// Short calls are the common case. They take about ten cycles, and one more for each cache line of code on their
/// way.
constexpr std::uint64_t maxShortBytes = 64;

/// A kernel for 1 unit to maxShortBytes, and one for more.
template <class F>
struct ShortAndLong {
  F *shortOnes, *longOnes;
};

/// The kernels that exist for bytes and for RQChar.
template <class U>
struct UnitKernels {
  ShortAndLong<std::int64_t(const U*p, std::uint64_t n, RQChar c)> findFirst, findNot;
  ShortAndLong<std::int32_t(RQChar c, const U* p, std::uint64_t n)> allEqual;
  ShortAndLong<std::int32_t(const U* a, const U* b, std::uint64_t n)> compare;
  std::int64_t (*mismatch)(const U* a, const U* b, std::uint64_t n);
  void (*fill)(U* p, U c, std::uint64_t n);
  std::uint64_t (*length)(const U* s);
  void (*copyTerminated)(const U* s, U* d);
  std::uint64_t (*asciiPrefix)(const U* p, std::uint64_t n);
  std::uint64_t (*copyUntilPair)(const U* in, std::uint64_t n, U* out, U first, U second, U keep);
  std::uint64_t (*copyWhileBelow)(const U* in, std::uint64_t n, U* out, U stop, U bound);
  std::uint64_t (*listPairs)(const U* p, std::uint64_t n, U first, U second, U keep, std::uint16_t* places);
};

struct Kernels {
  UnitKernels<std::uint8_t> bytes;
  UnitKernels<RQChar> units;
  std::uint8_t* (*copyForward)(const std::uint8_t* s, std::uint8_t* d, std::uint64_t n);
  void (*copySafe)(const std::uint8_t* s, std::uint8_t* d, std::uint64_t n);
  void (*upperAscii)(std::uint8_t* p, std::uint64_t n);
  void (*lowerAscii)(std::uint8_t* p, std::uint64_t n);
  ShortAndLong<std::int32_t(const std::uint64_t* array, std::uint64_t n)> anyNaN;
  std::uint64_t (*narrowWhileBelow)(const RQChar* in, std::uint64_t n, std::uint8_t* out, RQChar stop, RQChar bound);
  std::uint64_t (*copyMembers)(const std::uint8_t* in, std::uint64_t n, std::uint8_t* out, const AsciiSet& set);
  std::uint64_t (*narrowMembers)(const RQChar* in, std::uint8_t* out, const AsciiSet& set);
  std::uint64_t (*copyMemberBlocks)(const RQChar* in, std::uint64_t n, RQChar* out, const AsciiSet& set);
  std::uint64_t (*narrowMemberBlocks)(const RQChar* in, std::uint64_t n, std::uint8_t* out, const AsciiSet& set);
  std::uint64_t (*trim)(const RQChar* p, std::uint64_t n, RQChar c);
  std::uint64_t (*countWide)(const RQChar* p, std::uint64_t n);
  void (*mapCase)(RQChar* p, std::uint64_t n, const CaseMap& map);
  std::uint64_t (*mapAsciiPrefix)(RQChar* p, std::uint64_t n, const CaseMap& map);
  std::int64_t (*mappedMismatch)(const RQChar* a, const RQChar* b, std::uint64_t n, const CaseMap& map);
};

/// The page size of every x86-64 system.
constexpr std::size_t pageBytes = 4096;

/// A table that has its pages for itself, so that they can be made read-only.
struct alignas(pageBytes) SealedKernels : Kernels {};

/// The kernels in use: SSE2's until the library's constructor chooses, then constant and read-only memory.
[[gnu::visibility("hidden")]] extern SealedKernels active;

extern const Kernels sse2Kernels, avx2Kernels, avx512Kernels;

}  // namespace rq::kit::simd

#endif
