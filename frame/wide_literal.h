// ASCII names as constant strings of RQChar.
#ifndef RQUNI_FRAME_WIDE_LITERAL_H
#define RQUNI_FRAME_WIDE_LITERAL_H

#include "frame/types.h"

namespace rq {

template <uint64_t Size>
struct WideLiteral {
  static constexpr uint64_t length = Size - 1;  // characters, without the terminator
  RQChar text[Size];
};

template <uint64_t Size>
consteval WideLiteral<Size> wideLiteral(const char (&ascii)[Size]) {
  WideLiteral<Size> result = {};
  for (uint64_t i = 0; i < Size; ++i) result.text[i] = static_cast<unsigned char>(ascii[i]);
  return result;
}

}  // namespace rq

#endif
