// The operations that count characters or columns.
#include <cstring>
#include <memory>

#include "cli/json_line.h"
#include "cli/session_pieces.h"
#include "cli/text_operation.h"
#include "host/pieces.h"

namespace rq::cli {
namespace {

using Measure = host::TextWork::Measure;

std::string row(const Job& job, const Text& text, const char* name, std::int64_t count) {
  if (job.json) {
    std::vector<JsonMember> members = {{"file", std::string(text.file)}};
    if (job.lines) members.push_back({"line", text.start.line});
    members.push_back({name, count});
    return jsonLine(members);
  }
  const std::string file = fileColumn(job, text);
  return (file.empty() ? "" : file + "\t") + (job.lines ? std::to_string(text.start.line) + "\t" : "") +
         std::to_string(count) + "\n";
}

/// The count of one text, added up over its pieces. Blanks count when something follows.
class Count {
 public:
  /// `blanks` end the piece and are not part of `count`.
  void add(std::uint64_t count, std::uint64_t blanks) {
    if (count > 0) {
      sum_ += blanks_ + count;
      blanks_ = 0;
    }
    blanks_ += blanks;
  }
  std::int64_t sum() const { return static_cast<std::int64_t>(sum_); }

 private:
  std::uint64_t sum_ = 0, blanks_ = 0;
};

/// Gives a row for each text.
class Measurer {
 public:
  Measurer(const Job& job, SessionPieces session, Measure measure, const char* name)
      : job_(job),
        session_(std::move(session)),
        measure_(measure),
        name_(name),
        carriageReturn_(carriageReturnIn(session_.encoding())) {}

  const SessionPieces& session() const { return session_; }

  Result<Bytes> operator()(const Text& text) {
    const Result<Text> taken = session_.taken(withoutCarriageReturn(text));
    if (!taken) return taken.error();
    const Result<std::int64_t> count = session_.bench().measure(measure_, *taken);
    if (!count) return count.error();
    if (text.first) sum_ = {};
    const std::uint64_t blanks = text.last ? 0 : host::blanksAtEnd(session_.bench().encoding(), taken->bytes);
    sum_.add(static_cast<std::uint64_t>(*count), blanks);
    row_ = text.last ? row(job_, text, name_, sum_.sum()) : "";
    return std::as_bytes(std::span(row_));
  }

 private:
  /// CR LF ends a line as LF does.
  Text withoutCarriageReturn(Text text) const {
    const std::size_t length = carriageReturn_.size();
    if (!text.ended || length == 0 || text.bytes.size() < length) return text;
    const Bytes end = text.bytes.last(length);
    if (std::memcmp(end.data(), carriageReturn_.data(), length) == 0)
      text.bytes = text.bytes.first(text.bytes.size() - length);
    return text;
  }

  const Job job_;
  SessionPieces session_;
  const Measure measure_;
  const char* const name_;
  const std::string carriageReturn_;
  Count sum_;
  std::string row_;
};

Result<TextOperation> measure(const Job& job, Measure measure, const char* name) {
  Result<SessionPieces> session = SessionPieces::open(job);
  if (!session) return session.error();
  const auto measurer = std::make_shared<Measurer>(job, std::move(*session), measure, name);
  return TextOperation{&measurer->session().encoding(), nullptr, measurer->session().cut(),
                       [measurer](const Text& text) { return (*measurer)(text); }};
}

}  // namespace

Result<TextOperation> measureLength(const Job& job) {
  return measure(job, Measure::length, "length");
}

Result<TextOperation> measureWidth(const Job& job) {
  return measure(job, Measure::width, "width");
}

}  // namespace rq::cli
