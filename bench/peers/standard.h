// Searches of the C++ standard library that are templates: compiled here, so that they are called as the others are.
#pragma once

#include <cstddef>

namespace rq::bench::standard {

/// Index of the first character that is not `c`, or npos.
std::size_t findNot(const char* p, std::size_t n, char c);

}  // namespace rq::bench::standard
