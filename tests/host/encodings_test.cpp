#include <unicode/ucnv.h>

#include <algorithm>
#include <array>
#include <set>

#include "host/spelling.h"
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

TEST(Spelling, CountsSteps) {
  const std::tuple<const char*, const char*, std::size_t> rows[] = {
      {"", "", 0},         {"", "abc", 3},           {"abc", "", 3},   {"abc", "abc", 0},
      {"abc", "abd", 1},   {"abc", "bbc", 1},        {"ab", "abc", 1}, {"abc", "bc", 1},
      {"abcd", "badc", 3}, {"kitten", "sitting", 3}, {"a", "bcd", 3},  {"flaw", "lawn", 2}};
  for (const auto& [from, to, steps] : rows) {
    EXPECT_EQ(host::stepsBetween(from, to), steps) << from << ", " << to;
    EXPECT_EQ(host::stepsBetween(to, from), steps) << to << ", " << from;
  }
}

/// The nearest names first: at most four, and one of each encoding.
TEST(Encodings, OrdersSimilarNames) {
  const std::pair<const char*, const char*> rows[] = {
      {"UTF-9", "UTF-7, UTF-8, UTF-16, UTF-32"},
      {"utf-88", "UTF-8, UTF-16, UTF-32, UTF-7"},
      {"tf8", "UTF-8"},
      {"iso8859-17", "ISO-8859-1, ISO-8859-10, ISO-8859-11, ISO-8859-13"},
      {"KOI8-X", "KOI8-R, KOI8-U"},
      {"shift_jisx", "Shift_JIS, shift_jis78"},
      {"gb18031", "GB18030"},
      {"windows-1249", "windows-1200, windows-1201, windows-1250, windows-1251"},
      {"u", "us"}};
  for (const auto& [name, similar] : rows) {
    const auto encoding = host::findEncoding(name);
    ASSERT_FALSE(encoding) << name;
    EXPECT_EQ(encoding.error().text, "encoding '" + std::string(name) + "' is unknown; similar names: " + similar);
  }
}

TEST(Encodings, ShowsSixtyFourBytesOfAnUnknownName) {
  const std::string longest(64, 'q');
  EXPECT_EQ(host::findEncoding(longest).error().text, "encoding '" + longest + "' is unknown");
  EXPECT_EQ(host::findEncoding(longest + "q").error().text, "encoding '" + longest + "...' is unknown");
}

/// All of ICU's names find the encoding, which lists them; first those that mail and web prefer.
TEST(Encodings, HaveTheAliasesOfIcu) {
  const auto has = [](const host::Encoding& encoding, std::string_view name) {
    return encoding.name == name || std::ranges::count(encoding.aliases, name) == 1;
  };
  std::size_t names = 0;
  for (std::int32_t i = 0; i < ucnv_countAvailable(); ++i) {
    const char* const icuName = ucnv_getAvailableName(i);
    const auto encoding = host::findEncoding(icuName);
    if (!encoding) continue;  // the one that drops characters
    UErrorCode error = U_ZERO_ERROR;
    for (std::uint16_t k = 0; k < ucnv_countAliases(icuName, &error); ++k, ++names)
      EXPECT_TRUE(has(**encoding, ucnv_getAlias(icuName, k, &error))) << icuName << ", " << k;
  }
  EXPECT_GT(names, 1000U);
  const std::pair<const char*, const char*> rows[] = {
      {"ibm-943_P15A-2003", "Shift_JIS"}, {"ISO-8859-1", "ISO_8859-1:1987"}, {"ibm-1047_P100-1995", "IBM1047"}};
  for (const auto& [name, first] : rows) {
    const host::Encoding& encoding = **host::findEncoding(name);
    EXPECT_EQ(encoding.name, name);
    EXPECT_EQ(encoding.aliases.at(0), first);
  }
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
