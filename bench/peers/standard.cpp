#include "bench/peers/standard.h"

#include <string_view>

namespace rq::bench::standard {

std::size_t findNot(const char* p, std::size_t n, char c) {
  return std::string_view(p, n).find_first_not_of(c);
}

}  // namespace rq::bench::standard
