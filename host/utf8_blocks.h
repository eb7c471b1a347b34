// UTF-8 in blocks: the fast path of its decoder, for text without errors.
#ifndef RQUNI_HOST_UTF8_BLOCKS_H
#define RQUNI_HOST_UTF8_BLOCKS_H

#include <cstddef>
#include <cstdint>

namespace rq::host {

/// Decoding in blocks needs this many bytes of input and as many characters of room.
inline constexpr std::size_t utf8BlockMargin = 72;

/// What was read and written.
struct Blocks {
  std::size_t bytes, characters;
};

/// Decodes blocks from the front of a text. Stops between two characters: before a block with an error, or when
/// either margin is no longer there. The room behind the characters may be overwritten.
using DecodeUtf8Blocks = Blocks(const std::uint8_t* input, std::size_t bytes, char32_t* output, std::size_t room);

DecodeUtf8Blocks decodeUtf8BlocksAvx2;

}  // namespace rq::host

#endif
