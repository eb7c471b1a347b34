// The case tables: the five that the library exports, and the four maps that the kernels use.
//
// frame/kit_exports.h declares the exported tables as plain arrays. A function cannot return an array, so this file
// defines them as std::array, which has the same layout, and does not include that declaration.
#include "kit/ascii.h"
#include "kit/casemap/build.h"
#include "kit/casemap/case_map.h"
#include "kit/casemap/class_runs.h"

namespace rq::kit {
namespace {

using namespace casemap;

constexpr std::size_t shiftBlockCount = std::size(shiftBlocks);
static_assert(shiftBlockCount == 19);

constexpr auto upShifts = shiftsOf<shiftBlockCount>(upperRuns, shiftBlocks);
constexpr auto downShifts = shiftsOf<shiftBlockCount>(lowerRuns, shiftBlocks);
static_assert(blocksAreUsed(upShifts, downShifts));

constexpr auto downExceptions = exceptionsOf<19>(lowerRuns);
constexpr auto upExceptions = reversedExceptions(upperRuns, 0x017F, downExceptions);
static_assert(exceptionsOf<20>(upperRuns).size() == upExceptions.size());

constexpr auto smallestShifts = shiftsOf<31>(smallestRuns, smallestBlocks);
static_assert(blocksAreUsed(smallestShifts, smallestShifts));

constexpr auto largestShifts = shiftsOf<29>(largestRuns, largestBlocks);
static_assert(blocksAreUsed(largestShifts, largestShifts));

// The two levels of the maps.
constexpr auto shiftStarts = startsOf(shiftBlocks), smallestStarts = startsOf(smallestBlocks),
               largestStarts = startsOf(largestBlocks);
constexpr auto upper = behindZeros(upShifts), lower = behindZeros(downShifts);
constexpr auto smallest = behindZeros(smallestShifts);
constexpr auto largest = behindZeros(largestShifts);
constexpr auto upper16 = halvesOf(upper), lower16 = halvesOf(lower);
constexpr auto smallest16 = halvesOf(smallest);
constexpr auto largest16 = halvesOf(largest);

/// A map that changes the bits of asciiFlip in the ASCII letters from `asciiFirst` on. 0 leaves ASCII to the table.
template <std::size_t Size>
consteval CaseMap caseMap(const std::array<std::int32_t, blocksOfPlane + 1>& starts,
                          const std::array<std::int32_t, Size>& shifts,
                          const std::array<std::uint16_t, Size>& shifts16, RQChar asciiFirst, RQChar asciiFlip) {
  const Gap gap = longestGap(starts);
  const RQChar asciiLast = asciiFlip != 0 ? asciiEnd - 1 : 0;
  const CaseMap map = {starts.data(),         shifts.data(), shifts16.data(), gap.first,
                       gap.first + gap.count, asciiFirst,    asciiFlip,       asciiLast};
  if (map.gapFirst <= asciiLast + 1 || map.gapEnd >= planeSize) gapIsAtAnEnd();
  for (RQChar c = 0; c <= asciiLast; ++c)
    if (map(c) != (c - asciiFirst < asciiLetters ? c ^ asciiFlip : c)) asciiIsNotSimple();
  return map;
}

}  // namespace

constinit const CaseMap toUpper = caseMap(shiftStarts, upper, upper16, 'a', asciiCaseBit);
constinit const CaseMap toLower = caseMap(shiftStarts, lower, lower16, 'A', asciiCaseBit);
constinit const CaseMap toSmallest = caseMap(smallestStarts, smallest, smallest16, 'a', asciiCaseBit);
// ASCII is not simple here: the largest members of the classes of I, K and S lie beyond it.
constinit const CaseMap toLargest = caseMap(largestStarts, largest, largest16, 'A', 0);

}  // namespace rq::kit

extern "C" {

RQ_EXPORT extern const std::array<std::int16_t, 512> skz_metatable;
RQ_EXPORT extern const std::array<std::int8_t, 19 * 128> skz_upshift;
RQ_EXPORT extern const std::array<std::int8_t, 19 * 128> skz_downshift;
RQ_EXPORT extern const std::array<RQChar, 2 * 20 + 1> skz_upaux;
RQ_EXPORT extern const std::array<RQChar, 2 * 19 + 1> skz_downaux;

constinit const std::array<std::int16_t, 512> skz_metatable =
    rq::kit::casemap::metaOf<std::int16_t>(rq::kit::casemap::shiftBlocks);
constinit const std::array<std::int8_t, 19 * 128> skz_upshift = rq::kit::casemap::bytesOf(rq::kit::upShifts);
constinit const std::array<std::int8_t, 19 * 128> skz_downshift = rq::kit::casemap::bytesOf(rq::kit::downShifts);
constinit const std::array<RQChar, 2 * 20 + 1> skz_upaux = rq::kit::upExceptions;
constinit const std::array<RQChar, 2 * 19 + 1> skz_downaux = rq::kit::downExceptions;

}  // extern "C"
