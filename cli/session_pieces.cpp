#include "cli/session_pieces.h"

#include <optional>

#include "host/pieces.h"

namespace rq::cli {
namespace {

/// Reads shifted text for a work that takes characters.
class ShiftedText {
 public:
  ShiftedText(const host::Encoding& encoding, Work work) : encoding_(encoding), work_(std::move(work)) {}

  Result<Bytes> operator()(const Text& text) {
    if (text.first) {
      Result<host::CharacterReader> reader = host::CharacterReader::open(encoding_);
      if (!reader) return reader.error();
      reader_.emplace(std::move(*reader));
    }
    const Result<Bytes> characters = reader_->read(text.bytes, text.last);
    if (!characters) return inFile(text.file, characters.error());
    Text taken = text;
    taken.bytes = *characters;
    return work_(taken);
  }

 private:
  const host::Encoding& encoding_;
  const Work work_;
  std::optional<host::CharacterReader> reader_;
};

}  // namespace

Result<TextOperation> sideBySide(TextOperation operation, const std::shared_ptr<Workbench>& bench, MakeWork make) {
  Result<Work> work = make(bench);
  if (!work) return work.error();
  operation.work = std::move(*work);
  if (!bench->ownHost()) return operation;  // another's may know only one session
  operation.another = [bench, make = std::move(make)]() -> Result<Work> {
    Result<std::unique_ptr<Workbench>> other = bench->another();
    if (!other) return other.error();
    return make(std::move(*other));
  };
  return operation;
}

Result<TextOperation> overSessionText(const Job& job, const MakeWork& make) {
  const Result<const host::Encoding*> found = sessionEncoding(job);
  if (!found) return found.error();
  const host::Encoding& encoding = **found;
  const bool stateful = host::codecOf(encoding.identifier)->stateful();
  // Somebody else's host is to read its session text itself.
  const bool shifts = stateful && job.host.empty();
  auto opened = shifts ? Workbench::openForCharacters(job) : Workbench::open(job);
  if (!opened) return opened.error();
  const std::shared_ptr<Workbench> bench = std::move(*opened);
  if (!shifts) {
    return sideBySide({&encoding, nullptr, stateful ? cutNowhere() : cutAtCharacters(encoding)}, bench, make);
  }
  Result<Work> work = make(bench);
  if (!work) return work.error();
  const auto shifted = std::make_shared<ShiftedText>(encoding, std::move(*work));
  return TextOperation{&encoding, nullptr, [](Bytes text) { return text.size(); },
                       [shifted](const Text& text) { return (*shifted)(text); }};
}

}  // namespace rq::cli
