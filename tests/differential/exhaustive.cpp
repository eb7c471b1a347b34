#include "tests/differential/exhaustive.h"

#include <span>
#include <string_view>

namespace rq::test {
namespace {

template <std::size_t Count>
struct Alphabet {
  std::string_view operation;
  const char32_t* letters[Count];
};

constexpr Alphabet<6> pieces[] = {
    {"getNCR", {U"&", U"#", U"x", U";", U"4", U"a"}},
    {"getNCR", {U"&#", U"&#x", U";", U"D83D", U"DE00", U"\u00E9"}},
    {"putNCR", {U"<U00E9>", U"<", U"u", U">", U"\u00E9", U"\u0080"}},
    {"getUEsc", {U"\\", U"u", U"U", U"0", U"4", U"\u00E9"}},
    {"getUEsc", {U"\\u", U"D83D", U"DE00", U"0001", U"0", U"\\"}},
    {"putUEsc", {U"\\", U"u", U"U", U"a", U"\u00E9", U"\u007F"}},
    {"getUParen", {U"<", U"U", U">", U"0041", U"00E9", U"z"}},
    {"getUParenP", {U"<", U"u", U">", U"0041", U"00E9", U"0"}},
    {"putUParen", {U"<U", U"0041", U">", U"0", U"<", U"\u00E9"}},
    {"getUnicodeLength", {U"a", U" ", U"\u00E9", U"\t", U"  ", U"b"}},
    {"getUnicodeWidth", {U"a", U" ", U"\u00E9", U"\t", U"  ", U"b"}},
};

/// Four digits count as one letter where a notation needs them: `<U00E9>` then has four.
constexpr Alphabet<10> letters[] = {
    {"getNCR", {U"&", U"#", U"x", U";", U"0", U"4", U"9", U"F", U"d", U"\u00E9"}},
    {"putNCR", {U"<", U"U", U"u", U">", U"00E9", U"0041", U"4", U"&", U"\u00E9", U"\u0080"}},
    {"getUEsc", {U"\\", U"u", U"U", U"0", U"4", U"F", U"d", U"z", U"00E9", U"\u00E9"}},
    {"putUEsc", {U"\\", U"u", U"U", U"0", U"a", U"~", U"\u007F", U"\u0080", U"\u00E9", U"\u00FF"}},
    {"getUParen", {U"<", U"U", U"u", U">", U"0", U"4", U"F", U"z", U"00E9", U"\u00E9"}},
    {"getUParenP", {U"<", U"U", U"u", U">", U"0", U"4", U"F", U"z", U"00E9", U"\u00E9"}},
    {"putUParen", {U"<", U"U", U"u", U">", U"0041", U"00E9", U"0", U"4", U"\u00E9", U"\u0080"}},
    {"getUnicodeLength", {U" ", U"a", U"0", U"\t", U"<", U"~", U"\u007F", U"\u0080", U"\u00A0", U"\u00E9"}},
    {"getUnicodeWidth", {U" ", U"a", U"0", U"\t", U"<", U"~", U"\u007F", U"\u0080", U"\u00A0", U"\u00E9"}},
};

/// A session of each flavour, with the services that its digits use.
struct Setting {
  Flavour flavour;
  std::uint32_t encoding;
  MockHost::Services services;
};
constexpr Setting pieceSettings[] = {
    {Flavour::plain, latin1, {}}, {Flavour::served, utf8, {}}, {Flavour::wide, utf32, {}}};
constexpr Setting letterSettings[] = {{Flavour::plain, latin1, {}},
                                      {Flavour::served, utf8, {true, true, false}},
                                      {Flavour::wide, utf32, {true, false, false}}};

/// No capacity above this changes the result: a Get never makes a text longer, a Put makes up to 7 units of a
/// character, and of an ASCII character up to 2 in the notations that keep ASCII.
std::uint64_t maxCapacityOf(const Slot& slot, std::u32string_view text, std::uint64_t units) {
  if (slot.shape != Shape::codec) return 0;
  if (!slot.isPut()) return units + 1;
  const bool keepsAscii = std::string_view(slot.name) != "putUParen";
  std::uint64_t capacity = 1;
  for (const char32_t c : text) capacity += keepsAscii && c < 0x80 ? 2U : 7U;
  return capacity;
}

/// Calls `visit(text)` for all texts of 1 to `length` letters; false ends the visits.
template <class Visit>
bool forEachText(std::span<const char32_t* const> alphabet, unsigned length, Visit visit) {
  std::uint64_t texts = 1;
  for (unsigned count = 1; count <= length; ++count) {
    texts *= alphabet.size();
    for (std::uint64_t number = 0; number < texts; ++number) {
      std::u32string text;
      std::uint64_t rest = number;
      for (unsigned i = 0; i < count; ++i, rest /= alphabet.size()) text += alphabet[rest % alphabet.size()];
      if (!visit(text)) return false;
    }
  }
  return true;
}

/// `maxCapacity(slot, text, units)` bounds the capacities of a text.
template <std::size_t Count, class MaxCapacity>
void forEachCase(std::span<const Alphabet<Count>> alphabets, std::span<const Setting> settings, unsigned length,
                 MaxCapacity maxCapacity, const Check& check) {
  for (const Alphabet<Count>& alphabet : alphabets)
    for (const Slot& slot : allSlots())
      for (const Setting& setting : settings) {
        if (slot.name != alphabet.operation || slot.flavour != setting.flavour) continue;
        Case test;
        test.slot = &slot;
        test.encoding = setting.encoding;
        test.services = setting.services;
        const bool all = forEachText(alphabet.letters, length, [&](const std::u32string& text) {
          test.text = unitsOf(slot.flavour, setting.encoding, text);
          const std::uint64_t max = maxCapacity(slot, text, test.units());
          for (test.capacity = 0; test.capacity <= max; ++test.capacity)
            if (!check(test)) return false;
          return true;
        });
        if (!all) return;
      }
}

}  // namespace

void forEachTextOfPieces(unsigned length, std::uint64_t capacity, const Check& check) {
  const auto max = [=](const Slot& slot, std::u32string_view, std::uint64_t) {
    return slot.shape == Shape::codec ? capacity : 0;
  };
  forEachCase<6>(pieces, pieceSettings, length, max, check);
}

void forEachTextOfLetters(unsigned length, const Check& check) {
  forEachCase<10>(letters, letterSettings, length, maxCapacityOf, check);
}

}  // namespace rq::test
