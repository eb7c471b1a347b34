/* The version record: 26 words, their forms, and that a copy is a copy. */
#include <gtest/gtest.h>

#include <cstring>
#include <ctime>
#include <string>

#include "tests/model/library.h"

namespace rq::test {
namespace {

struct Words {
  std::uint64_t at[26];
};

Words record() {
  Words words;
  std::memset(&words, 0xEE, sizeof words);
  Library::get().symbol<void (*)(void*)>("rqvercn1")(&words);
  return words;
}

const char* text(const Words& words, unsigned index) {
  return reinterpret_cast<const char*>(words.at[index]);
}

bool matches(const std::string& text, const testing::Matcher<const std::string&>& form) {
  return form.Matches(text);
}

TEST(VersionRecord, StringsHaveTheirForms) {
  struct Row {
    unsigned word;
    const char* form;
  };
  constexpr Row rows[] = {
      {0, R"(V\.[0-9]{2}\.[0-9]{2}M[0-9]P[0-9]{8})"},
      {1, R"([a-z]{3}/[a-z]{3}-[a-z]{2}[0-9]{5})"},
      {2, ""},
      {4, "rq"},
      {5, "[A-Za-z]{5}"},
      {6, "rqfnc"},
      {7, "[A-Za-z0-9]{12}-[A-Za-z0-9]{7}"},
      {8, ""},
      {9, "version"},
      {10, "::"},
      {11, ""},
      {12, "QRB_VERSION_HOTFIX_NUMBER= {39}"},
      {13, R"([A-Za-z0-9]{3}\.[A-Za-z0-9]{11})"},
      {14, "VERCON_IMAGE_DESCRIPTION= {40}"},
      {15, "[a-z]{5}"},
      {16,
       "(Mon|Tue|Wed|Thu|Fri|Sat|Sun) (Jan|Feb|Mar|Apr|May|Jun|Jul|Aug|Sep|Oct|Nov|Dec) [ 1-3][0-9] "
       "[0-2][0-9]:[0-5][0-9]:[0-6][0-9] UTC [0-9]{4}"},
  };
  const Words words = record();
  for (const Row& row : rows) {
    ASSERT_NE(words.at[row.word], 0U) << "word " << row.word;
    EXPECT_TRUE(matches(text(words, row.word), testing::MatchesRegex(row.form)))
        << "word " << row.word << " is \"" << text(words, row.word) << '"';
  }
}

TEST(VersionRecord, ComponentCodeHasMixedCase) {
  const std::string code = text(record(), 5);
  EXPECT_TRUE(matches(code, testing::ContainsRegex("[A-Z]")) && matches(code, testing::ContainsRegex("[a-z]")))
      << code;
}

TEST(VersionRecord, LastNineWordsAreZero) {
  const Words words = record();
  for (unsigned i = 17; i < 26; ++i) EXPECT_EQ(words.at[i], 0U) << "word " << i;
}

TEST(VersionRecord, StringLengthsAreFixed) {
  struct Row {
    unsigned word;
    std::size_t length;
  };
  constexpr Row rows[] = {{0, 18}, {1, 15}, {5, 5}, {7, 20}, {12, 65}, {13, 15}, {14, 65}, {15, 5}, {16, 28}};
  const Words words = record();
  for (const Row& row : rows) EXPECT_EQ(std::strlen(text(words, row.word)), row.length) << "word " << row.word;
}

TEST(VersionRecord, PatchableFieldsStandInZeroFilledAreasOf96Bytes) {
  const Words words = record();
  for (unsigned word : {12U, 14U})
    for (unsigned i = 65; i < 96; ++i) EXPECT_EQ(text(words, word)[i], 0) << "word " << word << ", byte " << i;
  const std::uint64_t apart = words.at[12] > words.at[14] ? words.at[12] - words.at[14] : words.at[14] - words.at[12];
  EXPECT_GE(apart, 96U);
}

TEST(VersionRecord, BuildTimeStampAndDateAreOneInstant) {
  const Words words = record();
  const auto seconds = static_cast<std::time_t>(words.at[3]);
  std::tm utc{};
  ASSERT_NE(gmtime_r(&seconds, &utc), nullptr);
  char date[64];
  std::strftime(date, sizeof date, "%a %b %e %H:%M:%S UTC %Y", &utc);
  EXPECT_STREQ(text(words, 16), date);
  std::strftime(date, sizeof date, "%m%d%Y", &utc);
  EXPECT_STREQ(text(words, 0) + 10, date);
}

TEST(VersionRecord, CopiesAreIdenticalAndShareTheirStrings) {
  const Words first = record(), second = record();
  EXPECT_EQ(std::memcmp(&first, &second, sizeof first), 0);
}

TEST(VersionRecord, ExactlyTwoHundredAndEightBytesAreWritten) {
  std::uint8_t room[208 + 16];
  std::memset(room, 0xEE, sizeof room);
  Library::get().symbol<void (*)(void*)>("rqvercn1")(room + 8);
  for (unsigned i = 0; i < 8; ++i) {
    EXPECT_EQ(room[i], 0xEE);
    EXPECT_EQ(room[216 + i], 0xEE);
  }
}

}  // namespace
}  // namespace rq::test
