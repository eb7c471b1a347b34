// Fills a table of kernels for one vector type. Included by each instruction set's own source file only.
#ifndef RQUNI_KIT_SIMD_INSTANCE_H
#define RQUNI_KIT_SIMD_INSTANCE_H

#include "kit/simd/copy.h"
#include "kit/simd/find.h"
#include "kit/simd/kernels.h"
#include "kit/simd/text.h"

namespace rq::kit::simd {
namespace {

template <template <class> class Vector>
struct Instance {
  using Bytes = Vector<std::uint8_t>;
  using Units = Vector<RQChar>;

  template <class V, class U = typename V::Lane>
  static constexpr UnitKernels<U> unitKernels = {
      .scan = scan<V>,
      .notScan = notScan<V>,
      .mismatch = mismatch<V>,
      .fill = fill<V>,
      .length = terminatedLength<V>,
      .asciiPrefix = asciiPrefix<V>,
      .copyUntilPair = copyUntilPair<V>,
      .copyWhileBelow = copyWhileBelow<V, U>,
  };
  static constexpr Kernels kernels = {
      .bytes = unitKernels<Bytes>,
      .units = unitKernels<Units>,
      .copyForward = copyForward<Bytes>,
      .copySafe = copySafe<Bytes>,
      .upperAscii = flipAscii<Bytes, 'a'>,
      .lowerAscii = flipAscii<Bytes, 'A'>,
      .hasMissing = hasMissing<Vector<std::uint64_t>>,
      .widen = widen<Units>,
      .narrowWhileBelow = copyWhileBelow<Units, std::uint8_t>,
      .trim = trim<Units>,
      .countWide = countWide<Units>,
      .mapCase = mapCase<Units>,
      .mappedMismatch = mappedMismatch<Units>,
  };
};

}  // namespace
}  // namespace rq::kit::simd

#endif
