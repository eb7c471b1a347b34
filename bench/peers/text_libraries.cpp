#include "bench/peers/text_libraries.h"

#include <absl/strings/escaping.h>
#include <libxml/parserInternals.h>
#include <simdjson.h>
#include <unicode/ucnv.h>
#include <unicode/ucnv_err.h>

#include <cstring>
#include <string>
#include <vector>

namespace rq::bench {
namespace {

std::size_t icuEncode(std::string_view text, char* out, const char* style) {
  UErrorCode status = U_ZERO_ERROR;
  static UConverter* const from = ucnv_open("UTF-8", &status);
  static UConverter* const to = ucnv_open("US-ASCII", &status);
  ucnv_setFromUCallBack(to, UCNV_FROM_U_CALLBACK_ESCAPE, style, nullptr, nullptr, &status);
  const char* source = text.data();
  char* target = out;
  ucnv_convertEx(to, from, &target, out + 16 * text.size() + 64, &source, text.data() + text.size(), nullptr, nullptr,
                 nullptr, nullptr, true, true, &status);
  return U_SUCCESS(status) || status == U_STRING_NOT_TERMINATED_WARNING ? static_cast<std::size_t>(target - out) : 0;
}

}  // namespace

std::size_t libxmlDecodeReferences(std::string_view text, char* out) {
  static const xmlParserCtxtPtr context = xmlNewParserCtxt();
  xmlCtxtUseOptions(context, XML_PARSE_HUGE);
  xmlChar* const made = xmlStringLenDecodeEntities(context, reinterpret_cast<const xmlChar*>(text.data()),
                                                   static_cast<int>(text.size()), XML_SUBSTITUTE_REF, 0, 0, 0);
  if (!made) return 0;
  const std::size_t bytes = std::strlen(reinterpret_cast<char*>(made));
  std::memcpy(out, made, bytes);
  xmlFree(made);
  return bytes;
}

std::size_t icuEncodeReferences(std::string_view text, char* out) {
  return icuEncode(text, out, UCNV_ESCAPE_XML_DEC);
}
std::size_t icuEncodeEscapes(std::string_view text, char* out) {
  return icuEncode(text, out, UCNV_ESCAPE_JAVA);
}

std::size_t abslDecodeEscapes(std::string_view text, char* out) {
  static std::string made;
  if (!absl::CUnescape(absl::string_view(text.data(), text.size()), &made)) return 0;
  std::memcpy(out, made.data(), made.size());
  return made.size();
}

std::size_t simdjsonDecodeEscapes(std::string_view text, char* out) {
  static simdjson::ondemand::parser parser;
  static simdjson::padded_string document;
  static std::string_view of;
  if (of.data() != text.data() || of.size() != text.size()) {  // the padded document is made once for a text
    of = text;
    std::string quoted(1, '"');
    quoted.append(text).push_back('"');
    document = simdjson::padded_string(quoted);
  }
  simdjson::ondemand::document parsed;
  std::string_view made;
  if (parser.iterate(document).get(parsed) || parsed.get_string().get(made)) return 0;
  std::memcpy(out, made.data(), made.size());
  return made.size();
}

}  // namespace rq::bench
