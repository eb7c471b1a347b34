// The codecs' jobs done by libxml2, ICU, Abseil and simdjson, session UTF-8. Each returns the bytes written, 0 when
// the library refuses the text. Tools that are not libraries (Python, Perl, Node) are left out: starting them would
// be measured as well.
#pragma once

#include <cstddef>
#include <string_view>

namespace rq::bench {

std::size_t libxmlDecodeReferences(std::string_view text, char* out);
std::size_t icuEncodeReferences(std::string_view text, char* out);  // converter with the XML_DEC callback
std::size_t icuEncodeEscapes(std::string_view text, char* out);     // converter with the JAVA callback
std::size_t abslDecodeEscapes(std::string_view text, char* out);
std::size_t simdjsonDecodeEscapes(std::string_view text, char* out);

}  // namespace rq::bench
