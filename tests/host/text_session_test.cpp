// The public session: strings in, strings out.
#include "host/text_session.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace rq::test {
namespace {

using host::Error;
using host::Form;
using host::Notation;
using host::TextSession;

TextSession sessionIn(std::string_view encoding) {
  auto session = TextSession::open(encoding, RQ_LIBRARY_PATH);
  if (!session) throw std::runtime_error(session.error().text);
  return std::move(*session);
}

template <class T>
auto valueOf(const host::Result<T>& result) {
  if (!result) throw std::runtime_error(result.error().text);
  return *result;
}

TEST(TextSessionTest, DecodesAndEncodesInTheSessionEncoding) {
  const TextSession latin = sessionIn("ISO-8859-1");
  EXPECT_EQ(latin.encoding(), "ISO-8859-1");
  EXPECT_EQ(valueOf(latin.decode(Notation::ncr, "caf&#233; &#8364;")), "caf\xE9 &#8364;");
  EXPECT_EQ(valueOf(latin.decode(Notation::uesc, "caf\\u00e9")), "caf\xE9");
  EXPECT_EQ(valueOf(latin.decode(Notation::uparen, "caf<U00E9>")), "caf\xE9");
  EXPECT_EQ(valueOf(latin.decode(Notation::uparenAscii, "<U0041><U00E9>")), "A<U00E9>");
  EXPECT_EQ(valueOf(latin.encode(Notation::ncr, "caf\xE9")), "caf&#233;");
  EXPECT_EQ(valueOf(latin.encode(Notation::uesc, "caf\xE9")), "caf\\u00E9");
  EXPECT_EQ(valueOf(latin.encode(Notation::uparen, "\xE9")), "<u00E9>");
}

TEST(TextSessionTest, WorksOnCharacters) {
  const TextSession session = sessionIn("UTF-8");
  EXPECT_EQ(valueOf(session.decode(Notation::ncr, U"&#x1F600;!")), U"\U0001F600!");
  EXPECT_EQ(valueOf(session.encode(Notation::uesc, U"\u65E5")), U"\\u65E5");
  EXPECT_EQ(valueOf(session.length(U"日本  ")), 2);
  EXPECT_EQ(valueOf(session.width(U"日本")), 4);
  EXPECT_EQ(valueOf(session.length("日本  ")), 2);
  EXPECT_EQ(valueOf(session.width("日本")), 4);
}

TEST(TextSessionTest, ConvertsFormsBothWays) {
  const TextSession session = sessionIn("GB18030");
  const std::u32string characters = U"aé日\U0001F600";
  for (const Form form : {Form::utf8, Form::utf16Big, Form::utf16Little, Form::utf32Big, Form::utf32Little}) {
    const std::string bytes = valueOf(session.toForm(form, characters));
    EXPECT_EQ(valueOf(session.charactersFromForm(form, bytes)), characters);
    const std::string text = valueOf(session.fromForm(form, bytes));
    EXPECT_EQ(valueOf(session.toForm(form, text)), bytes);
    EXPECT_EQ(valueOf(session.toForm(Form::utf8, text)), "aé日\U0001F600");
  }
}

TEST(TextSessionTest, EmptyAndLongTexts) {
  const TextSession session = sessionIn("UTF-8");
  EXPECT_EQ(valueOf(session.decode(Notation::uparen, "")), "");
  EXPECT_EQ(valueOf(session.toForm(Form::utf16Big, U"")), "");
  EXPECT_EQ(valueOf(session.length("")), 0);
  std::string text;
  for (int i = 0; i < 5000; ++i) text += "é\U0001F600 ";
  for (const Notation notation : {Notation::ncr, Notation::uesc, Notation::uparen}) {
    EXPECT_EQ(valueOf(session.decode(notation, valueOf(session.encode(notation, text)))), text);
  }
  EXPECT_EQ(valueOf(session.decode(Notation::uparen, std::string(3 * 3000, '<'))), std::string(3 * 3000, '<'));
}

TEST(TextSessionTest, ErrorsAreValues) {
  const auto unknown = TextSession::open("no-such-encoding", RQ_LIBRARY_PATH);
  ASSERT_FALSE(unknown);
  EXPECT_EQ(unknown.error().kind, Error::Kind::usage);
  const auto nothing = TextSession::open("UTF-8", "/nonexistent.so");
  ASSERT_FALSE(nothing);
  EXPECT_EQ(nothing.error().kind, Error::Kind::system);

  const TextSession session = sessionIn("ISO-8859-1");
  const auto lacking = session.fromForm(Form::utf8, "a\n\u20AC");
  ASSERT_FALSE(lacking);
  EXPECT_EQ(lacking.error().kind, Error::Kind::data);
  EXPECT_EQ(lacking.error().text, "character U+20AC at offset 2, line 2, column 1 does not exist in ISO-8859-1");
  const auto invalid = session.toForm(Form::utf8, std::u32string(1, char32_t{0x110000}));
  ASSERT_FALSE(invalid);
  EXPECT_EQ(invalid.error().kind, Error::Kind::data);

  const TextSession wide = sessionIn("UTF-16BE");
  const auto notation = wide.decode(Notation::ncr, std::string_view("&#65;"));
  ASSERT_FALSE(notation);
  EXPECT_EQ(notation.error().kind, Error::Kind::usage);
  EXPECT_EQ(valueOf(wide.decode(Notation::ncr, U"&#65;")), U"A");
}

TEST(TextSessionTest, OutlivesOthersAndMoves) {
  TextSession kept = sessionIn("UTF-8");
  { const TextSession other = sessionIn("KOI8-R"); }
  EXPECT_EQ(valueOf(kept.decode(Notation::ncr, "&#65;")), "A");
  TextSession moved = std::move(kept);
  EXPECT_EQ(valueOf(moved.decode(Notation::ncr, "&#66;")), "B");
  kept = sessionIn("ISO-8859-1");
  moved = std::move(kept);
  EXPECT_EQ(valueOf(moved.decode(Notation::ncr, "&#233;")), "\xE9");
}

TEST(TextSessionTest, ServesSeveralThreads) {
  const TextSession session = sessionIn("Shift_JIS");
  std::vector<std::thread> threads;
  std::atomic<int> wrong = 0;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int round = 0; round < 50; ++round) {
        const TextSession own = sessionIn("UTF-8");
        wrong += valueOf(session.decode(Notation::ncr, "&#65;&#x65E5;")) == "A\x93\xFA" ? 0 : 1;
        wrong += valueOf(own.decode(Notation::ncr, "&#x65E5;")) == "日" ? 0 : 1;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
}

}  // namespace
}  // namespace rq::test
