// Texts in pieces against the same texts in one call of the library: all notations, forms, measures and encodings,
// with input that arrives cut at every place.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <fstream>
#include <new>
#include <random>
#include <system_error>

#include "cli/explain.h"
#include "cli/pipeline.h"
#include "cli/text_operation.h"
#include "host/host.h"
#include "host/pieces.h"
#include "host/text_work.h"
#include "tests/host/support.h"

namespace rq::cli {
namespace {

using host::Encoding;
using host::TextWork;
using test::bytesOf;

std::string stringOf(Bytes bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

const host::Library& library() {
  static const auto library = host::Library::open(RQ_LIBRARY_PATH);
  return *library;
}

/// A session of its own, and one call of the library for each text.
class Whole {
 public:
  explicit Whole(const Job& job)
      : encoding_(**host::findEncoding(*job.session)),
        host_(encoding_.identifier),
        session_(std::move(*host::Session::open(library(), host_))),
        work_(session_.object(),
              job.flavour == Flavour::wide     ? session_->wide
              : job.flavour == Flavour::served ? session_->served
                                               : session_->plain,
              encoding_, job.flavour == Flavour::wide) {}
  TextWork* operator->() { return &work_; }

 private:
  const Encoding& encoding_;
  host::Host host_;
  host::Session session_;
  TextWork work_;
};

Job jobFor(const std::string& session, Flavour flavour = Flavour::plain) {
  Job job;
  job.session = session;
  job.flavour = flavour;
  job.library = RQ_LIBRARY_PATH;
  job.files = {"-"};
  return job;
}

std::string outcome(const Result<Bytes>& result) {
  return result ? "result: " + stringOf(*result) : "error: " + result.error().text;
}

/// What an operation makes of a file that is read in pieces; an error without the file's name.
std::string outcomeOf(const TextOperation& operation, const std::string& file, const Pause& pause, unsigned jobs,
                      std::optional<LineEnds> lineEnds = std::nullopt, std::string* written = nullptr) {
  Progress silent(false);
  std::string result;
  const auto run = std::make_shared<FileRun>(FileRun{file,
                                                     [&result](Bytes bytes) {
                                                       result += stringOf(bytes);
                                                       return host::done();
                                                     },
                                                     host::done});
  const std::string lineEnd = "\n";
  Pipeline pipeline(operation, std::move(lineEnds), bytesOf(lineEnd), jobs, 0,
                    [](FileRun&, const Error& error) { return error; });
  Result<Input> input = Input::open(file, silent, [&pipeline, &pause] {
    Done done = pipeline.finish();
    return done ? pause() : done;
  });
  Done done = pipeline.add(run, *input);
  if (done) done = pipeline.finish();
  if (written) *written = result;
  return done ? "result: " + result : "error: " + done.error().text.substr(file.size() + 2);
}

/// A pipe, whose file ends where its writing end is closed.
class Pipe {
 public:
  Pipe() {
    if (::pipe(ends_.data()) != 0) throw std::system_error(errno, std::generic_category(), "pipe");
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;
  ~Pipe() {
    end();
    ::close(ends_[0]);
  }

  /// The name of the end to read from.
  std::string file() const { return "/proc/self/fd/" + std::to_string(ends_[0]); }
  void write(std::string_view text) const {
    EXPECT_EQ(::write(ends_[1], text.data(), text.size()), static_cast<ssize_t>(text.size()));
  }
  void end() {
    if (ends_[1] >= 0) ::close(std::exchange(ends_[1], -1));
  }

 private:
  std::array<int, 2> ends_{-1, -1};
};

/// The same for a text that arrives in parts of these lengths. All that has arrived is worked on before the next
/// part.
std::string outcomeInParts(const TextOperation& operation, const std::string& text,
                           const std::vector<std::size_t>& lengths, unsigned jobs = 1) {
  Pipe pipe;
  std::size_t at = 0;
  std::size_t part = 0;
  const auto arrive = [&]() -> Done {
    if (at == text.size()) {
      pipe.end();
      return host::done();
    }
    const std::size_t length = std::min(text.size() - at, part < lengths.size() ? lengths[part] : text.size());
    pipe.write(std::string_view(text).substr(at, length));
    at += length;
    ++part;
    return host::done();
  };
  return outcomeOf(operation, pipe.file(), arrive, jobs);
}

/// Where two long outcomes differ.
testing::AssertionResult same(const std::string& whole, const std::string& pieces) {
  if (whole == pieces) return testing::AssertionSuccess();
  const auto differ = std::ranges::mismatch(whole, pieces);
  const std::size_t at = static_cast<std::size_t>(differ.in1 - whole.begin());
  const std::size_t from = at - std::min<std::size_t>(at, 40);
  return testing::AssertionFailure() << whole.size() << " and " << pieces.size() << " bytes, different from " << at
                                     << ":\n"
                                     << whole.substr(from, 100) << "\n"
                                     << pieces.substr(from, 100);
}

/// A short text is cut once at each place and into single bytes, a longer one at random.
void compare(const TextOperation& operation, const std::string& text, const std::string& whole,
             std::mt19937& random) {
  if (text.size() <= 40) {
    ASSERT_TRUE(same(whole, outcomeInParts(operation, text, std::vector<std::size_t>(text.size(), 1)))) << text;
    for (std::size_t cut = 1; cut < text.size(); ++cut)
      ASSERT_TRUE(same(whole, outcomeInParts(operation, text, {cut}))) << text << " cut at " << cut;
    return;
  }
  std::vector<std::size_t> lengths;
  for (std::size_t sum = 0; sum < text.size(); sum += lengths.back())
    lengths.push_back(1 + random() % (random() % 8 == 0 ? 2000 : 20));
  ASSERT_TRUE(same(whole, outcomeInParts(operation, text, lengths))) << text;
}

using Parts = std::vector<std::string>;

std::string textOf(const Parts& parts, std::size_t count, std::mt19937& random) {
  std::string text;
  for (std::size_t i = 0; i < count; ++i) text += parts[random() % parts.size()];
  return text;
}

const Parts& partsOf(Notation notation) {
  static const Parts references = {
      "&#",     "&#x",      "&",         "#",        ";",        "65",       "233;", "x41",  "D83D;",   "\n",
      "xDE00;", "&#;",      "&#a;",      "&#xD83D;", "&#xDE00;", "8364",     "0",    "é",    " ",       "日",
      "&#7;",   "&#55357;", "&#x1D83D;", "&#x41 ;",  "&#233;",   "12345678", "\x7F", "\x1A", "<U00E9>", "<u12345>"};
  static const Parts escapes = {"\\",   "u",        "U",      "\\u",      "\\U",  "0041",    "00e9",
                                "D83D", "DE00",     "3",      "é",        "\n",   "\\uD83D", "\\uDE00",
                                "\\uu", "\\u00E9",  " ",      "日",       "00",   "\\\\",    "\\U0001F600",
                                "20AC", "\\uD83D0", "\\u004", "0001F600", "\x7F", "\x1A"};
  static const Parts parens = {"<",           "<U", "<u", ">",       "0041", "00E9",     "D83D",
                               "<U0041>",     "é",  "\n", "0",       "zz",   "0001F600", "<U00>x",
                               "<U0001F600>", " ",  "日", "<uzzzz>", "\x7F", "\x1A"};
  return notation == Notation::ncr ? references : notation == Notation::uesc ? escapes : parens;
}

/// A session encoding and a flavour, with texts of parts that are UTF-8.
struct Session {
  const char* encoding;
  Flavour flavour;
};
constexpr Session sessions[] = {
    {"UTF-8", Flavour::plain},        {"UTF-8", Flavour::served},     {"ISO-8859-1", Flavour::plain},
    {"windows-1251", Flavour::plain}, {"GB18030", Flavour::plain},    {"Shift_JIS", Flavour::plain},
    {"EUC-JP", Flavour::served},      {"Big5-HKSCS", Flavour::plain}, {"UTF-32LE", Flavour::wide},
    {"ibm-850", Flavour::plain},      {"ibm-1276", Flavour::plain}};

/// Each part in the session encoding; those that it lacks are left out.
Parts encoded(const Parts& parts, Whole& whole) {
  Parts result;
  for (const std::string& part : parts)
    if (const Result<Bytes> bytes = whole->fromForm(RQ_FORM_UTF8, bytesOf(part))) result.push_back(stringOf(*bytes));
  return result;
}

constexpr Notation notations[] = {Notation::ncr, Notation::uesc, Notation::uparen, Notation::uparenAscii};

using Open = Result<TextOperation> (*)(const Job&);
using Call = std::function<Result<Bytes>(Whole&, const Job&, Bytes)>;

void compareNotations(Open open, const Call& call) {
  std::mt19937 random(7);
  for (const Session& session : sessions) {
    for (const Notation notation : notations) {
      Job job = jobFor(session.encoding, session.flavour);
      job.notation = notation;
      SCOPED_TRACE(std::string(session.encoding) + " " + std::to_string(static_cast<int>(notation)));
      Whole whole(job);
      const Result<TextOperation> operation = open(job);
      ASSERT_TRUE(operation) << operation.error().text;
      const Parts parts = encoded(partsOf(notation), whole);
      for (int i = 0; i < 60; ++i) {
        const std::string text = textOf(parts, random() % 9, random);
        compare(*operation, text, outcome(call(whole, job, bytesOf(text))), random);
        if (testing::Test::HasFailure()) return;
      }
      for (int i = 0; i < 5; ++i) {
        const std::string text = textOf(parts, random() % 3000, random);
        compare(*operation, text, outcome(call(whole, job, bytesOf(text))), random);
        if (testing::Test::HasFailure()) return;
      }
    }
  }
}

TEST(Pieces, DecodeAsTheWhole) {
  compareNotations(decode,
                   [](Whole& whole, const Job& job, Bytes text) { return whole->decode(job.notation, text); });
}

TEST(Pieces, EncodeAsTheWhole) {
  compareNotations(encode,
                   [](Whole& whole, const Job& job, Bytes text) { return whole->encode(job.notation, text); });
}

/// Characters of many scripts, with sequences that some encodings write as one, and blanks and line ends.
const Parts characters = {"a",
                          "Z",
                          " ",
                          "\n",
                          "<",
                          "é",
                          "Ж",
                          "я",
                          "日",
                          "本",
                          "語",
                          "か",
                          "か\u309A",
                          "ア",
                          "ｱ",
                          "가",
                          "힣",
                          "😀",
                          "\u00CA\u0304",
                          "\u00EA\u030C",
                          "Å",
                          "~",
                          "{",
                          "\\",
                          "¥",
                          "€",
                          "α",
                          "ع",
                          "ü",
                          "中",
                          "國",
                          "龍",
                          "   ",
                          "\r\n",
                          "\t"};

TEST(Pieces, EveryEncodingFromFormsToFormsAndMeasuredAsTheWhole) {
  std::mt19937 random(11);
  constexpr RQForm forms[] = {RQ_FORM_UTF8, RQ_FORM_UTF16_BIG, RQ_FORM_UTF16_LITTLE, RQ_FORM_UTF32_BIG,
                              RQ_FORM_UTF32_LITTLE};
  for (const Encoding& encoding : host::encodings()) {
    SCOPED_TRACE(encoding.name);
    Job job = jobFor(encoding.name);
    job.form = forms[random() % std::size(forms)];
    Whole whole(job);
    const Result<TextOperation> from = fromForm(job), to = toForm(job), length = measureLength(job),
                                width = measureWidth(job);
    ASSERT_TRUE(from && to && length && width);
    Parts available;
    for (const std::string& part : characters)
      if (whole->fromForm(RQ_FORM_UTF8, bytesOf(part))) available.push_back(part);
    for (const std::size_t count : std::initializer_list<std::size_t>{1, 5, 9, 100, 1500}) {
      const std::string text = textOf(available, count, random);
      const std::string source = *host::convertAll(*host::codecOf(RQ_ENCODING_UTF8),
                                                   *host::codecOf(host::formEncodings[job.form]), bytesOf(text));
      const std::string session = stringOf(*whole->fromForm(job.form, bytesOf(source)));
      compare(*from, source, "result: " + session, random);
      compare(*to, session, outcome(whole->toForm(job.form, bytesOf(session))), random);
      for (const auto& [operation, measure] :
           {std::pair(&length, TextWork::Measure::length), std::pair(&width, TextWork::Measure::width)}) {
        // The library measures nothing with more characters than units.
        const Result<std::int64_t> number = whole->measure(measure, bytesOf(session));
        if (number) compare(**operation, session, "result: " + std::to_string(*number) + "\n", random);
      }
      ASSERT_FALSE(HasFailure()) << text;
    }
  }
}

TEST(Pieces, ProblemsAreNamedAsInTheWhole) {
  std::mt19937 random(13);
  const std::string tail = "ab\nc é 日本\n";
  for (const char* bad : {"\xFF", "\xE2\x82", "\xC3", "\xED\xA0\x80", "\xF4\x90\x80\x80"}) {
    Job job = jobFor("UTF-8");
    Whole whole(job);
    for (const std::string& text :
         {tail + bad, tail + tail + bad + "xyz", bad + tail, std::string(300, 'x') + bad + "y"}) {
      compare(*toForm(job), text, outcome(whole->toForm(job.form, bytesOf(text))), random);
      compare(*fromForm(job), text, outcome(whole->fromForm(job.form, bytesOf(text))), random);
      compare(*encode(job), text, outcome(whole->encode(job.notation, bytesOf(text))), random);
      const std::string measured = "error: " + whole->measure(TextWork::Measure::width, bytesOf(text)).error().text;
      compare(*measureWidth(job), text, measured, random);
    }
  }
  for (const char* session : {"ISO-8859-1", "Shift_JIS", "ISO-2022-JP", "ISO-2022-KR", "ibm-930"}) {
    Job job = jobFor(session);
    Whole whole(job);
    const std::string text = "ab\nc de\nf\n\u0E01 x";
    compare(*fromForm(job), text, outcome(whole->fromForm(job.form, bytesOf(text))), random);
  }
  for (const auto& [session, text] :
       {std::pair("Shift_JIS", "ab\n\x83\x41x\n\x83\xFFy"), std::pair("GB18030", "ab\n\x81\x30\x81"),
        std::pair("ISO-2022-JP", "ab\n\x1B$BF|\x1B(B\n\xFFx"),
        std::pair("ISO-2022-JP", "ab\n\x1B$BF|\x1B(B\nx\x1B$BF")}) {
    Job job = jobFor(session);
    Whole whole(job);
    compare(*toForm(job), text, outcome(whole->toForm(job.form, bytesOf(text))), random);
  }
}

/// Otherwise a stretch without a cut would cost the square of its length when it comes in small parts.
TEST(Pieces, AnOpenStretchIsLookedAtAgainWhenItHasGrown) {
  const std::string part(60'000, 'x');
  constexpr std::size_t parts = 140;
  Pipe pipe;
  std::size_t arrived = 0;
  Progress silent(false);
  Result<Input> input = Input::open(pipe.file(), silent, [&] {
    if (arrived++ == parts) {
      pipe.end();
    } else {
      pipe.write(part);
    }
    return host::done();
  });
  unsigned looks = 0;
  PieceReader reader(
      *input,
      [&looks](Bytes) {
        ++looks;
        return std::size_t{0};
      },
      pieceBytes);
  Buffer buffer;
  const Result<PieceReader::Piece> piece = reader.next(buffer);
  ASSERT_TRUE(piece);
  EXPECT_TRUE(piece->last);
  EXPECT_EQ(piece->text.size(), parts * part.size());
  EXPECT_GT(looks, parts / 10);
  EXPECT_LT(looks, parts / 4);
}

TEST(Pieces, LongFilesAsTheWhole) {
  std::mt19937 random(17);
  const std::string file = testing::TempDir() + "rq_pieces_" + std::to_string(::getpid());
  const auto check = [&](const TextOperation& operation, const std::string& text, const std::string& whole) {
    std::ofstream(file, std::ios::binary | std::ios::trunc) << text;
    for (const unsigned jobs : {1U, 3U}) EXPECT_TRUE(same(whole, outcomeOf(operation, file, host::done, jobs)));
    std::vector<std::size_t> lengths;
    for (std::size_t sum = 0; sum < text.size(); sum += lengths.back()) lengths.push_back(1 + random() % 60'000);
    EXPECT_TRUE(same(whole, outcomeInParts(operation, text, lengths, 2)));
  };
  for (const Session& session : sessions) {
    SCOPED_TRACE(session.encoding);
    for (const Notation notation : notations) {
      Job job = jobFor(session.encoding, session.flavour);
      job.notation = notation;
      Whole whole(job);
      const std::string text = textOf(encoded(partsOf(notation), whole), 300'000, random);
      check(*decode(job), text, outcome(whole->decode(notation, bytesOf(text))));
      check(*encode(job), text, outcome(whole->encode(notation, bytesOf(text))));
    }
  }
  std::string blanks(700'000, ' ');
  for (const std::string& text : {blanks, blanks + "日", "日" + blanks, blanks + "a" + blanks + "é" + blanks}) {
    const Job job = jobFor("UTF-8");
    Whole whole(job);
    check(*measureWidth(job), text,
          "result: " + std::to_string(*whole->measure(TextWork::Measure::width, bytesOf(text))) + "\n");
  }
  ::unlink(file.c_str());
}

std::string inEncoding(const Encoding& encoding, const std::u32string& written) {
  return host::convertAll(*host::codecOf(RQ_ENCODING_UTF32_LITTLE), *host::codecOf(encoding.identifier),
                          std::as_bytes(std::span(written)))
      .value_or("");
}

void checkPositionBehind(const Encoding& encoding, const std::u32string& written, const host::Position& start) {
  const std::string text = inEncoding(encoding, written);
  const std::size_t lineEnd = written.rfind(U'\n');
  const host::Position behind = host::positionBehind(encoding, bytesOf(text), start);
  EXPECT_EQ(behind.offset, start.offset + text.size());
  EXPECT_EQ(behind.line, start.line + static_cast<std::size_t>(std::ranges::count(written, U'\n')));
  EXPECT_EQ(behind.column,
            lineEnd == std::u32string::npos ? start.column + written.size() : written.size() - lineEnd);
}

TEST(Pieces, PositionsAreThoseOfCharacters) {
  std::mt19937 random(37);
  for (const char* name : {"UTF-8", "UTF-16LE", "UTF-16BE", "UTF-32LE", "UTF-32BE", "ISO-8859-1", "KOI8-R",
                           "ibm-1047", "GB18030", "Shift_JIS"}) {
    SCOPED_TRACE(name);
    const Encoding& encoding = **host::findEncoding(name);
    std::u32string known;
    for (const char32_t c : std::u32string(U"ab \u00E9\u0416\u65E5\U0001F600"))
      if (!inEncoding(encoding, {c}).empty()) known += c;
    for (int i = 0; i < 200; ++i) {
      const unsigned oneLineEndIn = std::array{1U, 3U, 200U, 2000U, 1'000'000U}[random() % 5];
      std::u32string written(random() % 1500, U'\n');
      for (char32_t& c : written)
        if (random() % oneLineEndIn != 0) c = known[random() % known.size()];
      checkPositionBehind(encoding, written, {random() % 100, 1 + random() % 100, 1 + random() % 100});
    }
  }
}

/// The outcome with one thread and with several, of a text in short pieces.
void compareJobs(Result<TextOperation> operation, const std::string& text, bool lines) {
  ASSERT_TRUE(operation) << operation.error().text;
  const std::string file = testing::TempDir() + "rq_jobs_" + std::to_string(::getpid());
  std::ofstream(file, std::ios::binary | std::ios::trunc) << text;
  operation->pieceBytes = 700;
  const auto lineEnds = lines ? std::optional(LineEnds("\n")) : std::nullopt;
  std::string writtenAlone;
  const std::string alone = outcomeOf(*operation, file, host::done, 1, lineEnds, &writtenAlone);
  for (const unsigned jobs : {2U, 5U}) {
    std::string written;
    EXPECT_TRUE(same(alone, outcomeOf(*operation, file, host::done, jobs, lineEnds, &written))) << jobs << " threads";
    EXPECT_TRUE(same(writtenAlone, written)) << jobs << " threads";
  }
  ::unlink(file.c_str());
}

/// All operations on a text, whole and line by line.
void compareAllJobs(Job job, const std::string& text) {
  for (const bool lines : {false, true}) {
    job.lines = lines;
    for (const Notation notation : {Notation::ncr, Notation::uesc}) {
      job.notation = notation;
      compareJobs(decode(job), text, lines);
      compareJobs(encode(job), text, lines);
      compareJobs(explanation(job), text, lines);
    }
    compareJobs(fromForm(job), text, lines);
    compareJobs(toForm(job), text, lines);
    compareJobs(measureLength(job), text, lines);
    compareJobs(measureWidth(job), text, lines);
  }
}

TEST(Jobs, SeveralThreadsDoAsOne) {
  std::mt19937 random(23);
  for (const char* session : {"UTF-8", "GB18030", "ISO-8859-1"}) {
    const Job job = jobFor(session);
    Whole whole(job);
    Parts parts = encoded(partsOf(Notation::ncr), whole);
    const Parts more = encoded(partsOf(Notation::uesc), whole);
    parts.insert(parts.end(), more.begin(), more.end());
    compareAllJobs(job, textOf(parts, 15'000, random));
  }
}

TEST(Jobs, TheFirstProblemIsNamedAsByOne) {
  std::mt19937 random(29);
  Whole whole(jobFor("UTF-8"));
  const Parts parts = encoded(partsOf(Notation::ncr), whole);
  for (int i = 0; i < 3; ++i) {
    const std::string good = textOf(parts, 3000, random);
    const std::string bad = "\xFF";
    compareAllJobs(jobFor("UTF-8"), good + bad + textOf(parts, 100U + random() % 3000, random) + bad + good);
  }
}

/// What could not be written is not written once more, and nothing behind it.
TEST(Jobs, WhatWritingThrowsInAPauseEndsTheRun) {
  Result<TextOperation> operation = decode(jobFor("UTF-8"));
  ASSERT_TRUE(operation);
  std::atomic<bool> paused = false;
  operation->work = [&paused](const Text& text) -> Result<Bytes> {
    paused.wait(false);
    return text.bytes;
  };
  operation->another = [work = operation->work] { return work; };
  unsigned writes = 0;
  const auto run = std::make_shared<FileRun>(FileRun{"a pipe",
                                                     [&writes](Bytes) -> Done {
                                                       if (++writes == 1) throw std::bad_alloc();
                                                       return host::done();
                                                     },
                                                     host::done});
  Pipe pipe;
  pipe.write("text");
  Progress silent(false);
  Pipeline pipeline(*operation, std::nullopt, {}, 2, 0, [](FileRun&, const Error& error) { return error; });
  Result<Input> input = Input::open(pipe.file(), silent, [&] {
    pipe.end();
    paused = true;
    paused.notify_all();
    return pipeline.finish();
  });
  EXPECT_THROW(static_cast<void>(pipeline.add(run, *input)), std::bad_alloc);
  EXPECT_EQ(writes, 1U);
}

TEST(Jobs, AFieldIsFilledAsByTheLibrary) {
  std::mt19937 random(31);
  for (const Flavour flavour : {Flavour::plain, Flavour::wide}) {
    for (const RQForm form : {RQ_FORM_UTF16_BIG, RQ_FORM_UTF16_LITTLE, RQ_FORM_UTF32_BIG, RQ_FORM_UTF32_LITTLE}) {
      Job job = jobFor(flavour == Flavour::wide ? "UTF-32LE" : "UTF-8", flavour);
      job.form = form;
      Whole whole(job);
      const std::string text = textOf(encoded({"a", "é", "日", "😀", " ", "\n"}, whole), 3000, random);
      const std::size_t exact = whole->toForm(form, bytesOf(text))->size();
      for (const std::size_t bytes :
           {exact - exact % 4, exact + 4 - exact % 4, exact - exact % 4 + 4096, exact / 8 * 4}) {
        job.padBytes = bytes;
        Result<TextOperation> operation = toForm(job);
        ASSERT_TRUE(operation);
        operation->pieceBytes = 512;
        const std::string file = testing::TempDir() + "rq_field_" + std::to_string(::getpid());
        std::ofstream(file, std::ios::binary | std::ios::trunc) << text;
        const std::string pieces = outcomeOf(*operation, file, host::done, 2);
        const std::string library = outcome(whole->toForm(form, bytesOf(text), {}, bytes));
        EXPECT_TRUE(same(library, pieces)) << bytes << " of " << exact;
        ::unlink(file.c_str());
      }
    }
  }
}

}  // namespace
}  // namespace rq::cli
