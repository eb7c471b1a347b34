// The exported routines over counted strings of RQChar: search, case, comparison.
#include <cstdint>

#include "frame/host_tables.h"
#include "frame/internal/kernel_handle.h"
#include "frame/kit_exports.h"
#include "kit/casemap/case_map.h"
#include "kit/kit.h"

namespace {

using rq::kit::CaseMap;

/// Lengths are signed. A negative one means an empty string.
std::uint64_t unitsOf(std::int64_t length) {
  return length > 0 ? static_cast<std::uint64_t>(length) : 0;
}

using rq::kit::simd::load;
using rq::kit::simd::store;

void mapByTable(RQChar* string, std::int64_t length, const CaseMap& map) {
  rq::kit::simd::active.mapCase(string, unitsOf(length), map);
}

/// Maps ASCII by the table and every other unit by the host's case service. Never inlined: saving its registers would
/// slow down short texts without a service.
template <class Map>
[[gnu::noinline]] void mapByService(RQChar* string, std::uint64_t n, const CaseMap& table, Map map) {
  for (std::uint64_t i = 0; i < n;) {
    i += rq::kit::simd::active.mapAsciiPrefix(string + i, n - i, table);
    for (; i < n && load<RQChar>(string + i) >= rq::kit::asciiEnd; ++i)
      store(string + i, map(load<RQChar>(string + i)));
  }
}

/// The case service of the registered host, or null. Each call reads it anew: a host may change it.
RQCaseService* caseService() {
  const RQKernel* const kernel = rq::kernelHandle();
  return kernel ? kernel->caseService : nullptr;
}

/// -1 or 1 by the order of two different characters as signed values.
std::int32_t signedOrder(RQChar a, RQChar b) {
  return static_cast<std::int32_t>(a) < static_cast<std::int32_t>(b) ? -1 : 1;
}

/// -2 or 2 if `n` units differ even ignoring case. Otherwise the first difference in case decides: -1, 0 or 1.
std::int32_t compareIgnoringCase(const RQChar* a, const RQChar* b, std::uint64_t n) {
  const std::int64_t first = rq::kit::mismatch(a, b, n);
  if (first < 0) return 0;
  const auto i = static_cast<std::uint64_t>(first);
  const auto& lower = rq::kit::toLower;
  const std::int64_t further = rq::kit::simd::active.mappedMismatch(a + i, b + i, n - i, lower);
  if (further < 0) return signedOrder(load<RQChar>(a + i), load<RQChar>(b + i));
  const std::uint64_t k = i + static_cast<std::uint64_t>(further);
  return 2 * signedOrder(lower(load<RQChar>(a + k)), lower(load<RQChar>(b + k)));
}

/// Are long texts equal ignoring case? Most of them is identical, which mismatch() passes faster. Never inlined:
/// saving its registers would slow down short texts.
[[gnu::noinline]] bool longAreEqual(const RQChar* a, const RQChar* b, std::uint64_t n) {
  const std::int64_t first = rq::kit::mismatch(a, b, n);
  if (first < 0) return true;
  const auto i = static_cast<std::uint64_t>(first);
  return rq::kit::simd::active.mappedMismatch(a + i, b + i, n - i, rq::kit::toLower) < 0;
}

}  // namespace

extern "C" {

std::int64_t rqzspos(const RQChar* string, std::int64_t length, RQChar character) {
  return string && length > 0 ? rq::kit::findFirst(string, static_cast<std::uint64_t>(length), character) : -1;
}

void rqzstlo(RQChar* string, std::int64_t length) {
  RQCaseService* const service = caseService();
  if (!service) return mapByTable(string, length, rq::kit::toLower);
  mapByService(string, unitsOf(length), rq::kit::toLower,
               [service](RQChar c) { return service->lower(service, c, 1); });
}

void rqzstup(RQChar* string, std::int64_t length) {
  RQCaseService* const service = caseService();
  if (!service) return mapByTable(string, length, rq::kit::toUpper);
  mapByService(string, unitsOf(length), rq::kit::toUpper,
               [service](RQChar c) { return service->upper(service, c, 1); });
}

std::int32_t rqzseqn(const RQChar* a, std::int64_t aLength, const RQChar* b, std::int64_t bLength) {
  if (aLength != bLength) return 0;
  const std::uint64_t n = unitsOf(aLength);
  if (n > rq::kit::simd::maxShortBytes) return longAreEqual(a, b, n);
  return rq::kit::simd::active.mappedMismatch(a, b, n, rq::kit::toLower) < 0;
}

std::int32_t rqzsncmp(const RQChar* a, std::int64_t aLength, const RQChar* b, std::int64_t bLength) {
  const std::uint64_t na = unitsOf(aLength), nb = unitsOf(bLength), common = na < nb ? na : nb;
  const std::int32_t order = compareIgnoringCase(a, b, common);
  if (order == -2 || order == 2 || na == nb) return order;
  // Any tail but blanks makes the longer string the greater one, even a tail that sorts before a blank.
  if (na < nb) return rq::kit::allEqual(rq::kit::blank, b + common, nb - common) ? order : -2;
  return rq::kit::allEqual(rq::kit::blank, a + common, na - common) ? order : 2;
}

void rqzstmin(RQChar* string, std::int64_t length) {
  mapByTable(string, length, rq::kit::toSmallest);
}
void rqzstmax(RQChar* string, std::int64_t length) {
  mapByTable(string, length, rq::kit::toLargest);
}

}  // extern "C"
