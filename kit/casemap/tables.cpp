// The case tables: the five that are exported, and what the kernels use.
//
// The exported ones are declared to the world as plain arrays (frame/kit_exports.h). A function cannot return those,
// so here they are std::array, which is laid out alike; for that reason this file does not include their declaration.
#include "kit/casemap/build.h"
#include "kit/casemap/case_map.h"
#include "kit/casemap/class_runs.h"

namespace rq::kit {
namespace {

using namespace casemap;

constexpr std::size_t shiftBlockCount = std::size(shiftBlocks);
static_assert(shiftBlockCount == 19);

constexpr auto shiftMeta = metaOf<std::int32_t>(shiftBlocks);
constexpr auto upShifts = shiftsOf<shiftBlockCount>(upperRuns, shiftBlocks);
constexpr auto downShifts = shiftsOf<shiftBlockCount>(lowerRuns, shiftBlocks);
static_assert(blocksAreUsed(upShifts, downShifts));

constexpr auto downExceptions = exceptionsOf<19>(lowerRuns);
constexpr auto upExceptions = reversedExceptions(upperRuns, 0x017F, downExceptions);
static_assert(exceptionsOf<20>(upperRuns).size() == upExceptions.size());

constexpr auto skz_min_meta = metaOf<std::int32_t>(smallestBlocks);
constexpr auto skz_minshift = shiftsOf<31>(smallestRuns, smallestBlocks);
static_assert(blocksAreUsed(skz_minshift, skz_minshift));

constexpr auto skz_max_meta = metaOf<std::int32_t>(largestBlocks);
constexpr auto skz_maxshift = shiftsOf<29>(largestRuns, largestBlocks);
static_assert(blocksAreUsed(skz_maxshift, skz_maxshift));

/// A map that inverts asciiFlip in the ASCII letters from `asciiFirst` on; a flip of 0 leaves ASCII to the table.
template <std::size_t Size>
consteval CaseMap caseMap(const std::array<std::int32_t, blocksOfPlane>& meta,
                          const std::array<std::int32_t, Size>& shifts, RQChar asciiFirst, RQChar asciiFlip) {
  const Gap gap = longestGap(meta);
  const RQChar asciiLast = asciiFlip != 0 ? 0x7F : 0;
  const CaseMap map = {meta.data(), shifts.data(), gap.first, gap.first + gap.count,
                       asciiFirst,  asciiFlip,     asciiLast};
  if (map.gapFirst <= asciiLast + 1 || map.gapEnd >= 0x10000) gapIsAtAnEnd();
  for (RQChar c = 0; c <= asciiLast; ++c)
    if (map(c) != (c - asciiFirst < 26 ? c ^ asciiFlip : c)) asciiIsNotSimple();
  return map;
}

}  // namespace

constinit const CaseMap toUpper = caseMap(shiftMeta, upShifts, 'a', 0x20);
constinit const CaseMap toLower = caseMap(shiftMeta, downShifts, 'A', 0x20);
constinit const CaseMap toSmallest = caseMap(skz_min_meta, skz_minshift, 'a', 0x20);
// The largest members of the classes of I, K and S lie beyond ASCII.
constinit const CaseMap toLargest = caseMap(skz_max_meta, skz_maxshift, 'A', 0);

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
