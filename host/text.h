// Where things stand in a text, and what is wrong with it.
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

/// Offset in bytes from 0; lines and columns from 1, columns in characters. A byte that is no character counts as
/// one.
struct Position {
  std::uint64_t offset = 0, line = 1, column = 1;
};

/// Follows a text from front to back.
class PositionTracker {
 public:
  PositionTracker(const Codec& codec, Bytes text, Position start = {})
      : codec_(codec), text_(text), base_(start.offset), position_(start) {}
  /// The position of byte `offset` of the text, which must not lie before the last one asked for.
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
  Bytes bytes;             // of the text: the sequence in question
  char32_t character = 0;  // unmappable: the character
};

/// Nothing when all of `text` converts from `source` to `target`. `start` is the position of the text's first byte.
std::optional<Problem> findProblem(const Codec& source, const Codec& target, Bytes text, Position start = {});
/// "bytes C3 28 at offset 7, line 1, column 8, are not valid in UTF-8", for instance.
std::string describe(const Problem& problem, const Encoding& source, const Encoding& target);

/// "WHAT: it begins at offset 12, line 3", of a text that as a whole is in question.
std::string atBeginning(const Position& start, const std::string& what);

/// Hands a text's characters to `take`, piece by piece; false when the text is not valid to its end.
bool readCharacters(const Codec& codec, Bytes text, const std::function<void(std::span<const char32_t>)>& take);

/// One conversion into a buffer of its own, as large as needed; nothing when the text does not convert.
std::optional<std::string> convertAll(const Codec& source, const Codec& target, Bytes text);

}  // namespace rq::host

#endif
