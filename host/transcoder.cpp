#include "host/transcoder.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace rq::host {
namespace {

struct Attempt {
  std::size_t produced;
  std::size_t characters;  // that the target took, perhaps with the one that failed
  Outcome outcome;
  bool ended;  // the target took every character and ended its text
};

/// Converts at most the first `characters` characters, then ends the text.
Attempt attempt(const Codec& source, const Codec& target, Bytes input, MutableBytes output, std::size_t characters) {
  std::array<char32_t, Codec::pieceCharacters> piece;  // deliberately left unset: most calls carry one character
  Attempt sum{0, 0, Outcome::done, false};
  for (bool first = true;; first = false) {
    const std::span<char32_t> characterRoom(piece.data(), std::min(piece.size(), characters - sum.characters));
    // The bytes of some encodings depend on where the pieces end.
    const Step read = target.cutsCleanly() ? source.decode(input, characterRoom, first)
                                           : source.decodeFully(input, characterRoom, first);
    const bool last = read.outcome != Outcome::outputFull || sum.characters + read.produced == characters;
    const Step written = target.encode({piece.data(), read.produced}, output, first, last);
    sum.produced += written.produced;
    sum.characters += written.consumed;
    if (written.outcome != Outcome::done) {
      sum.outcome = written.outcome;
      return sum;
    }
    if (last) {
      const bool reachedLimit = read.outcome == Outcome::outputFull;
      sum.outcome = reachedLimit ? Outcome::done : read.outcome;
      sum.ended = true;
      return sum;
    }
    input = input.subspan(read.consumed);
    output = output.subspan(written.produced);
  }
}

thread_local constinit ConversionWatch* threadsWatch = nullptr;

}  // namespace

RQStatus statusOf(Outcome outcome) {
  switch (outcome) {
    case Outcome::done:
      return RQ_SUCCESS;
    case Outcome::outputFull:
      return outputFullStatus;
    case Outcome::truncated:
      return truncatedStatus;
    case Outcome::malformed:
      return malformedStatus;
    case Outcome::unmappable:
      return unmappableStatus;
    case Outcome::unavailable:
      break;
  }
  return unavailableStatus;
}

std::string_view describe(RQStatus status) {
  switch (status) {
    case outputFullStatus:
      return "the output is full";
    case truncatedStatus:
      return "the text ends inside a character";
    case malformedStatus:
      return "the bytes are not valid in the encoding";
    case unmappableStatus:
      return "the target encoding lacks the character";
    case unavailableStatus:
      return "the converter could not be opened";
    default:
      return "";
  }
}

std::string hexadecimal(RQStatus status) {
  std::array<char, 16> text;
  std::snprintf(text.data(), text.size(), "0x%08x", status);
  return text.data();
}

Conversion convert(const Codec& source, const Codec& target, Bytes input, MutableBytes output) {
  if (input.empty()) return {0, Outcome::done};
  const Attempt whole = attempt(source, target, input, output, SIZE_MAX);
  if (whole.ended || target.cutsCleanly()) return {whole.produced, whole.outcome};
  // The target may have cut a character or lack its text's end: take the longest beginning that comes out whole. The
  // character in question is at most a few before the point where the first attempt stopped.
  // Where it has no room for its end, that is what ends the text, and not what follows.
  Outcome outcome = whole.outcome;
  for (std::size_t characters = whole.characters; characters > 0; --characters) {
    const Attempt beginning = attempt(source, target, input, output, characters);
    if (beginning.ended) return {beginning.produced, outcome};
    if (beginning.outcome == Outcome::outputFull) outcome = Outcome::outputFull;
  }
  return {0, outcome};
}

ConversionWatch::ConversionWatch(Bytes text) : text_(text) {
  threadsWatch = this;
}

ConversionWatch::~ConversionWatch() {
  threadsWatch = nullptr;
}

Transcoder::Transcoder(const Codec& source, const Codec& target) : source_(source), target_(target) {
  forbid<"transcoder", 0>(gap0);
  forbid<"transcoder", 3>(gap3);
  destroy = destroySlot;
  convert = convertSlot;
}

RQStatus Transcoder::destroySlot(RQTranscoder* transcoder) noexcept {
  delete static_cast<Transcoder*>(transcoder);
  return 0;
}

RQStatus Transcoder::convertSlot(RQTranscoder* transcoder, const void* input, std::uint64_t inputBytes, void* output,
                                 std::uint64_t capacityBytes, std::uint64_t* producedBytes, std::uint64_t) noexcept {
  const auto* self = static_cast<Transcoder*>(transcoder);
  const Bytes from(static_cast<const std::byte*>(input), inputBytes);
  const MutableBytes to(static_cast<std::byte*>(output), capacityBytes);
  const Conversion conversion = host::convert(self->source_, self->target_, from, to);
  if (threadsWatch && from.data() == threadsWatch->text_.data() && from.size() == threadsWatch->text_.size()) {
    threadsWatch->outcome_ = conversion.outcome;
  }
  *producedBytes = conversion.produced;
  return statusOf(conversion.outcome);
}

}  // namespace rq::host
