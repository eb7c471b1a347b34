// Places where code of this kind reads or writes out of bounds, each with its own test. tests/codecs/calls_test.cpp,
// tests/kit and tests/unicode test others.
#include <gtest/gtest.h>

#include <cstring>

#include "tests/model/calls.h"
#include "tests/model/guarded_buffer.h"

namespace rq::test {
namespace {

using u64 = std::uint64_t;

std::string decoded(RQCodec codec, Session& session, Flavour flavour, std::u32string_view text) {
  const CodecResult result = call(codec, session.object, flavour, unitsOf(flavour, session.encoding, text), 4096);
  return shown(result.bytes, flavour);
}

// The encoder looks at the character behind a backslash. Behind the last one of a full buffer there is none.
TEST(Hazards, ABackslashEndsAFullBuffer) {
  for (const Flavour flavour : allFlavours)
    for (const unsigned count : {254U, 255U, 256U, 257U, 258U, 300U}) {
      Session session(usualEncoding(flavour));
      std::u32string text(count - 1, U'\u00E9');
      text += U'\\';
      std::string expected;
      for (unsigned i = 1; i < count; ++i) expected += "\\u00E9";
      EXPECT_EQ(decoded(slotsOf(session.object, flavour).putUEsc, session, flavour, text), expected + '\\');
    }
}

// From 1,000,000 the first digit exceeds 9 and becomes a zero unit. Hosts depend on it.
TEST(Hazards, APlaceBeyondNineIsAZeroUnit) {
  for (const Flavour flavour : allFlavours)
    for (const std::uint32_t character :
         {999999U, 1000000U, 0x10FFFFU, 0x7FFFFFFFU, 0x80000000U, 0xFFFFEEEFU, 0xFFFFFFFFU}) {
      Session session(flavour == Flavour::wide ? laxUnits : laxBytes);
      char expected[32];
      std::snprintf(expected, sizeof expected, "&#%s%05u;", character / 100000 < 10 ? "9" : "\\x{0}",
                    character % 100000);
      const auto units = unitsOf(flavour, session.encoding, std::u32string(1, static_cast<char32_t>(character)));
      const CodecResult result = call(slotsOf(session.object, flavour).putNCR, session.object, flavour, units, 4096);
      EXPECT_EQ(shown(result.bytes, flavour), expected) << nameOf(flavour) << ' ' << character;
    }
}

// The digits of a U-paren notation are bytes 2 to 5 of the input, which may have fewer than the notation characters.
TEST(Hazards, AnInputShorterThanItsNotationHasNoDigits) {
  GuardedBuffer in(64);
  Session session(expanding);  // 0xFE is seven characters in one byte
  for (const Flavour flavour : {Flavour::plain, Flavour::served})
    for (u64 length = 1; length <= 6; ++length) {
      const std::uint8_t bytes[] = {0xFE, 'x', '0', '0', '4', '1'};
      std::uint8_t output[64] = {};
      u64 written = 0;
      const RQOperations& slots = slotsOf(session.object, flavour);
      EXPECT_EQ(slots.putNCR(session.object, in.place(bytes, length), length, output, 48, &written), RQ_SUCCESS);
      u64 sum = 0;
      for (u64 i = 2; i < 6; ++i) sum = sum * 16 + (i < length ? bytes[i] - U'0' : 0xFFFFFFFF);
      const auto value = static_cast<std::uint32_t>(sum & 0xFFFFFFFF);
      std::string expected(1, static_cast<char>(value));  // four digits, or three and the -1 of the fourth
      if (value > 0x80) expected = std::string("&#") + '\0' + std::to_string(100000 + value % 100000).substr(1) + ';';
      expected.append(reinterpret_cast<const char*>(bytes) + 1, length - 1);
      EXPECT_EQ(std::string(reinterpret_cast<char*>(output), written), expected) << length;
    }
}

// A field without digits must not read those of the notation before it.
TEST(Hazards, AFieldWithoutDigitsSeesNoOldOnes) {
  for (const Flavour flavour : allFlavours) {
    Session session(usualEncoding(flavour));
    session.host.offer({true, false, true});
    const RQOperations& slots = slotsOf(session.object, flavour);
    EXPECT_EQ(decoded(slots.getNCR, session, flavour, U"&#x0041;&#x;&#;"), "A\\x{0}\\x{0}");
    EXPECT_EQ(decoded(slots.getUParen, session, flavour, U"<U0041><U>"), "A\\x{0}");
    EXPECT_EQ(decoded(slots.getUParenP, session, flavour, U"<U0041><U>"), "A\\x{0}");
    EXPECT_EQ(decoded(slots.getUEsc, session, flavour, U"\\u0041\\uz\\u"), "A\\uz\\u");
  }
}

// Four bytes for each unit wrap around from 2^62 units on.
TEST(Hazards, AMeasureOfAnImpossibleLengthIsRefused) {
  const std::uint8_t text[8] = {};
  for (const Flavour flavour : allFlavours) {
    Session session(usualEncoding(flavour));
    const RQOperations& slots = slotsOf(session.object, flavour);
    for (const u64 units : {u64{1} << 62, (u64{1} << 62) + 1, u64{1} << 63, (u64{3} << 62) + 100, UINT64_MAX}) {
      EXPECT_EQ(slots.getUnicodeLength(session.object, text, units), -1);
      EXPECT_EQ(slots.getUnicodeWidth(session.object, text, units), -1);
    }
    EXPECT_TRUE(session.host.calls.empty());
  }
}

/// A kernel whose service "ZQD" writes behind the digits that it is given.
struct Expansive {
  RQKernel kernel{};
  RQCaseService cases{};
  RQCharsetService charset{};

  Expansive() {
    charset.upperCase = [](RQCharsetService*, void* buffer, u64 length, u64) {
      std::memset(static_cast<std::uint8_t*>(buffer) + length, 'F', 64 - length);
    };
    cases.charset = &charset;
    kernel.caseService = &cases;
  }
};

TEST(Hazards, ADigitServiceThatWritesBehindItsDigitsHarmsNothing) {
  Session session(latin1);
  Expansive host;
  Library::get().rqextent(&host.kernel);
  const RQOperations& slots = session.object->served;
  EXPECT_EQ(decoded(slots.getNCR, session, Flavour::served, U"&#x41;b"), "Ab");
  EXPECT_EQ(decoded(slots.getUEsc, session, Flavour::served, U"\\u0041b"), "Ab");
  EXPECT_EQ(decoded(slots.getUParen, session, Flavour::served, U"<U0041>b"), "Ab");
  EXPECT_EQ(decoded(slots.putNCR, session, Flavour::served, U"<U0041>b"), "Ab");
}

TEST(Hazards, WithoutAKernelDigitsAreReadAllTheSame) {
  for (const Flavour flavour : allFlavours) {
    Session session(usualEncoding(flavour));
    Library::get().rqextent(nullptr);
    const RQOperations& slots = slotsOf(session.object, flavour);
    EXPECT_EQ(decoded(slots.getNCR, session, flavour, U"&#x4a;&#x4\u00E9;"), "J\\x{0}");
    EXPECT_EQ(decoded(slots.getUEsc, session, flavour, U"\\u004a"), "J");
    EXPECT_EQ(decoded(slots.getUParen, session, flavour, U"<u004a>"), "J");
  }
}

// The wide flavour hands any character of a field to the host's case service, which may make a digit of it.
TEST(Hazards, TheCaseServiceMayMakeDigitsOfAnything) {
  Session session(utf32);
  session.host.offer({true, false, false});
  const RQOperations& slots = session.object->wide;
  EXPECT_EQ(decoded(slots.getNCR, session, Flavour::wide, U"&#x\uFF14\uFF11;"), "A");
  session.host.offer({});
  EXPECT_EQ(decoded(slots.getNCR, session, Flavour::wide, U"&#x\uFF14\uFF11;"), "\\x{0}");
}

// A host must not hand out an object without its transcoders: the operations do not look.
TEST(HazardsDeathTest, AMissingTranscoderIsNotLookedFor) {
  MockHost host(latin1);
  host.schedule.refuse(Service::createTranscoder, Failure::always);
  Library::get().rqextent(host.kernel());
  RQInterface* const object = Library::get().rquni(host.context(), nullptr);
  ASSERT_NE(object, nullptr);
  std::uint8_t output[64];
  u64 written = 0;
  EXPECT_DEATH(object->plain.getUTF8(object, "a", 1, output, 8, &written), "");
  EXPECT_DEATH(object->plain.getNCR(object, "&#65;", 5, output, 8, &written), "");
  EXPECT_DEATH(object->plain.putUEsc(object, "\xE9", 1, output, 8, &written), "");
  EXPECT_DEATH(object->plain.getUnicodeWidth(object, "a", 1), "");
  object->destroy(object);
  EXPECT_TRUE(host.balanced());
}

}  // namespace
}  // namespace rq::test
