/* The UTF transforms: what reaches the transcoder, what comes back, how far blanks go. */
#include <gtest/gtest.h>

#include <cstring>

#include "tests/model/guarded_buffer.h"
#include "tests/model/session.h"

namespace rq::test {
namespace {

using u64 = std::uint64_t;
using Padded = RQPaddedTransform RQOperations::*;
using Unpadded = RQTransform RQOperations::*;

struct Operation {
  const char* name;
  unsigned word;  // its transcoder
  bool get;
  Unpadded unpadded;
  Padded padded;
  const char* blank;  // bytes of a blank, for the padded ones
  unsigned blankBytes;
};
constexpr Operation operations[] = {
    {"GetUTF8", 45, true, &RQOperations::getUTF8, nullptr, "", 0},
    {"PutUTF8", 46, false, &RQOperations::putUTF8, nullptr, "", 0},
    {"GetUTF16B", 49, true, &RQOperations::getUTF16B, nullptr, "", 0},
    {"PutUTF16B", 50, false, nullptr, &RQOperations::putUTF16B, "\0 ", 2},
    {"GetUTF16L", 51, true, &RQOperations::getUTF16L, nullptr, "", 0},
    {"PutUTF16L", 52, false, nullptr, &RQOperations::putUTF16L, " \0", 2},
    {"GetUTF32B", 55, true, &RQOperations::getUTF32B, nullptr, "", 0},
    {"PutUTF32B", 56, false, nullptr, &RQOperations::putUTF32B, "\0\0\0 ", 4},
    {"GetUTF32L", 57, true, &RQOperations::getUTF32L, nullptr, "", 0},
    {"PutUTF32L", 58, false, nullptr, &RQOperations::putUTF32L, " \0\0\0", 4},
    {"GetUTF16Native", 51, true, &RQOperations::getUTF16N, nullptr, "", 0},
    {"PutUTF16Native", 52, false, nullptr, &RQOperations::putUTF16N, " \0", 2},
    {"GetUTF32Native", 57, true, &RQOperations::getUTF32N, nullptr, "", 0},
    {"PutUTF32Native", 58, false, nullptr, &RQOperations::putUTF32N, " \0\0\0", 4},
};

u64 wordAt(const RQInterface* object, unsigned index) {
  return reinterpret_cast<const u64*>(object)[index];
}
u64 address(const void* pointer) {
  return reinterpret_cast<u64>(pointer);
}

struct Case {
  Operation operation;
  Flavour flavour;
};
void PrintTo(const Case& row, std::ostream* out) {
  *out << row.operation.name << ' ' << nameOf(row.flavour);
}

std::vector<Case> cases(bool paddedOnly) {
  std::vector<Case> all;
  for (const Operation& operation : operations)
    for (Flavour flavour : allFlavours)
      if (!paddedOnly || operation.padded) all.push_back({operation, flavour});
  return all;
}
std::string nameOfRow(const ::testing::TestParamInfo<Case>& row) {
  return std::string(row.param.operation.name) + "_" + nameOf(row.param.flavour);
}

class Transform : public ::testing::TestWithParam<Case> {
 protected:
  RQStatus run(const void* text, u64 length, void* to, u64 capacity, u64* written, int pad = 0) {
    const RQOperations& slots = slotsOf(session.object, GetParam().flavour);
    const Operation& operation = GetParam().operation;
    if (operation.padded) return (slots.*operation.padded)(session.object, text, length, to, capacity, written, pad);
    return (slots.*operation.unpadded)(session.object, text, length, to, capacity, written);
  }
  bool wide() const { return GetParam().flavour == Flavour::wide; }
  bool get() const { return GetParam().operation.get; }
  u64 capacityBytes(u64 capacity) const { return wide() ? 4 * capacity : capacity; }
  u64 reported(u64 produced) const { return wide() && get() ? produced / 4 : produced; }

  Session session{latin1};
  std::uint8_t in[256] = {};
  std::uint8_t out[256] = {};
};
class PaddedTransforms : public Transform {};

TEST_P(Transform, ScalesLengthsAsItsRowOfTheTableSays) {
  for (const u64 produced : {u64{0}, u64{3}, u64{4}, u64{7}, u64{8}, u64{20}}) {
    session.host.forget();
    session.host.fixedProduced = &produced;
    u64 written = 99;
    EXPECT_EQ(run(in, 3, out, 5, &written), 0U);
    ASSERT_EQ(session.host.calls.size(), 1U) << "one conversion and nothing else";
    const Call& call = session.host.calls[0];
    EXPECT_EQ(call.service, Service::convert);
    EXPECT_EQ(call.arguments[0], wordAt(session.object, GetParam().operation.word));
    EXPECT_EQ(call.arguments[1], address(in));
    EXPECT_EQ(call.arguments[2], wide() && !get() ? 12U : 3U);
    EXPECT_EQ(call.arguments[3], address(out));
    EXPECT_EQ(call.arguments[4], wide() ? 20U : 5U);
    EXPECT_EQ(call.arguments[6], 0U) << "flags";
    EXPECT_EQ(call.seen[0], 0U) << "the produced length starts at 0";
    EXPECT_EQ(written, reported(produced));
  }
}

TEST_P(Transform, PassesTheStatusOnAndStoresTheLengthAllTheSame) {
  for (const std::uint32_t status : {1U, 0x803FE807U, 0x803FC002U, 0xFFFFFFFFU}) {
    const u64 produced = 8;
    session.host.fixedProduced = &produced;
    session.host.convertStatus = status;
    u64 written = 99;
    EXPECT_EQ(run(in, 3, out, 5, &written), status);
    EXPECT_EQ(written, reported(8));
  }
}

TEST_P(Transform, ALengthThatTheTranscoderDoesNotSetIsZero) {
  session.host.schedule.add({Service::convert, Failure::always, Outcome::lengthNotStored});
  u64 written = 99;
  run(in, 0, out, 5, &written);
  EXPECT_EQ(written, 0U);
}

TEST_P(Transform, AnImpossibleLengthIsPassedOnNotUsed) {
  session.host.schedule.add({Service::convert, Failure::always, Outcome::lengthNearMax});
  u64 written = 99;
  run(in, 0, out, 5, &written);
  EXPECT_EQ(written, reported(UINT64_MAX - 6));
}

TEST_P(Transform, TakesNullAndNothing) {
  u64 written = 99;
  EXPECT_EQ(run(nullptr, 0, nullptr, 0, &written), 0U);
  EXPECT_EQ(written, 0U);
  EXPECT_EQ(session.host.count(Service::convert), 1U);
}

TEST_P(Transform, FullRegistersReachTheTranscoder) {
  const u64 produced = 0;
  session.host.fixedProduced = &produced;
  session.host.recording = false;  // the length is not true
  u64 written = 99;
  EXPECT_EQ(run(in, u64{1} << 40, out, u64{1} << 41, &written), 0U);
  EXPECT_EQ(session.host.count(Service::convert), 1U);
  EXPECT_EQ(written, 0U);
}

TEST_P(PaddedTransforms, WithCapacityZeroNothingIsFilled) {
  std::memset(out, 0xEE, sizeof out);
  u64 written = 99;
  EXPECT_EQ(run(in, 0, out, 0, &written, 1), 0U);
  EXPECT_EQ(written, 0U);
  EXPECT_EQ(session.host.count(Service::convert), 1U);
  for (std::uint8_t byte : out) EXPECT_EQ(byte, 0xEE);
}

TEST_P(PaddedTransforms, BlanksAreWrittenWholeAndNoFurther) {
  const Operation& operation = GetParam().operation;
  for (u64 capacity = 1; capacity <= 21; ++capacity) {
    std::memset(out, 0xEE, sizeof out);
    u64 written = 99;
    EXPECT_EQ(run(in, 0, out, capacity, &written, 1), 0U);
    EXPECT_EQ(written, capacity) << "the capacity as given";
    const u64 units = (capacityBytes(capacity) + operation.blankBytes - 1) / operation.blankBytes;
    for (u64 i = 0; i < sizeof out; ++i) {
      const auto expected = i < units * operation.blankBytes
                                ? static_cast<std::uint8_t>(operation.blank[i % operation.blankBytes])
                                : std::uint8_t{0xEE};
      EXPECT_EQ(out[i], expected) << "capacity " << capacity << ", byte " << i;
    }
  }
}

TEST_P(PaddedTransforms, AnyNonZeroPadFillsAndZeroDoesNot) {
  for (const int pad : {1, -1, 256, INT32_MIN, 0}) {
    std::memset(out, 0xEE, sizeof out);
    u64 written = 99;
    run(in, 0, out, 8, &written, pad);
    EXPECT_EQ(written, pad ? 8U : 0U);
    EXPECT_EQ(out[0] == 0xEE, pad == 0);
  }
}

TEST_P(PaddedTransforms, TheFillComesBeforeAFailingConversion) {
  session.host.schedule.refuse(Service::convert, Failure::always);
  std::memset(out, 0xEE, sizeof out);
  u64 written = 99;
  EXPECT_NE(run(in, 1, out, 8, &written, 1), 0U);
  EXPECT_EQ(written, 8U);
  EXPECT_EQ(std::memcmp(out, GetParam().operation.blank, GetParam().operation.blankBytes), 0);
}

TEST_P(PaddedTransforms, TextOverwritesTheHeadOfTheBlanks) {
  const Operation& operation = GetParam().operation;
  const u64 size = operation.blankBytes;
  // Session text is read as bytes: in the wide flavour every character brings four of them.
  const std::uint8_t text[4] = {'A', 'A', 'A', 'A'};
  u64 written = 99;
  EXPECT_EQ(run(text, 1, out, 10, &written, 1), 0U);
  EXPECT_EQ(written, 10U);
  const u64 characters = wide() ? 4 : 1;
  for (u64 i = 0; i < capacityBytes(10) / size; ++i) {
    std::uint8_t expected[4] = {};
    std::memcpy(expected, operation.blank, size);
    for (std::uint8_t& byte : expected)
      if (i < characters && byte == ' ') byte = 'A';
    EXPECT_EQ(std::memcmp(out + i * size, expected, size), 0) << "unit " << i;
  }
}

TEST_P(PaddedTransforms, BlanksStayWithinTheSlackOfTheHeader) {
  GuardedBuffer buffer(256);
  for (u64 capacity = 0; capacity <= 21; ++capacity) {
    std::uint8_t* at = buffer.place(capacityBytes(capacity) + RQ_OUTPUT_SLACK_BYTES);
    u64 written = 0;
    run(in, 0, at, capacity, &written, 1);
    EXPECT_TRUE(buffer.isIntact());
  }
}

INSTANTIATE_TEST_SUITE_P(Table, Transform, ::testing::ValuesIn(cases(false)), nameOfRow);
INSTANTIATE_TEST_SUITE_P(Table, PaddedTransforms, ::testing::ValuesIn(cases(true)), nameOfRow);

TEST(Transforms, TextGoesToEveryFormAndBack) {
  constexpr std::u32string_view text = U"Gr\u00FC\u00DFe, na\u00EFf \u00A7 5";
  for (const std::uint32_t encoding : {latin1, utf8, utf32}) {
    Session session(encoding);
    for (Flavour flavour : allFlavours) {
      if ((flavour == Flavour::wide) != (encoding == utf32)) continue;
      const std::vector<std::uint8_t> units = unitsOf(flavour, encoding, text);
      const u64 count = units.size() / unitBytes(flavour);
      for (unsigned i = 0; i < std::size(operations); i += 2) {
        const RQOperations& slots = slotsOf(session.object, flavour);
        std::uint8_t form[256], back[256];
        u64 formBytes = 0, length = 0;
        const Operation& put = operations[i + 1];
        const RQStatus status =
            put.padded ? (slots.*put.padded)(session.object, units.data(), count, form, 64, &formBytes, 0)
                       : (slots.*put.unpadded)(session.object, units.data(), count, form, 64, &formBytes);
        EXPECT_EQ(status, 0U) << put.name;
        EXPECT_EQ((slots.*operations[i].unpadded)(session.object, form, formBytes, back, 64, &length), 0U);
        EXPECT_EQ(length, count) << put.name << ' ' << nameOf(flavour);
        EXPECT_EQ(std::memcmp(back, units.data(), units.size()), 0) << put.name;
      }
    }
  }
}

}  // namespace
}  // namespace rq::test
