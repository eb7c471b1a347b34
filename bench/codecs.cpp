// The codecs, called through the interface object's slots with the cheap host, beside what one would use instead.
// The column "host" makes the transcoder calls of the operation again, so ours - host is the library's own share.
#include <cstring>
#include <memory>

#include "bench/families.h"
#include "bench/support/cell.h"
#include "bench/support/codec_jobs.h"
#include "bench/support/exchange.h"
#include "bench/support/host.h"
#include "bench/support/row.h"

namespace rq::bench {
namespace {

constexpr std::size_t KiB = std::size_t{1} << 10, MiB = std::size_t{1} << 20;
using Slot = RQCodec RQOperations::*;

class Operation {
  RQCodec function() const {
    RQInterface* const object = bench::object(flavour_.session);
    return object ? (object->*flavour_.operations).*slot_ : nullptr;
  }

  /// The call itself: its status and the bytes written.
  auto calling(const std::shared_ptr<Job>& job) const {
    return [job, call = CodecCall(function(), bench::object(flavour_.session), *job, flavour_.unitBytes)] {
      return call();
    };
  }

 public:
  Operation(const Flavour& flavour, const std::string& name, Slot slot)
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

  void peer(const Job& job, const char* column, Peer way) const {
    const auto shared = std::make_shared<Job>(job);
    const auto function = opaque(way);
    Cell one = cell(*shared, column);
    one.refusal = [=]() -> const char* {
      const std::size_t bytes = function(shared->input, output());
      return std::string_view(output(), bytes) == shared->output ? nullptr : "not for this text";
    };
    timed(one, [=] { return function(shared->input, output()); });
  }

  /// Hands the text to the peers outside the process.
  void offer(const Job& job) const { exchange(name_, job.name, job.input, job.output); }

 private:
  Cell cell(const Job& job, const char* column) const {
    Cell made{name_ + "/" + job.name + "/" + column, static_cast<double>(job.input.size()),
              static_cast<double>(job.characters)};
    made.served = flavour_.operations == &RQInterface::served;
    return made;
  }
  Flavour flavour_;
  std::string name_;
  Slot slot_;
};

std::size_t copy(std::string_view text, char* out) {
  std::memcpy(out, text.data(), text.size());
  return text.size();
}

std::u32string manyDistinct() {
  std::u32string made;
  for (int turn = 0; turn < 8; ++turn)
    for (char32_t c = 0x4E00; c < 0x4E00 + 20000; ++c) made += c;
  return made;
}

void decode(const Codec& codec) {
  const Operation operation(plain, std::string("Get") + codec.name, codec.decode);
  for (const Job& job : decodingJobs(codec)) {
    operation.add(job);
    for (const auto& [column, peer] : codec.decoders) operation.peer(job, column, peer);
    if (job.name.starts_with("plain")) operation.peer(job, "copy", copy);
    if (job.name.ends_with("-1MiB")) operation.offer(job);
  }
  operation.add(decoding("20000-distinct", manyDistinct(), codec.notation));
  const std::string endless = repeated(codec.endless, MiB);
  const Job adversarial = {"endless-1MiB", endless, endless, 0};
  operation.add(adversarial);
  operation.peer(adversarial, "hand", codec.decoders.front().second);
}

constexpr Size growing[] = {
    {"16KiB", 16 * KiB}, {"64KiB", 64 * KiB}, {"256KiB", 256 * KiB}, {"1MiB", MiB}, {"4MiB", 4 * MiB}};

/// The same text at several lengths: time must grow as the length does.
void growth(const Codec& codec) {
  const std::string name = std::string("Get") + codec.name + " growth ";
  for (const std::string_view unit :
       {"&", "&#", "&#x", "&&#1", "\\u", "\\", "\\uD83D", "\\u12", "<", "<U", "<U00E", "<u0>"}) {
    if (unit == "<u0>" && codec.notation == Notation::uParen) continue;  // decodes
    const Operation operation(plain, name + std::string(unit), codec.decode);
    for (const auto& [size, bytes] : growing) {
      const std::string same = repeated(unit, bytes);
      const Job job = {size, same, same, 0};
      operation.ours(job);
      operation.peer(job, "copy", copy);
      if (unit != codec.endless) continue;
      operation.peer(job, "hand", codec.decoders.front().second);
      if (bytes <= MiB) operation.offer(job);
    }
  }
  if (codec.notation == Notation::uEscape) return;
  const char terminator = codec.notation == Notation::decimal ? ';' : '>';
  const Operation operation(plain, name + "one terminator at the end", codec.decode);
  for (const auto& [size, bytes] : growing) {
    const std::string all = repeated(codec.endless, bytes) + terminator;
    operation.ours({size, all, std::string(1, '\0'), 0});
    operation.peer({size, all, all, 0}, "copy", copy);
  }
}

void otherFlavours(const Codec& codec) {
  const auto in = [&](const Flavour& flavour) {
    return Operation(flavour, std::string("Get") + codec.name, codec.decode);
  };
  for (const auto& [size, units] : {std::pair{"plain-4KiB", 4 * KiB}, {"plain-1MiB", MiB}}) {
    const Job job = widened(decoding(size, text(Script::ascii, units), codec.notation));
    in(wide).add(job);
    in(wide).peer(job, "copy", copy);
  }
  const Notation notation = codec.notation == Notation::decimal ? Notation::hexadecimal : codec.notation;
  const Job hexadecimal = decoding("dense-hex-1MiB", text(Script::cyrillic, MiB / 6), notation);
  in(plain).add(hexadecimal);
  in(served).add(hexadecimal);
  in(wide).add(widened(hexadecimal));
}

/// Notations that stay as text.
void decodeAsciiOnly() {
  const std::string kept = escaped(text(Script::cyrillic, MiB / 6), Notation::uParen);
  Operation(plain, "GetUParenP", &RQOperations::getUParenP).add({"dense-1MiB", kept, kept, 0});
}

void encode(const Codec& codec) {
  const Operation operation(plain, std::string("Put") + codec.name, codec.encode);
  for (const Job& job : encodingJobs(codec)) {
    operation.add(job);
    for (const auto& [column, peer] : codec.encoders) operation.peer(job, column, peer);
    if (job.name.ends_with("-1MiB")) operation.offer(job);
  }
  for (const auto& [size, characters] : {std::pair{"plain-4KiB", 4 * KiB}, {"plain-1MiB", MiB}})
    Operation(wide, std::string("Put") + codec.name, codec.encode)
        .add(widened(encoding(size, text(Script::ascii, characters), codec)));
}

/// What the served flavour pays the host for each hexadecimal notation: for its digits, or for as many units as an
/// escape may have digits.
void serviceCall() {
  RQCharsetService* const service = caseService()->charset;
  for (const auto& [size, units] : {std::pair{"4B", 4}, {"8B", 8}})
    timed(Cell{std::string("codecs/service call/") + size + "/host", static_cast<double>(units)},
          [service, count = static_cast<std::uint64_t>(units)] {
            static char digits[] = "00e9\\u04";
            service->upperCase(service, digits, count, 0);
            return digits[3];
          });
}

}  // namespace

void registerCodecs() {
  serviceCall();
  for (const Codec& codec : codecs) {
    decode(codec);
    growth(codec);
    otherFlavours(codec);
    encode(codec);
  }
  decodeAsciiOnly();
}

}  // namespace rq::bench
