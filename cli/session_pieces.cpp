#include "cli/session_pieces.h"

namespace rq::cli {

Result<SessionPieces> SessionPieces::open(const Job& job) {
  const Result<const host::Encoding*> encoding = sessionEncoding(job);
  if (!encoding) return encoding.error();
  // Somebody else's host is to read its session text itself.
  const bool inPieces = !job.lines && !job.padBytes && job.host.empty();
  const bool shifts = inPieces && host::codecOf((*encoding)->identifier)->stateful();
  auto bench = shifts ? Workbench::openForCharacters(job) : Workbench::open(job);
  if (!bench) return bench.error();
  return SessionPieces(**encoding, shifts, std::move(*bench));
}

Cut SessionPieces::cut() const {
  if (!shifts_ && host::codecOf(encoding_->identifier)->stateful()) return {};
  if (!shifts_) return cutAtCharacters(*encoding_);
  return [](Bytes text) { return text.size(); };
}

Result<Text> SessionPieces::taken(const Text& text) {
  if (!shifts_) return text;
  if (text.first) {
    Result<host::CharacterReader> reader = host::CharacterReader::open(*encoding_);
    if (!reader) return reader.error();
    reader_.emplace(std::move(*reader));
  }
  const Result<Bytes> characters = reader_->read(text.bytes, text.last);
  if (!characters) return inFile(text.file, characters.error());
  Text result = text;
  result.bytes = *characters;
  return result;
}

}  // namespace rq::cli
