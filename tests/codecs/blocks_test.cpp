/* Texts long enough for blocks, beside the naive twin: each shape of notation or character at each place of a block,
 * inputs that end inside a notation, outputs that end anywhere. Input and output end at a guard page. */
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "tests/model/codec_twin.h"
#include "tests/model/guarded_buffer.h"
#include "tests/model/session.h"

namespace rq::test {
namespace {

constexpr std::size_t maxUnits = 250000;
constexpr std::uint8_t untouched = 0xC7;

struct Codec {
  const char* name;
  RQCodec RQOperations::*slot;
  std::vector<std::u32string> shapes;  // of notations, or characters to escape, common ones first
  std::uint64_t growth = 1;            // units that a unit may become
  std::uint64_t slack = 1;             // units that may be written past the capacity
};

const Codec codecs[] = {
    {"getNCR",
     &RQOperations::getNCR,
     {U"&#233;",
      U"&#1078;",
      U"&#20013;",
      U"&#xE9;",
      U"&#x436;",
      U"&#x4e2D;",
      U"&#xD83D;&#xDE00;",
      U"&#55357;&#56832;",
      U"&#128512;",
      U"&#x1F600;",
      U"&#65;",
      U"&#12;4;",
      U"&#7;",
      U"&#;",
      U"&#x;",
      U"&#x4$;",
      U"&#12345678;",
      U"&#123456789;",
      U"&#x0000041;",
      U"&#x00000041;",
      U"&#xD800;",
      U"&#65 &#66;",
      U"&#x41 and much more text;",
      U"&#",
      U"&",
      U";",
      U"&#\u0416;",
      U"&#\uFF11\uFF12;"}},
    {"getUEsc",
     &RQOperations::getUEsc,
     {U"\\u00e9",
      U"\\U0436",
      U"\\u4E2D",
      U"\\u00e9f",
      U"\\u0001F600",
      U"\\U0010FFFF",
      U"\\u00030000",
      U"\\uD83D\\uDE00",
      U"\\uD83D",
      U"\\u0000",
      U"\\u000000",
      U"\\uu0041",
      U"\\uU",
      U"\\u12",
      U"\\u",
      U"\\",
      U"\\u004$",
      U"\\u00\\u0041",
      U"\\u004100",
      U"\\u\u0416\u0416\u0416\u0416",
      U"\\u0001\uFF11\uFF16\uFF10\uFF10",
      U"\\u0001f6\uFF10\uFF10",
      U"\\u0041\u00E9"}},
    {"getUParen",
     &RQOperations::getUParen,
     {U"<U00E9>", U"<u0436>", U"<U4e2d>", U"<U0041>", U"<U0001F600>", U"<U41>", U"<U>", U"<Uxyz>", U"<U0041zz>",
      U"<U000000041>", U"<U00$1>", U"<UD83D>", U"<U", U"<", U">", U"<u<u0041>", U"<U0041", U"<U004\uFF11>"}},
    {"getUParenP", &RQOperations::getUParenP, {U"<U0041>", U"<u00E9>", U"<U0436>", U"<U41>", U"<U", U"<U0041zz>"}},
    {"putNCR",
     &RQOperations::putNCR,
     {U"\u00E9",
      U"\u0436",
      U"\u4E2D",
      U"\U0001869F",
      U"\U000186A0",
      U"\U0010FFFF",
      U"\u03E7\u03E8\u270F\u2710",
      U"\u0080",
      U"\u0081",
      U"\x7F",
      std::u32string(1, U'\0'),
      U"<",
      U"<U",
      U"<u0041>",
      U"<U00E9>",
      U"<V0041>",
      U"<Uzzzz>",
      U"<U<u0041>",
      U"Q <\u00E9",
      U"&\\;"},
     9,
     0},
    {"putUEsc",
     &RQOperations::putUEsc,
     {U"\u00E9", U"\u0436", U"\u4E2D", U"\U0001F600", U"\U0010FFFF", U"\x7E\x7F\u0080", std::u32string(1, U'\0'),
      U"\\", U"\\u", U"\\U", U"\\\\u0041", U"\\v", U"\\\u00E9", U"\\u\u00E9"},
     10,
     2},
    {"putUParen",
     &RQOperations::putUParen,
     {U"\u00E9", U"\u0436", U"\u4E2D", U"\U0001F600", U"\U0010FFFF", U"<", U"<U", U"<u0041>", U"<U0001F600>",
      U"<U<u0041>", U"<Uzzzz>"},
     11,
     4},
};

/// What a call did: its status, *written, all bytes of the output's room and the calls of the digits' service.
struct Outcome {
  RQStatus status;
  std::uint64_t written;
  std::vector<std::uint8_t> room;
  std::uint64_t upperCases;
};

class Comparison {
 public:
  Comparison(const Codec& codec, Flavour flavour, std::uint32_t encoding)
      : codec_(codec), flavour_(flavour), session_(encoding), input_(4 * maxUnits), output_(4 * maxUnits) {
    session_.host.recording = false;
    session_.host.offer({true, true, false});
    twin::setKernel(session_.host.kernel());
  }

  void setEscape(std::uint8_t escape) { session_.object->escape = escape; }
  void setReference(std::uint8_t reference) { session_.object->reference = reference; }

  void expectSame(std::u32string text, std::uint64_t capacity) {
    if (session_.encoding == latin1)
      std::replace_if(
          text.begin(), text.end(), [](char32_t c) { return c > 0xFF; }, U'?');
    const std::vector<std::uint8_t> units = unitsOf(flavour_, session_.encoding, text);
    const RQCodec library = slotsOf(session_.object, flavour_).*codec_.slot;
    const RQCodec twin = twin::operations(flavour_).*codec_.slot;
    const Outcome expected = call(twin, units, capacity), made = call(library, units, capacity);
    // The library does not ask for an empty run of digits.
    ASSERT_TRUE(made.status == expected.status && made.written == expected.written && made.room == expected.room &&
                made.upperCases <= expected.upperCases)
        << codec_.name << ", " << nameOf(flavour_) << ", session " << session_.encoding << ", capacity " << capacity
        << ": " << made.status << ", " << made.written << ", " << made.upperCases << " instead of " << expected.status
        << ", " << expected.written << ", " << expected.upperCases << " of " << shown(units, flavour_);
  }

 private:
  Outcome call(RQCodec codec, const std::vector<std::uint8_t>& units, std::uint64_t capacity) {
    const std::uint64_t unit = unitBytes(flavour_), room = (capacity + codec_.slack) * unit;
    const std::uint8_t* const in = input_.place(units.data(), units.size());
    std::uint8_t* const out = output_.place(room);
    std::memset(out, untouched, room);
    Outcome outcome = {0, 0x5EED, {}, session_.host.count(Service::upperCase)};
    outcome.status = codec(session_.object, in, units.size() / unit, out, capacity, &outcome.written);
    outcome.room.assign(out, out + room);
    outcome.upperCases = session_.host.count(Service::upperCase) - outcome.upperCases;
    return outcome;
  }

  const Codec& codec_;
  const Flavour flavour_;
  Session session_;
  GuardedBuffer input_, output_;
};

template <class Check>
void forAll(Check check) {
  for (const Codec& codec : codecs)
    for (const Flavour flavour : {Flavour::plain, Flavour::served, Flavour::wide})
      for (const std::uint32_t encoding : {utf8, latin1, utf32}) {
        if ((flavour == Flavour::wide) != (encoding == utf32)) continue;
        Comparison comparison(codec, flavour, encoding);
        check(codec, comparison);
        if (testing::Test::HasFatalFailure()) return;
      }
}

std::u32string repeated(const std::u32string& unit, std::size_t length) {
  std::u32string made;
  while (made.size() < length) made += unit;
  return made;
}

// Common shapes before and behind, so that the place lies in the middle of a block.
TEST(Blocks, EveryShapeAtEveryPlace) {
  forAll([](const Codec& codec, Comparison& comparison) {
    const std::u32string before = repeated(codec.shapes[0], 8), behind = repeated(codec.shapes[1], 200);
    for (const std::u32string& shape : codec.shapes)
      for (std::size_t place = 0; place < 70; ++place) {
        const std::u32string text = before + std::u32string(place, U'x') + shape + behind;
        ASSERT_NO_FATAL_FAILURE(comparison.expectSame(text, codec.growth * 1000));
      }
  });
}

// Digits of every number, in which one place holds a character that lies beside the digits, or beyond a byte.
TEST(Blocks, NeighboursOfDigits) {
  struct Form {
    std::string_view codec;
    std::u32string_view begin, digits, end;
  };
  constexpr Form forms[] = {{"getNCR", U"&#", U"10435678", U";"},    {"getNCR", U"&#x", U"0a9F4e6D", U";"},
                            {"getUEsc", U"\\u", U"0a9F4e6D", U" "},  {"getUEsc", U"\\u", U"0001f60A", U""},
                            {"getUParen", U"<U", U"0a9F4e6D", U">"}, {"getUParenP", U"<U", U"0a9F4e6D", U">"}};
  forAll([&](const Codec& codec, Comparison& comparison) {
    for (const Form& form : forms) {
      if (form.codec != codec.name) continue;
      const auto expectSameWith = [&](const std::u32string& digits) {
        const std::u32string notation = std::u32string(form.begin) + digits + std::u32string(form.end);
        comparison.expectSame(repeated(notation, 220), 1000);
      };
      for (std::size_t count = 0; count <= form.digits.size(); ++count) {
        std::u32string digits(form.digits.substr(0, count));
        ASSERT_NO_FATAL_FAILURE(expectSameWith(digits));
        for (char32_t& digit : digits) {
          const char32_t own = digit;
          for (const char32_t neighbour : U"/:@G`g09aAfF\u0130\uFF11") {
            digit = neighbour;
            ASSERT_NO_FATAL_FAILURE(expectSameWith(digits));
          }
          digit = own;
        }
      }
    }
  });
}

TEST(Blocks, InputsThatEndAnywhere) {
  forAll([](const Codec& codec, Comparison& comparison) {
    std::u32string text = repeated(codec.shapes[0] + U" x" + codec.shapes[1], 100);
    for (const std::u32string& shape : codec.shapes) text += shape + codec.shapes[0];
    for (; text.size() > 60; text.pop_back())
      ASSERT_NO_FATAL_FAILURE(comparison.expectSame(text, codec.growth * 1000));
  });
}

// Distances up to those that blocks leave to the loop; input and output also end in the middle of a gap.
TEST(Blocks, GapsOfEveryLength) {
  forAll([](const Codec& codec, Comparison& comparison) {
    for (std::size_t gap = 0; gap < 150; ++gap) {
      std::u32string text;
      while (text.size() < 1200)
        for (const std::u32string& shape : codec.shapes)
          text += shape + std::u32string(gap, U'x') + codec.shapes[0] + std::u32string(gap / 2, U'y');
      ASSERT_NO_FATAL_FAILURE(comparison.expectSame(text, codec.growth * text.size()));
      ASSERT_NO_FATAL_FAILURE(comparison.expectSame(text, codec.growth * text.size() / 3));
      text.resize(text.size() - gap / 3);
      ASSERT_NO_FATAL_FAILURE(comparison.expectSame(text, codec.growth * text.size()));
    }
  });
}

TEST(Blocks, OutputsThatEndAnywhere) {
  forAll([](const Codec& codec, Comparison& comparison) {
    std::u32string text = repeated(codec.shapes[0] + U"abc" + codec.shapes[1], 200) + std::u32string(150, U'y');
    for (const std::u32string& shape : codec.shapes) text += shape + codec.shapes[0];
    const std::uint64_t step = codec.growth == 1 ? 1 : 23;
    for (std::uint64_t capacity = 0; capacity < codec.growth * text.size() + 20; capacity += step)
      ASSERT_NO_FATAL_FAILURE(comparison.expectSame(text, capacity));
  });
}

// A run of plain text may fill the output, end the input or do both.
TEST(Blocks, OutputsThatEndInPlainText) {
  forAll([](const Codec& codec, Comparison& comparison) {
    const std::u32string text = repeated(codec.shapes[0], 100) + std::u32string(3000, U'y');
    for (const std::uint64_t capacity : {700U, 1500U, 2900U, 4000U})
      ASSERT_NO_FATAL_FAILURE(comparison.expectSame(text, capacity));
  });
}

// Several blocks, and parts with few notations between parts with many.
TEST(Blocks, LongTextsAtRandom) {
  std::mt19937 random(11);
  const auto below = [&](std::size_t end) { return random() % end; };
  forAll([&](const Codec& codec, Comparison& comparison) {
    for (int i = 0; i < 25; ++i) {
      std::u32string text;
      const std::size_t length = 200 + below(4000);
      while (text.size() < length) {
        const std::size_t maxGap = std::size_t{1} << below(9), pieces = 1 + below(60), common = 1 + below(30);
        for (std::size_t k = 0; k < pieces; ++k) {
          text += codec.shapes[below(below(common) ? 3 : codec.shapes.size())];
          text.append(below(maxGap), U'a' + static_cast<char32_t>(below(26)));
        }
      }
      ASSERT_NO_FATAL_FAILURE(
          comparison.expectSame(text, codec.growth * (below(4) ? text.size() : below(text.size()))));
    }
  });
}

// Then the last digit of an escape may look like the beginning of the next one.
TEST(Blocks, AnEscapeCharacterThatIsADigit) {
  Comparison comparison(codecs[1], Flavour::plain, utf8);
  comparison.setEscape('a');
  for (const std::u32string_view digits : {U"00e9", U"00ea", U"d83d", U"0000", U"0001f60a", U"0a"}) {
    const std::u32string text = repeated(U"aU004a aU" + std::u32string(digits) + U"U004b", 700);
    ASSERT_NO_FATAL_FAILURE(comparison.expectSame(text, text.size()));
  }
}

// Then pairs of markers overlap, and more than one may stand where the output ends.
TEST(Blocks, MarkersThatAreTheSame) {
  Comparison references(codecs[0], Flavour::plain, utf8), escapes(codecs[1], Flavour::plain, utf8);
  references.setReference('&');
  escapes.setEscape('u');
  for (const std::u32string text : {U"g&&&;Ux", U"five &&&&&65;", U"uuu0041 u", U"five uuuuuu004A"}) {
    for (std::uint64_t capacity = 0; capacity <= text.size(); ++capacity) {
      ASSERT_NO_FATAL_FAILURE(references.expectSame(text, capacity));
      ASSERT_NO_FATAL_FAILURE(escapes.expectSame(text, capacity));
    }
  }
}

}  // namespace
}  // namespace rq::test
