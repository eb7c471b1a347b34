// The bare work of each kind of routine by 256 and by 512 bits at a time, without the ends that fill no vector and
// without an answer to give, and calls that do no work. Compiled for the machine at hand.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace rq::bench {

/// What every byte of the buffers is to hold.
constexpr unsigned char filler = ' ';

using Work = std::int64_t(unsigned char* a, unsigned char* b, std::size_t n);

struct BareWork {
  const char *row, *column;
  Work* work;
};

extern const std::vector<BareWork> longWork;   // for 256 bytes and more
extern const std::vector<BareWork> shortWork;  // for 1 to 64 bytes

}  // namespace rq::bench
