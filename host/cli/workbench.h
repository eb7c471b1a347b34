// Library, host and session, ready for work in one flavour, and single texts run through the library's operations.
#ifndef RQUNI_HOST_CLI_WORKBENCH_H
#define RQUNI_HOST_CLI_WORKBENCH_H

#include <memory>
#include <string>

#include "frame/rquni.h"
#include "host/cli/files.h"
#include "host/cli/options.h"
#include "host/cli/texts.h"
#include "host/encodings.h"
#include "host/host.h"
#include "host/text.h"

namespace rq::cli {

class Workbench {
 public:
  static Result<std::unique_ptr<Workbench>> open(const Options &options);

  const host::Library &library() const { return library_; }
  RQInterface *object() const { return session_->object(); }
  const host::Encoding &encoding() const { return *encoding_; }
  const host::Codec &codec() const { return *codec_; }
  bool wide() const { return wide_; }

  /// One text between a Unicode form and the session encoding. The result lies in a buffer that the next call reuses.
  Result<Bytes> fromForm(RQForm form, const Text &text);
  Result<Bytes> toForm(RQForm form, const Text &text, std::optional<std::uint64_t> padBytes);
  /// One text through a decoder or an encoder, complete or an error.
  Result<Bytes> decode(RQCodec decoder, const Text &text);
  Result<Bytes> encode(RQCodec encoder, const Text &text);
  /// Characters or columns of one text.
  Result<std::int64_t> measure(RQMeasure slot, const Text &text);
  /// True when the session encoding holds the character, found out as the decoders do it.
  bool carries(RQChar character) const;

  const RQOperations &operations() const { return *operations_; }
  /// An error unless the notations can be read in this session.
  Done needNotations() const;

 private:
  Workbench(host::Library library, const host::Encoding &encoding, const Options &options);
  std::size_t unit() const { return wide_ ? sizeof(RQChar) : 1; }
  /// What the status of an operation means, the text's first problem on the way to `target` if it has one.
  Error failure(RQStatus status, const Text &text, const host::Encoding &source, const host::Encoding &target) const;
  /// Checks that a text is valid in the session encoding and returns how large its longest encoded form can be, in
  /// units.
  Result<std::uint64_t> encodedBound(const Text &text) const;
  Done needWholeUnits(const Text &text) const;

  host::Library library_;
  const host::Encoding *encoding_;
  const host::Codec *codec_;
  host::Host host_;
  std::optional<host::Session> session_;
  const RQOperations *operations_ = nullptr;
  const bool wide_;
  Buffer output_;
};

/// The library that the options name, else the one beside the tool as it is built or installed, else whatever the
/// dynamic loader finds.
Result<host::Library> openLibrary(const Options &options);

/// The host's encoding of a form.
const host::Encoding &encodingOf(RQForm form);
/// utf8, utf16be ... to the form; the name must be one of these.
RQForm formNamed(const std::string &name);

}  // namespace rq::cli

#endif
