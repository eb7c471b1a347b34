/* Compares the library with its naive twin.
 *
 *   rq_differential random SEED SECONDS      random and grammar-made texts
 *   rq_differential all LENGTH CAPACITY      all texts of up to LENGTH pieces of a small alphabet for each notation,
 *                                            with all capacities up to CAPACITY
 *
 * Ends with 0 when there is no difference, 1 after the first twenty, 2 on wrong arguments. */
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "codecs/comparison.h"

namespace rq::test {
namespace {

using u32 = std::uint32_t;
using u64 = std::uint64_t;

/// xorshift64*: small, and the same everywhere.
class Random {
 public:
  explicit Random(u64 seed) : state_(seed * 0x9E3779B97F4A7C15 + 0x1234567) {}
  u64 next() {
    state_ ^= state_ >> 12;
    state_ ^= state_ << 25;
    state_ ^= state_ >> 27;
    return state_ * 0x2545F4914F6CDD1D >> 16;
  }
  u32 below(u32 limit) { return static_cast<u32>(next() % limit); }
  bool oneIn(u32 n) { return below(n) == 0; }

 private:
  u64 state_;
};

constexpr u32 narrowSessions[] = {latin1, ascii,    cyrillic,     doubleByte, shifted,
                                  utf8,   laxBytes, substituting, expanding};
constexpr u32 wideSessions[] = {utf32, utf32, laxUnits, laxUnits, latin1, utf8};

constexpr const char32_t* pieces[] = {U"&#",
                                      U"&#x",
                                      U"&",
                                      U"#",
                                      U"x",
                                      U"X",
                                      U";",
                                      U";",
                                      U"\\u",
                                      U"\\U",
                                      U"\\uu",
                                      U"\\uU",
                                      U"\\",
                                      U"u",
                                      U"U",
                                      U"<U",
                                      U"<u",
                                      U"<",
                                      U">",
                                      U">",
                                      U"D83D",
                                      U"DE00",
                                      U"d800",
                                      U"dfff",
                                      U"1F600",
                                      U"0001F600",
                                      U"0010FFFF",
                                      U"00030000",
                                      U"0041",
                                      U"00e9",
                                      U"00E9",
                                      U"65",
                                      U"233",
                                      U"128",
                                      U"55357",
                                      U"56832",
                                      U"1114111",
                                      U"1000000",
                                      U"4294967295",
                                      U"000000",
                                      U"0000",
                                      U"0",
                                      U"7",
                                      U"a",
                                      U"f",
                                      U"F",
                                      U"g",
                                      U"z",
                                      U" ",
                                      U"  ",
                                      U"&#65;",
                                      U"&#xD83D;&#xDE00;",
                                      U"&#55357;&#56832;",
                                      U"\\uD83D\\uDE00",
                                      U"<U0041>",
                                      U"<u00E9>",
                                      U"<U0001F600>",
                                      U"<U00E9>x",
                                      U"<U00zz>",
                                      U"&#x1D83D;",
                                      U"&#4;",
                                      U"&#;",
                                      U"\u007F",
                                      U"\u0080",
                                      U"\u0081",
                                      U"\u00E9",
                                      U"\u00FF",
                                      U"\u0410",
                                      U"\u03A9",
                                      U"\u3042",
                                      U"\u65E5",
                                      U"\uAC00",
                                      U"\uFF10",
                                      U"\uFF21",
                                      U"\uFF41",
                                      U"\U0001F600",
                                      U"\U0010FFFF",
                                      U"\U00020000",
                                      U"$",
                                      U"&#x4$;",
                                      U"\\u00$1",
                                      U"<U00$1>"};

u32 anyCharacter(Random& random) {
  switch (random.below(5)) {
    case 0:
      return random.below(0x80);
    case 1:
      return random.below(0x100);
    case 2:
      return random.below(0x10000);
    case 3:
      return random.below(0x110000);
    default:
      return static_cast<u32>(random.next());
  }
}

std::vector<u32> grammarText(Random& random) {
  std::vector<u32> text;
  const u32 count = 1 + random.below(random.oneIn(8) ? 40 : 8);
  for (u32 i = 0; i < count; ++i) {
    if (random.oneIn(6)) text.push_back(anyCharacter(random));
    for (const char32_t* piece = pieces[random.below(std::size(pieces))]; *piece; ++piece) text.push_back(*piece);
    if (random.oneIn(20) && text.size() > 1) text.pop_back();
  }
  if (random.oneIn(40)) {  // long enough for the thresholds of the working buffers
    const u32 length = 250 + random.below(12);
    const std::vector<u32> part = text;
    while (text.size() < length) text.insert(text.end(), part.begin(), part.end());
    text.resize(length);
  }
  return text;
}

// In a narrow session what cannot be held becomes any byte.
std::vector<std::uint8_t> unitsFor(const Setting& setting, const std::vector<u32>& text, Random& random) {
  std::vector<std::uint8_t> units;
  const Encoding& encoding = *encodingOf(setting.encoding);
  unsigned page = 0;
  for (const u32 c : text) {
    std::uint8_t bytes[8];
    std::size_t size = 4;
    if (setting.flavour == Flavour::wide)
      std::memcpy(bytes, &c, 4);
    else if ((size = encoding.write(c, encoding.lax, page, bytes)) == 0)
      bytes[size++] = static_cast<std::uint8_t>(random.next());
    units.insert(units.end(), bytes, bytes + size);
  }
  if (random.oneIn(10))
    units[random.below(static_cast<u32>(units.size()))] = static_cast<std::uint8_t>(random.next());
  return units;
}

Setting anySetting(Random& random) {
  Setting setting;
  setting.flavour = allFlavours[random.below(3)];
  setting.encoding = setting.flavour == Flavour::wide ? wideSessions[random.below(std::size(wideSessions))]
                                                      : narrowSessions[random.below(std::size(narrowSessions))];
  setting.services = {random.oneIn(2), random.oneIn(2), random.oneIn(2)};
  setting.refuseMemory = random.oneIn(20);
  setting.refuseConversions = random.oneIn(40);
  return setting;
}

u64 anyCapacity(Random& random, u64 units) {
  switch (random.below(4)) {
    case 0:
      return random.below(13);
    case 1:
      return units > 6 ? units - 6 + random.below(13) : random.below(13);
    case 2:
      return random.below(static_cast<u32>(4 * units + 16));
    default:
      return 12 * units + 64;
  }
}

int differences = 0;
bool goOn(bool same) {
  return same || ++differences < 20;
}

void compareRandomly(Comparison& compare, u64 seed, double seconds) {
  using Clock = std::chrono::steady_clock;
  const auto end = Clock::now() + std::chrono::duration<double>(seconds);
  Random random(seed);
  for (u64 round = 0; round % 64 != 0 || Clock::now() < end; ++round) {
    const Setting setting = anySetting(random);
    const auto units = unitsFor(setting, grammarText(random), random);
    const auto whole = units.size() / unitBytes(setting.flavour);
    for (unsigned operation = 0; operation < operationCount; ++operation)
      if (!goOn(compare(setting, operation, units, anyCapacity(random, whole)))) return;
  }
}

/// What the texts for one operation are made of.
struct Alphabet {
  unsigned operation;
  const char32_t* pieces[6];
};
constexpr Alphabet alphabets[] = {
    {0, {U"&", U"#", U"x", U";", U"4", U"a"}},
    {0, {U"&#", U"&#x", U";", U"D83D", U"DE00", U"\u00E9"}},
    {1, {U"<U00E9>", U"<", U"u", U">", U"\u00E9", U"\u0080"}},
    {2, {U"\\", U"u", U"U", U"0", U"4", U"\u00E9"}},
    {2, {U"\\u", U"D83D", U"DE00", U"0001", U"0", U"\\"}},
    {3, {U"\\", U"u", U"U", U"a", U"\u00E9", U"\u007F"}},
    {4, {U"<", U"U", U">", U"0041", U"00E9", U"z"}},
    {5, {U"<", U"u", U">", U"0041", U"00E9", U"0"}},
    {6, {U"<U", U"0041", U">", U"0", U"<", U"\u00E9"}},
    {7, {U"a", U" ", U"\u00E9", U"\t", U"  ", U"b"}},
    {8, {U"a", U" ", U"\u00E9", U"\t", U"  ", U"b"}},
};

void compareAll(Comparison& compare, unsigned length, u64 capacity) {
  for (const Alphabet& alphabet : alphabets)
    for (Flavour flavour : allFlavours) {
      Setting setting;
      setting.flavour = flavour;
      setting.encoding = flavour == Flavour::wide ? utf32 : flavour == Flavour::plain ? latin1 : utf8;
      u64 texts = 1;
      for (unsigned n = 1; n <= length; ++n) {
        texts *= 6;
        for (u64 number = 0; number < texts; ++number) {
          std::u32string text;
          u64 rest = number;
          for (unsigned i = 0; i < n; ++i, rest /= 6) text += alphabet.pieces[rest % 6];
          const auto units = unitsOf(flavour, setting.encoding, text);
          const u64 last = alphabet.operation < codecCount ? capacity : 0;
          for (u64 room = 0; room <= last; ++room)
            if (!goOn(compare(setting, alphabet.operation, units, room))) return;
        }
      }
    }
}

}  // namespace
}  // namespace rq::test

int main(int count, char** arguments) {
  using namespace rq::test;
  const bool all = count == 4 && std::strcmp(arguments[1], "all") == 0;
  if (!all && !(count == 4 && std::strcmp(arguments[1], "random") == 0)) {
    std::fprintf(stderr, "usage: rq_differential random SEED SECONDS | all LENGTH CAPACITY\n");
    return 2;
  }
  Comparison compare;
  if (all)
    compareAll(compare, static_cast<unsigned>(std::atoi(arguments[2])), std::strtoull(arguments[3], nullptr, 10));
  else
    compareRandomly(compare, std::strtoull(arguments[2], nullptr, 10), std::atof(arguments[3]));
  std::printf("%llu cases, %d differences\n", static_cast<unsigned long long>(compare.cases), differences);
  return differences != 0;
}
