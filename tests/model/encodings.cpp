#include "tests/model/encodings.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace rq::test {
namespace {

using Byte = std::uint8_t;

constexpr bool isScalar(std::uint32_t c) {
  return c < 0xD800 || (c > 0xDFFF && c <= 0x10FFFF);
}
constexpr Byte low(std::uint32_t c) {
  return static_cast<Byte>(c & 0xFF);
}

void one(Characters& to, std::uint32_t c) {
  to.at[0] = c;
  to.count = 1;
}

template <std::uint32_t Limit>
std::size_t readNarrow(const Byte* in, std::size_t, bool, unsigned&, Characters& to) {
  if (in[0] >= Limit) return 0;
  one(to, in[0]);
  return 1;
}

template <std::uint32_t Limit>
std::size_t writeNarrow(std::uint32_t c, bool, unsigned&, Byte* out) {
  if (c >= Limit) return 0;
  out[0] = low(c);
  return 1;
}

std::size_t writeSubstituting(std::uint32_t c, bool, unsigned&, Byte* out) {
  out[0] = c < 0x100 ? low(c) : Byte{'?'};
  return 1;
}

std::size_t readExpanding(const Byte* in, std::size_t, bool, unsigned&, Characters& to) {
  one(to, in[0]);
  if (in[0] != 0xFE) return 1;
  constexpr char32_t notation[] = U"<U00E9>";
  for (to.count = 0; to.count < 7; ++to.count) to.at[to.count] = notation[to.count];
  return 1;
}

std::size_t readCyrillic(const Byte* in, std::size_t, bool, unsigned&, Characters& to) {
  if (in[0] >= 0xE0) return 0;
  one(to, in[0] < 0x80 ? in[0] : 0x400U + in[0] - 0x80U);
  return 1;
}

std::size_t writeCyrillic(std::uint32_t c, bool, unsigned&, Byte* out) {
  if (c >= 0x80 && (c < 0x400 || c > 0x45F)) return 0;
  out[0] = low(c < 0x80 ? c : c - 0x400 + 0x80);
  return 1;
}

// Lead bytes 0x81 to 0xFE, trail bytes 0x21 to 0xFE: 126 x 222 characters from U+3000 up.
constexpr std::uint32_t leads = 126, trails = 222;

std::size_t readDoubleByte(const Byte* in, std::size_t bytes, bool, unsigned&, Characters& to) {
  if (in[0] < 0x80) return one(to, in[0]), 1;
  if (in[0] == 0x80 || in[0] == 0xFF || bytes < 2 || in[1] < 0x21 || in[1] == 0xFF) return 0;
  one(to, 0x3000U + (in[0] - 0x81U) * trails + (in[1] - 0x21U));
  return 2;
}

std::size_t writeDoubleByte(std::uint32_t c, bool, unsigned&, Byte* out) {
  if (c < 0x80) return out[0] = low(c), 1;
  if (c < 0x3000 || c - 0x3000 >= leads * trails) return 0;
  out[0] = low(0x81 + (c - 0x3000) / trails);
  out[1] = low(0x21 + (c - 0x3000) % trails);
  return 2;
}

constexpr Byte shiftOut = 0x0E, shiftIn = 0x0F;

std::size_t readShifted(const Byte* in, std::size_t, bool, unsigned& page, Characters& to) {
  to.count = 0;
  if (in[0] == shiftOut || in[0] == shiftIn) return page = in[0] == shiftOut, 1;
  if (in[0] >= 0x80 || (page && (in[0] < 0x21 || in[0] > 0x7E))) return 0;
  one(to, page ? 0x370U + in[0] - 0x21U : in[0]);
  return 1;
}

std::size_t writeShifted(std::uint32_t c, bool, unsigned& page, Byte* out) {
  const bool greek = c >= 0x370 && c <= 0x370 + 0x7E - 0x21;
  if (!greek && (c >= 0x80 || c == shiftOut || c == shiftIn)) return 0;
  std::size_t n = 0;
  if (greek != (page != 0)) out[n++] = greek ? shiftOut : shiftIn;
  page = greek;
  out[n++] = low(greek ? c - 0x370 + 0x21 : c);
  return n;
}

// Lead byte prefixes by length; 7 bytes (0xFE) reach 36 bits.
std::size_t readUtf8(const Byte* in, std::size_t bytes, bool lax, unsigned&, Characters& to) {
  if (in[0] < 0x80) return one(to, in[0]), 1;
  std::size_t length = 0;
  while (length < 8 && (in[0] & (0x80U >> length))) ++length;
  if (length < 2 || length > 7 || length > bytes) return 0;
  std::uint64_t c = in[0] & (0x7FU >> length);
  for (std::size_t i = 1; i < length; ++i) {
    if ((in[i] & 0xC0) != 0x80) return 0;
    c = c << 6 | (in[i] & 0x3FU);
  }
  constexpr std::uint64_t least[] = {0, 0, 0x80, 0x800, 0x10000, 0x200000, 0x4000000, 0x80000000};
  if (c < least[length] || c > 0xFFFFFFFF || (!lax && !isScalar(static_cast<std::uint32_t>(c)))) return 0;
  one(to, static_cast<std::uint32_t>(c));
  return length;
}

std::size_t writeUtf8(std::uint32_t c, bool lax, unsigned&, Byte* out) {
  if (!lax && !isScalar(c)) return 0;
  if (c < 0x80) return out[0] = low(c), 1;
  const std::size_t length = c < 0x800        ? 2
                             : c < 0x10000    ? 3
                             : c < 0x200000   ? 4
                             : c < 0x4000000  ? 5
                             : c < 0x80000000 ? 6
                                              : 7;
  std::uint64_t rest = c;
  for (std::size_t i = length - 1; i > 0; --i, rest >>= 6) out[i] = low(0x80U | (rest & 0x3F));
  out[0] = low(static_cast<std::uint32_t>((0xFF00U >> length & 0xFF) | rest));
  return length;
}

template <bool Big>
std::uint32_t readUnit16(const Byte* in) {
  return Big ? in[0] * 256U + in[1] : in[1] * 256U + in[0];
}

template <bool Big>
std::size_t readUtf16(const Byte* in, std::size_t bytes, bool lax, unsigned&, Characters& to) {
  if (bytes < 2) return 0;
  const std::uint32_t first = readUnit16<Big>(in);
  one(to, first);
  if (first < 0xD800 || first > 0xDFFF) return 2;
  const std::uint32_t second = bytes < 4 ? 0 : readUnit16<Big>(in + 2);
  if (first > 0xDBFF || second < 0xDC00 || second > 0xDFFF) return lax ? 2 : 0;
  one(to, 0x10000 + ((first & 0x3FF) << 10 | (second & 0x3FF)));
  return 4;
}

template <bool Big>
std::size_t writeUtf16(std::uint32_t c, bool lax, unsigned&, Byte* out) {
  if (c > 0x10FFFF || (!lax && !isScalar(c))) return 0;
  std::uint32_t units[2] = {c, 0};
  if (c > 0xFFFF) units[0] = 0xD800 + ((c - 0x10000) >> 10), units[1] = 0xDC00 + (c & 0x3FF);
  const std::size_t count = c > 0xFFFF ? 2 : 1;
  for (std::size_t i = 0; i < count; ++i) {
    out[2 * i + (Big ? 0 : 1)] = low(units[i] >> 8);
    out[2 * i + (Big ? 1 : 0)] = low(units[i]);
  }
  return 2 * count;
}

template <bool Big>
std::size_t readUtf32(const Byte* in, std::size_t bytes, bool lax, unsigned&, Characters& to) {
  if (bytes < 4) return 0;
  std::uint32_t c = 0;
  for (unsigned i = 0; i < 4; ++i) c = c << 8 | in[Big ? i : 3 - i];
  one(to, c);
  return lax || isScalar(c) ? 4 : 0;
}

template <bool Big>
std::size_t writeUtf32(std::uint32_t c, bool lax, unsigned&, Byte* out) {
  if (!lax && !isScalar(c)) return 0;
  for (unsigned i = 0; i < 4; ++i) out[Big ? 3 - i : i] = low(c >> (8 * i));
  return 4;
}

std::size_t readExpandingUnits(const Byte* in, std::size_t bytes, bool lax, unsigned& page, Characters& to) {
  if (readUtf32<false>(in, bytes, lax, page, to) == 0) return 0;
  if (to.at[0] == 0xFE) readExpanding(in, 1, lax, page, to);
  return 4;
}

constexpr Encoding encodings[] = {
    {utf8, "UTF-8", false, readUtf8, writeUtf8},
    {utf16Big, "UTF-16BE", false, readUtf16<true>, writeUtf16<true>},
    {utf16Little, "UTF-16LE", false, readUtf16<false>, writeUtf16<false>},
    {utf32Big, "UTF-32BE", false, readUtf32<true>, writeUtf32<true>},
    {utf32, "UTF-32LE", false, readUtf32<false>, writeUtf32<false>},
    {latin1, "Latin-1", false, readNarrow<0x100>, writeNarrow<0x100>},
    {ascii, "ASCII", false, readNarrow<0x80>, writeNarrow<0x80>},
    {cyrillic, "Cyrillic", false, readCyrillic, writeCyrillic},
    {doubleByte, "double-byte", false, readDoubleByte, writeDoubleByte},
    {shifted, "shifted", false, readShifted, writeShifted},
    {laxBytes, "lax bytes", true, readUtf8, writeUtf8},
    {laxUnits, "lax units", true, readUtf32<false>, writeUtf32<false>},
    {substituting, "substituting", false, readNarrow<0x100>, writeSubstituting},
    {expanding, "expanding", false, readExpanding, writeNarrow<0x100>},
    {expandingUnits, "expanding units", false, readExpandingUnits, writeUtf32<false>},
};

}  // namespace

const Encoding* encodingOf(std::uint64_t id) {
  for (const Encoding& encoding : encodings)
    if (encoding.id == id) return &encoding;
  return nullptr;
}

Conversion convert(const Encoding& from, const Encoding& to, const Byte* in, std::uint64_t bytes, Byte* out,
                   std::uint64_t capacity) {
  const bool lax = from.lax || to.lax;
  unsigned readPage = 0, writePage = 0;
  std::uint64_t produced = 0;
  // Room that a conversion needs to end shifted in.
  const auto tail = [&](unsigned page) -> std::uint64_t { return to.id == shifted && page ? 1 : 0; };
  const auto ended = [&](std::uint32_t status) {
    if (tail(writePage)) out[produced++] = shiftIn;
    return Conversion{status, produced};
  };
  for (std::uint64_t used = 0; used < bytes;) {
    Characters characters;
    const std::size_t length = from.read(in + used, bytes - used, lax, readPage, characters);
    if (length == 0) return ended(malformed);
    for (unsigned i = 0; i < characters.count; ++i) {
      Byte sequence[8];
      unsigned page = writePage;
      const std::size_t size = to.write(characters.at[i], lax, page, sequence);
      if (size == 0) return ended(unmappable);
      if (size + tail(page) > capacity - produced) return ended(outputFull);
      std::memcpy(out + produced, sequence, size);
      produced += size;
      writePage = page;
    }
    used += length;
  }
  return ended(0);
}

std::vector<Byte> encoded(std::uint32_t id, std::u32string_view text) {
  const Encoding& to = *encodingOf(id);
  Encoding from = *encodingOf(utf32);
  from.lax = to.lax;
  std::vector<Byte> out(8 * text.size() + 8);
  const Conversion done =
      convert(from, to, reinterpret_cast<const Byte*>(text.data()), 4 * text.size(), out.data(), out.size());
  if (done.status != 0) {
    std::fprintf(stderr, "a test's text does not fit the encoding %s\n", to.name);
    std::abort();
  }
  out.resize(done.produced);
  return out;
}

}  // namespace rq::test
