#include "bench/support/texts.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <random>
#include <vector>

#include "bench/support/convert.h"

namespace rq::bench {
namespace {

/// A number below `end`.
char32_t draw(std::mt19937& random, unsigned end) {
  return static_cast<char32_t>(random() % end);
}

char32_t letter(Script script, std::mt19937& random) {
  switch (script) {
    case Script::cyrillic:
      return U'\u0430' + draw(random, 32);
    case Script::greek:
      return U'\u03B1' + draw(random, 16);
    case Script::cjk:
      return U'\u4E00' + draw(random, 3000);
    case Script::mixed:
      return letter(static_cast<Script>(draw(random, 4)), random);
    case Script::sparse:
      return draw(random, 200) == 0 ? U'\u0436' : letter(Script::ascii, random);
    default:
      return U'a' + draw(random, 26);
  }
}

}  // namespace

std::u32string text(Script script, std::size_t characters) {
  std::mt19937 random(7);
  std::u32string made;
  std::size_t wordEnd = 0;
  Script ofWord = script;
  while (made.size() < characters) {
    if (made.size() == wordEnd) {
      if (!made.empty()) made += U' ';
      wordEnd = made.size() + 3 + draw(random, 7);
      if (script == Script::mixed) ofWord = static_cast<Script>(draw(random, 4));
    } else {
      made += letter(ofWord, random);
    }
  }
  made.resize(characters);
  if (!made.empty() && made.back() == U' ') made.back() = U'a';
  return made;
}

std::u32string prose(const std::string& language, std::size_t characters) {
  std::ifstream file(RQ_CORPUS "/" + language + ".txt");
  std::vector<std::u32string> words;
  for (std::string word; file >> word;) words.push_back(utf32(word));
  if (words.empty()) {
    std::fprintf(stderr, "rq_bench: no words in %s\n", (RQ_CORPUS "/" + language + ".txt").c_str());
    std::exit(2);
  }
  std::mt19937 random(7);
  std::u32string made;
  while (made.size() < characters) (made += words[draw(random, static_cast<unsigned>(words.size()))]) += U' ';
  made.resize(characters);
  if (!made.empty() && made.back() == U' ') made.back() = U'a';
  return made;
}

std::string utf8(std::u32string_view text) {
  std::string made(4 * text.size(), '\0');
  std::uint64_t bytes = 0;
  converter(RQ_ENCODING_UTF32_LITTLE, RQ_ENCODING_UTF8)(text.data(), 4 * text.size(), made.data(), made.size(),
                                                        &bytes);
  made.resize(bytes);
  return made;
}

std::u32string utf32(std::string_view text) {
  std::u32string made(text.size(), U'\0');
  std::uint64_t bytes = 0;
  converter(RQ_ENCODING_UTF8, RQ_ENCODING_UTF32_LITTLE)(text.data(), text.size(), made.data(), 4 * made.size(),
                                                        &bytes);
  made.resize(bytes / 4);
  return made;
}

std::string escaped(std::u32string_view text, Notation notation, bool everything) {
  constexpr const char* formats[] = {"&#%u;", "&#x%X;", "\\u%04X", "<u%04X>"};
  std::string made;
  for (char32_t c : text) {
    char buffer[16] = {static_cast<char>(c)};
    if (c >= 0x80 || everything)
      std::snprintf(buffer, sizeof buffer, formats[static_cast<int>(notation)], static_cast<unsigned>(c));
    made += buffer;
  }
  return made;
}

std::string repeated(std::string_view unit, std::size_t bytes) {
  std::string made;
  made.reserve(bytes + unit.size());
  while (made.size() < bytes) made += unit;
  return made;
}

}  // namespace rq::bench
