// Decoded code points as session text, where the session encoding has them.
#ifndef RQUNI_CODECS_ROUND_TRIP_H
#define RQUNI_CODECS_ROUND_TRIP_H

#include <cstdint>

#include "codecs/units.h"
#include "frame/interface.h"
#include "frame/internal/transcode.h"
#include "frame/internal/work_buffer.h"

namespace rq {

/// A code point in the session encoding. `units` is null when the session has no such character: then the source text
/// stays.
template <class Unit>
struct Replacement {
  const Unit* units;
  std::uint64_t count;
};

/// Turns code points into session text during one call of a decoder. Remembers answers, because asking the
/// transcoders dominates the cost of decoding, and text in one script uses a few dozen characters.
///
/// `room` is the capacity in units that the host is given for one character.
template <class Unit, std::uint64_t room>
class RoundTrips {
 public:
  explicit RoundTrips(RQInterface* object) : pair_(object->transcoders[RQ_FORM_UTF32_NATIVE]) {}

  /// The result is valid until the next call.
  Replacement<Unit> of(std::uint32_t codePoint) {
    const std::uint32_t slot = codePoint % slots;
    const Answer& answer = answers_[slot];
    const bool known = (known_[slot / 64] >> slot % 64 & 1) != 0;
    if (!known || answer.codePoint != codePoint) return learn(codePoint);
    return {answer.bytes != unmappable ? answer.units : nullptr, answer.bytes / sizeof(Unit)};
  }

 private:
  static constexpr std::uint32_t slots = 256;
  static constexpr std::uint64_t unmappable = 0xFF;
  struct Answer {
    std::uint32_t codePoint;
    Unit units[8 / sizeof(Unit)];
    std::uint8_t bytes;  // or unmappable
  };

  __attribute__((noinline)) Replacement<Unit> learn(std::uint32_t codePoint) {
    const std::uint64_t bytes = ask(codePoint);
    const std::uint64_t count = bytes / sizeof(Unit);
    const std::uint32_t slot = codePoint % slots;
    Answer& answer = answers_[slot];
    if (bytes == unmappable || bytes <= sizeof answer.units) {
      known_[slot / 64] |= std::uint64_t{1} << slot % 64;
      answer.codePoint = codePoint;
      answer.bytes = static_cast<std::uint8_t>(bytes);
      if (bytes != unmappable) copyUnits(answer.units, scratch_, count);
    }
    return {bytes != unmappable ? scratch_ : nullptr, count};
  }

  /// Converts to the session encoding and back. Only the values are compared: statuses and the length of the way back
  /// are ignored. Returns the number of bytes in scratch_, or unmappable.
  std::uint64_t ask(std::uint32_t codePoint) {
    std::uint64_t produced = sizeof scratch_;
    transcode(pair_.toSession, &codePoint, sizeof codePoint, scratch_, sizeof scratch_, &produced);
    if (produced > sizeof scratch_) return unmappable;
    std::uint32_t back = 0;
    std::uint64_t backBytes = 0;
    transcode(pair_.fromSession, scratch_, produced, &back, sizeof back, &backBytes);
    return back == codePoint ? produced : unmappable;
  }

  const RQTranscoderPair pair_;
  std::uint64_t known_[slots / 64] = {};
  Unit scratch_[room] = {};
  Answer answers_[slots];
};

}  // namespace rq

#endif
