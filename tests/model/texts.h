/* Flavours, and texts in their units. */
#ifndef RQUNI_TESTS_MODEL_TEXTS_H
#define RQUNI_TESTS_MODEL_TEXTS_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "frame/rquni.h"

namespace rq::test {

enum class Flavour { plain, served, wide };
inline constexpr Flavour allFlavours[] = {Flavour::plain, Flavour::served, Flavour::wide};
const char* nameOf(Flavour flavour);
inline std::uint64_t unitBytes(Flavour flavour) {
  return flavour == Flavour::wide ? 4 : 1;
}
/// The object's slots of that flavour.
const RQOperations& slotsOf(const RQInterface* object, Flavour flavour);

/// `text` as the flavour's units in that session encoding: its bytes, or in the wide flavour the code points as they
/// are.
std::vector<std::uint8_t> unitsOf(Flavour flavour, std::uint32_t session, std::u32string_view text);

/// The units as printable ASCII; all others as \x{...}.
std::string shown(const std::vector<std::uint8_t>& units, Flavour flavour);

}  // namespace rq::test

#endif
