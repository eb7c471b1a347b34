// The codecs of the Unicode forms against a twin that follows the definitions and nothing else.
#include <algorithm>
#include <array>
#include <map>
#include <random>
#include <vector>

#include "tests/host/support.h"
#include "tests/model/guarded_buffer.h"

namespace rq::test {
namespace {

using host::Outcome;

/// One sequence at the front of a text that is not empty: its character, or what is wrong with how many bytes.
struct Sequence {
  Outcome outcome;
  char32_t character;
  std::size_t bytes;
};

bool isScalar(std::uint32_t c) {
  return c < 0xD800 || (c > 0xDFFF && c <= 0x10FFFF);
}

/// The well-formed sequences of UTF-8, a row for each range of leads (The Unicode Standard, table 3-7).
struct Utf8Row {
  unsigned firstLead, lastLead, length, firstSecond, lastSecond;
};
constexpr Utf8Row utf8Rows[] = {
    {0x00, 0x7F, 1, 0, 0},       {0xC2, 0xDF, 2, 0x80, 0xBF}, {0xE0, 0xE0, 3, 0xA0, 0xBF},
    {0xE1, 0xEC, 3, 0x80, 0xBF}, {0xED, 0xED, 3, 0x80, 0x9F}, {0xEE, 0xEF, 3, 0x80, 0xBF},
    {0xF0, 0xF0, 4, 0x90, 0xBF}, {0xF1, 0xF3, 4, 0x80, 0xBF}, {0xF4, 0xF4, 4, 0x80, 0x8F}};

Sequence readUtf8(std::string_view text) {
  const auto at = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  for (const Utf8Row& row : utf8Rows) {
    if (at(0) < row.firstLead || at(0) > row.lastLead) continue;
    char32_t c = row.length == 1 ? at(0) : at(0) & (0xFFU >> (row.length + 1));
    for (std::size_t i = 1; i < row.length; ++i) {
      if (i == text.size()) return {Outcome::truncated, 0, i};
      const unsigned first = i == 1 ? row.firstSecond : 0x80;
      const unsigned last = i == 1 ? row.lastSecond : 0xBF;
      if (at(i) < first || at(i) > last) return {Outcome::malformed, 0, i};
      c = c * 64 + (at(i) - 0x80);
    }
    return {Outcome::done, c, row.length};
  }
  return {Outcome::malformed, 0, 1};
}

std::uint32_t unitAt(std::string_view text, std::size_t bytes, bool big) {
  std::uint32_t unit = 0;
  for (std::size_t i = 0; i < bytes; ++i) {
    unit = unit << 8 | static_cast<unsigned char>(text[big ? i : bytes - 1 - i]);
  }
  return unit;
}

Sequence readUtf16(std::string_view text, bool big) {
  if (text.size() < 2) return {Outcome::truncated, 0, text.size()};
  const std::uint32_t first = unitAt(text, 2, big);
  if (first < 0xD800 || first > 0xDFFF) return {Outcome::done, first, 2};
  if (first >= 0xDC00) return {Outcome::malformed, 0, 2};
  if (text.size() < 4) return {Outcome::truncated, 0, text.size()};
  const std::uint32_t second = unitAt(text.substr(2), 2, big);
  if (second < 0xDC00 || second > 0xDFFF) return {Outcome::malformed, 0, 2};
  return {Outcome::done, 0x10000 + (first - 0xD800) * 0x400 + (second - 0xDC00), 4};
}

Sequence readUtf32(std::string_view text, bool big) {
  if (text.size() < 4) return {Outcome::truncated, 0, text.size()};
  const std::uint32_t unit = unitAt(text, 4, big);
  return {isScalar(unit) ? Outcome::done : Outcome::malformed, unit, 4};
}

void appendUnit(std::string& text, std::uint32_t unit, std::size_t bytes, bool big) {
  for (std::size_t i = 0; i < bytes; ++i) text += static_cast<char>(unit >> 8 * (big ? bytes - 1 - i : i));
}

struct Form {
  const char* name;
  std::uint32_t identifier;
  Sequence (*read)(std::string_view text);
  std::string (*write)(char32_t c);
};

std::string writeUtf8(char32_t c) {
  std::string bytes;
  const unsigned more = c < 0x80 ? 0 : c < 0x800 ? 1 : c < 0x10000 ? 2 : 3;
  constexpr unsigned marks[] = {0, 0xC0, 0xE0, 0xF0};
  bytes += static_cast<char>(marks[more] | c >> 6 * more);
  for (unsigned i = more; i > 0; --i) bytes += static_cast<char>(0x80 | (c >> 6 * (i - 1) & 0x3F));
  return bytes;
}

template <bool big>
std::string writeUtf16(char32_t c) {
  std::string bytes;
  if (c > 0xFFFF) appendUnit(bytes, 0xD800 + ((c - 0x10000) >> 10), 2, big);
  appendUnit(bytes, c > 0xFFFF ? 0xDC00 + ((c - 0x10000) & 0x3FF) : c, 2, big);
  return bytes;
}

template <bool big>
std::string writeUtf32(char32_t c) {
  std::string bytes;
  appendUnit(bytes, c, 4, big);
  return bytes;
}

const Form forms[] = {
    {"UTF-8", 20, readUtf8, writeUtf8},
    {"UTF-16BE", 24, [](std::string_view text) { return readUtf16(text, true); }, writeUtf16<true>},
    {"UTF-16LE", 25, [](std::string_view text) { return readUtf16(text, false); }, writeUtf16<false>},
    {"UTF-32BE", 26, [](std::string_view text) { return readUtf32(text, true); }, writeUtf32<true>},
    {"UTF-32LE", 27, [](std::string_view text) { return readUtf32(text, false); }, writeUtf32<false>},
};

/// What a text holds up to its first error.
struct Reading {
  std::u32string characters;
  std::size_t consumed = 0, badBytes = 0;
  Outcome outcome = Outcome::done;
  bool operator==(const Reading&) const = default;
};

Reading twinReading(const Form& form, std::string_view text) {
  Reading reading;
  while (reading.consumed < text.size()) {
    const Sequence sequence = form.read(text.substr(reading.consumed));
    if (sequence.outcome != Outcome::done) {
      reading.outcome = sequence.outcome;
      reading.badBytes = sequence.bytes;
      break;
    }
    reading.characters += sequence.character;
    reading.consumed += sequence.bytes;
  }
  return reading;
}

/// A text in front of a guard page: a read beyond its end stops the process.
class Guarded {
 public:
  explicit Guarded(std::string_view text)
      : buffer_(text.size()),
        bytes_(reinterpret_cast<const std::byte*>(buffer_.place(text.data(), text.size())), text.size()) {}
  host::Bytes bytes() const { return bytes_; }

 private:
  GuardedBuffer buffer_;
  const host::Bytes bytes_;
};

/// So many characters of room that end at a guard page.
std::span<char32_t> guardedRoom(std::size_t characters) {
  static std::map<std::size_t, GuardedBuffer> buffers;
  GuardedBuffer& buffer = buffers.try_emplace(characters, characters * sizeof(char32_t), 0).first->second;
  return {reinterpret_cast<char32_t*>(buffer.place(characters * sizeof(char32_t))), characters};
}

Reading codecReading(const host::Codec& codec, host::Bytes text, std::size_t room) {
  Reading reading;
  const std::span<char32_t> piece = guardedRoom(room);
  for (bool first = true;; first = false) {
    const host::Step step = codec.decode(text.subspan(reading.consumed), piece, first);
    reading.characters.append(piece.data(), step.produced);
    reading.consumed += step.consumed;
    reading.badBytes = step.badBytes;
    reading.outcome = step.outcome;
    if (step.outcome != Outcome::outputFull) return reading;
    EXPECT_GT(step.produced, room / 2) << "a full piece has more than half of its room filled";
  }
}

/// Texts as people write them and as they should not: runs of one kind, mixtures, and errors here and there.
class Texts {
 public:
  explicit Texts(unsigned seed) : random_(seed) {}

  std::u32string characters() {
    std::u32string text;
    const std::size_t length = below(300);
    while (text.size() < length) {
      const unsigned kind = below(5);
      for (std::size_t run = 1 + below(below(4) == 0 ? 100 : 6); run > 0; --run) text += character(kind);
    }
    return text;
  }

  /// Damages up to three bytes.
  void damage(std::string& text) {
    for (unsigned times = below(4); times > 0 && !text.empty(); --times) {
      const std::size_t place = below(static_cast<unsigned>(text.size()));
      const unsigned how = below(4);
      if (how == 0) text[place] = static_cast<char>(below(256));
      if (how == 1) text.erase(place, 1 + below(3));
      if (how == 2) text.insert(place, 1, static_cast<char>(0x80 + below(128)));
      if (how == 3) text.resize(place);
    }
  }

  unsigned below(unsigned limit) { return static_cast<unsigned>(random_() % limit); }

 private:
  char32_t character(unsigned kind) {
    if (kind < 2) return below(0x80);
    if (kind == 2) return 0x80 + below(0x800 - 0x80);
    if (kind == 4) return 0x10000 + below(0x100000);
    const char32_t c = 0x800 + below(0x10000 - 0x800);
    return isScalar(c) ? c : c + 0x2000;
  }

  std::mt19937 random_;
};

constexpr std::size_t rooms[] = {1, 2, 15, 16, 71, 72, 73, 80, 200, host::Codec::pieceCharacters};

TEST(UnicodeForms, DecodeAsTheTwinDoes) {
  Texts texts(1);
  for (int round = 0; round < 20'000; ++round) {
    const Form& form = forms[texts.below(std::size(forms))];
    std::string text;
    for (const char32_t c : texts.characters()) text += form.write(c);
    texts.damage(text);
    const std::size_t room = rooms[texts.below(std::size(rooms))];
    ASSERT_EQ(codecReading(*host::codecOf(form.identifier), Guarded(text).bytes(), room), twinReading(form, text))
        << form.name << ", room " << room << ", round " << round;
  }
}

TEST(UnicodeForms, FindEveryErrorAtEveryPlaceOfABlock) {
  const std::string_view errors[] = {"\x80",
                                     "\xBF",
                                     "\xC0\x80",
                                     "\xC1\xBF",
                                     "\xE0\x9F\xBF",
                                     "\xED\xA0\x80",
                                     "\xED\xBF\xBF",
                                     "\xF0\x8F\xBF\xBF",
                                     "\xF4\x90\x80\x80",
                                     "\xF5\x80\x80\x80",
                                     "\xF8\x88\x80\x80\x80",
                                     "\xF8\x90\x80\x80",
                                     "\xFE",
                                     "\xFF",
                                     "\xC2",
                                     "\xE1\x80",
                                     "\xF1\x80\x80",
                                     "\xC2\xC2\x80",
                                     "\xE1\x80\xE1",
                                     "\xF1\x80\x80\xF1",
                                     "\xC2\x80\x80"};
  const host::Codec& codec = *host::codecOf(20);
  for (const std::string_view filler : {"a", "\xC3\xA9", "\xE3\x81\x82", "\xF0\x9F\x98\x80"}) {
    std::string text;
    while (text.size() < 160) {
      for (const std::string_view error : errors) {
        std::string wrong = text + std::string(error);
        for (int i = 0; i < 80; ++i) wrong += filler;
        const Guarded guarded(wrong);
        ASSERT_EQ(codecReading(codec, guarded.bytes(), 1024), twinReading(forms[0], wrong)) << wrong;
      }
      text += filler;
    }
  }
}

/// Every beginning of two bytes, and every end of those that may have one: alone, and where a block takes them.
TEST(UnicodeForms, ReadEveryBeginningOfUtf8) {
  const host::Codec& codec = *host::codecOf(20);
  const std::string behind(160, 'a');
  const auto check = [&](const std::string& text) {
    ASSERT_EQ(codecReading(codec, bytesOf(text), 8), twinReading(forms[0], text)) << text;
    ASSERT_EQ(codecReading(codec, bytesOf(text + behind), 200), twinReading(forms[0], text + behind)) << text;
  };
  for (unsigned value = 0; value < 0x10000; ++value) {
    const std::string two = {static_cast<char>(value >> 8), static_cast<char>(value)};
    check(two);
    check(two + "\x80\xBF");
  }
  for (const std::string_view two :
       {"\xE0\xA0", "\xE1\x80", "\xED\x9F", "\xEF\xBF", "\xF0\x90", "\xF1\xBF", "\xF4\x8F"}) {
    for (unsigned third = 0; third < 0x100; ++third) {
      const std::string three = std::string(two) + static_cast<char>(third);
      check(three);
      for (const unsigned last : {0x00U, 0x7FU, 0x80U, 0x9FU, 0xBFU, 0xC0U, 0xFFU})
        check(three + static_cast<char>(last));
    }
  }
}

/// Every unit of UTF-16 alone and before the first and last units of either half; every unit of UTF-32 about the
/// limits.
TEST(UnicodeForms, ReadEveryUnitAlone) {
  const auto check = [](const Form& form, const std::string& text) {
    ASSERT_EQ(codecReading(*host::codecOf(form.identifier), bytesOf(text), 4), twinReading(form, text)) << form.name;
  };
  for (const bool big : {true, false}) {
    for (std::uint32_t first = 0; first < 0x10000; ++first) {
      std::string alone;
      appendUnit(alone, first, 2, big);
      check(forms[big ? 1 : 2], alone);
      for (const std::uint32_t second : {0xD7FFU, 0xD800U, 0xDBFFU, 0xDC00U, 0xDFFFU, 0xE000U}) {
        std::string two = alone;
        appendUnit(two, second, 2, big);
        check(forms[big ? 1 : 2], two);
      }
    }
    for (std::uint32_t unit = 0; unit < 0x110100; unit += unit == 0xE100 ? 0x101F00U : 1U) {
      std::string alone;
      appendUnit(alone, unit, 4, big);
      check(forms[big ? 3 : 4], alone);
    }
  }
}

/// All characters in one text, whose neighbours fall into every place of a block as the text is read from later
/// starts.
TEST(UnicodeForms, ConvertEveryCharacter) {
  std::u32string all;
  for (char32_t c = 0; c <= 0x10FFFF; c += isScalar(c + 1) ? 1U : 0x801U) all += c;
  EXPECT_EQ(all.size(), 0x110000U - 0x800U);
  for (const Form& form : forms) {
    std::string bytes;
    for (const char32_t c : all) bytes += form.write(c);
    const host::Codec& codec = *host::codecOf(form.identifier);
    EXPECT_TRUE(codecReading(codec, bytesOf(bytes), 1024).characters == all) << form.name;
    std::string written(bytes.size(), '\0');
    const host::Step step = codec.encode(all, std::as_writable_bytes(std::span(written)), true, true);
    EXPECT_EQ(step.outcome, Outcome::done);
    EXPECT_EQ(step.produced, bytes.size());
    EXPECT_TRUE(written == bytes) << form.name;
  }
}

/// Alone no block takes a character; with a byte less it does not fit.
TEST(UnicodeForms, EncodeCharactersAlone) {
  for (const Form& form : forms) {
    const host::Codec& codec = *host::codecOf(form.identifier);
    for (char32_t c = 0; c <= 0x10FFFF; c += c == 0xD7FF ? 0x801U : c < 0x10100 || c > 0x10FF00 ? 1U : 0x101U) {
      const std::string expected = form.write(c);
      std::string bytes(expected.size(), '\0');
      const host::MutableBytes room = std::as_writable_bytes(std::span(bytes));
      ASSERT_EQ(codec.encode({&c, 1}, room, true, true).produced, expected.size());
      ASSERT_EQ(bytes, expected) << form.name;
      ASSERT_EQ(codec.encode({&c, 1}, room.first(bytes.size() - 1), true, true).outcome, Outcome::outputFull);
    }
  }
}

TEST(UnicodeForms, EncodeAsTheTwinDoesAndChangeNothingBehind) {
  Texts texts(2);
  for (int round = 0; round < 20'000; ++round) {
    const Form& form = forms[texts.below(std::size(forms))];
    const std::u32string characters = texts.characters();
    const std::size_t capacity = texts.below(static_cast<unsigned>(4 * characters.size() + 2));
    std::string expected;
    std::size_t fitting = 0;
    for (; fitting < characters.size(); ++fitting) {
      const std::string bytes = form.write(characters[fitting]);
      if (expected.size() + bytes.size() > capacity) break;
      expected += bytes;
    }
    GuardedBuffer buffer(capacity);
    auto* room = reinterpret_cast<std::byte*>(buffer.place(capacity));
    std::fill_n(room, capacity, std::byte{0x5A});
    const host::Step step = host::codecOf(form.identifier)->encode(characters, {room, capacity}, true, true);
    ASSERT_EQ(step.consumed, fitting) << form.name << ", round " << round;
    ASSERT_EQ(step.produced, expected.size());
    ASSERT_EQ(step.outcome, fitting == characters.size() ? Outcome::done : Outcome::outputFull);
    expected.resize(capacity, '\x5A');
    ASSERT_EQ(std::string(reinterpret_cast<const char*>(room), capacity), expected)
        << form.name << ", round " << round;
  }
}

TEST(UnicodeForms, ConvertLongTextsBetweenAnyTwo) {
  Texts texts(3);
  std::u32string characters;
  while (characters.size() < 5000) characters += texts.characters();
  for (const Form& source : forms) {
    for (const Form& target : forms) {
      std::string from;
      std::string to;
      for (const char32_t c : characters) {
        from += source.write(c);
        to += target.write(c);
      }
      const Converted all = convert(source.name, target.name, from, to.size());
      EXPECT_EQ(all.outcome, Outcome::done);
      EXPECT_TRUE(all.bytes == to) << source.name << " to " << target.name;
    }
  }
}

}  // namespace
}  // namespace rq::test
