// The operations that make text of text.
#include <cctype>
#include <cstring>
#include <memory>

#include "cli/session_pieces.h"
#include "cli/text_operation.h"
#include "cli/unmappable.h"
#include "cli/workbench.h"
#include "host/pieces.h"

namespace rq::cli {
namespace {

bool isUtf16(RQForm form) {
  return form == RQ_FORM_UTF16_NATIVE || form == RQ_FORM_UTF16_BIG || form == RQ_FORM_UTF16_LITTLE;
}

/// True for forms whose byte order is that of a mark.
bool isMarked(RQForm form) {
  return form == RQ_FORM_UTF16_NATIVE || form == RQ_FORM_UTF32_NATIVE;
}

/// The form in which marked text is read: without a mark it is big-endian.
RQForm readForm(RQForm form) {
  if (!isMarked(form)) return form;
  return isUtf16(form) ? RQ_FORM_UTF16_BIG : RQ_FORM_UTF32_BIG;
}

/// The form in which marked text is written.
RQForm writtenForm(RQForm form) {
  if (!isMarked(form)) return form;
  return isUtf16(form) ? RQ_FORM_UTF16_LITTLE : RQ_FORM_UTF32_LITTLE;
}

/// An error shows the bytes of a little-endian file as they stand there.
Result<Bytes> fromReadForm(Workbench& bench, RQForm form, const Text& text) {
  Result<Bytes> result = bench.fromForm(form, text);
  if (result || !text.reversed) return result;
  std::vector<std::byte> bytes(text.bytes.begin(), text.bytes.end());
  reverseBytes(bytes, isUtf16(form) ? 2 : 4);
  Text asItStands = text;
  asItStands.bytes = bytes;
  return bench.fromForm(isUtf16(form) ? RQ_FORM_UTF16_LITTLE : RQ_FORM_UTF32_LITTLE, asItStands);
}

/// Pieces of text whose result is not that of each piece for itself: one converter writes all of them. So it is with
/// encodings that join characters or shift between sets, and where characters are replaced.
class JoinedFromForm {
 public:
  JoinedFromForm(std::shared_ptr<Workbench> bench, RQForm form, const host::Encoding& session, Unmappable unmappable)
      : bench_(std::move(bench)), form_(form), session_(session), unmappable_(unmappable) {}

  Result<Bytes> operator()(const Text& text) {
    if (text.first) {
      Result<host::CharacterWriter> writer = host::CharacterWriter::open(session_, unmappable_);
      if (!writer) return writer.error();
      writer_.emplace(std::move(*writer));
    }
    Result<Bytes> characters = fromReadForm(*bench_, form_, text);
    if (!characters) return characters;
    if (const std::optional<Bytes> bytes = writer_->write(*characters, text.last)) return *bytes;
    const host::Encoding& form = host::encodingOf(form_);
    const auto problem = host::findProblem(*host::codecOf(form.identifier), *host::codecOf(session_.identifier),
                                           text.bytes, text.start);
    return inFile(text.file, {Error::Kind::data, problem ? describe(*problem, form, session_)
                                                         : "a character does not exist in " + session_.name});
  }

 private:
  std::shared_ptr<Workbench> bench_;
  const RQForm form_;
  const host::Encoding& session_;
  const Unmappable unmappable_;
  std::optional<host::CharacterWriter> writer_;
};

/// Pieces of an encoded text, each with what the encoder has to see around it. `encode ncr` takes the digits of every
/// `<U....>` from the beginning of the whole text. `encode uesc` and `encode uparen` look at whether more text
/// follows.
class JoinedEncoding {
 public:
  JoinedEncoding(std::shared_ptr<Workbench> bench, Notation notation)
      : bench_(std::move(bench)), notation_(notation), unit_(bench_->wide() ? sizeof(RQChar) : 1) {}

  /// `front` comes before the piece and is no part of it; the encoder makes so many units of it.
  Result<Bytes> operator()(const Text& text, Bytes front = {}, std::size_t encodedFront = 0) {
    host::TextWork::Around around;
    if (!text.first && notation_ == Notation::ncr) {
      around = {before_ = units(digitsOf(text.beginning)), {}, digitsEnd, 0};
    } else if (!text.last && notation_ == Notation::uesc) {
      around = {{}, behind_ = units("xxxxx"), 0, 5};
    } else if (!text.last && notation_ != Notation::ncr) {
      around = {{}, behind_ = units("x"), 0, 7};
    }
    if (!front.empty()) {
      if (around.before.empty()) before_.clear();
      before_.insert(before_.end(), front.begin(), front.end());
      around.before = before_;
      around.encodedBefore += encodedFront;
    }
    return bench_->encode(notation_, text, around);
  }

 private:
  static constexpr std::size_t digitsEnd = 6;

  /// The first units of a text, with blanks for those that are no digits.
  std::string digitsOf(Bytes beginning) const {
    std::string digits(digitsEnd, ' ');
    for (std::size_t i = 0; i < std::min(digitsEnd, beginning.size() / unit_); ++i) {
      std::uint32_t value = 0;
      std::memcpy(&value, &beginning[i * unit_], unit_);
      if (value < 0x80 && std::isxdigit(static_cast<int>(value)) != 0) digits[i] = static_cast<char>(value);
    }
    return digits;
  }

  /// ASCII in the units of the session.
  std::vector<std::byte> units(std::string_view ascii) const {
    std::vector<std::byte> result(ascii.size() * unit_);
    for (std::size_t i = 0; i < ascii.size(); ++i) result[i * unit_] = static_cast<std::byte>(ascii[i]);
    return result;
  }

  std::shared_ptr<Workbench> bench_;
  const Notation notation_;
  const std::size_t unit_;
  std::vector<std::byte> before_, behind_;
};

/// The same where a byte below 0x80 may be another character than in ASCII. The library encodes such a byte only in a
/// text with bytes above: a piece without one gets the last one before it in front.
class ForeignEncoding {
 public:
  ForeignEncoding(std::shared_ptr<Workbench> bench, Notation notation)
      : bench_(bench), notation_(notation), joined_(std::move(bench), notation) {}

  Result<Bytes> operator()(const Text& text) {
    if (text.first) above_.clear();
    const auto first = std::ranges::find_if(text.bytes, [](std::byte byte) { return byte >= std::byte{0x80}; });
    const Bytes rest(first, text.bytes.end());
    if (rest.empty()) return joined_(text, above_, encodedAbove_);
    char32_t character = 0;
    const std::size_t length = bench_->codec().decodeOne(rest, character, true).consumed;
    above_.assign(rest.begin(), rest.begin() + static_cast<std::ptrdiff_t>(length));
    Text alone;
    alone.bytes = above_;
    const Result<Bytes> encoded = bench_->encode(notation_, alone, {});
    if (encoded) encodedAbove_ = encoded->size();
    return joined_(text);
  }

 private:
  std::shared_ptr<Workbench> bench_;
  const Notation notation_;
  JoinedEncoding joined_;
  std::vector<std::byte> above_;  // the last piece's first character that is not a byte below 0x80
  std::size_t encodedAbove_ = 0;
};

/// A field made of the pieces of one text, filled up with blanks.
class Field {
 public:
  Field(RQForm form, std::uint64_t bytes) : bytes_(bytes) {
    const host::Codec& codec = *host::codecOf(host::encodingOf(form).identifier);
    const std::vector<char32_t> characters(host::Codec::pieceCharacters, U' ');
    blanks_.resize(4 * characters.size());
    blanks_.resize(codec.encode(characters, blanks_, true, true).produced);
  }

  Done operator()(const Text& text, Bytes result, const Write& write) {
    if (text.first) used_ = 0;
    used_ += result.size();
    // A problem in the rest of the text is named first.
    if (used_ > bytes_ && !text.last) return host::done();
    if (used_ > bytes_)
      return inFile(text.file, {Error::Kind::data, host::atBeginning({}, "the text does not fit into the field")});
    Done written = write(result);
    return written && text.last ? fill(write) : written;
  }

 private:
  Done fill(const Write& write) {
    while (used_ < bytes_) {
      const Bytes blanks = Bytes(blanks_).first(std::min<std::uint64_t>(blanks_.size(), bytes_ - used_));
      if (Done written = write(blanks); !written) return written;
      used_ += blanks.size();
    }
    return host::done();
  }

  const std::uint64_t bytes_;
  std::vector<std::byte> blanks_;
  std::uint64_t used_ = 0;
};

Done checkPad(const Job& job) {
  if (!job.padBytes) return host::done();
  if (job.form == RQ_FORM_UTF8) return Error{Error::Kind::usage, "there is no padding for utf8"};
  if (isMarked(job.form) || job.byteOrderMark) {
    return Error{Error::Kind::usage,
                 "--pad cannot go together with a byte order mark: choose a form with a fixed order"};
  }
  const std::uint64_t step = isUtf16(job.form) && job.flavour != Flavour::wide ? 2 : 4;
  if (*job.padBytes % step == 0) return host::done();
  return Error{Error::Kind::usage, "--pad must be a multiple of " + std::to_string(step) + " bytes here"};
}

/// The decoder of one thread, without a check of the text.
Result<Work> makeDecoder(const Job& job, const std::shared_ptr<Workbench>& bench) {
  // Characters of 4 bytes lack none.
  if (job.unmappable.value_or(Unmappable::keep) == Unmappable::keep || bench->wide()) {
    return Work([bench, notation = job.notation](const Text& text) { return bench->decode(notation, text); });
  }
  Result<StrictDecoder> strict = StrictDecoder::open(bench, job.notation, *job.unmappable);
  if (!strict) return strict.error();
  return Work(std::move(*strict));
}

}  // namespace

Result<TextOperation> fromForm(const Job& job) {
  const Result<const host::Encoding*> session = sessionEncoding(job);
  if (!session) return session.error();
  const Unmappable unmappable = job.unmappable.value_or(Unmappable::error);
  const bool ownHost = job.host.empty();
  const bool joins = !job.lines && !host::codecOf((*session)->identifier)->cutsCleanly();
  const bool joined = unmappable != Unmappable::error || (joins && ownHost);
  auto opened = joined ? Workbench::openForCharacters(job) : Workbench::open(job);
  if (!opened) return opened.error();
  const std::shared_ptr<Workbench> bench = std::move(*opened);
  const RQForm form = readForm(job.form);
  const host::Encoding& encoding = host::encodingOf(form);
  TextOperation operation{&encoding, *session, joins && !joined ? cutNowhere() : cutForTarget(encoding, **session)};
  if (isMarked(job.form) || job.byteOrderMark) operation.mark = {byteOrderMark(form), isMarked(job.form)};
  if (joined) {
    const auto writer = std::make_shared<JoinedFromForm>(bench, form, **session, unmappable);
    operation.work = [writer](const Text& text) { return (*writer)(text); };
    return operation;
  }
  return sideBySide(std::move(operation), bench, [form](const std::shared_ptr<Workbench>& own) -> Work {
    return [own, form](const Text& text) { return fromReadForm(*own, form, text); };
  });
}

Result<TextOperation> toForm(const Job& job) {
  // The library fills the fields of lines. A long text comes in pieces.
  const auto pad = job.lines ? job.padBytes : std::nullopt;
  const RQForm form = writtenForm(job.form);
  auto operation = overSessionText(job, [form, pad](const std::shared_ptr<Workbench>& own) -> Work {
    return [own, form, pad](const Text& text) { return own->toForm(form, text, pad); };
  });
  if (!operation) return operation;
  if (Done possible = checkPad(job); !possible) return possible.error();
  operation->lineEnds = &host::encodingOf(form);
  if (form != RQ_FORM_UTF8) operation->pieceBytes /= 2;  // the results are two to four times as long
  // Each line becomes a field. Even with a line in each byte, the fields of a piece take 16 usual pieces at most.
  if (pad) operation->pieceBytes = std::max(operation->pieceBytes * 16 / (*pad + 16), std::uint64_t{1});
  if (job.padBytes && !job.lines) operation->gather = Field(form, *job.padBytes);
  if (isMarked(job.form) || job.byteOrderMark) operation->outputMark = byteOrderMark(form);
  return operation;
}

Result<TextOperation> decode(const Job& job) {
  auto opened = Workbench::openForNotations(job);
  if (!opened) return opened.error();
  const std::shared_ptr<Workbench> bench = std::move(*opened);
  const host::Encoding& session = bench->encoding();
  const Cut cut = cutForDecoding(job.notation, bench->wide());
  TextOperation operation{&session, &session, job.keepInvalid ? cut : cutBetween(cut, session)};
  return sideBySide(std::move(operation), bench, [job](const std::shared_ptr<Workbench>& own) -> Result<Work> {
    Result<Work> decoder = makeDecoder(job, own);
    if (!decoder || job.keepInvalid) return decoder;
    return Work([own, decode = std::move(*decoder)](const Text& text) {
      const Done valid = own->checkValid(text);
      return valid ? decode(text) : Result<Bytes>(valid.error());
    });
  });
}

Result<TextOperation> encode(const Job& job) {
  auto opened = Workbench::openForNotations(job);
  if (!opened) return opened.error();
  const std::shared_ptr<Workbench> bench = std::move(*opened);
  const host::Encoding& session = bench->encoding();
  TextOperation operation{&session, &session, cutForEncoding(job.notation, session)};
  operation.pieceBytes /= 4;  // the results are up to eight times as long
  if (!bench->wide() && !host::isAsciiCompatible(bench->codec())) {
    operation.work = ForeignEncoding(bench, job.notation);
    return operation;
  }
  return sideBySide(std::move(operation), bench,
                    [notation = job.notation](const std::shared_ptr<Workbench>& own) -> Work {
                      return JoinedEncoding(own, notation);
                    });
}

}  // namespace rq::cli
