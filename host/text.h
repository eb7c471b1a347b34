// Positions in a text, and the first thing that is wrong with it.
#ifndef RQUNI_HOST_TEXT_H
#define RQUNI_HOST_TEXT_H

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>

#include "host/codec.h"
#include "host/encodings.h"

namespace rq::host {

/// Offsets count bytes from 0. Lines and columns count from 1, columns in characters; a bad sequence is one
/// character.
struct Position {
  std::uint64_t offset = 0, line = 1, column = 1;
};

/// Follows a text from front to back.
class PositionTracker {
 public:
  PositionTracker(const Codec& codec, Bytes text, Position start = {})
      : codec_(codec), text_(text), base_(start.offset), position_(start) {}
  /// The position of byte `offset` of the text. Offsets must not decrease from call to call.
  const Position& advanceTo(std::uint64_t offset);

 private:
  const Codec& codec_;
  const Bytes text_;
  const std::uint64_t base_;
  Position position_;
};

/// The first thing that keeps a text from being converted.
struct Problem {
  Outcome outcome;
  Position position;
  Bytes bytes;             // of the text: the bad sequence or the character
  char32_t character = 0;  // unmappable: the character
};

/// The first problem, or nothing when all of `text` converts. `start` is the position of its first byte.
std::optional<Problem> findProblem(const Codec& source, const Codec& target, Bytes text, Position start = {});
/// For instance "invalid bytes C3 at offset 7, line 1, column 8: not valid in UTF-8".
std::string describe(const Problem& problem, const Encoding& source, const Encoding& target);

/// For errors about a text as a whole: "WHAT: it begins at offset 12, line 3".
std::string atBeginning(const Position& start, const std::string& what);

/// Passes a text's characters to `take`, piece by piece. False when the text is not valid to its end.
bool readCharacters(const Codec& codec, Bytes text, const std::function<void(std::span<const char32_t>)>& take);

/// Converts the whole text; nothing when it does not convert.
std::optional<std::string> convertAll(const Codec& source, const Codec& target, Bytes text);

}  // namespace rq::host

#endif
