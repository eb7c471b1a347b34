/* The object that rquni makes: every word of it. */
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "tests/model/session.h"

namespace rq::test {
namespace {

const std::uint8_t* bytesOf(const RQInterface* object) {
  return reinterpret_cast<const std::uint8_t*>(object);
}
std::uint64_t wordAt(const RQInterface* object, unsigned index) {
  std::uint64_t word;
  std::memcpy(&word, bytesOf(object) + 8 * index, 8);
  return word;
}

// The functions of a flavour by position, as hosts count on them.
constexpr const char* functions[23] = {
    "ulGetNCR",    "ulPutNCR",    "ulGetUEsc",   "ulPutUEsc",          "ulGetUParen",      "ulGetUParenP",
    "ulPutUParen", "ulGetUTF8",   "ulPutUTF8",   "ulGetUTF16L",        "ulPutUTF16L",      "ulGetUTF16B",
    "ulPutUTF16B", "ulGetUTF16L", "ulPutUTF16L", "ulGetUTF32L",        "ulPutUTF32L",      "ulGetUTF32B",
    "ulPutUTF32B", "ulGetUTF32L", "ulPutUTF32L", "ulGetUnicodeLength", "ulGetUnicodeWidth"};

struct SlotRow {
  unsigned word;
  std::string symbol;
};
void PrintTo(const SlotRow& row, std::ostream* out) {
  *out << row.symbol;
}

std::vector<SlotRow> slotRows() {
  std::vector<SlotRow> rows{{3, "ulGetReqVersion"}, {4, "ulGetVersion"}, {6, "ulDestroy"}};
  unsigned word = 60;
  for (const char* prefix : {"", "S_", "T_"})
    for (const char* function : functions) rows.push_back({word++, std::string(prefix) + function});
  return rows;
}

class Slot : public ::testing::TestWithParam<SlotRow> {};

TEST_P(Slot, HoldsItsFunction) {
  const Session session(latin1);
  const void* function = Library::get().find(GetParam().symbol.c_str());
  ASSERT_NE(function, nullptr);
  EXPECT_EQ(wordAt(session.object, GetParam().word), reinterpret_cast<std::uint64_t>(function));
  EXPECT_NE(function, Library::get().find("skUnsup")) << "still open";
}

std::string nameOfRow(const ::testing::TestParamInfo<SlotRow>& row) {
  return "Word" + std::to_string(row.param.word) + "_" + row.param.symbol;
}
INSTANTIATE_TEST_SUITE_P(Words, Slot, ::testing::ValuesIn(slotRows()), nameOfRow);

TEST(Object, NativeSlotsRepeatTheLittleEndianFunctions) {
  const Session session(latin1);
  for (unsigned flavour = 0; flavour < 3; ++flavour)
    for (unsigned native : {69U, 70U, 75U, 76U}) {
      const unsigned word = native + 23 * flavour;
      EXPECT_EQ(wordAt(session.object, word), wordAt(session.object, word + 4)) << "word " << word;
    }
}

TEST(Object, EyeCatcherAndEscapeCharacters) {
  const Session session(latin1);
  EXPECT_EQ(std::memcmp(bytesOf(session.object), "nevo", 4), 0);
  EXPECT_EQ(bytesOf(session.object)[8 * 59], 0x5C);
  EXPECT_EQ(bytesOf(session.object)[8 * 59 + 1], 0x23);
}

TEST(Object, HoldsTheHandlesOfTheHost) {
  Session session(latin1);
  EXPECT_EQ(wordAt(session.object, 10), reinterpret_cast<std::uint64_t>(session.host.journal()));
  EXPECT_EQ(wordAt(session.object, 11), reinterpret_cast<std::uint64_t>(session.host.nls()));
  EXPECT_EQ(wordAt(session.object, 12), std::uint64_t{latin1});
}

TEST(Object, UnlistedBytesKeepWhatThePoolLeftThere) {
  const auto listed = [](unsigned byte) {
    const unsigned word = byte / 8;
    if (word == 0) return byte % 8 < 4;
    if (word == 59) return byte % 8 < 2;
    return word == 3 || word == 4 || word == 6 || (word >= 9 && word <= 12) || word >= 45;
  };
  for (const std::uint8_t pattern : {std::uint8_t{0x00}, std::uint8_t{0xA5}, std::uint8_t{0xFF}}) {
    MockHost host;
    host.poolPattern = pattern;
    Library::get().rqextent(host.kernel());
    RQInterface* object = Library::get().rquni(host.context(), nullptr);
    ASSERT_NE(object, nullptr);
    for (unsigned byte = 0; byte < 1032; ++byte)
      if (!listed(byte)) {
        EXPECT_EQ(bytesOf(object)[byte], pattern) << "byte " << byte;
      }
    object->destroy(object);
    EXPECT_TRUE(host.balanced()) << "nothing was written around the 1032 bytes either";
  }
}

TEST(Object, VersionsAreToldInFullAndTheObjectIsNotRead) {
  using Versions = std::uint64_t (*)(void*, std::uint64_t*, std::uint64_t*, std::uint64_t*);
  struct Row {
    const char* symbol;
    std::uint64_t major, minor, patch;
  };
  for (const Row& row : {Row{"ulGetVersion", 1, 0, 0}, Row{"ulGetReqVersion", 9, 1, 1}}) {
    const auto versions = Library::get().symbol<Versions>(row.symbol);
    for (void* object : {static_cast<void*>(nullptr), reinterpret_cast<void*>(1)}) {
      std::uint64_t values[5] = {7, ~0ULL, ~0ULL, ~0ULL, 7};
      EXPECT_EQ(versions(object, &values[1], &values[2], &values[3]), 0U) << "in the whole register";
      EXPECT_EQ(values[0], 7U);
      EXPECT_EQ(values[1], row.major);
      EXPECT_EQ(values[2], row.minor);
      EXPECT_EQ(values[3], row.patch);
      EXPECT_EQ(values[4], 7U);
    }
  }
}

TEST(Object, IsNotChangedByOperations) {
  Session session(latin1);
  std::uint8_t before[1032];
  std::memcpy(before, bytesOf(session.object), sizeof before);
  std::uint8_t out[64];
  std::uint64_t length = 0;
  for (Flavour flavour : allFlavours) {
    const RQOperations& slots = slotsOf(session.object, flavour);
    const std::vector<std::uint8_t> text = unitsOf(flavour, latin1, U"A&#66;\\u0043<U0044>");
    slots.getNCR(session.object, text.data(), 4, out, 4, &length);
    slots.putUTF8(session.object, text.data(), 4, out, 4, &length);
    slots.putUTF16B(session.object, text.data(), 4, out, 4, &length, 1);
    slots.getUnicodeWidth(session.object, text.data(), 4);
  }
  EXPECT_EQ(std::memcmp(before, bytesOf(session.object), sizeof before), 0);
}

}  // namespace
}  // namespace rq::test
