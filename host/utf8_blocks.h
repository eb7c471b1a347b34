// UTF-8 in blocks: the fast paths of its codec, for text without errors.
#ifndef RQUNI_HOST_UTF8_BLOCKS_H
#define RQUNI_HOST_UTF8_BLOCKS_H

#include <cstddef>
#include <cstdint>

namespace rq::host {

/// Decoding in blocks needs this many bytes of input and as many characters of room.
inline constexpr std::size_t utf8DecodingMargin = 72;
/// Encoding in blocks needs so many characters and so many bytes of room.
inline constexpr std::size_t utf8EncodingMargin = 28, utf8EncodingRoom = 4 * utf8EncodingMargin;

/// The bytes of UTF-8 and the characters that were read and written.
struct Blocks {
  std::size_t bytes, characters;
};

/// Decodes blocks from the front of a text. Stops between two characters: before a block with an error, or when
/// either margin is no longer there. The room behind the characters may be overwritten.
using DecodeUtf8Blocks = Blocks(const std::uint8_t* input, std::size_t bytes, char32_t* output, std::size_t room);

DecodeUtf8Blocks decodeUtf8BlocksAvx2;

/// Encodes a text as far as its blocks fit, and nothing of a text shorter than the margin. When characters are left,
/// up to 12 bytes behind the output are overwritten: at least as many characters and their room are there to
/// overwrite them again.
using EncodeUtf8Blocks = Blocks(const char32_t* input, std::size_t characters, std::uint8_t* output,
                                std::size_t room);

EncodeUtf8Blocks encodeUtf8BlocksAvx2;

}  // namespace rq::host

#endif
