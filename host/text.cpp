#include "host/text.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "host/transcoder.h"

namespace rq::host {
namespace {

std::string hexadecimal(Bytes bytes) {
  constexpr std::size_t most = 16;
  std::string text;
  for (const std::byte byte : bytes.first(std::min(bytes.size(), most))) {
    std::array<char, 4> digits;
    std::snprintf(digits.data(), digits.size(), "%02X", std::to_integer<unsigned>(byte));
    if (!text.empty()) text += ' ';
    text += digits.data();
  }
  return bytes.size() > most ? text + " ..." : text;
}

/// Skips pieces that convert whole. The source must not be stateful.
std::size_t skipGoodPieces(const Codec& source, const Codec& target, Bytes text) {
  std::array<char32_t, Codec::pieceCharacters> piece;
  std::array<std::byte, 32 * Codec::pieceCharacters> scratch;
  std::size_t at = 0;
  while (at < text.size()) {
    const Step read = source.decode(text.subspan(at), piece, true);
    if (read.outcome != Outcome::done && read.outcome != Outcome::outputFull) break;
    if (target.encode({piece.data(), read.produced}, scratch, true, true).outcome != Outcome::done) break;
    at += read.consumed;
  }
  return at;
}

}  // namespace

const Position& PositionTracker::advanceTo(std::uint64_t offset) {
  std::array<char32_t, Codec::pieceCharacters> piece;
  bool first = true;
  while (position_.offset - base_ < offset) {
    const std::uint64_t at = position_.offset - base_;
    const Step read = codec_.decode(text_.subspan(at, offset - at), piece, first);
    for (const char32_t c : std::span(piece).first(read.produced)) {
      const bool lineEnd = c == U'\n';
      position_.line += lineEnd ? 1 : 0;
      position_.column = lineEnd ? 1 : position_.column + 1;
    }
    position_.offset += read.consumed;
    first = false;
    if (read.outcome == Outcome::outputFull) continue;
    first = true;
    if (read.outcome == Outcome::done) {
      position_.offset = base_ + offset;
    } else {
      position_.offset += std::max<std::size_t>(read.badBytes, 1);
      ++position_.column;
    }
  }
  position_.offset = base_ + offset;
  return position_;
}

std::optional<Problem> findProblem(const Codec& source, const Codec& target, Bytes text, Position start) {
  PositionTracker tracker(source, text, start);
  std::size_t at = source.cutsCleanly() ? skipGoodPieces(source, target, text) : 0;
  std::array<std::byte, 256> scratch;
  for (bool first = true; at < text.size(); first = source.cutsCleanly()) {
    char32_t character = 0;
    const Step read = source.decodeOne(text.subspan(at), character, first);
    const std::size_t begin = at + (read.produced == 0 ? read.consumed : 0);
    const auto problem = [&](Outcome outcome, std::size_t bytes) {
      const std::size_t length = std::min(bytes, text.size() - begin);
      return Problem{outcome, tracker.advanceTo(begin), text.subspan(begin, length), character};
    };
    if (read.produced == 0) {
      if (read.outcome == Outcome::done) break;
      return problem(read.outcome, std::max<std::size_t>(read.badBytes, 1));
    }
    const Step written = target.encode({&character, 1}, scratch, true, true);
    if (written.outcome != Outcome::done) return problem(written.outcome, read.consumed);
    at += read.consumed;
  }
  return std::nullopt;
}

std::string describe(const Problem& problem, const Encoding& source, const Encoding& target) {
  const std::string at = " at offset " + std::to_string(problem.position.offset) + ", line " +
                         std::to_string(problem.position.line) + ", column " +
                         std::to_string(problem.position.column);
  const std::string bytes = "bytes " + hexadecimal(problem.bytes) + at;
  switch (problem.outcome) {
    case Outcome::truncated:
      return "the text ends inside a character: " + bytes + ", are not a whole character of " + source.name;
    case Outcome::malformed:
      return "invalid " + bytes + ": not valid in " + source.name;
    case Outcome::unmappable: {
      std::array<char, 16> name;
      std::snprintf(name.data(), name.size(), "U+%04X", static_cast<unsigned>(problem.character));
      return "character " + std::string(name.data()) + at + " does not exist in " + target.name;
    }
    default:
      return std::string(describe(statusOf(problem.outcome)));
  }
}

std::string atBeginning(const Position& start, const std::string& what) {
  return what + ": it begins at offset " + std::to_string(start.offset) + ", line " + std::to_string(start.line);
}

bool readCharacters(const Codec& codec, Bytes text, const std::function<void(std::span<const char32_t>)>& take) {
  std::array<char32_t, Codec::pieceCharacters> piece;
  for (bool first = true;; first = false) {
    const Step read = codec.decode(text, piece, first);
    take(std::span(piece).first(read.produced));
    if (read.outcome != Outcome::outputFull) return read.outcome == Outcome::done;
    text = text.subspan(read.consumed);
  }
}

std::optional<std::string> convertAll(const Codec& source, const Codec& target, Bytes text) {
  std::string output(text.size() * 2 + 32, '\0');
  for (;;) {
    const Conversion conversion = convert(source, target, text, std::as_writable_bytes(std::span(output)));
    if (conversion.outcome == Outcome::done) {
      output.resize(conversion.produced);
      return output;
    }
    if (conversion.outcome != Outcome::outputFull) return std::nullopt;
    output.resize(output.size() * 2);
  }
}

}  // namespace rq::host
