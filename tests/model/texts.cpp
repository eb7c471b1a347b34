#include "tests/model/texts.h"

#include <cstdio>
#include <cstring>

#include "tests/model/encodings.h"

namespace rq::test {

const char* nameOf(Flavour flavour) {
  return flavour == Flavour::plain ? "plain" : flavour == Flavour::served ? "served" : "wide";
}

const RQOperations& slotsOf(const RQInterface* object, Flavour flavour) {
  return flavour == Flavour::plain ? object->plain : flavour == Flavour::served ? object->served : object->wide;
}

std::vector<std::uint8_t> unitsOf(Flavour flavour, std::uint32_t session, std::u32string_view text) {
  if (flavour != Flavour::wide) return encoded(session, text);
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
  return {bytes, bytes + 4 * text.size()};
}

std::string shown(const std::vector<std::uint8_t>& units, Flavour flavour) {
  const std::size_t size = unitBytes(flavour);
  std::string text;
  for (std::size_t i = 0; i + size <= units.size(); i += size) {
    std::uint32_t c = units[i];
    if (size == 4) std::memcpy(&c, &units[i], 4);
    char piece[16];
    const bool printable = c >= 0x20 && c < 0x7F;
    std::snprintf(piece, sizeof piece, printable ? "%c" : "\\x{%X}", c);
    text += piece;
  }
  return text;
}

}  // namespace rq::test
