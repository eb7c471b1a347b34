// Encodings at work: bytes to characters and back, piece by piece. The tables of the host are built on this.
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
  malformed,    // bytes that the encoding does not use; lone surrogates count as such
  unmappable,   // a character without a place in the target encoding
  unavailable,  // the converter could not be opened in this thread
};

/// One piece of work. Counts bytes on the encoded side, characters on the other.
struct Step {
  std::size_t consumed;  // up to the character in question when the outcome is an error
  std::size_t produced;  // whole characters only
  Outcome outcome;
  std::size_t badBytes = 0;  // truncated, malformed: length of the sequence in question
};

/// An encoding's two directions. Codecs live as long as the process and are used by any number of threads at once;
/// what must be remembered between two pieces of one text is kept per thread, so one thread works on one text at a
/// time in each direction.
class Codec {
 public:
  /// No piece of characters may be larger.
  static constexpr std::size_t pieceCharacters = 1024;

  virtual ~Codec() = default;

  /// Decodes from the beginning of `input` (the text's whole rest) as many characters as fit; `first` starts a text.
  /// outputFull means: call again with the rest.
  virtual Step decode(Bytes input, std::span<char32_t> output, bool first) const = 0;
  /// Decodes one character, with exact positions.
  virtual Step decodeOne(Bytes input, char32_t& output, bool first) const;
  /// Encodes a piece of a text; `last` ends it, with whatever the encoding needs at its end.
  virtual Step encode(std::span<const char32_t> input, MutableBytes output, bool first, bool last) const = 0;

  /// True when a text's bytes cannot be cut between any two characters and read on from there.
  virtual bool stateful() const { return false; }
  /// False when encode() may leave part of a character behind or lack the text's end if it does not come to `done`.
  virtual bool cutsCleanly() const { return true; }
};

/// The codecs of the five Unicode forms that have identifiers fixed by the interface; null for other identifiers.
std::unique_ptr<Codec> makeUnicodeCodec(std::uint32_t encoding);
/// A table for a single-byte encoding of ICU; null when the encoding is of another kind.
std::unique_ptr<Codec> makeSingleByteCodec(const std::string& icuName);
/// Any encoding of ICU; null when it cannot be opened.
std::unique_ptr<Codec> makeIcuCodec(const std::string& icuName);

}  // namespace rq::host

#endif
