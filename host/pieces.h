// Long texts in pieces: where a text may be cut, and conversions that go on from one piece to the next.
#ifndef RQUNI_HOST_PIECES_H
#define RQUNI_HOST_PIECES_H

#include <bitset>
#include <vector>

#include "host/encodings.h"
#include "host/icu.h"
#include "host/result.h"
#include "host/text.h"

namespace rq::host {

/// The length of the longest beginning of `text` that ends with a whole character, so that the rest can be read as a
/// text of its own. Not for stateful encodings. Text that is not valid counts as characters.
std::size_t wholeCharacters(const Encoding& encoding, Bytes text);

/// The length of the longest beginning of `text` that is a multiple of Codec::pieceCharacters characters.
std::size_t wholeBlocks(const Encoding& encoding, Bytes text);

/// True when the bytes of an encoding's converter depend on where its calls begin and end. The host calls encoders
/// with blocks of Codec::pieceCharacters, so such a text has the same bytes only when it is cut between these.
bool writesInBlocks(const Encoding& encoding);

/// The position behind valid text that begins at `start`. In stateful encodings its offset alone is right.
Position positionBehind(const Encoding& encoding, Bytes text, Position start);

/// The number of blanks, U+0020, at the end of a text. Not for stateful encodings.
std::uint64_t blanksAtEnd(const Encoding& encoding, Bytes text);

/// The bytes below 0x80 that are the ASCII characters of their numbers.
std::bitset<0x80> asciiBytes(const Codec& codec);
/// True when all of them are.
bool isAsciiCompatible(const Codec& codec);

/// Reads one text in an encoding of ICU, piece by piece. Pieces may end anywhere, inside a character or between two
/// shift sequences.
class CharacterReader {
 public:
  static Result<CharacterReader> open(const Encoding& encoding);
  /// The characters of the next piece, as UTF-32 of this machine. They stay valid until the next call. `last` ends
  /// the text.
  Result<Bytes> read(Bytes piece, bool last);

 private:
  CharacterReader(const Encoding& encoding, Converter converter)
      : encoding_(&encoding), converter_(std::move(converter)) {}
  Done take(std::u16string_view units);
  Error problem(bool truncated, const std::string& bytes) const;

  const Encoding* encoding_;
  Converter converter_;
  std::vector<char32_t> characters_;
  char16_t lead_ = 0;         // of a surrogate pair that the next unit completes
  Position position_;         // behind the characters read; its offset is not kept
  std::uint64_t offset_ = 0;  // bytes handed to the converter
};

/// Writes one text in an encoding of ICU, piece by piece.
class CharacterWriter {
 public:
  static Result<CharacterWriter> open(const Encoding& encoding, Unmappable unmappable = Unmappable::error);
  /// The bytes of the next characters, UTF-32 of this machine, or nothing when the encoding lacks one of them and it
  /// is not to be replaced. They stay valid until the next call. `last` ends the text.
  std::optional<Bytes> write(Bytes characters, bool last);

 private:
  explicit CharacterWriter(Converter converter) : converter_(std::move(converter)) {}

  Converter converter_;
  std::vector<std::byte> bytes_;
  bool begun_ = false;
};

}  // namespace rq::host

#endif
