#include "bench/peers/hand.h"

#include <charconv>
#include <cstdint>
#include <cstring>

namespace rq::bench::hand {
namespace {

char* put(char* out, std::uint32_t c) {
  if (c < 0x80) return *out = static_cast<char>(c), out + 1;
  const int length = c < 0x800 ? 2 : c < 0x10000 ? 3 : 4;
  for (int i = length; --i > 0; c >>= 6) out[i] = static_cast<char>(0x80 | (c & 0x3F));
  *out = static_cast<char>(0xF00u >> length | c);
  return out + length;
}

std::uint32_t take(const char*& p) {
  std::uint32_t c = static_cast<unsigned char>(*p++);
  if (c < 0x80) return c;
  const int length = c >= 0xF0 ? 4 : c >= 0xE0 ? 3 : 2;
  c &= 0x7Fu >> length;
  for (int i = 1; i < length; ++i) c = c << 6 | (static_cast<unsigned char>(*p++) & 0x3Fu);
  return c;
}

/// Copies up to each `mark`; `notation(p, end, out)` decodes one there and moves both, or leaves them alone.
template <class Notation>
std::size_t decode(std::string_view text, char* const out, char mark, Notation notation) {
  const char* p = text.data();
  const char* const end = p + text.size();
  char* to = out;
  while (p < end) {
    const void* const hit = std::memchr(p, mark, static_cast<std::size_t>(end - p));
    const std::size_t plain = static_cast<std::size_t>((hit ? static_cast<const char*>(hit) : end) - p);
    std::memcpy(to, p, plain);
    p += plain;
    to += plain;
    if (p < end && !notation(p, end, to)) *to++ = *p++;
  }
  return static_cast<std::size_t>(to - out);
}

bool digits(const char*& p, const char* from, const char* to, char terminator, int base, char*& out) {
  std::uint32_t value = 0;
  const auto [stop, error] = std::from_chars(from, to, value, base);
  if (error != std::errc() || stop == to || *stop != terminator) return false;
  out = put(out, value);
  p = stop + 1;
  return true;
}

template <class Escape>
std::size_t encode(std::string_view text, char* const out, Escape escape) {
  char* to = out;
  for (const char* p = text.data(); p < text.data() + text.size();) to = escape(to, take(p));
  return static_cast<std::size_t>(to - out);
}

char* hexadecimal(char* out, std::uint32_t c) {
  for (int shift = c < 0x10000 ? 12 : 28; shift >= 0; shift -= 4) *out++ = "0123456789ABCDEF"[c >> shift & 15];
  return out;
}

}  // namespace

std::size_t decodeReferences(std::string_view text, char* out) {
  return decode(text, out, '&', [](const char*& p, const char* end, char*& to) {
    if (end - p < 4 || p[1] != '#') return false;
    return p[2] == 'x' ? digits(p, p + 3, end, ';', 16, to) : digits(p, p + 2, end, ';', 10, to);
  });
}

std::size_t decodeEscapes(std::string_view text, char* out) {
  return decode(text, out, '\\', [](const char*& p, const char* end, char*& to) {
    std::uint32_t value = 0;
    if (end - p < 6 || p[1] != 'u' || std::from_chars(p + 2, p + 6, value, 16).ptr != p + 6) return false;
    to = put(to, value);
    p += 6;
    return true;
  });
}

std::size_t decodeParens(std::string_view text, char* out) {
  return decode(text, out, '<', [](const char*& p, const char* end, char*& to) {
    return end - p >= 7 && (p[1] | 0x20) == 'u' && digits(p, p + 2, end, '>', 16, to);
  });
}

std::size_t encodeReferences(std::string_view text, char* out) {
  return encode(text, out, [](char* to, std::uint32_t c) {
    if (c < 0x80) return *to = static_cast<char>(c), to + 1;
    *to++ = '&';
    *to++ = '#';
    to = std::to_chars(to, to + 8, c).ptr;
    *to++ = ';';
    return to;
  });
}

std::size_t encodeEscapes(std::string_view text, char* out) {
  return encode(text, out, [](char* to, std::uint32_t c) {
    if (c < 0x7F) return *to = static_cast<char>(c), to + 1;
    *to++ = '\\';
    *to++ = 'u';
    return hexadecimal(to, c);
  });
}

std::size_t encodeParens(std::string_view text, char* out) {
  return encode(text, out, [](char* to, std::uint32_t c) {
    *to++ = '<';
    *to++ = 'u';
    to = hexadecimal(to, c);
    *to++ = '>';
    return to;
  });
}

}  // namespace rq::bench::hand
