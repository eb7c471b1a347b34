// The best loops that the compiler makes of the kit's definitions. One source, compiled for x86-64-v3 and for the
// machine at hand; both with -O3.
#pragma once

#include <cstddef>
#include <cstdint>

namespace rq::bench {

struct CaseTables {
  const std::int16_t* meta;
  const std::int8_t* shift;
  const std::uint32_t* exceptions;
};

struct Loops {
  const char* column;
  std::int64_t (*find)(const unsigned char*, std::size_t, unsigned char);
  std::int64_t (*findUnit)(const std::uint32_t*, std::size_t, std::uint32_t);
  std::int64_t (*findNot)(const unsigned char*, std::size_t, unsigned char);
  std::int64_t (*findUnitNot)(const std::uint32_t*, std::size_t, std::uint32_t);
  int (*allEqual)(unsigned char, const unsigned char*, std::size_t);  // or over all differences
  int (*allUnitsEqual)(std::uint32_t, const std::uint32_t*, std::size_t);
  int (*allEqualEarly)(unsigned char, const unsigned char*, std::size_t);  // a test for each block of 64 bytes
  void (*fill)(unsigned char*, unsigned char, std::size_t);
  void (*fillUnits)(std::uint32_t*, std::uint32_t, std::size_t);
  void (*fillHalves)(std::uint16_t*, std::uint16_t, std::size_t);
  int (*compare)(const unsigned char*, const unsigned char*, std::size_t);
  int (*compareUnits)(const std::uint32_t*, const std::uint32_t*, std::size_t);
  void (*upper)(unsigned char*, std::size_t);
  void (*lower)(unsigned char*, std::size_t);
  void (*upperByTable)(unsigned char*, std::size_t);
  void (*lowerByTable)(unsigned char*, std::size_t);
  void (*copyUnits)(const std::uint32_t*, std::uint32_t*);                 // up to a zero unit
  void (*copyForward)(const unsigned char*, unsigned char*, std::size_t);  // byte by byte, repeating
  int (*anyNan)(const double*, std::size_t);
  int (*anyNanByBlocks)(const double*, std::size_t);              // a test for each 64 doubles
  std::int64_t (*countLeads)(const unsigned char*, std::size_t);  // bytes that begin a character of UTF-8
  void (*mapCase)(const CaseTables&, std::uint32_t*, std::size_t);
};

extern const Loops loopsV3;
extern const Loops loopsNative;

}  // namespace rq::bench
