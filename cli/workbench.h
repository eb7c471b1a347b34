// Library, host and session, ready for work in one flavour.
#ifndef RQUNI_CLI_WORKBENCH_H
#define RQUNI_CLI_WORKBENCH_H

#include <array>
#include <memory>
#include <string>

#include "cli/job.h"
#include "cli/texts.h"
#include "frame/rquni.h"
#include "host/encodings.h"
#include "host/host.h"
#include "host/text_work.h"

namespace rq::cli {

class Workbench {
 public:
  static Result<std::unique_ptr<Workbench>> open(const Job& job);
  /// The same, for a session encoding that can carry the notations.
  static Result<std::unique_ptr<Workbench>> openForNotations(const Job& job);
  /// The same with characters of 4 bytes for the session text, whatever session the job has.
  static Result<std::unique_ptr<Workbench>> openForCharacters(const Job& job);
  /// Another one with the same library and the tool's own host, for another thread. Call it while no thread uses the
  /// library.
  Result<std::unique_ptr<Workbench>> another() const;

  const host::Library& library() const { return place_->library; }
  RQInterface* object() const { return session_.object(); }
  const host::Encoding& encoding() const { return place_->encoding; }
  const host::Codec& codec() const { return place_->codec; }
  /// False for the host that the job names.
  bool ownHost() const { return place_->ownHost; }
  bool wide() const { return place_->flavour == Flavour::wide; }

  /// The operations on one text; errors name its file. Results lie in a buffer that the next call reuses.
  Result<Bytes> fromForm(RQForm form, const Text& text) {
    return named(text, work_.fromForm(form, text.bytes, text.start));
  }
  Result<Bytes> toForm(RQForm form, const Text& text, std::optional<std::uint64_t> padBytes) {
    return named(text, work_.toForm(form, text.bytes, text.start, padBytes));
  }
  Result<Bytes> decode(Notation notation, const Text& text) {
    return named(text, work_.decode(notation, text.bytes, text.start));
  }
  Result<Bytes> encode(Notation notation, const Text& text, const host::TextWork::Around& around) {
    return named(text, work_.encode(notation, text.bytes, text.start, around));
  }
  Result<std::int64_t> measure(host::TextWork::Measure measure, const Text& text) {
    return named(text, work_.measure(measure, text.bytes, text.start));
  }
  /// An error where the text is not valid in the session encoding.
  Done checkValid(const Text& text) const;
  /// The character as the host writes it in the session encoding, as far as it does. Valid until the next call.
  Bytes inSession(RQChar character) const;
  /// True when the session encoding holds the character. Asks the transcoders as the decoders do.
  bool carries(RQChar character) const;

 private:
  /// What all workbenches of a job share.
  struct Place {
    Place(host::Library loaded, const host::Encoding& session, const Job& job);

    host::Library library;
    const host::Encoding& encoding;
    const host::Codec& codec;
    const bool asciiCompatible;
    const Flavour flavour;
    const bool ownHost;  // the job names no other
    host::Host host;
  };
  Workbench(std::shared_ptr<Place> place, host::Session session);
  /// A session of the host that the job names.
  static Result<host::Session> openNamedHost(const Place& place, const Job& job);
  template <class T>
  static Result<T> named(const Text& text, Result<T> result) {
    return result ? std::move(result) : inFile(text.file, result.error());
  }

  std::shared_ptr<Place> place_;
  host::Session session_;
  host::TextWork work_;
  mutable std::array<std::byte, 80> character_;
};

/// The session encoding of a job.
Result<const host::Encoding*> sessionEncoding(const Job& job);

/// The library that the job names, else the one beside the tool as it is built or installed, else the dynamic
/// loader's.
Result<host::Library> openLibrary(const Job& job);

}  // namespace rq::cli

#endif
