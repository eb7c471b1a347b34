#include "tests/differential/exhaustive.h"

#include <string_view>

namespace rq::test {
namespace {

constexpr unsigned pieceCount = 6;

struct Alphabet {
  std::string_view operation;
  const char32_t* pieces[pieceCount];
};
constexpr Alphabet alphabets[] = {
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

std::u32string textOf(const Alphabet& alphabet, std::uint64_t number, unsigned pieces) {
  std::u32string text;
  for (; pieces > 0; --pieces, number /= pieceCount) text += alphabet.pieces[number % pieceCount];
  return text;
}

bool checkAllTexts(const Alphabet& alphabet, Case& test, unsigned length, std::uint64_t maxCapacity,
                   const std::function<bool(const Case&)>& check) {
  std::uint64_t texts = 1;
  for (unsigned pieces = 1; pieces <= length; ++pieces) {
    texts *= pieceCount;
    for (std::uint64_t number = 0; number < texts; ++number) {
      test.text = unitsOf(test.slot->flavour, test.encoding, textOf(alphabet, number, pieces));
      for (test.capacity = 0; test.capacity <= maxCapacity; ++test.capacity)
        if (!check(test)) return false;
    }
  }
  return true;
}

}  // namespace

void forEachShortText(unsigned length, std::uint64_t capacity, const std::function<bool(const Case&)>& check) {
  for (const Alphabet& alphabet : alphabets)
    for (const Slot& slot : allSlots()) {
      if (slot.name != alphabet.operation) continue;
      Case test;
      test.slot = &slot;
      test.encoding = slot.isWide() ? utf32 : slot.flavour == Flavour::plain ? latin1 : utf8;
      if (!checkAllTexts(alphabet, test, length, slot.shape == Shape::codec ? capacity : 0, check)) return;
    }
}

}  // namespace rq::test
