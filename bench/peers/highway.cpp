#include "bench/peers/highway.h"

#include <hwy/contrib/algo/find-inl.h>
#include <hwy/highway.h>

namespace hn = hwy::HWY_NAMESPACE;

namespace rq::bench::highway {
namespace {

template <class T>
std::size_t unequal(const T* p, std::size_t n, T c) {
  const hn::ScalableTag<T> d;
  return hn::FindIf(d, p, n, [c](auto tag, auto v) HWY_ATTR { return hn::Ne(v, hn::Set(tag, c)); });
}

}  // namespace

std::size_t find(const std::uint8_t* p, std::size_t n, std::uint8_t c) {
  return hn::Find(hn::ScalableTag<std::uint8_t>(), c, p, n);
}
std::size_t findNot(const std::uint8_t* p, std::size_t n, std::uint8_t c) {
  return unequal(p, n, c);
}
std::size_t findUnitNot(const std::uint32_t* p, std::size_t n, std::uint32_t c) {
  return unequal(p, n, c);
}
std::size_t findNan(const double* p, std::size_t n) {
  return hn::FindIf(hn::ScalableTag<double>(), p, n, [](auto, auto v) HWY_ATTR { return hn::IsNaN(v); });
}

}  // namespace rq::bench::highway
