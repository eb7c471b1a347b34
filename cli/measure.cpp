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

/// The count of a piece, and the blanks at its end, which are no part of it.
struct Count {
  std::uint64_t count, blanks;
};

/// Counts the pieces of texts. The result for a text in one piece is its row, for other pieces a Count.
class Measurer {
 public:
  Measurer(const Job& job, std::shared_ptr<Workbench> bench, Measure measure, const char* name)
      : job_(job),
        bench_(std::move(bench)),
        measure_(measure),
        name_(name),
        carriageReturn_(carriageReturnIn(bench_->encoding())) {}

  Result<Bytes> operator()(const Text& text) {
    const Text counted = withoutCarriageReturn(text);
    const Result<std::int64_t> count = bench_->measure(measure_, counted);
    if (!count) return count.error();
    if (text.first && text.last) {
      row_ = row(job_, text, name_, *count);
      return std::as_bytes(std::span(row_));
    }
    count_ = {static_cast<std::uint64_t>(*count), host::blanksAtEnd(bench_->encoding(), counted.bytes)};
    return std::as_bytes(std::span(&count_, 1));
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
  const std::shared_ptr<Workbench> bench_;
  const Measure measure_;
  const char* const name_;
  const std::string carriageReturn_;
  Count count_ = {};
  std::string row_;
};

/// Adds up the counts of a text's pieces. Blanks count when something follows.
class Sum {
 public:
  Sum(const Job& job, const char* name) : job_(job), name_(name) {}

  Done operator()(const Text& text, Bytes result, const Write& write) {
    if (text.first && text.last) return write(result);
    if (text.first) sum_ = blanks_ = 0;
    Count piece;
    std::memcpy(&piece, result.data(), sizeof piece);
    if (piece.count > 0) {
      sum_ += blanks_ + piece.count;
      blanks_ = 0;
    }
    blanks_ += piece.blanks;
    if (!text.last) return host::done();
    const std::string line = row(job_, text, name_, static_cast<std::int64_t>(sum_));
    return write(std::as_bytes(std::span(line)));
  }

 private:
  const Job job_;
  const char* const name_;
  std::uint64_t sum_ = 0, blanks_ = 0;
};

Result<TextOperation> measure(const Job& job, Measure measure, const char* name) {
  Result<TextOperation> operation =
      overSessionText(job, [job, measure, name](const std::shared_ptr<Workbench>& bench) -> Work {
        const auto measurer = std::make_shared<Measurer>(job, bench, measure, name);
        return [measurer](const Text& text) { return (*measurer)(text); };
      });
  if (operation && !job.lines) operation->gather = Sum(job, name);
  return operation;
}

}  // namespace

Result<TextOperation> measureLength(const Job& job) {
  return measure(job, Measure::length, "length");
}

Result<TextOperation> measureWidth(const Job& job) {
  return measure(job, Measure::width, "width");
}

}  // namespace rq::cli
