// Library, host and session, ready for work in one flavour.
#ifndef RQUNI_CLI_WORKBENCH_H
#define RQUNI_CLI_WORKBENCH_H

#include <memory>
#include <string>

#include "cli/notations.h"
#include "cli/options.h"
#include "cli/texts.h"
#include "frame/rquni.h"
#include "host/encodings.h"
#include "host/host.h"
#include "host/text_work.h"

namespace rq::cli {

class Workbench {
 public:
  static Result<std::unique_ptr<Workbench>> open(const Options& options);

  const host::Library& library() const { return library_; }
  RQInterface* object() const { return session_->object(); }
  const host::Encoding& encoding() const { return *encoding_; }
  const host::Codec& codec() const { return *codec_; }
  bool wide() const { return wide_; }

  /// The operations on one text; errors name its file. Results lie in a buffer that the next call reuses.
  Result<Bytes> fromForm(RQForm form, const Text& text) {
    return named(text, work_->fromForm(form, text.bytes, text.start));
  }
  Result<Bytes> toForm(RQForm form, const Text& text, std::optional<std::uint64_t> padBytes) {
    return named(text, work_->toForm(form, text.bytes, text.start, padBytes));
  }
  Result<Bytes> decode(Notation notation, const Text& text) {
    return named(text, work_->decode(notation, text.bytes, text.start));
  }
  Result<Bytes> encode(Notation notation, const Text& text) {
    return named(text, work_->encode(notation, text.bytes, text.start));
  }
  Result<std::int64_t> measure(host::TextWork::Measure measure, const Text& text) {
    return named(text, work_->measure(measure, text.bytes, text.start));
  }
  /// True when the session encoding holds the character, found out as the decoders do it.
  bool carries(RQChar character) const;

  /// An error unless the notations can be read in this session.
  Done needNotations() const;

 private:
  Workbench(host::Library library, const host::Encoding& encoding, const Options& options);
  template <class T>
  static Result<T> named(const Text& text, Result<T> result) {
    if (!result) result.error().text = about(text, result.error().text);
    return result;
  }

  host::Library library_;
  const host::Encoding* encoding_;
  const host::Codec* codec_;
  host::Host host_;
  std::optional<host::Session> session_;
  std::optional<host::TextWork> work_;
  const bool wide_;
};

/// The library that the options name, else the one beside the tool as it is built or installed, else whatever the
/// dynamic loader finds.
Result<host::Library> openLibrary(const Options& options);

/// utf8, utf16be ... to the form; the name must be one of these.
RQForm formNamed(const std::string& name);

}  // namespace rq::cli

#endif
