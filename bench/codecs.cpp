// The codecs, called through the interface object's slots with the cheap host, beside what one would use instead.
// The column "host" makes the transcoder calls of the operation again, so ours - host is the library's own share.
#include <cstring>
#include <memory>

#include "bench/families.h"
#include "bench/peers/hand.h"
#include "bench/peers/text_libraries.h"
#include "bench/support/cell.h"
#include "bench/support/exchange.h"
#include "bench/support/host.h"
#include "bench/support/row.h"
#include "bench/support/texts.h"

namespace rq::bench {
namespace {

constexpr std::size_t KiB = std::size_t{1} << 10, MiB = std::size_t{1} << 20;
using Slot = RQCodec RQOperations::*;

struct Flavour {
  const char* prefix;
  RQOperations RQInterface::*operations;
  std::uint32_t session;
  std::size_t unitBytes;
};
constexpr Flavour plain = {"ul", &RQInterface::plain, RQ_ENCODING_UTF8, 1};
constexpr Flavour served = {"S_ul", &RQInterface::served, RQ_ENCODING_UTF8, 1};
constexpr Flavour wide = {"T_ul", &RQInterface::wide, RQ_ENCODING_UTF32_LITTLE, 4};

/// A text, what the operation must make of it, and its characters that the goals count.
struct Job {
  std::string size;
  std::string input;
  std::string output;
  std::size_t characters = 0;
};

char* output() {
  static std::vector<char> room(96 * MiB);
  return room.data();
}

std::string widened(const std::string& ascii) {
  std::string made;
  for (char c : ascii) made.append({c, 0, 0, 0});
  return made;
}

class Operation {
  RQCodec function() const {
    RQInterface* const object = bench::object(flavour_.session);
    return object ? (object->*flavour_.operations).*slot_ : nullptr;
  }

  /// The call itself: its status and the bytes written.
  auto calling(const std::shared_ptr<Job>& job) const {
    return [job, function = function(), object = bench::object(flavour_.session), unit = flavour_.unitBytes] {
      std::uint64_t written = 0;
      const RQStatus status = function(object, job->input.data(), job->input.size() / unit, output(),
                                       job->output.size() / unit + 64, &written);
      return std::pair(status, written * unit);
    };
  }

 public:
  Operation(const Flavour& flavour, const char* name, Slot slot)
      : flavour_(flavour), name_(std::string("codecs/") + flavour.prefix + name), slot_(slot) {}

  /// The columns "ours" and "host".
  void add(const Job& job) const {
    ours(job);
    host(job);
  }

  void ours(const Job& job) const {
    const auto shared = std::make_shared<Job>(job);
    const auto call = calling(shared);
    Cell ours = cell(*shared, "ours");
    ours.refusal = [=, built = function() != nullptr]() -> const char* {
      if (!built) return "not built";
      const auto [status, bytes] = call();
      if (status == RQ_UNSUPPORTED) return "not built";
      const bool right =
          status == 0 && bytes == shared->output.size() && std::memcmp(output(), shared->output.data(), bytes) == 0;
      return right ? nullptr : "wrong answer";
    };
    timed(ours, [=] { return call().second; });
  }

  void host(const Job& job) const {
    const auto shared = std::make_shared<Job>(job);
    const auto call = calling(shared);
    const auto calls = std::make_shared<std::vector<Conversion>>();
    Cell host = cell(*shared, "host");
    host.refusal = [=, built = function() != nullptr]() -> const char* {
      if (!built) return "not built";
      record();
      const RQStatus status = call().first;
      *calls = recorded();
      return status == RQ_UNSUPPORTED ? "not built" : nullptr;
    };
    timed(host, [=] { return replay(*calls); });
  }

  void peer(const Job& job, const char* column, std::size_t (*decode)(std::string_view, char*)) const {
    const auto shared = std::make_shared<Job>(job);
    const auto function = opaque(decode);
    Cell one = cell(*shared, column);
    one.refusal = [=]() -> const char* {
      const std::size_t bytes = function(shared->input, output());
      return std::string_view(output(), bytes) == shared->output ? nullptr : "not for this text";
    };
    timed(one, [=] { return function(shared->input, output()); });
  }

  /// Hands the text to the peers outside the process.
  void offer(const Job& job) const { exchange(name_, job.size, job.input, job.output); }

 private:
  Cell cell(const Job& job, const char* column) const {
    Cell made{name_ + "/" + job.size + "/" + column, static_cast<double>(job.input.size()),
              static_cast<double>(job.characters)};
    made.served = flavour_.operations == &RQInterface::served;
    return made;
  }
  Flavour flavour_;
  std::string name_;
  Slot slot_;
};

/// The sizes of a curve. Goals speak of some of them.
struct Size {
  const char* name;
  std::size_t bytes;
};
constexpr Size curve[] = {{"64B", 64},         {"256B", 256},         {"1KiB", KiB}, {"4KiB", 4 * KiB},
                          {"32KiB", 32 * KiB}, {"256KiB", 256 * KiB}, {"1MiB", MiB}, {"4MiB", 4 * MiB}};

std::size_t copy(std::string_view text, char* out) {
  std::memcpy(out, text.data(), text.size());
  return text.size();
}

/// Characters whose escapes fill about so many bytes of input.
std::u32string sample(Script script, std::size_t bytes) {
  const bool dense = script != Script::ascii && script != Script::sparse;
  return text(script, dense ? bytes / 6 : bytes);
}

std::size_t countEscaped(const std::u32string& text) {
  std::size_t count = 0;
  for (char32_t c : text) count += c >= 0x80;
  return count;
}

Job decoding(const std::string& size, const std::u32string& text, Notation notation) {
  return {size, escaped(text, notation), utf8(text), countEscaped(text)};
}

std::u32string manyDistinct() {
  std::u32string made;
  for (int turn = 0; turn < 8; ++turn)
    for (char32_t c = 0x4E00; c < 0x4E00 + 20000; ++c) made += c;
  return made;
}

struct Decoder {
  const char* name;
  Slot slot;
  Notation notation;
  std::size_t (*hand)(std::string_view, char*);
  const char* nine;       // 9 bytes, one notation
  std::string_view unit;  // never ends
};

const Decoder decoders[] = {
    {"GetNCR", &RQOperations::getNCR, Notation::decimal, hand::decodeReferences, "a&#1078;b", "&#"},
    {"GetUEsc", &RQOperations::getUEsc, Notation::uEscape, hand::decodeEscapes, "a\\u0436bc", "\\u"},
    {"GetUParen", &RQOperations::getUParen, Notation::uParen, hand::decodeParens, "a<U0436>b", "<U"}};

void decode(const Decoder& decoder) {
  const Operation operation(plain, decoder.name, decoder.slot);
  std::vector<Job> jobs;
  for (const Size& size : curve)
    for (const auto& [name, script] : {std::pair{"plain-", Script::ascii}, {"dense-", Script::cyrillic}})
      jobs.push_back(decoding(std::string(name) + size.name, sample(script, size.bytes), decoder.notation));
  jobs.push_back(decoding("sparse-1MiB", sample(Script::sparse, MiB), decoder.notation));
  jobs.push_back(decoding("dense-mixed-1MiB", sample(Script::mixed, MiB), decoder.notation));
  std::string nine = decoder.nine, nineDecoded = nine == "a\\u0436bc" ? "a\u0436bc" : "a\u0436b";
  jobs.push_back({"one-9B", nine, nineDecoded, 1});
  const std::string rest = repeated("lorem ipsum ", 55).substr(0, 55);
  jobs.push_back({"one-64B", rest + nine, rest + nineDecoded, 1});
  for (const Job& job : jobs) {
    operation.add(job);
    operation.peer(job, "hand", decoder.hand);
    if (decoder.notation == Notation::decimal) {
      operation.peer(job, "libxml2", libxmlDecodeReferences);
      operation.peer(job, "gumbo", gumboDecodeReferences);
    }
    if (decoder.notation == Notation::uEscape) {
      operation.peer(job, "absl", abslDecodeEscapes);
      operation.peer(job, "simdjson", simdjsonDecodeEscapes);
      operation.peer(job, "rapidjson", rapidjsonDecodeEscapes);
      operation.peer(job, "icu", icuDecodeEscapes);
    }
    if (job.size.starts_with("plain")) operation.peer(job, "copy", copy);
    if (job.size.ends_with("-1MiB")) operation.offer(job);
  }
  operation.add(decoding("20000-distinct", manyDistinct(), decoder.notation));
  const std::string endless = repeated(decoder.unit, MiB);
  const Job adversarial = {"endless-1MiB", endless, endless, 0};
  operation.add(adversarial);
  operation.peer(adversarial, "hand", decoder.hand);
}

constexpr Size growing[] = {
    {"16KiB", 16 * KiB}, {"64KiB", 64 * KiB}, {"256KiB", 256 * KiB}, {"1MiB", MiB}, {"4MiB", 4 * MiB}};

/// The same text at several lengths: time must grow as the length does.
void growth(const Decoder& decoder) {
  for (std::string_view unit :
       {"&", "&#", "&#x", "&&#1", "\\u", "\\", "\\uD83D", "\\u12", "<", "<U", "<U00E", "<u0>"}) {
    if (unit == "<u0>" && decoder.notation == Notation::uParen) continue;  // decodes
    const Operation operation(plain, (decoder.name + (" growth " + std::string(unit))).c_str(), decoder.slot);
    for (const auto& [size, bytes] : growing) {
      const std::string same = repeated(unit, bytes);
      const Job job = {size, same, same, 0};
      operation.ours(job);
      operation.peer(job, "copy", copy);
      if (unit != decoder.unit) continue;
      operation.peer(job, "hand", decoder.hand);
      if (bytes <= MiB) operation.offer(job);
    }
  }
  if (decoder.notation == Notation::uEscape) return;
  const char terminator = decoder.notation == Notation::decimal ? ';' : '>';
  const Operation operation(plain, (decoder.name + std::string(" growth one terminator at the end")).c_str(),
                            decoder.slot);
  for (const auto& [size, bytes] : growing) {
    const std::string all = repeated(decoder.unit, bytes) + terminator;
    operation.ours({size, all, std::string(1, '\0'), 0});
    operation.peer({size, all, all, 0}, "copy", copy);
  }
}

void otherFlavours() {
  for (const Decoder& decoder : decoders) {
    const std::u32string words = text(Script::ascii, MiB);
    const std::string ascii = utf8(words);
    for (const auto& [size, units] : {std::pair{"plain-4KiB", std::size_t{4096}}, {"plain-1MiB", MiB}}) {
      const Job job = {size, widened(ascii.substr(0, units)), widened(ascii.substr(0, units)), 0};
      Operation(wide, decoder.name, decoder.slot).add(job);
      Operation(wide, decoder.name, decoder.slot).peer(job, "copy", copy);
    }
    const Notation notation = decoder.notation == Notation::decimal ? Notation::hexadecimal : decoder.notation;
    const Job hexadecimal = decoding("dense-hex-1MiB", sample(Script::cyrillic, MiB), notation);
    Operation(plain, decoder.name, decoder.slot).add(hexadecimal);
    Operation(served, decoder.name, decoder.slot).add(hexadecimal);
    const std::u32string letters = sample(Script::cyrillic, MiB);
    const std::string decoded(reinterpret_cast<const char*>(letters.data()), 4 * letters.size());
    Operation(wide, decoder.name, decoder.slot)
        .add({"dense-hex-1MiB", widened(escaped(letters, notation)), decoded, countEscaped(letters)});
  }
  const Job kept = {"dense-1MiB", escaped(sample(Script::cyrillic, MiB), Notation::uParen),
                    escaped(sample(Script::cyrillic, MiB), Notation::uParen), 0};
  Operation(plain, "GetUParenP", &RQOperations::getUParenP).add(kept);
}

struct Encoder {
  const char* name;
  Slot slot;
  Notation notation;
  bool everything;  // ASCII too
  std::vector<std::pair<const char*, std::size_t (*)(std::string_view, char*)>> peers;
};

void encode(const Encoder& encoder) {
  const Operation operation(plain, encoder.name, encoder.slot);
  auto add = [&](const std::string& size, Script script, std::size_t bytes) {
    const bool dense = script == Script::cyrillic || script == Script::mixed;
    const std::u32string words = text(script, dense ? bytes / 2 : bytes);
    const Job job = {size, utf8(words), escaped(words, encoder.notation, encoder.everything), words.size()};
    operation.add(job);
    for (const auto& [column, function] : encoder.peers) operation.peer(job, column, function);
    if (size.ends_with("-1MiB")) operation.offer(job);
  };
  for (const Size& size : curve) {
    add(std::string("plain-") + size.name, Script::ascii, size.bytes);
    add(std::string("dense-") + size.name, Script::cyrillic, size.bytes);
  }
  add("sparse-1MiB", Script::sparse, MiB);
  add("dense-mixed-1MiB", Script::mixed, MiB);
}

/// What the served flavour pays the host for each hexadecimal notation.
void serviceCall() {
  RQCharsetService* const service = caseService()->charset;
  timed(Cell{"codecs/service call/4B/host", 4}, [service] {
    static char digits[] = "00e9";
    service->upperCase(service, digits, 4, 0);
    return digits[3];
  });
}

}  // namespace

void registerCodecs() {
  serviceCall();
  for (const Decoder& decoder : decoders) {
    decode(decoder);
    growth(decoder);
  }
  otherFlavours();
  encode({"PutNCR",
          &RQOperations::putNCR,
          Notation::decimal,
          false,
          {{"hand", hand::encodeReferences}, {"icu", icuEncodeReferences}, {"libxml2", libxmlEncodeReferences}}});
  encode({"PutUEsc",
          &RQOperations::putUEsc,
          Notation::uEscape,
          false,
          {{"hand", hand::encodeEscapes}, {"icu", icuEncodeEscapes}, {"rapidjson", rapidjsonEncodeEscapes}}});
  encode({"PutUParen",
          &RQOperations::putUParen,
          Notation::uParen,
          true,
          {{"hand", hand::encodeParens}, {"snprintf", snprintfEncodeParens}}});
}

}  // namespace rq::bench
