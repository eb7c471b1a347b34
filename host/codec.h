// Converts between an encoding and characters, piece by piece. The host's tables are built on this.
#ifndef RQUNI_HOST_CODEC_H
#define RQUNI_HOST_CODEC_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace rq::host {

using Bytes = std::span<const std::byte>;
using MutableBytes = std::span<std::byte>;

/// How a conversion ended.
enum class Outcome {
  done,         // all input is converted
  outputFull,   // the next character does not fit
  truncated,    // the input ends inside a character
  malformed,    // bytes that the encoding does not use, or a lone surrogate
  unmappable,   // a character that the target encoding lacks
  unavailable,  // the converter could not be opened in this thread
};

/// What becomes of a character that an encoding lacks: an error, its reference `&#8364;`, or the encoding's own
/// substitution character.
enum class Unmappable { error, keep, substitute };

/// The result of one piece. Counts bytes on the encoded side, characters on the other.
struct Step {
  std::size_t consumed;  // after an error: up to the character that caused it
  std::size_t produced;  // whole characters only
  Outcome outcome;
  std::size_t badBytes = 0;  // truncated, malformed: length of the bad sequence
};

/// Both directions of an encoding. Codecs live as long as the process, and any number of threads may use one at once.
/// State between two pieces of a text is kept per thread: a thread works on one text at a time in each direction.
class Codec {
 public:
  /// The largest piece of characters.
  static constexpr std::size_t pieceCharacters = 1024;

  virtual ~Codec() = default;

  /// Decodes characters from the front of `input`, which is all that remains of the text; `first` starts a text.
  /// After outputFull, which comes when half of the output is filled at the earliest, call again with the rest.
  virtual Step decode(Bytes input, std::span<char32_t> output, bool first) const = 0;
  /// decode() that fills the output before it answers outputFull.
  Step decodeFully(Bytes input, std::span<char32_t> output, bool first) const;
  /// Decodes one character, with exact positions.
  virtual Step decodeOne(Bytes input, char32_t& output, bool first) const;
  /// Encodes a piece of a text. `last` ends the text, with whatever the encoding writes at its end.
  virtual Step encode(std::span<const char32_t> input, MutableBytes output, bool first, bool last) const = 0;

  /// True when decoding cannot start between any two characters of a text.
  virtual bool stateful() const { return false; }
  /// False when encode(), unless it is `done`, may have written part of a character or no end of the text.
  virtual bool cutsCleanly() const { return true; }
};

/// The codec of a Unicode form, whose identifier the interface fixes; null for other identifiers.
std::unique_ptr<Codec> makeUnicodeCodec(std::uint32_t encoding);
/// A table for a single-byte encoding of ICU; null for other encodings.
std::unique_ptr<Codec> makeSingleByteCodec(const std::string& icuName);
/// Any encoding of ICU; null when it cannot be opened.
std::unique_ptr<Codec> makeIcuCodec(const std::string& icuName);

}  // namespace rq::host

#endif
