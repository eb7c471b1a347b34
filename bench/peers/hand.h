// What a good engineer would write instead of calling a codec, session UTF-8: memchr and memcpy over the stretches, a
// loop over the digits. Each returns the bytes written and takes a well-formed text; the output must be large enough.
#pragma once

#include <cstddef>
#include <string_view>

namespace rq::bench::hand {

std::size_t decodeReferences(std::string_view text, char* out);
std::size_t decodeEscapes(std::string_view text, char* out);
std::size_t decodeParens(std::string_view text, char* out);
std::size_t encodeReferences(std::string_view text, char* out);
std::size_t encodeEscapes(std::string_view text, char* out);
std::size_t encodeParens(std::string_view text, char* out);

}  // namespace rq::bench::hand
