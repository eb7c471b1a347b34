// Conversion of whole texts between a session encoding and the Unicode encoding forms.
#ifndef RQUNI_ENGINES_CONVERSION_H
#define RQUNI_ENGINES_CONVERSION_H

#include "engines/forms.h"

namespace rq::engines {

/// Why a conversion ended before its input did.
enum class Failure : std::uint8_t {
  none,
  outputFull,
  unreadable,  // the input holds no character there
  lacking,     // the target has no such character
};

struct Input {
  const std::uint8_t* bytes;
  std::uint64_t length;
};

struct Output {
  std::uint8_t* bytes;
  std::uint64_t capacity;
};

/// How far a conversion came: bytes read and written, whole characters only, and why it went no further.
struct Moved {
  std::uint64_t read = 0;
  std::uint64_t written = 0;
  Failure failure = Failure::none;
};

/// Writes a character where less than the longest one fits: 0 bytes when the target lacks it, more than `room` when
/// it does not fit. Then nothing is written.
template <class Target>
[[gnu::noinline]] std::uint64_t writeInto(const Target& target, RQChar character, std::uint8_t* out,
                                          std::uint64_t room) {
  std::uint8_t bytes[longestCharacter];
  const std::uint64_t length = target.write(character, bytes);
  if (length <= room) std::memcpy(out, bytes, length);
  return length;
}

/// Converts a text character by character. Both encodings have the functions of a form, see forms.h; a target's
/// write() returns 0 for a character that it lacks.
template <class Source, class Target>
Moved convert(const Source& source, const Target& target, Input in, Output out) {
  Moved moved;
  while (moved.read < in.length) {
    RQChar character;
    const std::uint64_t read = source.read(in.bytes + moved.read, in.length - moved.read, &character);
    if (read == 0) {
      moved.failure = Failure::unreadable;
      break;
    }
    const std::uint64_t room = out.capacity - moved.written;
    std::uint8_t* const at = out.bytes + moved.written;
    const std::uint64_t written =
        room >= longestCharacter ? target.write(character, at) : writeInto(target, character, at, room);
    if (written == 0 || written > room) {
      moved.failure = written == 0 ? Failure::lacking : Failure::outputFull;
      break;
    }
    moved.read += read;
    moved.written += written;
  }
  return moved;
}

/// Converts a text of one character. Returns the bytes written, or 0 for any other text and when it might not fit.
template <class Source, class Target>
[[gnu::always_inline]] inline std::uint64_t convertOne(const Source& source, const Target& target, Input in,
                                                       Output out) {
  if (in.length == 0 || out.capacity < longestCharacter) return 0;
  RQChar character;
  if (source.read(in.bytes, in.length, &character) != in.length) return 0;
  return target.write(character, out.bytes);
}

/// What the session gets for U+0000, which its text cannot hold. The substitute fails the round trip, so a notation
/// that names U+0000 stays. Writing nothing would read back as 0, and the notation would vanish.
inline constexpr RQChar zeroSubstitute = 0x1A;

template <class Encoding>
struct WithoutZero {
  const Encoding& encoding;
  std::uint64_t write(RQChar character, std::uint8_t* out) const {
    return encoding.write(character != 0 ? character : zeroSubstitute, out);
  }
};

}  // namespace rq::engines

#endif
