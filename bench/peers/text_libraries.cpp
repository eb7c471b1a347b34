#include "bench/peers/text_libraries.h"

#include <absl/strings/escaping.h>
#include <gumbo.h>
#include <libxml/encoding.h>
#include <libxml/parserInternals.h>
#include <simdjson.h>
#include <unicode/bytestream.h>
#include <unicode/ucnv.h>
#include <unicode/ucnv_err.h>
#include <unicode/unistr.h>

#include <cstdio>
#include <cstring>
#include <cwchar>
#include <string>

#define RAPIDJSON_SSE2
#include <rapidjson/reader.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

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

/// The text as a JSON document, made once for a text.
const std::string& quoted(std::string_view text) {
  static std::string document;
  static std::string_view of;
  if (of.data() != text.data() || of.size() != text.size()) {
    of = text;
    document.assign(1, '"').append(text).push_back('"');
  }
  return document;
}

std::size_t textBelow(const GumboNode* node, char* out) {
  if (node->type == GUMBO_NODE_TEXT || node->type == GUMBO_NODE_WHITESPACE) {
    const std::size_t bytes = std::strlen(node->v.text.text);
    std::memcpy(out, node->v.text.text, bytes);
    return bytes;
  }
  std::size_t bytes = 0;
  if (node->type == GUMBO_NODE_ELEMENT)
    for (unsigned i = 0; i < node->v.element.children.length; ++i)
      bytes += textBelow(static_cast<const GumboNode*>(node->v.element.children.data[i]), out + bytes);
  return bytes;
}

struct JsonText : rapidjson::BaseReaderHandler<rapidjson::UTF8<>, JsonText> {
  explicit JsonText(char* to) : out(to) {}
  bool String(const char* text, rapidjson::SizeType length, bool) {
    std::memcpy(out, text, length);
    bytes = length;
    return true;
  }
  char* out;
  std::size_t bytes = 0;
};

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

std::size_t libxmlEncodeReferences(std::string_view text, char* out) {
  static xmlCharEncodingHandlerPtr const ascii = xmlFindCharEncodingHandler("US-ASCII");
  const xmlBufferPtr from = xmlBufferCreateStatic(const_cast<char*>(text.data()), text.size());
  const xmlBufferPtr to = xmlBufferCreateSize(2 * text.size());
  std::size_t bytes = 0;
  if (xmlCharEncOutFunc(ascii, to, from) >= 0) {
    bytes = static_cast<std::size_t>(xmlBufferLength(to));
    std::memcpy(out, xmlBufferContent(to), bytes);
  }
  xmlBufferFree(from);
  xmlBufferFree(to);
  return bytes;
}

std::size_t gumboDecodeReferences(std::string_view text, char* out) {
  GumboOptions options = kGumboDefaultOptions;
  options.max_errors = 0;
  GumboOutput* const parsed = gumbo_parse_with_options(&options, text.data(), text.size());
  const std::size_t bytes = textBelow(parsed->root, out);
  gumbo_destroy_output(&options, parsed);
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
  if (of.data() != text.data() || of.size() != text.size()) {  // padded once for a text
    of = text;
    document = simdjson::padded_string(quoted(text));
  }
  simdjson::ondemand::document parsed;
  std::string_view made;
  if (parser.iterate(document).get(parsed) || parsed.get_string().get(made)) return 0;
  std::memcpy(out, made.data(), made.size());
  return made.size();
}

std::size_t icuDecodeEscapes(std::string_view text, char* out) {
  const icu::StringPiece piece(text.data(), static_cast<std::int32_t>(text.size()));
  icu::CheckedArrayByteSink sink(out, static_cast<std::int32_t>(4 * text.size()));
  icu::UnicodeString::fromUTF8(piece).unescape().toUTF8(sink);
  return static_cast<std::size_t>(sink.NumberOfBytesWritten());
}

std::size_t rapidjsonDecodeEscapes(std::string_view text, char* out) {
  rapidjson::StringStream document(quoted(text).c_str());
  rapidjson::Reader reader;
  JsonText made(out);
  return reader.Parse(document, made) ? made.bytes : 0;
}

std::size_t rapidjsonEncodeEscapes(std::string_view text, char* out) {
  static rapidjson::StringBuffer made;
  made.Clear();
  rapidjson::Writer<rapidjson::StringBuffer, rapidjson::UTF8<>, rapidjson::ASCII<>> writer(made);
  writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
  const std::size_t bytes = made.GetSize() - 2;
  std::memcpy(out, made.GetString() + 1, bytes);
  return bytes;
}

std::size_t snprintfEncodeParens(std::string_view text, char* out) {
  char* to = out;
  std::mbstate_t state{};
  for (const char* p = text.data(); p < text.data() + text.size();) {
    wchar_t c = 0;
    const std::size_t taken = std::mbrtowc(&c, p, static_cast<std::size_t>(text.data() + text.size() - p), &state);
    if (taken == 0 || taken > 4) return 0;
    to += std::snprintf(to, 16, "<u%04X>", static_cast<unsigned>(c));
    p += taken;
  }
  return static_cast<std::size_t>(to - out);
}

}  // namespace rq::bench
