// The codecs of single-byte encodings, in texts of any length, against their own answers for single units.
#include <algorithm>
#include <map>
#include <random>
#include <vector>

#include "tests/host/support.h"
#include "tests/model/guarded_buffer.h"

namespace rq::test {
namespace {

using host::Outcome;

/// One encoding, unit by unit.
class Twin {
 public:
  explicit Twin(const char* name) : codec_(codecNamed(name)) {
    for (unsigned value = 0; value < 256; ++value) {
      const auto byte = static_cast<std::byte>(value);
      char32_t character = 0;
      if (codec_.decodeOne({&byte, 1}, character, true).outcome == Outcome::done) characters_[value] = character;
    }
    for (char32_t c = 0; c < 0x10000; ++c) {
      std::byte byte{};
      if (codec_.encode({&c, 1}, {&byte, 1}, true, true).outcome == Outcome::done)
        bytes_[c] = std::to_integer<unsigned char>(byte);
    }
  }

  const host::Codec& codec() const { return codec_; }
  const std::map<unsigned, char32_t>& characters() const { return characters_; }
  const std::map<char32_t, unsigned>& bytes() const { return bytes_; }

 private:
  const host::Codec& codec_;
  std::map<unsigned, char32_t> characters_;
  std::map<char32_t, unsigned> bytes_;
};

class Numbers {
 public:
  unsigned below(std::size_t limit) { return static_cast<unsigned>(random_() % limit); }

 private:
  std::mt19937 random_{1};
};

/// Texts of ASCII with runs of other units, and now and then one of any value.
template <class Unit>
std::vector<Unit> text(Numbers& numbers, const std::vector<Unit>& others, std::uint32_t anything) {
  std::vector<Unit> made;
  const std::size_t length = numbers.below(120);
  const unsigned oneIn = 1U << numbers.below(8);
  while (made.size() < length) {
    const bool foreign = numbers.below(oneIn) == 0;
    made.push_back(foreign ? others[numbers.below(others.size())] : static_cast<Unit>(0x20 + numbers.below(0x5F)));
  }
  if (length > 0 && numbers.below(3) == 0) made[numbers.below(length)] = static_cast<Unit>(numbers.below(anything));
  return made;
}

template <class Unit>
std::span<const Unit> guarded(GuardedBuffer& buffer, const std::vector<Unit>& units) {
  return {reinterpret_cast<const Unit*>(buffer.place(units.data(), units.size() * sizeof(Unit))), units.size()};
}

class SingleByte : public testing::TestWithParam<const char*> {};
INSTANTIATE_TEST_SUITE_P(Encodings, SingleByte,
                         testing::Values("ISO-8859-1", "ISO-8859-7", "KOI8-R", "windows-1252", "US-ASCII", "IBM037"));

TEST_P(SingleByte, DecodesLongTextsAsSingleBytes) {
  const Twin twin(GetParam());
  Numbers numbers;
  std::vector<std::byte> others;
  for (const auto& [byte, character] : twin.characters()) others.push_back(static_cast<std::byte>(byte));
  for (int round = 0; round < 5'000; ++round) {
    const std::vector<std::byte> bytes = text(numbers, others, 256);
    GuardedBuffer input(bytes.size());
    const std::size_t room = numbers.below(4) == 0 ? numbers.below(130) : bytes.size();
    std::u32string expected;
    Outcome outcome = Outcome::done;
    for (const std::byte byte : bytes) {
      if (expected.size() == room) outcome = Outcome::outputFull;
      const auto found = twin.characters().find(std::to_integer<unsigned>(byte));
      if (outcome == Outcome::done && found == twin.characters().end()) outcome = Outcome::malformed;
      if (outcome != Outcome::done) break;
      expected += found->second;
    }
    GuardedBuffer output(room * sizeof(char32_t));
    auto* const characters = reinterpret_cast<char32_t*>(output.place(room * sizeof(char32_t)));
    const host::Step step = twin.codec().decode(guarded(input, bytes), {characters, room}, true);
    ASSERT_EQ(step.outcome, outcome) << "round " << round;
    ASSERT_EQ(step.consumed, expected.size());
    ASSERT_TRUE(std::u32string_view(characters, step.produced) == expected) << "round " << round;
  }
}

TEST_P(SingleByte, EncodesLongTextsAsSingleCharactersAndChangesNothingBehind) {
  const Twin twin(GetParam());
  Numbers numbers;
  std::vector<char32_t> others;
  for (const auto& [character, byte] : twin.bytes()) others.push_back(character);
  for (int round = 0; round < 5'000; ++round) {
    const std::vector<char32_t> characters = text(numbers, others, 0x110000);
    GuardedBuffer input(characters.size() * sizeof(char32_t));
    const std::size_t capacity = numbers.below(4) == 0 ? numbers.below(130) : characters.size();
    std::string expected;
    Outcome outcome = Outcome::done;
    for (const char32_t c : characters) {
      const auto found = twin.bytes().find(c);
      if (found == twin.bytes().end()) outcome = Outcome::unmappable;
      if (outcome == Outcome::done && expected.size() == capacity) outcome = Outcome::outputFull;
      if (outcome != Outcome::done) break;
      expected += static_cast<char>(found->second);
    }
    GuardedBuffer output(capacity);
    auto* const bytes = reinterpret_cast<std::byte*>(output.place(capacity));
    std::fill_n(bytes, capacity, std::byte{0x5A});
    const host::Step step = twin.codec().encode(guarded(input, characters), {bytes, capacity}, true, true);
    ASSERT_EQ(step.outcome, outcome) << "round " << round;
    ASSERT_EQ(step.consumed, expected.size());
    ASSERT_EQ(step.produced, expected.size());
    expected.resize(capacity, '\x5A');
    ASSERT_EQ(std::string(reinterpret_cast<const char*>(bytes), capacity), expected) << "round " << round;
  }
}

/// Blocks of one unit: what a block takes for granted is wrong for all of it.
TEST_P(SingleByte, ConvertsRunsOfOneUnitAsThatUnit) {
  const Twin twin(GetParam());
  constexpr std::size_t length = 17;
  for (unsigned value = 0; value < 256; ++value) {
    const std::vector<std::byte> bytes(length, static_cast<std::byte>(value));
    std::u32string characters(length, U'?');
    characters.resize(twin.codec().decode(bytes, characters, true).produced);
    const auto found = twin.characters().find(value);
    const bool known = found != twin.characters().end();
    ASSERT_TRUE(characters == std::u32string(known ? length : 0, known ? found->second : 0)) << value;
  }
  for (char32_t c = 0; c <= 0x10FFFF; c += c < 0x10100 ? 1U : 0x101U) {
    std::string bytes(length, '?');
    const host::Step step =
        twin.codec().encode(std::u32string(length, c), std::as_writable_bytes(std::span(bytes)), true, true);
    bytes.resize(step.produced);
    const auto found = twin.bytes().find(c);
    const bool known = found != twin.bytes().end();
    ASSERT_EQ(bytes, std::string(known ? length : 0, known ? static_cast<char>(found->second) : '?'))
        << static_cast<unsigned>(c);
  }
}

/// The same of every single-byte encoding, whose first characters may be others than their bytes.
TEST(SingleBytes, HaveBlocksThatAgreeWithSingleUnits) {
  constexpr std::size_t length = 17;
  for (const host::Encoding& encoding : host::encodings()) {
    const auto codec = host::makeSingleByteCodec(encoding.name);
    if (!codec) continue;
    for (unsigned value = 0; value < 0x200; ++value) {
      const auto byte = static_cast<std::byte>(value);
      char32_t character = 0;
      std::u32string characters(length, U'?');
      const std::size_t one = codec->decode({&byte, 1}, {&character, 1}, true).produced;
      const host::Step all = codec->decode(std::vector<std::byte>(length, byte), characters, true);
      ASSERT_EQ(all.produced, one * length) << encoding.name << value;
      if (one != 0) {
        ASSERT_TRUE(characters == std::u32string(length, character)) << encoding.name << value;
      }

      std::byte written{};
      std::vector<std::byte> bytes(length);
      character = value;
      const bool known = codec->encode({&character, 1}, {&written, 1}, true, true).produced != 0;
      ASSERT_EQ(codec->encode(std::u32string(length, character), bytes, true, true).produced, known ? length : 0);
      if (known) {
        ASSERT_EQ(bytes, std::vector<std::byte>(length, written)) << encoding.name << value;
      }
    }
  }
}

}  // namespace
}  // namespace rq::test
