#include <array>
#include <set>

#include "tests/host/support.h"

namespace rq::test {
namespace {

TEST(Encodings, FiveFormsHaveFixedIdentifiers) {
  const std::pair<const char*, std::uint32_t> rows[] = {
      {"UTF-8", 20},    {"utf8", 20},     {"UTF-16BE", 24},
      {"UTF-16LE", 25}, {"UTF-32BE", 26}, {"UTF-32LE", 27},
      {"UTF-16", 24},   {"UTF-32", 26},   {"UTF16_PlatformEndian", 25}};
  for (const auto& [name, identifier] : rows) {
    const auto encoding = host::findEncoding(name);
    ASSERT_TRUE(encoding) << name;
    EXPECT_EQ((*encoding)->identifier, identifier) << name;
  }
}

TEST(Encodings, IdentifiersAreDistinctPositiveAndStable) {
  std::set<std::uint32_t> seen;
  for (const host::Encoding& encoding : host::encodings()) {
    EXPECT_TRUE(seen.insert(encoding.identifier).second) << encoding.name;
    EXPECT_LT(encoding.identifier, 0x80000000U);
    EXPECT_EQ(host::findEncoding(encoding.identifier), &encoding);
  }
  EXPECT_GT(seen.size(), 200U);
  // Hosts and scripts may have stored these.
  EXPECT_EQ((*host::findEncoding("HZ"))->identifier, 2011913303U);
  EXPECT_EQ((*host::findEncoding("BOCU-1"))->identifier, 1869736689U);
}

TEST(Encodings, EveryOneCanBeOpened) {
  for (const host::Encoding& encoding : host::encodings()) {
    EXPECT_NE(host::codecOf(encoding.identifier), nullptr) << encoding.name;
  }
  EXPECT_EQ(host::codecOf(0), nullptr);
  EXPECT_EQ(host::codecOf(UINT32_MAX), nullptr);
  EXPECT_EQ(host::findEncoding(7U), nullptr);
}

/// ICU has a converter that drops what its encoding lacks. The host does not offer it.
TEST(Encodings, NoneDropsACharacter) {
  EXPECT_FALSE(host::findEncoding("x11-compound-text"));
  for (const host::Encoding& encoding : host::encodings()) {
    const host::Codec& codec = *host::codecOf(encoding.identifier);
    for (char32_t character = 0x21; character < 0x30000; character += character < 0x3000 ? 7 : 101) {
      if (character >= 0xD800 && character < 0xE000) continue;
      std::array<std::byte, 64> bytes;
      const host::Step step = codec.encode({&character, 1}, bytes, true, true);
      if (step.outcome != host::Outcome::done) continue;
      ASSERT_GT(step.produced, 0U) << encoding.name << ", U+" << std::hex << static_cast<unsigned>(character);
    }
  }
}

TEST(Encodings, UnknownNamesBringSimilarOnes) {
  const auto encoding = host::findEncoding("ISO-8858-1");
  ASSERT_FALSE(encoding);
  EXPECT_EQ(encoding.error().kind, host::Error::Kind::usage);
  EXPECT_NE(encoding.error().text.find("'ISO-8858-1' is unknown"), std::string::npos);
  EXPECT_NE(encoding.error().text.find("8859-1"), std::string::npos) << encoding.error().text;
  const auto hopeless = host::findEncoding("qqqqqqqqqqqqqqqqqqqq");
  ASSERT_FALSE(hopeless);
  EXPECT_EQ(hopeless.error().text, "encoding 'qqqqqqqqqqqqqqqqqqqq' is unknown");
  EXPECT_FALSE(host::findEncoding(""));
}

TEST(Encodings, KnowsWhichCarryNotations) {
  for (const char* name : {"UTF-8", "ISO-8859-1", "Shift_JIS", "GB18030", "US-ASCII", "windows-1252"}) {
    EXPECT_TRUE(host::carriesNotations(codecNamed(name))) << name;
  }
  for (const char* name : {"UTF-16BE", "UTF-32LE", "ibm-1047", "ISO-2022-JP", "UTF-7", "HZ"}) {
    EXPECT_FALSE(host::carriesNotations(codecNamed(name))) << name;
  }
}

}  // namespace
}  // namespace rq::test
