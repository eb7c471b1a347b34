// The 69 slots as families: codecs by notation, transforms, measures. Here a case gets its slot, session, services,
// failures, places, capacity and text; checkCase compares.
#include <algorithm>
#include <array>
#include <string_view>

#include "tests/differential/comparison.h"
#include "tests/differential/family.h"
#include "tests/model/calls.h"

namespace rq::test {
namespace {

constexpr std::uint32_t sessions[] = {utf8,     utf16Big,   utf16Little, utf32Big, utf32,    latin1,       ascii,
                                      cyrillic, doubleByte, shifted,     laxBytes, laxUnits, substituting, expanding};
constexpr std::uint32_t narrowSessions[] = {latin1, ascii,    cyrillic,     doubleByte, shifted,
                                            utf8,   laxBytes, substituting, expanding};

/// What texts are made of, a piece a line.
constexpr std::u32string_view grammar =
    U"&#\n&#x\n&\n#\nx\nX\n;\n;\n\\u\n\\U\n\\uu\n\\uU\n\\\nu\nU\n<U\n<u\n<\n>\n>\n"
    U"D83D\nDE00\nd800\ndfff\n1F600\n0001F600\n0010FFFF\n00030000\n0041\n00e9\n00E9\n"
    U"65\n233\n128\n55357\n56832\n1114111\n1000000\n4294967295\n000000\n0000\n0\n7\na\nf\nF\ng\nz\n \n  \n"
    U"&#65;\n&#xD83D;&#xDE00;\n&#55357;&#56832;\n\\uD83D\\uDE00\n<U0041>\n<u00E9>\n<U0001F600>\n<U00E9>x\n<U00zz>x\n"
    U"&#x1D83D;\n&#4;\n&#;\n$\n&#x4$;\n\\u00$1\n<U00$1>\n\u3042\n\uFF10\n\uFF21\n\uFF41\n\U0001F600\n\u00E9\n\u0080";

std::vector<std::u32string_view> piecesOf(std::u32string_view text) {
  std::vector<std::u32string_view> pieces;
  for (std::size_t end; (end = text.find(U'\n')) != text.npos; text.remove_prefix(end + 1))
    pieces.push_back(text.substr(0, end));
  pieces.push_back(text);
  return pieces;
}

/// ASCII as it is; above it the characters at and around every limit that the library knows.
RQChar characterOf(std::uint8_t byte) {
  constexpr RQChar limits[] = {
      0x7F,     0x80,     0x81,       0xE9,       0xFF,       0x100,      0x3A9,     0x416,   0x2FFF,  0x3000,
      0x303F,   0x3042,   0x33FF,     0x3400,     0x4DFF,     0x4E00,     0x9FFF,    0xA000,  0xABFF,  0xAC00,
      0xD7AF,   0xD7B0,   0xD7FF,     0xD800,     0xDBFF,     0xDC00,     0xDFFF,    0xE000,  0xF8FF,  0xF900,
      0xFAFF,   0xFB00,   0xFF01,     0xFF10,     0xFF21,     0xFF41,     0xFF5E,    0xFF5F,  0xFFE0,  0xFFE6,
      0xFFE7,   0xFFFF,   0x10000,    0x1D800,    0x1DC00,    0x1F600,    0x1FFFF,   0x20000, 0x2A6DF, 0x2A6E0,
      0x2A700,  0x2B81F,  0x2F800,    0x2FA1F,    0x2FA20,    0x30000,    0xE0001,   0xF423F, 0xF4240, 0xFFFFF,
      0x10FFFF, 0x110000, 0x7FFFFFFF, 0x80000000, 0x8000003C, 0xFFFFEEEF, 0xFFFFFFFF};
  return byte < 0x80 ? byte : limits[(byte - 0x80U) % std::size(limits)];
}

/// Text in the units of a slot's input.
class Writer {
 public:
  explicit Writer(Case& test)
      : test_(test),
        encoding_(*encodingOf(test.slot->takesUnicodeForm() ? unicodeFormOf(*test.slot) : test.encoding)),
        wide_(test.slot->inputUnit() == 4) {
    test.text.clear();
  }
  /// What the encoding cannot hold becomes some byte.
  void put(RQChar c) {
    if (c == '\\') c = test_.escape;
    if (c == '#') c = test_.reference;
    std::uint8_t bytes[8];
    std::size_t size = sizeof c;
    if (wide_)
      std::memcpy(bytes, &c, sizeof c);
    else if ((size = encoding_.write(c, encoding_.lax, shiftState_, bytes)) == 0)
      bytes[size++] = static_cast<std::uint8_t>(c ^ c >> 8);
    test_.text.insert(test_.text.end(), bytes, bytes + size);
  }

 private:
  Case& test_;
  const Encoding& encoding_;
  bool wide_;
  unsigned shiftState_ = 0;
};

/// The text that `bytes` stand for: themselves, a character each, or a piece of the grammar or a character each.
void write(unsigned how, const std::vector<std::uint8_t>& bytes, Case& test) {
  static const std::vector<std::u32string_view> pieces = piecesOf(grammar);
  Writer writer(test);
  if (how == 0) {
    test.text = bytes;
  } else if (how == 1) {
    for (const std::uint8_t byte : bytes) writer.put(characterOf(byte));
  } else {
    for (const std::uint8_t byte : bytes) {
      if (byte >= 0xD0) writer.put(characterOf(byte));
      if (byte < 0xE0)
        for (const char32_t c : pieces[byte % pieces.size()]) writer.put(c);
    }
  }
}

void repeatUpTo(std::vector<std::uint8_t>& text, std::size_t size) {
  const std::vector<std::uint8_t> once = text;
  while (!once.empty() && text.size() < size) text.insert(text.end(), once.begin(), once.end());
  text.resize(std::min(text.size(), size));
}

std::uint64_t capacityOf(unsigned kind, std::uint32_t room, std::uint64_t units) {
  switch (kind % 4) {
    case 0:
      return room % 13;
    case 1:
      return units > 6 ? units - 6 + room % 13 : room % 13;
    case 2:
      return room % (4 * units + 16);
    default:
      return 12 * units + 16;
  }
}

/// What the object holds as its escape characters: what it was made with, or, in the flavour that reads them, any
/// other.
void decideEscapes(unsigned choice, Case& test) {
  constexpr std::uint8_t others[] = {'a', 'F', '0', '9', 'u', 'U', 'x', 'X', ';', '&', '<', '>', ' ', '\n', 0, 0xFF};
  const bool made = choice < 0xC0 || test.slot->flavour != Flavour::plain;
  test.escape = made ? '\\' : others[choice % std::size(others)];
  test.reference = made ? '#' : others[choice / 4 % std::size(others)];
}

/// What the host offers and which of its calls fail: in three of four cases none.
void decideHost(Choices& choices, Case& test) {
  const unsigned services = choices.byte(), behaviour = choices.byte(), which = choices.byte();
  test.services = {(services & 1) != 0, (services & 2) != 0, (services & 4) != 0};
  test.pad = (services & 8) != 0;
  test.convertStatus = services >= 0xE0 ? 0x805F1234 : 0;
  const std::uint64_t nth = 1 + behaviour / 16;
  decideEscapes(which, test);
  switch (behaviour % 16) {
    case 12:
      test.failure = {Service::allocate, Failure::always, Outcome::refusal};
      break;
    case 13:
      test.failure = {Service::convert, Failure::always, Outcome::refusal};
      break;
    case 14:
      test.failure = {Service::any, nth, Outcome::refusal};
      break;
    case 15:
      test.failure = {Service::any, nth, falseLengths[which % std::size(falseLengths)]};
      break;
    default:
      test.failure = {};
  }
}

/// The same number of bytes is read from every fuzzer's input before its text begins.
void decide(Choices& choices, const std::vector<const Slot*>& slots, Case& test) {
  static std::vector<std::uint8_t> bytes;
  test.slot = slots[choices.byte() % slots.size()];
  const unsigned session = choices.byte();
  if (session < 0x60)
    test.encoding = sessions[session % std::size(sessions)];
  else if (test.slot->isWide())
    test.encoding = session & 1 ? utf32 : laxUnits;
  else
    test.encoding = narrowSessions[session % std::size(narrowSessions)];
  decideHost(choices, test);
  test.inputPlace = choices.byte();
  test.outputPlace = choices.byte();
  const unsigned how = choices.byte(), stretch = choices.byte();
  const std::uint32_t room = choices.below(0x10000);
  choices.rest(bytes, 400);
  write(how & 3, bytes, test);
  const std::uint64_t unit = test.slot->inputUnit();
  // A few repeat what they have, to about where the working buffers come from the pool.
  if (stretch >= 0xFA) repeatUpTo(test.text, (250 + 2 * (stretch - 0xFA) + (how >> 7)) * unit);
  test.text.resize(std::min(test.text.size(), maxUnits * unit) / unit * unit);
  test.capacity = capacityOf(how >> 2, room, test.units());
}

template <const auto& operations>
const std::vector<const Slot*>& slotsOfFamily() {
  static const std::vector<const Slot*> slots = [] {
    std::vector<const Slot*> found;
    for (const Slot& slot : allSlots())
      if (std::find(operations.begin(), operations.end(), slot.name) != operations.end()) found.push_back(&slot);
    return found;
  }();
  return slots;
}

template <const auto& operations>
void run(Choices& choices) {
  static Case test;
  decide(choices, slotsOfFamily<operations>(), test);
  checkCase(test);
}

/// The slots and the functions behind them.
template <const auto& operations>
std::vector<std::string> names() {
  static const char* const functions[] = {
#define OPERATION(position, slot, function, shape) #function,
#include "frame/operations.def"
#undef OPERATION
  };
  constexpr const char* prefixes[] = {"ul", "S_ul", "T_ul"};
  std::vector<std::string> all;
  for (const Slot* slot : slotsOfFamily<operations>()) {
    all.push_back(slot->fullName());
    all.push_back(std::string(prefixes[static_cast<unsigned>(slot->flavour)]) + functions[slot->position - 1]);
  }
  return all;
}

using Name = std::string_view;
constexpr auto ncr = std::to_array<Name>({"getNCR", "putNCR"});
constexpr auto uesc = std::to_array<Name>({"getUEsc", "putUEsc"});
constexpr auto uparen = std::to_array<Name>({"getUParen", "getUParenP", "putUParen"});
constexpr auto transforms =
    std::to_array<Name>({"getUTF8", "putUTF8", "getUTF16N", "putUTF16N", "getUTF16B", "putUTF16B", "getUTF16L",
                         "putUTF16L", "getUTF32N", "putUTF32N", "getUTF32B", "putUTF32B", "getUTF32L", "putUTF32L"});
constexpr auto measures = std::to_array<Name>({"getUnicodeLength", "getUnicodeWidth"});

}  // namespace

const Family ncrFamily = {"ncr", run<ncr>, names<ncr>};
const Family uescFamily = {"uesc", run<uesc>, names<uesc>};
const Family uparenFamily = {"uparen", run<uparen>, names<uparen>};
const Family transformsFamily = {"transforms", run<transforms>, names<transforms>};
const Family measuresFamily = {"measures", run<measures>, names<measures>};

}  // namespace rq::test
