// ASCII names as constant strings of RQChar.
#ifndef RQUNI_FRAME_INTERNAL_WIDE_LITERAL_H
#define RQUNI_FRAME_INTERNAL_WIDE_LITERAL_H

#include <cstdint>

#include "frame/types.h"

namespace rq {

template <std::uint64_t Size>
struct WideLiteral {
  static constexpr std::uint64_t length = Size - 1;  // characters, without the terminator
  RQChar text[Size];
};

template <std::uint64_t Size>
consteval WideLiteral<Size> wideLiteral(const char (&ascii)[Size]) {
  WideLiteral<Size> result = {};
  for (std::uint64_t i = 0; i < Size; ++i) result.text[i] = static_cast<unsigned char>(ascii[i]);
  return result;
}

}  // namespace rq

#endif
