// Searches written with Highway's find algorithms, compiled for the machine at hand.
#pragma once

#include <cstddef>
#include <cstdint>

namespace rq::bench::highway {

/// Index of the hit, `n` when there is none.
std::size_t find(const std::uint8_t* p, std::size_t n, std::uint8_t c);
std::size_t findNot(const std::uint8_t* p, std::size_t n, std::uint8_t c);
std::size_t findUnitNot(const std::uint32_t* p, std::size_t n, std::uint32_t c);
std::size_t findNan(const double* p, std::size_t n);

}  // namespace rq::bench::highway
