// Conversion of whole texts between a session encoding and the Unicode encoding forms.
#ifndef RQUNI_ENGINES_CONVERSION_H
#define RQUNI_ENGINES_CONVERSION_H

#include <cstring>

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
    std::uint8_t bytes[longestCharacter];
    const std::uint64_t written = target.write(character, bytes);
    if (written == 0 || written > out.capacity - moved.written) {
      moved.failure = written == 0 ? Failure::lacking : Failure::outputFull;
      break;
    }
    std::memcpy(out.bytes + moved.written, bytes, written);
    moved.read += read;
    moved.written += written;
  }
  return moved;
}

/// The five forms in the order of the arrays below.
enum class Form : std::uint8_t { utf8, utf16Big, utf16Little, utf32Big, utf32Little };
inline constexpr int forms = 5;

/// Converts a text to or from the session encoding, which `session` describes.
using Convert = Moved (*)(const void* session, Input in, Output out);

/// The conversions of a session encoding, form by form.
struct Conversions {
  Convert toSession[forms];
  Convert fromSession[forms];
};

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

/// The conversions of a session encoding that reads and writes as a form does. `session` points to an Encoding.
template <class Encoding>
struct ConversionsOf {
  template <class From>
  static Moved toSession(const void* session, Input in, Output out) {
    return convert(From{}, WithoutZero<Encoding>{*static_cast<const Encoding*>(session)}, in, out);
  }
  template <class To>
  static Moved fromSession(const void* session, Input in, Output out) {
    return convert(*static_cast<const Encoding*>(session), To{}, in, out);
  }

  static constexpr Conversions table = {
      {toSession<Utf8>, toSession<Utf16<std::endian::big>>, toSession<Utf16<std::endian::little>>,
       toSession<Utf32<std::endian::big>>, toSession<Utf32<std::endian::little>>},
      {fromSession<Utf8>, fromSession<Utf16<std::endian::big>>, fromSession<Utf16<std::endian::little>>,
       fromSession<Utf32<std::endian::big>>, fromSession<Utf32<std::endian::little>>},
  };
};

}  // namespace rq::engines

#endif
