#include "bench/support/codec_jobs.h"

#include <algorithm>

#include "bench/peers/hand.h"
#include "bench/peers/text_libraries.h"

namespace rq::bench {
namespace {

constexpr std::size_t KiB = std::size_t{1} << 10, MiB = std::size_t{1} << 20;

std::size_t countEscaped(const std::u32string& text) {
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char32_t c) { return c >= 0x80; }));
}

struct Kind {
  const char* name;
  Script script;
};
constexpr Kind large[] = {{"sparse", Script::sparse}, {"dense-mixed", Script::mixed}};
constexpr Kind growing[] = {{"plain", Script::ascii}, {"dense", Script::cyrillic}};
constexpr const char* languages[] = {"french", "german", "polish", "vietnamese"};

bool isDense(Script script) {
  return script != Script::ascii && script != Script::sparse;
}

/// Calls add(name, text) for every text of a kind. `bytesOfLetter`: what a letter beyond ASCII takes.
template <class Add>
void forEachText(std::size_t bytesOfLetter, Add add) {
  const auto made = [=](Script script, std::size_t bytes) {
    return text(script, isDense(script) ? bytes / bytesOfLetter : bytes);
  };
  for (const Size& size : curve)
    for (const Kind& kind : growing) add(std::string(kind.name) + '-' + size.name, made(kind.script, size.bytes));
  for (const Kind& kind : large) add(std::string(kind.name) + "-1MiB", made(kind.script, MiB));
  for (const char* language : languages)
    add(std::string("prose-") + language + "-1MiB", prose(language, MiB * 5 / 6));
}

std::string bytesOf(std::u32string_view text) {
  return {reinterpret_cast<const char*>(text.data()), 4 * text.size()};
}

}  // namespace

const std::vector<Size> curve = {{"64B", 64},         {"256B", 256},         {"1KiB", KiB}, {"4KiB", 4 * KiB},
                                 {"32KiB", 32 * KiB}, {"256KiB", 256 * KiB}, {"1MiB", MiB}, {"4MiB", 4 * MiB}};

const std::vector<Codec> codecs = {
    {"NCR",
     &RQOperations::getNCR,
     &RQOperations::putNCR,
     Notation::decimal,
     false,
     "a&#1078;b",
     "a\u0436b",
     "&#",
     {"&#;", "&#xD83D;&#xDE00;", "&#6 5;", "&#x"},
     {{"hand", hand::decodeReferences}, {"libxml2", libxmlDecodeReferences}, {"gumbo", gumboDecodeReferences}},
     {{"hand", hand::encodeReferences}, {"icu", icuEncodeReferences}, {"libxml2", libxmlEncodeReferences}}},
    {"UEsc",
     &RQOperations::getUEsc,
     &RQOperations::putUEsc,
     Notation::uEscape,
     false,
     "a\\u0436bc",
     "a\u0436bc",
     "\\u",
     {"\\u12", "\\uD83D\\uDE00", "\\u0001F600", "\\uu"},
     {{"hand", hand::decodeEscapes},
      {"absl", abslDecodeEscapes},
      {"simdjson", simdjsonDecodeEscapes},
      {"rapidjson", rapidjsonDecodeEscapes},
      {"icu", icuDecodeEscapes}},
     {{"hand", hand::encodeEscapes}, {"icu", icuEncodeEscapes}, {"rapidjson", rapidjsonEncodeEscapes}}},
    {"UParen",
     &RQOperations::getUParen,
     &RQOperations::putUParen,
     Notation::uParen,
     true,
     "a<U0436>b",
     "a\u0436b",
     "<U",
     {"<U>", "<U0001F600>", "<U41>", "<U"},
     {{"hand", hand::decodeParens}},
     {{"hand", hand::encodeParens}, {"snprintf", snprintfEncodeParens}}},
};

Job decoding(const std::string& name, const std::u32string& text, Notation notation) {
  return {name, escaped(text, notation), utf8(text), countEscaped(text)};
}

Job encoding(const std::string& name, const std::u32string& text, const Codec& codec) {
  return {name, utf8(text), escaped(text, codec.notation, codec.escapesAll), text.size()};
}

std::vector<Job> decodingJobs(const Codec& codec) {
  std::vector<Job> jobs;
  forEachText(6, [&](const std::string& name, const std::u32string& text) {
    jobs.push_back(decoding(name, text, codec.notation));
  });
  const std::string rest = repeated("lorem ipsum ", 55).substr(0, 55);
  jobs.push_back({"one-9B", codec.nine, codec.nineDecoded, 1});
  jobs.push_back({"one-64B", rest + codec.nine, rest + codec.nineDecoded, 1});
  return jobs;
}

std::vector<Job> encodingJobs(const Codec& codec) {
  std::vector<Job> jobs;
  forEachText(
      2, [&](const std::string& name, const std::u32string& text) { jobs.push_back(encoding(name, text, codec)); });
  jobs.push_back(encoding("one-9B", U"caf\u00E9 au ", codec));
  return jobs;
}

Job widened(const Job& job) {
  return {job.name, bytesOf(utf32(job.input)), bytesOf(utf32(job.output)), job.characters};
}

char* output() {
  static std::vector<char> room(96 * MiB);
  return room.data();
}

CodecCall::CodecCall(RQCodec function, RQInterface* object, const Job& job, std::size_t unitBytes)
    : function_(function),
      object_(object),
      input_(job.input.data()),
      units_(job.input.size() / unitBytes),
      output_(output()),
      capacity_(std::max(job.input.size(), job.output.size()) / unitBytes + 64),
      unitBytes_(unitBytes) {}

}  // namespace rq::bench
