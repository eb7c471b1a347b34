/* The calls that codecs make to the host, and what they do when it refuses or reports a false length. */
#include <algorithm>

#include "tests/codecs/rows.h"
#include "tests/model/guarded_buffer.h"

namespace rq::test {
namespace {

using u64 = std::uint64_t;

std::uint32_t sessionFor(Flavour flavour) {
  return flavour == Flavour::wide ? utf32 : latin1;
}

/// A codec of any flavour.
struct Codec {
  const char* name;
  RQCodec RQOperations::*slot;
};
constexpr Codec getNCR = {"getNCR", &RQOperations::getNCR}, getUEsc = {"getUEsc", &RQOperations::getUEsc},
                getUParen = {"getUParen", &RQOperations::getUParen},
                getUParenP = {"getUParenP", &RQOperations::getUParenP}, putNCR = {"putNCR", &RQOperations::putNCR},
                putUEsc = {"putUEsc", &RQOperations::putUEsc}, putUParen = {"putUParen", &RQOperations::putUParen};
constexpr Codec decoders[] = {getNCR, getUEsc, getUParen, getUParenP};
constexpr Codec encoders[] = {putNCR, putUEsc, putUParen};
constexpr Codec allCodecs[] = {getNCR, putNCR, getUEsc, putUEsc, getUParen, getUParenP, putUParen};

class Calls : public ::testing::TestWithParam<Flavour> {
 protected:
  CodecResult run(const Codec& codec, std::u32string_view text, u64 capacity = ample) {
    session.host.forget();
    return call(slotsOf(session.object, GetParam()).*codec.slot, session.object, GetParam(),
                unitsOf(GetParam(), session.encoding, text), capacity);
  }
  RQStatus runBlind(const Codec& codec, u64 units) {
    std::uint8_t out[64];
    written = 99;
    session.host.forget();
    return (slotsOf(session.object, GetParam()).*codec.slot)(session.object, out, units, out, 0, &written);
  }
  u64 conversions() const { return session.host.count(Service::convert); }
  Session session{sessionFor(GetParam())};
  u64 written = 0;
};
std::string nameOfFlavour(const ::testing::TestParamInfo<Flavour>& flavour) {
  return nameOf(flavour.param);
}

TEST_P(Calls, DecodersAskNothingForTextWithoutNotations) {
  for (const Codec& codec : decoders) {
    run(codec, times(U"plain text, & < \\ and all ", 20));
    EXPECT_TRUE(session.host.calls.empty()) << codec.name;
  }
}

TEST_P(Calls, DecodersNeverTakeMemory) {
  for (const Codec& codec : decoders) {
    run(codec, times(U"&#65;\\u0041<U0041>", 100));
    EXPECT_EQ(session.host.count(Service::allocate), 0U);
  }
}

TEST_P(Calls, PutUEscAsksNothingForAscii) {
  run(putUEsc, times(U"ascii \\u0041", 20));
  EXPECT_TRUE(session.host.calls.empty());
}

TEST_P(Calls, PutUParenAsksNothingForAscii) {
  run(putUParen, times(U"ascii", 20));
  EXPECT_TRUE(session.host.calls.empty());
}

TEST_P(Calls, PutNCRWidensAsciiWithoutTheInboundTranscoder) {
  run(putNCR, times(U"ascii", 20));
  for (const Call& made : session.host.calls)
    EXPECT_EQ(made.arguments[0], reinterpret_cast<const u64*>(session.object)[53]);
}

TEST_P(Calls, ANonAsciiTextIsWidenedInOneCall) {
  for (const Codec& codec : encoders) {
    const CodecResult result = run(codec, U"abc\u00E9def\u00E9", 0 + ample);
    EXPECT_EQ(result.status, 0U);
    u64 inbound = 0;
    for (const Call& made : session.host.calls) {
      if (made.arguments[0] != reinterpret_cast<const u64*>(session.object)[54]) continue;
      ++inbound;
      EXPECT_EQ(made.arguments[2], 8 * unitBytes(GetParam()));
      EXPECT_EQ(made.arguments[4], 1024U);
      EXPECT_EQ(made.seen[0], 0U);
    }
    EXPECT_EQ(inbound, 1U) << codec.name;
  }
}

TEST_P(Calls, ARoundTripStartsAtTheCapacityOfItsScratch) {
  struct Row {
    Codec codec;
    const char32_t* text;
    u64 capacity;
  };
  for (const Row& row : {Row{getNCR, U"&#233;", 20}, Row{getUEsc, U"\\u00E9", 20}, Row{getUParen, U"<U00E9>", 12}}) {
    run(row.codec, row.text);
    ASSERT_EQ(session.host.calls.size(), 2U);
    const Call& out = session.host.calls[0];
    const Call& in = session.host.calls[1];
    const auto* words = reinterpret_cast<const u64*>(session.object);
    EXPECT_EQ(out.arguments[0], words[53]);
    EXPECT_EQ(out.arguments[2], 4U);
    EXPECT_EQ(out.arguments[4], row.capacity * unitBytes(GetParam()));
    EXPECT_EQ(out.seen[0], out.arguments[4]);
    EXPECT_EQ(out.arguments[6], 0U);
    EXPECT_EQ(in.arguments[0], words[54]);
    EXPECT_EQ(in.arguments[2], unitBytes(GetParam()));
    EXPECT_EQ(in.arguments[4], 4U);
    EXPECT_EQ(in.arguments[6], 0U);
  }
}

TEST_P(Calls, ACodePointIsAskedForOncePerCall) {
  for (const char32_t* text : {U"&#233;\\u00E9<U00E9>", U"&#65;\\u0041<U0041>", U"&#xDE00;\\uDE00<UDE00>"})
    for (const Codec& codec : {getNCR, getUEsc, getUParen}) {
      run(codec, times(text, 60));
      EXPECT_EQ(conversions(), 2U) << codec.name;
      const u64 first = session.host.calls[0].digest;
      run(codec, times(text, 60));
      EXPECT_EQ(conversions(), 2U) << "nothing survives a call";
      EXPECT_EQ(session.host.calls[0].digest, first);
    }
  run(putNCR, times(U"a", 200));
  EXPECT_EQ(conversions(), 1U);
  run(putNCR, times(U"ab", 100));
  EXPECT_EQ(conversions(), 2U);
}

TEST_P(Calls, PutNCRAsksInTheOrderOfTheText) {
  const auto asked = [&](std::u32string_view text) {
    run(putNCR, text);
    std::vector<u64> digests;
    for (const Call& made : session.host.calls)
      if (made.service == Service::convert && made.arguments[2] == 4 &&
          made.arguments[0] == reinterpret_cast<const u64*>(session.object)[53])
        digests.push_back(made.digest);
    return digests;
  };
  const std::u32string letters = U"zeb <rk>&\u0080;";
  std::vector<u64> expected;
  for (const char32_t c : letters) expected.push_back(asked(std::u32string(1, c)).at(0));
  EXPECT_EQ(asked(letters), expected);
  EXPECT_EQ(asked(times(letters, 20)), expected);
  EXPECT_EQ(asked(times(U"z", 70) + U"\u00E9" + times(letters, 20)), expected);
}

/// A notation with two hexadecimal digits.
std::u32string notation(std::u32string_view before, unsigned value, std::u32string_view after) {
  std::u32string text(before);
  return text.append({U"0123456789ABCDEF"[value / 16], U"0123456789ABCDEF"[value % 16]}).append(after);
}

TEST_P(Calls, EachOf256NeighboursIsAskedForOncePerCall) {
  const auto eachTwice = [](std::u32string_view before, std::u32string_view after) {
    std::u32string text;
    for (unsigned codePoint = 0; codePoint < 256; ++codePoint) text += notation(before, codePoint, after);
    return text + text;
  };
  run(getNCR, eachTwice(U"&#x", U";"));
  EXPECT_EQ(conversions(), 512U);
  run(getUEsc, eachTwice(U"\\u00", U""));
  EXPECT_EQ(conversions(), 512U);
  run(getUParen, eachTwice(U"<U00", U">"));
  EXPECT_EQ(conversions(), 512U);
}

TEST_P(Calls, ACharacterAloneIsAskedForOncePerCall) {
  for (unsigned codePoint = 0; codePoint < 256; ++codePoint) {
    run(getNCR, times(notation(U"&#x", codePoint, U";"), 3));
    EXPECT_EQ(conversions(), 2U) << codePoint;
  }
  for (unsigned character = 1; character < 0x80; ++character) {
    run(putNCR, std::u32string(9, character));
    EXPECT_EQ(conversions(), 1U) << character;
  }
}

TEST_P(Calls, WorkingBuffersComeFromThePoolAtTheirThresholds) {
  struct Row {
    Codec codec;
    u64 largestLocal;
  };
  for (const Row& row : {Row{putNCR, 255}, Row{putUEsc, 256}, Row{putUParen, 255}})
    for (const u64 units : {row.largestLocal - 1, row.largestLocal, row.largestLocal + 1, row.largestLocal + 2}) {
      const bool pooled = units > row.largestLocal;
      EXPECT_EQ(run(row.codec, times(U"a", static_cast<unsigned>(units))).status, 0U);
      EXPECT_EQ(session.host.count(Service::allocate), pooled ? 1U : 0U) << row.codec.name << units;
      EXPECT_EQ(session.host.count(Service::release), pooled ? 1U : 0U);
      if (!pooled) continue;
      const Call& allocate = session.host.calls[0];
      EXPECT_EQ(allocate.service, Service::allocate);
      EXPECT_EQ(allocate.arguments[1], 4 * units);
      EXPECT_EQ(allocate.arguments[2], 0U);
    }
  EXPECT_EQ(session.host.liveBlocks, 1U);
}

TEST_P(Calls, RefusedMemoryStoresNoLength) {
  session.host.schedule.refuse(Service::allocate, Failure::always);
  for (const Codec& codec : encoders)
    for (const u64 capacity : {u64{0}, u64{5}, ample}) {
      const CodecResult result = run(codec, times(U"a", 300), capacity);
      EXPECT_EQ(result.status, noMemory);
      EXPECT_FALSE(result.stored);
      EXPECT_EQ(result.reach, 0U);
      EXPECT_EQ(session.host.count(Service::release), 0U);
    }
}

TEST_P(Calls, ALengthThatWrapsIsRefusedMemory) {
  for (const Codec& codec : encoders)
    for (const u64 units : {u64{1} << 62, (u64{1} << 62) + 1, u64{1} << 63, (u64{3} << 62) + 100, UINT64_MAX}) {
      EXPECT_EQ(runBlind(codec, units), noMemory) << codec.name;
      EXPECT_EQ(written, 99U);
    }
}

TEST_P(Calls, ABufferIsGivenBackOnEveryWay) {
  for (const Codec& codec : encoders)
    for (const u64 capacity : {u64{0}, u64{1}, u64{6}, u64{7}, u64{300}, ample})
      for (const char32_t* piece : {U"a", U"\u00E9", U"<U0041>", U"\\u0041"})
        for (const bool refuse : {false, true}) {
          if (refuse) session.host.schedule.refuse(Service::convert, Failure::always);
          run(codec, times(piece, 300), capacity);
          EXPECT_EQ(session.host.count(Service::allocate), 1U);
          EXPECT_EQ(session.host.count(Service::release), 1U);
          EXPECT_EQ(session.host.liveBlocks, 1U);
          EXPECT_EQ(session.host.mistakes, 0U);
          session.host.schedule.clear();
        }
}

TEST_P(Calls, EncodersWidenEvenIntoNothing) {
  for (const Codec& codec : encoders) {
    const CodecResult result = run(codec, times(U"\u00E9", 300), 0);
    EXPECT_EQ(result.status, 0U);
    EXPECT_EQ(result.length, 0U);
    EXPECT_EQ(session.host.count(Service::allocate), 1U);
    EXPECT_EQ(conversions(), 1U);
  }
}

TEST_P(Calls, AFailedWideningGivesNothing) {
  session.host.schedule.refuse(Service::convert, Failure::always);
  for (const Codec& codec : encoders) {
    const CodecResult result = run(codec, U"\u00E9", 100);
    EXPECT_EQ(result.status, 0U);
    EXPECT_TRUE(result.stored);
    EXPECT_EQ(result.length, 0U);
  }
}

TEST_P(Calls, TheTranscodersStatusIsNeverLookedAt) {
  session.host.convertStatus = 0x80000001;
  const auto expected = unitsOf(GetParam(), session.encoding, U"\u00E9");
  EXPECT_EQ(run(getNCR, U"&#233;").bytes, expected);
  EXPECT_EQ(run(getUEsc, U"\\u00E9").bytes, expected);
  EXPECT_EQ(run(getUParen, U"<U00E9>").bytes, expected);
  EXPECT_EQ(run(putUEsc, U"\u00E9").bytes, unitsOf(GetParam(), session.encoding, U"\\u00E9"));
}

TEST_P(Calls, PutNCRWritesWhatTheSessionMakesOfACharacter) {
  const u64 oneUnit = unitBytes(GetParam());
  session.host.fixedProduced = &oneUnit;  // of 0x2A in each byte
  EXPECT_EQ(run(putNCR, U"abab").bytes, std::vector<std::uint8_t>(4 * oneUnit, 0x2A));
}

TEST_P(Calls, AnImpossibleLengthCountsAsAFailedRoundTrip) {
  for (const Outcome outcome : {Outcome::lengthCapacityPlusOne, Outcome::lengthNearMax}) {
    struct Row {
      Codec codec;
      const char32_t* text;
    };
    for (const Row& row : {Row{getNCR, U"&#233;"}, Row{getUEsc, U"\\u00E9"}, Row{getUParen, U"<U00E9>"},
                           Row{getUParenP, U"<U0041>"}}) {
      session.host.schedule.clear();
      session.host.schedule.add({Service::convert, 1, outcome});
      EXPECT_EQ(run(row.codec, row.text).bytes, unitsOf(GetParam(), session.encoding, row.text)) << row.codec.name;
    }
  }
}

TEST_P(Calls, FalseLengthsLeadNowhereOutOfBounds) {
  GuardedBuffer in(8192), out(16384);
  constexpr u64 slack = RQ_OUTPUT_SLACK_BYTES;
  for (const char32_t* text : {U"&#233;&#x41;a<U0041>x\u00E9<U0001F600>y", U"\\u00E9<U00E9>\\uu0041\u00E9\u0080"})
    for (const unsigned repeats : {1U, 20U})
      for (const Codec& codec : allCodecs)
        for (const Outcome outcome : {Outcome::lengthNotStored, Outcome::lengthZero, Outcome::lengthCapacity,
                                      Outcome::lengthCapacityPlusOne, Outcome::lengthOdd, Outcome::lengthNearMax})
          for (const u64 nth : {0U, 1U, 2U, 3U, 5U})
            for (const u64 capacity : {u64{0}, u64{1}, u64{8}, u64{30}, u64{900}}) {
              const auto units = unitsOf(GetParam(), session.encoding, times(text, repeats));
              const std::uint8_t* from = in.place(units.data(), units.size());
              std::uint8_t* to = out.place(capacity * unitBytes(GetParam()) + slack);
              session.host.schedule.clear();
              session.host.schedule.add({Service::convert, nth, outcome});
              u64 length = 0;
              (slotsOf(session.object, GetParam()).*codec.slot)(
                  session.object, from, units.size() / unitBytes(GetParam()), to, capacity, &length);
              ASSERT_TRUE(out.isIntact());
              ASSERT_EQ(session.host.liveBlocks, 1U);
              ASSERT_EQ(session.host.mistakes, 0U);
              session.host.forget();
            }
}

// Notations cut at every place, before memory that may not be read, and outputs with the slack that the header asks
// for and not a byte more.
TEST_P(Calls, InputEndsAtAGuardPageAndOutputHasExactlyItsSlack) {
  GuardedBuffer in(8192), out(16384);
  constexpr const char32_t* texts[] = {U"ab&#65;&#xD83D;&#xDE00;&",
                                       U"&#",
                                       U"\\uD83D\\uDE00\\uu0041\\",
                                       U"\\u00\\u",
                                       U"<U0041><U0001F600>x<U<",
                                       U"<U",
                                       U"a\u00E9<U0041>x<U0001F600>yy\\u0041\\u0041"};
  for (const char32_t* whole : texts)
    for (std::u32string_view text = whole; !text.empty(); text.remove_suffix(1))
      for (const Codec& codec : allCodecs)
        for (u64 capacity = 0; capacity <= 24; ++capacity)
          for (const Flush flush : {Flush::atEnd, Flush::atBeginning}) {
            const auto units = unitsOf(GetParam(), session.encoding, text);
            const std::uint8_t* from = in.place(units.data(), units.size(), flush);
            std::uint8_t* to = out.place(capacity * unitBytes(GetParam()) + RQ_OUTPUT_SLACK_BYTES);
            u64 length = 0;
            session.host.forget();
            (slotsOf(session.object, GetParam()).*codec.slot)(
                session.object, from, units.size() / unitBytes(GetParam()), to, capacity, &length);
            ASSERT_TRUE(out.isIntact());
            ASSERT_LE(length, capacity + 4);
          }
}

// Encoders may store ahead of their place only bytes that the next ones cover.
TEST(Encoders, WriteNothingBehindTheLengthThatTheyReport) {
  constexpr std::u32string_view whole =
      U"\u0434\u0432 \u0430\u0431 \u4E00\u00E9 \\\u0433 \u0434, x\U0001F600\u0435 \u0436 \u0437\u0437 <\u0437 a";
  for (const Flavour flavour : {Flavour::plain, Flavour::wide}) {
    Session session(flavour == Flavour::wide ? utf32 : utf8);
    for (u64 length = 1; length <= whole.size(); ++length)
      for (const Codec& codec : encoders)
        for (u64 capacity = 0; capacity <= 200; ++capacity) {
          const auto units = unitsOf(flavour, session.encoding, whole.substr(0, length));
          std::vector<std::uint8_t> out(4 * 220, 0xA5);
          u64 stored = 0;
          (slotsOf(session.object, flavour).*codec.slot)(
              session.object, units.data(), units.size() / unitBytes(flavour), out.data(), capacity, &stored);
          const auto behind = out.begin() + static_cast<std::ptrdiff_t>(stored * unitBytes(flavour));
          ASSERT_EQ(std::count(behind, out.end(), 0xA5), out.end() - behind)
              << codec.name << ' ' << length << ' ' << capacity;
        }
  }
}

// An ampersand or less-than sign as the last unit, with the rest of a notation just behind it.
TEST_P(Calls, NothingBehindTheInputIsTakenForPartOfIt) {
  struct Row {
    Codec codec;
    const char32_t* text;
  };
  for (const Row& row : {Row{getNCR, U"&#65;"}, Row{getUParen, U"<U0041>"}, Row{getUParenP, U"<U0041>"},
                         Row{getUEsc, U"\\u0041"}, Row{putUEsc, U"\\u0041"}, Row{putNCR, U"<U0041>"}}) {
    const auto units = unitsOf(GetParam(), session.encoding, row.text);
    const u64 count = units.size() / unitBytes(GetParam());
    for (u64 length = 1; length < count; ++length) {
      std::vector<std::uint8_t> out(256);
      u64 stored = 99;
      (slotsOf(session.object, GetParam()).*row.codec.slot)(session.object, units.data(), length, out.data(), 40,
                                                            &stored);
      EXPECT_EQ(stored, length) << row.codec.name;
      EXPECT_EQ(
          std::vector(out.begin(), out.begin() + static_cast<std::ptrdiff_t>(length * unitBytes(GetParam()))),
          std::vector(units.begin(), units.begin() + static_cast<std::ptrdiff_t>(length * unitBytes(GetParam()))));
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Flavours, Calls, ::testing::ValuesIn(allFlavours), nameOfFlavour);

TEST(CharsetService, IsLookedUpAfreshUnlessTheCaseServiceHoldsIt) {
  struct Row {
    MockHost::Services services;
    u64 lookUps, uses;
  };
  for (const Row& row : {Row{{false, true, true}, 0, 0}, Row{{true, true, true}, 0, 2},
                         Row{{true, false, true}, 2, 2}, Row{{true, false, false}, 2, 0}})
    for (const char32_t* text : {U"&#x4a;&#x4b;", U"\\u004a\\u004b", U"<u004a><u004b>"}) {
      Session session(latin1);
      session.host.offer(row.services);
      const Codec& codec = *text == '&' ? getNCR : *text == '<' ? getUParen : getUEsc;
      const CodecResult result = call(session.object->served.*codec.slot, session.object, Flavour::served,
                                      unitsOf(Flavour::served, latin1, text), 100);
      EXPECT_EQ(shown(result.bytes, Flavour::served), "JK");
      EXPECT_EQ(session.host.count(Service::upperCase), row.uses) << codec.name;
      EXPECT_EQ(session.host.count(Service::lookUpCharset), row.lookUps);
      for (const Call& made : session.host.calls) {
        if (made.service == Service::lookUpCharset) {
          EXPECT_EQ(made.arguments[2], 3U);
          EXPECT_EQ(made.seen[0], 0U) << "the name is ZQD";
        }
        if (made.service == Service::upperCase) {
          EXPECT_LE(made.arguments[2], 8U);
          EXPECT_EQ(made.arguments[3], 0U);
        }
      }
      EXPECT_EQ(session.object->pool != nullptr, true);
    }
}

TEST(CharsetService, IsAskedOnceForTheFourDigitsOfAUParenNotation) {
  Session session(latin1);
  session.host.offer({true, true, true});
  const auto result = call(session.object->served.putNCR, session.object, Flavour::served,
                           unitsOf(Flavour::served, latin1, U"<u004a>"), 100);
  EXPECT_EQ(shown(result.bytes, Flavour::served), "J");
  std::vector<u64> lengths;
  for (const Call& made : session.host.calls)
    if (made.service == Service::upperCase) {
      lengths.push_back(made.arguments[2]);
      EXPECT_EQ(made.arguments[3], 0U);
    }
  EXPECT_EQ(lengths, std::vector<u64>{4});
}

TEST(CharsetService, IsAskedForASingleDigitButNotForNone) {
  Session session(latin1);
  session.host.offer({true, true, true});
  call(session.object->served.getNCR, session.object, Flavour::served, unitsOf(Flavour::served, latin1, U"&#x5;&#x;"),
       100);
  for (const Call& made : session.host.calls) {
    if (made.service == Service::upperCase) {
      EXPECT_EQ(made.arguments[2], 1U);
    }
  }
  EXPECT_EQ(session.host.count(Service::upperCase), 1U);
}

TEST(CharsetService, IsAskedByTheServedFlavourAlone) {
  Session session(latin1);
  session.host.offer({true, true, true});
  const auto units = unitsOf(Flavour::plain, latin1, U"&#x4a;\\u004a<u004a>");
  for (const Codec& codec : decoders)
    call(session.object->plain.*codec.slot, session.object, Flavour::plain, units, 100);
  EXPECT_EQ(session.host.count(Service::upperCase) + session.host.count(Service::lookUpCharset), 0U);
}

TEST(CharsetService, DecidesWhatADigitIs) {
  Session session(latin1);
  session.host.offer({true, true, false});
  const auto result = call(session.object->served.getNCR, session.object, Flavour::served,
                           unitsOf(Flavour::served, latin1, U"&#x4$;"), 100);
  EXPECT_EQ(shown(result.bytes, Flavour::served), "M");
}

TEST(CharsetService, IsNotLookedForWithoutAKernel) {
  Session session(latin1);
  Library::get().rqextent(nullptr);
  const auto result = call(session.object->served.getNCR, session.object, Flavour::served,
                           unitsOf(Flavour::served, latin1, U"&#x4a;&#x4B;"), 100);
  EXPECT_EQ(shown(result.bytes, Flavour::served), "JK");
}

// Only the plain flavour reads the escape characters from the object, and only three of its codecs do.
TEST(EscapeCharacters, AreReadFromTheObjectByThePlainFlavourOnly) {
  Session session(latin1);
  session.object->escape = '%';
  session.object->reference = '@';
  const auto answer = [&](const RQOperations& slots, const Codec& codec, std::u32string_view text) {
    return shown(
        call(slots.*codec.slot, session.object, Flavour::plain, unitsOf(Flavour::plain, latin1, text), 100).bytes,
        Flavour::plain);
  };
  const RQOperations& plain = session.object->plain;
  const RQOperations& served = session.object->served;
  EXPECT_EQ(answer(plain, getNCR, U"&#65;&@66;"), "&#65;B");
  EXPECT_EQ(answer(served, getNCR, U"&#65;&@66;"), "A&@66;");
  EXPECT_EQ(answer(plain, putNCR, U"\u00E9"), "&@233;");
  EXPECT_EQ(answer(served, putNCR, U"\u00E9"), "&#233;");
  EXPECT_EQ(answer(plain, getUEsc, U"\\u0041%u0042"), "\\u0041B");
  EXPECT_EQ(answer(served, getUEsc, U"\\u0041%u0042"), "A%u0042");
  EXPECT_EQ(answer(plain, putUEsc, U"\u00E9\\u0041"), "\\u00E9\\uu0041");
  EXPECT_EQ(answer(plain, getUParen, U"<U0041>"), "A");
}

// Words are encoded a blank and a character at a time, but only where the session holds the blank.
TEST(ReferenceEncoder, WritesNoBlankThatTheHostDoesNotHold) {
  Session session(utf8);
  session.host.schedule.add({Service::convert, 3, Outcome::lengthZero});  // the text, the exclamation mark, the blank
  const auto result = call(session.object->plain.putNCR, session.object, Flavour::plain,
                           unitsOf(Flavour::plain, utf8, U"! \u0416 \u0416 \u0416"), 100);
  EXPECT_EQ(shown(result.bytes, Flavour::plain), "!&#1046;&#1046;&#1046;");
}

// In the wide flavour bytes that do not fill a unit are dropped.
TEST(WideFlavour, DropsTheRemainderOfOtherEncodings) {
  Session session(latin1);
  const auto result = call(session.object->wide.getNCR, session.object, Flavour::wide,
                           unitsOf(Flavour::wide, latin1, U"a&#65;b"), 100);
  EXPECT_EQ(shown(result.bytes, Flavour::wide), "ab");
}

// ASCII that ends the digits is a digit in no host's eyes.
TEST(WideFlavour, AsksTheCaseServiceForDigitsFromU0080On) {
  Session session(utf32);
  session.host.offer({true, true, true});
  for (const auto& [text, asked] : {std::pair{U"&#x4\u007F;", u64{0}}, std::pair{U"&#x4\u0080;", u64{1}}}) {
    session.host.forget();
    call(session.object->wide.getNCR, session.object, Flavour::wide, unitsOf(Flavour::wide, utf32, text), 100);
    EXPECT_EQ(session.host.count(Service::upper), asked) << shown(unitsOf(Flavour::wide, utf32, text), Flavour::wide);
  }
}

// Seven characters are 28 bytes; here the host reports as many for the x behind them.
TEST(WideFlavour, PassesANotationThroughWhenTheHostTellsItsBytes) {
  Session session(utf32);
  constexpr u64 sevenUnits = 28;  // of 0x2A in each byte, as far as there is room
  session.host.fixedProduced = &sevenUnits;
  const auto text = unitsOf(Flavour::wide, utf32, U"<u0041>x");
  const auto result = call(session.object->wide.putUParen, session.object, Flavour::wide, text, 100);
  EXPECT_EQ(result.length, 14U);
}

}  // namespace
}  // namespace rq::test
