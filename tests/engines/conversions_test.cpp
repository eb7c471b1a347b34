// What the engines share, every case of it: the forms, the single-byte encodings, their conversions and the names.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <map>
#include <string>
#include <vector>

#include "engines/conversion.h"
#include "engines/notations.h"
#include "engines/single_byte.h"
#include "tests/model/encodings.h"

namespace rq::test {
namespace {

struct Read {
  std::uint64_t length;
  RQChar character;  // 0 where none is read
  bool operator==(const Read&) const = default;
};

template <class Form>
Read readBy(const Form& form, const std::vector<std::uint8_t>& bytes) {
  RQChar character = 0;
  const std::uint64_t length = form.read(bytes.data(), bytes.size(), &character);
  return {length, length != 0 ? character : 0};
}

Read readByModel(std::uint32_t identifier, const std::vector<std::uint8_t>& bytes) {
  Characters characters{};
  unsigned page = 0;
  const std::size_t length = encodingOf(identifier)->read(bytes.data(), bytes.size(), false, page, characters);
  return {length, length != 0 ? characters.at[0] : 0};
}

/// Every beginning of two bytes, and every end of those that may have one; cut after each byte.
TEST(Forms, ReadUtf8) {
  const auto check = [](std::vector<std::uint8_t> bytes) {
    for (; !bytes.empty(); bytes.pop_back()) ASSERT_EQ(readBy(engines::Utf8(), bytes), readByModel(utf8, bytes));
  };
  for (unsigned value = 0; value < 0x10000; ++value)
    check({static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value), 0x80, 0xBF});
  for (const auto& [lead, second] :
       {std::pair<std::uint8_t, std::uint8_t>(0xE0, 0xA0), {0xE1, 0x80}, {0xEF, 0xBF}, {0xF0, 0x90}, {0xF4, 0x8F}}) {
    for (unsigned value = 0; value < 0x10000; ++value)
      check({lead, second, static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value)});
  }
}

/// Every first unit of UTF-16, and every second one of a pair; the values of UTF-32 about the limits.
template <class Form>
void checkUnits(const Form& form, std::uint32_t identifier, std::size_t unitBytes, bool big) {
  const auto append = [unitBytes, big](std::vector<std::uint8_t>& bytes, std::uint32_t unit) {
    for (std::size_t i = 0; i < unitBytes; ++i)
      bytes.push_back(static_cast<std::uint8_t>(unit >> 8 * (big ? unitBytes - 1 - i : i)));
  };
  const auto check = [&](std::initializer_list<std::uint32_t> units) {
    std::vector<std::uint8_t> bytes;
    for (const std::uint32_t unit : units) append(bytes, unit);
    for (; !bytes.empty(); bytes.pop_back()) ASSERT_EQ(readBy(form, bytes), readByModel(identifier, bytes));
  };
  for (std::uint32_t unit = 0; unit < 0x10000; ++unit) {
    check({unit});
    for (const std::uint32_t other : {0xD7FFU, 0xD800U, 0xDBFFU, 0xDC00U, 0xDFFFU, 0xE000U}) check({unit, other});
    check({0xD83D, unit});
  }
  if (unitBytes == 4) {
    for (const std::uint32_t unit : {0x10000U, 0x10FFFFU, 0x110000U, 0x80000000U, 0xFFFFFFFFU}) check({unit});
  }
}

TEST(Forms, ReadUnits) {
  checkUnits(engines::Utf16<std::endian::big>(), utf16Big, 2, true);
  checkUnits(engines::Utf16<std::endian::little>(), utf16Little, 2, false);
  checkUnits(engines::Utf32<std::endian::big>(), utf32Big, 4, true);
  checkUnits(engines::Utf32<std::endian::little>(), utf32, 4, false);
}

/// The bytes of a character, none where the encoding lacks it.
template <class Target>
std::string writtenBy(const Target& target, RQChar character) {
  std::array<std::uint8_t, 8> bytes{};
  return {reinterpret_cast<const char*>(bytes.data()), target.write(character, bytes.data())};
}

template <class Target>
void checkWriting(const Target& target, std::uint32_t identifier) {
  for (RQChar character = 0; character <= 0x10FFFF; ++character) {
    if (!engines::isScalar(character)) continue;
    std::array<std::uint8_t, 8> bytes{};
    unsigned page = 0;
    const std::size_t length = encodingOf(identifier)->write(character, false, page, bytes.data());
    ASSERT_EQ(writtenBy(target, character), std::string(reinterpret_cast<const char*>(bytes.data()), length))
        << character;
  }
}

/// The single-byte encoding that the model calls `cyrillic`.
engines::SingleByte cyrillicTable() {
  engines::SingleByte table;
  for (int byte = 0x80; byte <= 0xDF; ++byte)
    table.add(static_cast<std::uint8_t>(byte), static_cast<RQChar>(byte - 0x80 + 0x400));
  return table;
}

TEST(Forms, WriteEveryCharacter) {
  checkWriting(engines::Utf8(), utf8);
  checkWriting(engines::Utf16<std::endian::big>(), utf16Big);
  checkWriting(engines::Utf16<std::endian::little>(), utf16Little);
  checkWriting(engines::Utf32<std::endian::big>(), utf32Big);
  checkWriting(engines::Utf32<std::endian::little>(), utf32);
  checkWriting(engines::Ascii(), ascii);
  checkWriting(cyrillicTable(), cyrillic);
}

TEST(Forms, KnowScalarValues) {
  for (const RQChar value : {0U, 0xD7FFU, 0xE000U, 0x10FFFFU}) EXPECT_TRUE(engines::isScalar(value)) << value;
  for (const RQChar value : {0xD800U, 0xDFFFU, 0x110000U, 0xFFFFFFFFU})
    EXPECT_FALSE(engines::isScalar(value)) << value;
}

TEST(SingleBytes, ReadEveryByte) {
  const engines::SingleByte table = cyrillicTable();
  for (unsigned byte = 0; byte < 0x100; ++byte) {
    const std::vector<std::uint8_t> bytes = {static_cast<std::uint8_t>(byte)};
    EXPECT_EQ(readBy(table, bytes), readByModel(cyrillic, bytes)) << byte;
    EXPECT_EQ(readBy(engines::Ascii(), bytes), readByModel(ascii, bytes)) << byte;
  }
}

/// A table finds each of its characters in whatever order they came, and nothing beside them.
TEST(SingleBytes, FindCharactersOfAnyOrder) {
  for (unsigned count = 0; count <= 128; count += count < 5 ? 1 : 41) {
    engines::SingleByte table;
    std::map<RQChar, std::string> all;
    for (unsigned i = 0; i < count; ++i) {
      const RQChar character = 0x100 + 3 * (i * 37 % 128);
      all[character] = static_cast<char>(0x80 + i);
      table.add(static_cast<std::uint8_t>(0x80 + i), character);
    }
    for (RQChar character = 0x80; character < 0x400; ++character)
      ASSERT_EQ(writtenBy(table, character), all.contains(character) ? all[character] : "") << character;
  }
}

/// With every capacity: whole characters only, and nothing beyond.
TEST(Conversions, KeepToTheCapacity) {
  const std::string text = "a\u00E9\u65E5\U0001F600z\u0416";
  const std::vector<std::uint64_t> ends = {0, 1, 3, 6, 10, 11, 13};
  for (std::uint64_t capacity = 0; capacity <= text.size() + 5; ++capacity) {
    std::string out(text.size() + 8, '\x5A');
    const engines::Moved moved = engines::convert(engines::Utf8(), engines::Utf8(),
                                                  {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()},
                                                  {reinterpret_cast<std::uint8_t*>(out.data()), capacity});
    const std::uint64_t end = *std::prev(std::ranges::upper_bound(ends, capacity));
    EXPECT_EQ(moved.read, end);
    EXPECT_EQ(moved.written, end);
    EXPECT_EQ(moved.failure, end == text.size() ? engines::Failure::none : engines::Failure::outputFull);
    EXPECT_EQ(out.substr(0, end), text.substr(0, end));
    // Where four bytes fit, a form may write them; never beyond the capacity.
    EXPECT_EQ(out.substr(std::min<std::size_t>(capacity, out.size())),
              std::string(out.size() - std::min<std::size_t>(capacity, out.size()), '\x5A'));
  }
}

TEST(Notations, AreFoundByTheirWholeNames) {
  for (const char* name : {"ncr", "uesc", "uparen", "uparen-ascii"}) {
    ASSERT_TRUE(engines::findNotation(name)) << name;
    EXPECT_EQ(engines::findNotation(name)->name, name);
    EXPECT_EQ(engines::findNotation(name)->encode == nullptr, std::string(name) == "uparen-ascii");
  }
  for (const char* name : {"", "nc", "ncrx", "NCR", "uparen-", "uparen-asci"})
    EXPECT_FALSE(engines::findNotation(name)) << name;
}

TEST(Notations, HaveRoomForTheLongestResult) {
  const struct {
    const char* name;
    std::uint64_t bytes, limit, capacity;
  } rows[] = {{"ncr", 0, 100, 16}, {"ncr", 10, 1000, 106}, {"ncr", 10, 90, 106},     {"ncr", 10, 89, 105},
              {"ncr", 10, 0, 16},  {"uesc", 10, 1000, 76}, {"uparen", 10, 1000, 86}, {"uparen", 100, 5, 21}};
  for (const auto& row : rows)
    EXPECT_EQ(engines::encodedCapacity(*engines::findNotation(row.name), row.bytes, row.limit), row.capacity)
        << row.name << row.bytes;
}

}  // namespace
}  // namespace rq::test
