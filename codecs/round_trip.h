// Decoded code points as session text, where the session encoding has them.
#ifndef RQUNI_CODECS_ROUND_TRIP_H
#define RQUNI_CODECS_ROUND_TRIP_H

#include <cstdint>

#include "codecs/units.h"
#include "frame/interface.h"
#include "frame/internal/transcode.h"
#include "kit/work_buffer.h"

namespace rq {

/// A code point in the session encoding. `units` is null when the session has no such character: then the source text
/// stays.
template <class Unit>
struct Replacement {
  const Unit* units;
  std::uint64_t count;
};

/// A remembered answer of 1 to 8 bytes, or no bytes.
struct Remembered {
  std::uint64_t text;
  std::uint32_t bytes;
};

/// Turns code points into session text during one call of a decoder. Remembers answers, because asking the
/// transcoders dominates the cost of decoding, and text in one script uses a few dozen characters.
///
/// `room` is the capacity in units that the host is given for one character.
template <class Unit, std::uint64_t room>
class RoundTrips {
 public:
  explicit RoundTrips(RQInterface* object) : pair_(object->transcoders[RQ_FORM_UTF32_NATIVE]) {}

  /// Makes `remembered` ready, and forgets. Not done for every call, because it is too slow for short texts.
  void prepare() {
    if (isPrepared_) return;
    isPrepared_ = true;
    clear(filled_);
    clear(bytes_);
  }

  /// What is remembered of a code point. Call prepare() first.
  Remembered remembered(std::uint32_t codePoint) const {
    const std::uint32_t slot = codePoint % slots, bytes = bytes_[slot];
    if (bytes - 1 >= sizeof(std::uint64_t) || codePoints_[slot] != codePoint) return {0, 0};
    return {texts_[slot], bytes};
  }

  /// The result is valid until the next call.
  Replacement<Unit> of(std::uint32_t codePoint) {
    const std::uint32_t slot = codePoint % slots;
    const bool isFilled = (filled_[slot / 64] >> slot % 64 & 1) != 0;
    // NOLINTNEXTLINE(clang-analyzer-core.UndefinedBinaryOperatorResult): a filled slot has a code point
    if (!isFilled || codePoints_[slot] != codePoint) return learn(codePoint);
    const std::uint32_t bytes = bytes_[slot];
    if (bytes == unmappable) return {nullptr, 0};
    return {reinterpret_cast<const Unit*>(texts_ + slot), bytes / sizeof(Unit)};
  }

 private:
  static constexpr std::uint32_t slots = 256;
  static constexpr std::uint64_t unmappable = 0xFF;

  Replacement<Unit> learn(std::uint32_t codePoint) {
    const std::uint64_t bytes = ask(codePoint);
    const std::uint64_t count = bytes / sizeof(Unit);
    const std::uint32_t slot = codePoint % slots;
    if (bytes == unmappable || bytes <= sizeof(std::uint64_t)) {
      filled_[slot / 64] |= std::uint64_t{1} << slot % 64;
      bytes_[slot] = static_cast<std::uint8_t>(bytes);
      codePoints_[slot] = codePoint;
      texts_[slot] = load<std::uint64_t>(static_cast<const void*>(scratch_));
    }
    return {bytes != unmappable ? scratch_ : nullptr, count};
  }

  /// Converts to the session encoding and back. Only the values are compared: statuses and the length of the way back
  /// are ignored. Returns the number of bytes in scratch_, or unmappable.
  std::uint64_t ask(std::uint32_t codePoint) {
    asked_ = codePoint;
    back_ = 0;
    produced_ = sizeof scratch_;
    transcode(pair_.toSession, &asked_, sizeof asked_, scratch_, sizeof scratch_, &produced_);
    const std::uint64_t produced = produced_;
    if (produced > sizeof scratch_) return unmappable;
    produced_ = 0;
    transcode(pair_.fromSession, scratch_, produced, &back_, sizeof back_, &produced_);
    return back_ == codePoint ? produced : unmappable;
  }

  const RQTranscoderPair pair_;
  // What a transcoder reads and stores. Local variables would cost a stack canary for each question.
  RQChar asked_ = {}, back_ = {};
  std::uint64_t produced_ = {};
  Unit scratch_[room] = {};
  bool isPrepared_ = false;
  std::uint64_t filled_[slots / 64] = {};  // the slots with values in the arrays below
  std::uint8_t bytes_[slots];              // of the answer; 0 after prepare(), or unmappable
  std::uint32_t codePoints_[slots];
  std::uint64_t texts_[slots];
};

}  // namespace rq

#endif
