#include "cli/texts.h"

#include "frame/types.h"
#include "host/pieces.h"

namespace rq::cli {

Error inFile(std::string_view file, Error error) {
  error.text = shownName(std::string(file)) + ": " + error.text;
  return error;
}

std::string fileColumn(const Job& job, const Text& text) {
  return job.files.size() > 1 ? std::string(text.file) : "";
}

namespace {

/// An ASCII character in an encoding that can be cut; empty where there is none.
std::string inEncoding(char character, const host::Encoding& encoding) {
  const host::Codec& codec = *host::codecOf(encoding.identifier);
  const auto byte = static_cast<std::byte>(character);
  if (codec.stateful()) return "";
  return host::convertAll(*host::codecOf(RQ_ENCODING_UTF8), codec, {&byte, 1}).value_or("");
}

/// The first text of a file begins behind its mark.
void placeBehindMark(const Input& input, Text& text) {
  text.start.offset = input.markBytes();
  text.reversed = input.reversed();
}

}  // namespace

std::string carriageReturnIn(const host::Encoding& encoding) {
  return inEncoding('\r', encoding);
}

Result<std::string> lineEndIn(const host::Encoding& encoding) {
  const std::string bytes = inEncoding('\n', encoding);
  if (!bytes.empty()) return bytes;
  return Error{Error::Kind::usage, "--lines cannot cut " + encoding.name + " text into lines"};
}

Result<TextRun> TextRun::in(const host::Encoding& encoding, bool lines, Cut cut, Progress& progress,
                            ExpectedMark mark) {
  if (!lines) return TextRun(encoding, "", std::move(cut), progress, std::move(mark));
  const Result<std::string> lineEnd = lineEndIn(encoding);
  if (!lineEnd) return lineEnd.error();
  return TextRun(encoding, *lineEnd, {}, progress, std::move(mark));
}

Done TextRun::each(const std::vector<std::string>& files, const Take& take, const Pause& pause) {
  for (const std::string& file : files) {
    Result<Input> input = Input::open(file, *progress_, pause);
    if (!input) return input.error();
    if (Done done = each(*input, take); !done) return done;
  }
  return host::done();
}

Done TextRun::each(Input& input, const Take& take) {
  if (!mark_.bytes.empty()) input.expectMark(mark_);
  if (!lineEnd_.empty()) return eachLine(input, take);
  return cut_ ? eachPiece(input, take) : wholeFile(input, take);
}

Done TextRun::wholeFile(Input& input, const Take& take) {
  const Result<Bytes> bytes = input.readAll(buffer_);
  if (!bytes) return bytes.error();
  Text text{*bytes, {}, input.name()};
  placeBehindMark(input, text);
  return take(text);
}

Done TextRun::eachPiece(Input& input, const Take& take) const {
  PieceReader reader(input, cut_);
  Text text{{}, {}, input.name(), true, false, false};
  while (!text.last) {
    const Result<PieceReader::Piece> piece = reader.next();
    if (!piece) return piece.error();
    if (text.first) placeBehindMark(input, text);
    text.bytes = piece->text;
    text.last = piece->last;
    if (Done done = take(text); !done) return done;
    if (!text.last) text.start = host::positionBehind(*encoding_, text.bytes, text.start);
    text.first = false;
  }
  return host::done();
}

Done TextRun::eachLine(Input& input, const Take& take) const {
  LineReader reader(input, lineEnd_);
  Text text{{}, {}, input.name()};
  for (;;) {
    const auto line = reader.next();
    if (!line && line.error().kind != Error::Kind::data) return line.error();
    if (!line) return inFile(text.file, {Error::Kind::data, host::atBeginning(text.start, line.error().text)});
    if (!*line) return host::done();
    if (text.start.offset == 0) placeBehindMark(input, text);
    text.bytes = (*line)->text;
    text.ended = (*line)->ended;
    if (Done done = take(text); !done) return done;
    text.start.offset += text.bytes.size() + lineEnd_.size();
    ++text.start.line;
  }
}

}  // namespace rq::cli
