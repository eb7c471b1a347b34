// Rules about transcoders that try every character, every byte and long texts.
#include <algorithm>
#include <array>
#include <cstdio>

#include "checker/probes.h"

namespace rq::checker {
namespace {

/// One short conversion, without a look at what is written beyond: other rules see to that.
struct Short {
  std::uint64_t length = 0;
  std::array<char, 64> bytes;
  RQStatus status;

  Short(RQTranscoder* transcoder, std::string_view input)
      : status(transcoder->convert(transcoder, input.data(), input.size(), bytes.data(), bytes.size(), &length, 0)) {
    length = std::min<std::uint64_t>(length, bytes.size());
  }
  bool converted() const { return status == RQ_SUCCESS && length != 0; }
  std::string_view text() const { return {bytes.data(), length}; }
};

std::string named(char32_t character) {
  std::array<char, 16> name;
  std::snprintf(name.data(), name.size(), "U+%04X", static_cast<unsigned>(character));
  return name.data();
}

std::string named(std::string_view bytes) {
  std::string name;
  for (const char byte : bytes) {
    std::array<char, 8> digits;
    std::snprintf(digits.data(), digits.size(), "%s%02X", name.empty() ? "" : " ", static_cast<unsigned char>(byte));
    name += digits.data();
  }
  return name;
}

/// The character of exactly four bytes of UTF-32.
std::optional<char32_t> characterOf(const Short& converted) {
  if (!converted.converted() || converted.length != sizeof(char32_t)) return std::nullopt;
  char32_t character = 0;
  converted.text().copy(reinterpret_cast<char*>(&character), sizeof character);
  return character;
}

/// Private use and noncharacters: encodings may give such a character the bytes of another one.
bool isNobodys(char32_t character) {
  return (character >= 0xE000 && character <= 0xF8FF) || character >= 0xF0000 || (character & 0xFFFE) == 0xFFFE;
}

/// Texts of many a host cannot hold U+0000: it may become a substitute.
Finding roundTrip(const Subject& subject) {
  const Transcoders all(subject);
  RQTranscoder* const toSession = all.toSession(RQ_FORM_UTF32_NATIVE);
  RQTranscoder* const fromSession = all.fromSession(RQ_FORM_UTF32_NATIVE);
  for (char32_t character = 1; character <= 0x10FFFF; ++character) {
    if (character == 0xD800) character = 0xE000;
    const Short there(toSession, bytesOf(character));
    if (!there.converted() || isNobodys(character)) continue;
    const std::optional<char32_t> back = characterOf(Short(fromSession, there.text()));
    if (back != character) {
      return broken(named(character) + " becomes the bytes " + named(there.text()) + ", and these " +
                    (back ? named(*back) : "no character"));
    }
  }
  return ok();
}

/// Where bytes are a character that the session encoding can write, they are that character on the way back too.
Finding everyByte(const Subject& subject) {
  const Transcoders all(subject);
  RQTranscoder* const toSession = all.toSession(RQ_FORM_UTF32_NATIVE);
  RQTranscoder* const fromSession = all.fromSession(RQ_FORM_UTF32_NATIVE);
  std::array<char, 2> bytes;
  for (unsigned value = 0; value < 0x10000; ++value) {
    bytes = {static_cast<char>(value >> 8), static_cast<char>(value & 0xFF)};
    const std::string_view two(bytes.data(), bytes.size());
    for (const std::string_view input : {two.substr(1), two}) {
      const std::optional<char32_t> character = characterOf(Short(fromSession, input));
      if (!character || *character == 0) continue;
      const Short again(toSession, bytesOf(*character));
      if (again.converted() && characterOf(Short(fromSession, again.text())) != character) {
        return broken("the bytes " + named(input) + " become " + named(*character) + ", and this the bytes " +
                      named(again.text()) + ", which do not");
      }
    }
  }
  return ok();
}

/// What the transcoder makes of the text, in characters.
std::string charactersOf(const Transcoders& all, const Sample& text, std::size_t number) {
  const Converted result = convertAll(all.at(number), inputOf(text, number));
  if (result.status != RQ_SUCCESS) return "";
  RQTranscoder* const back = number % 2 == 0 ? all.fromSession(RQ_FORM_UTF32_NATIVE) : nullptr;
  return back ? convertAll(back, result.bytes).bytes : toUtf32(static_cast<int>(number / 2), result.bytes);
}

/// Texts around the sizes at which buffers end.
Finding longTexts(const Subject& subject) {
  const Transcoders all(subject);
  const std::optional<Sample> sample = sampleOf(all);
  if (!sample) return notChecked(noSample);
  for (const std::size_t length : {15U, 16U, 17U, 255U, 256U, 257U, 1023U, 1024U, 1025U, 4096U, 20'000U}) {
    Sample text;
    while (text.characters.size() < length) text.characters += sample->characters;
    text.characters.resize(length);
    text.session =
        convertAll(all.toSession(RQ_FORM_UTF32_NATIVE), bytesOf(std::u32string_view(text.characters))).bytes;
    for (std::size_t number = 0; number < Transcoders::count; ++number) {
      if (charactersOf(all, text, number) == bytesOf(std::u32string_view(text.characters))) continue;
      return broken("the transcoder " + Transcoders::nameOf(number) + " converts a text of " + decimal(length) +
                    " characters otherwise than a short one");
    }
  }
  return ok();
}

}  // namespace

std::vector<Rule> characterRules() {
  return {
      {"transcoder.roundTrip",
       "a character converts to the session encoding and back to itself, or not at all; U+0000 may become another "
       "one",
       {"transcoder.words"},
       roundTrip,
       "one character makes it crash"},
      {"transcoder.bytes",
       "any one or two bytes of session text can be tried, and both directions agree on them",
       {"transcoder.roundTrip"},
       everyByte,
       "some bytes make it crash"},
      {"transcoder.long", "a long text converts as its parts do", {"transcoder.forms"}, longTexts},
  };
}

}  // namespace rq::checker
