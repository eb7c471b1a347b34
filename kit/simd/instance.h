// Fills a table of kernels for one vector type. Only the source file of each instruction set includes it.
#ifndef RQUNI_KIT_SIMD_INSTANCE_H
#define RQUNI_KIT_SIMD_INSTANCE_H

#include "kit/simd/case.h"
#include "kit/simd/copy_until.h"
#include "kit/simd/kernels.h"
#include "kit/simd/members.h"
#include "kit/simd/pairs.h"
#include "kit/simd/width.h"

namespace rq::kit::simd {
namespace {

/// `Vector` searches, maps and fills; `Copier` copies, where the widest vectors gain nothing.
template <template <class> class Vector, template <class> class Copier = Vector>
struct Instance {
  template <class U>
  static constexpr UnitKernels<U> unitKernels = {
      .findFirst = {findFirstShort<Vector<U>>, findFirstLong<Vector<U>>},
      .findNot = {findNotShort<Vector<U>>, findNotLong<Vector<U>>},
      .allEqual = {allEqualShort<Vector<U>>, allEqualLong<Vector<U>>},
      .compare = {compareShort<Vector<U>>, compareLong<Vector<U>>},
      .mismatch = mismatch<Vector<U>>,
      .fill = fill<Vector<U>>,
      .length = terminatedLength<Vector<U>>,
      .copyTerminated = copyTerminated<Copier, U>,
      .asciiPrefix = asciiPrefix<Vector<U>>,
      .copyUntilPair = copyUntilPair<Copier<U>>,
      .copyWhileBelow = copyWhileBelow<Copier<U>, U>,
      .listPairs = listPairs<Vector<U>>,
  };
  static constexpr Kernels kernels = {
      .bytes = unitKernels<std::uint8_t>,
      .units = unitKernels<RQChar>,
      .copyForward = copyForward<Copier<Byte>, Vector>,
      .copySafe = copySafe<Copier<Byte>>,
      .upperAscii = flipAscii<Copier<Byte>, 'a'>,
      .lowerAscii = flipAscii<Copier<Byte>, 'A'>,
      .anyNaN = {anyNaNShort<Vector<std::uint64_t>>, anyNaNLong<Vector<std::uint64_t>>},
      .narrowWhileBelow = copyWhileBelow<Vector<RQChar>, std::uint8_t>,
      .copyMembers = copyMembers<Copier<Byte>>,
      .narrowMembers = narrowMembers<Vector<RQChar>>,
      .copyMemberBlocks = copyMemberBlocks<Vector<RQChar>, RQChar>,
      .narrowMemberBlocks = copyMemberBlocks<Vector<RQChar>, std::uint8_t>,
      .trim = trim<Vector<RQChar>>,
      .countWide = countWide<Vector<RQChar>>,
      .mapCase = mapCase<Vector<RQChar>>,
      .mapAsciiPrefix = mapAsciiPrefix<Vector<RQChar>>,
      .mappedMismatch = mappedMismatch<Vector<RQChar>>,
  };
};

}  // namespace
}  // namespace rq::kit::simd

#endif
