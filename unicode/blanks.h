// Blanks in the encoding forms, and the fill of a padded field.
#ifndef RQUNI_UNICODE_BLANKS_H
#define RQUNI_UNICODE_BLANKS_H

#include <cstdint>
#include <cstring>

#include "frame/interface.h"
#include "kit/kit.h"

namespace rq {

/// U+0020 in one encoding form. `fourBytes` is a native number that holds its bytes, repeated to four.
struct Blank {
  std::uint32_t fourBytes;
  std::uint64_t unitBytes;
};

constexpr Blank blankOf(RQForm form) {
  switch (form) {
    case RQ_FORM_UTF16_BIG:
      return {0x20002000, 2};
    case RQ_FORM_UTF16_LITTLE:
      return {0x00200020, 2};
    case RQ_FORM_UTF32_BIG:
      return {0x20000000, 4};
    default:
      return {0x00000020, 4};
  }
}

/// Fills `bytes` bytes with whole units. The last unit may end up to 1 byte (UTF-16) or 3 bytes (UTF-32) behind them;
/// callers allow for it.
inline void fillBlanks(void* output, std::uint64_t bytes, Blank blank) {
  const std::uint64_t filled = (bytes / blank.unitBytes + (bytes % blank.unitBytes != 0)) * blank.unitBytes;
  auto* const out = static_cast<std::uint8_t*>(output);
  kit::fill(reinterpret_cast<RQChar*>(out), blank.fourBytes, filled / sizeof(RQChar));
  const std::uint64_t rest = filled % sizeof(RQChar);  // one UTF-16 blank or nothing
  if (rest != 0) std::memcpy(out + filled - rest, &blank.fourBytes, rest);
}

}  // namespace rq

#endif
