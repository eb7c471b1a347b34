// Byte order marks, of files that come in reads of any length.
#include "cli/byte_order.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace rq::cli {
namespace {

using namespace std::string_literals;

/// A file as it comes: what it held behind its mark, how long that was, and whether the bytes were turned around.
struct Came {
  std::string bytes;
  std::size_t mark;
  bool reversed;
  bool operator==(const Came&) const = default;
};

Came readInParts(const ExpectedMark& mark, const std::string& file, std::size_t part) {
  MarkedReader reader(mark);
  std::size_t at = 0;
  const auto read = [&](host::MutableBytes room) -> host::Result<std::size_t> {
    const std::size_t count = std::min({part, room.size(), file.size() - at});
    std::ranges::copy(std::as_bytes(std::span(file)).subspan(at, count), room.begin());
    at += count;
    return count;
  };
  std::string all;
  for (std::vector<std::byte> room(MarkedReader::leastRoom);;) {
    const std::size_t count = *reader.read(room, read);
    all.append(reinterpret_cast<const char*>(room.data()), count);
    if (count == 0) break;
  }
  return {all, reader.markBytes(), reader.reversed()};
}

TEST(ByteOrder, IsReadInPartsAsInOne) {
  const ExpectedMark none{"", false}, utf8{byteOrderMark(RQ_FORM_UTF8), false},
      big16{byteOrderMark(RQ_FORM_UTF16_BIG), true}, little16{byteOrderMark(RQ_FORM_UTF16_LITTLE), false},
      big32{byteOrderMark(RQ_FORM_UTF32_BIG), true};
  const struct {
    ExpectedMark mark;
    std::string file;
    Came came;
  } rows[] = {
      {none, "", {"", 0, false}},
      {none, "\xFE\xFF\0A"s, {"\xFE\xFF\0A"s, 0, false}},
      {utf8, "\xEF\xBB\xBFtext", {"text", 3, false}},
      {utf8, "\xEF\xBBtext", {"\xEF\xBBtext", 0, false}},
      {utf8, "\xEF\xBB", {"\xEF\xBB", 0, false}},
      {utf8, "\xBF\xBB\xEFtext", {"\xBF\xBB\xEFtext", 0, false}},
      {big16, "\xFE\xFF\0A\0B"s, {"\0A\0B"s, 2, false}},
      {big16, "\xFF\xFE\x41\0\x42\0\x43\0\x44\0\x45\0"s, {"\0A\0B\0C\0D\0E"s, 2, true}},
      {big16, "\xFF\xFE\x41\0\x42"s, {"\0AB"s, 2, true}},
      {big16, "\xFF\xFE", {"", 2, true}},
      {big16, "\xFF", {"\xFF", 0, false}},
      {big16, "\0A\0B"s, {"\0A\0B"s, 0, false}},
      {little16, "\xFF\xFE\x41\0"s, {"\x41\0"s, 2, false}},
      {little16, "\xFE\xFF\0A"s, {"\xFE\xFF\0A"s, 0, false}},
      {big32, "\0\0\xFE\xFF\0\0\0A"s, {"\0\0\0A"s, 4, false}},
      {big32, "\xFF\xFE\0\0\x04\x03\x02\x01\x08\x07\x06"s, {"\x01\x02\x03\x04\x08\x07\x06"s, 4, true}},
      {big32, "\xFF\xFE\0"s, {"\xFF\xFE\0"s, 0, false}},
  };
  for (const auto& row : rows)
    for (std::size_t part = 1; part <= 12; ++part)
      EXPECT_EQ(readInParts(row.mark, row.file, part), row.came) << row.file.size() << ", " << part;
}

TEST(ByteOrder, IsTurnedInWholeUnits) {
  for (const auto& [unit, text, turned] : {std::tuple(std::size_t{2}, "abcde"s, "badce"s),
                                           {2, "a"s, "a"s},
                                           {4, "abcdefghij"s, "dcbahgfeij"s},
                                           {4, "abc"s, "abc"s}}) {
    std::string bytes = text;
    reverseBytes(std::as_writable_bytes(std::span(bytes)), unit);
    EXPECT_EQ(bytes, turned);
  }
}

}  // namespace
}  // namespace rq::cli
