// The codecs' jobs done by libxml2, Gumbo, ICU, Abseil, simdjson, RapidJSON and the C library, session UTF-8. Each
// returns the bytes written, 0 when the library refuses the text. What does not run in a process is in peers/outside.
#pragma once

#include <cstddef>
#include <string_view>

namespace rq::bench {

std::size_t libxmlDecodeReferences(std::string_view text, char* out);
std::size_t libxmlEncodeReferences(std::string_view text, char* out);  // output converter to ASCII
std::size_t gumboDecodeReferences(std::string_view text, char* out);   // the text of the parsed document
std::size_t icuEncodeReferences(std::string_view text, char* out);     // converter with the XML_DEC callback
std::size_t icuEncodeEscapes(std::string_view text, char* out);        // converter with the JAVA callback
std::size_t abslDecodeEscapes(std::string_view text, char* out);
std::size_t icuDecodeEscapes(std::string_view text, char* out);  // UnicodeString::unescape
std::size_t simdjsonDecodeEscapes(std::string_view text, char* out);
std::size_t rapidjsonDecodeEscapes(std::string_view text, char* out);
std::size_t rapidjsonEncodeEscapes(std::string_view text, char* out);
std::size_t snprintfEncodeParens(std::string_view text, char* out);

}  // namespace rq::bench
