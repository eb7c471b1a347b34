#include "cli/unmappable.h"

#include "cli/notations.h"
#include "host/pieces.h"

namespace rq::cli {

Result<StrictDecoder> StrictDecoder::open(std::shared_ptr<Workbench> bench, Notation notation,
                                          Unmappable unmappable) {
  std::string substitute;
  if (unmappable == Unmappable::substitute) {
    Result<host::CharacterWriter> writer = host::CharacterWriter::open(bench->encoding(), unmappable);
    if (!writer) return writer.error();
    constexpr char32_t inNoEncoding = U'\U0010FFFD';
    if (const auto bytes = writer->write(std::as_bytes(std::span(&inNoEncoding, 1)), true)) {
      substitute.assign(reinterpret_cast<const char*>(bytes->data()), bytes->size());
    }
  }
  return StrictDecoder(std::move(bench), notation, std::move(substitute));
}

Error StrictDecoder::lacks(const Text& text, std::size_t offset, std::size_t length, RQChar character) const {
  const host::Position position = host::PositionTracker(bench_->codec(), text.bytes, text.start).advanceTo(offset);
  const host::Problem problem{host::Outcome::unmappable, position, text.bytes.subspan(offset, length), character};
  return inFile(text.file, {Error::Kind::data, describe(problem, bench_->encoding(), bench_->encoding())});
}

Result<Bytes> StrictDecoder::operator()(const Text& text) {
  constexpr std::size_t marked = 2;  // what is left of a doubled marker
  result_.clear();
  std::size_t copied = 0;
  Done done = host::done();
  const auto take = [&](const Finding& found) {
    if (!done || (!found.decoded && !found.lacking)) return;
    append(text.bytes.subspan(copied, found.offset - copied));
    copied = found.offset + found.length;
    if (found.lacking && substitute_.empty()) {
      done = lacks(text, found.offset, found.length, *found.character);
    } else if (found.lacking) {
      append(std::as_bytes(std::span(substitute_)));
    } else if (found.character) {
      append(bench_->inSession(*found.character));
    } else {
      append(text.bytes.subspan(found.offset, marked));
    }
  };
  const std::span units(reinterpret_cast<const unsigned char*>(text.bytes.data()), text.bytes.size());
  findNotations<unsigned char>(
      notation_, units, [this](RQChar character) { return bench_->carries(character); }, take);
  if (!done) return done.error();
  append(text.bytes.subspan(copied));
  return Bytes(result_);
}

}  // namespace rq::cli
