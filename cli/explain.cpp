#include "cli/explain.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <cstring>

#include "cli/json_line.h"
#include "cli/notations.h"
#include "cli/session_pieces.h"
#include "cli/text_commands.h"
#include "host/pieces.h"

namespace rq::cli {
namespace {

constexpr std::size_t shownCharacters = 48;
/// A row is much longer than its notation.
constexpr std::size_t explainedBytes = pieceBytes / 4;

bool isShownAscii(std::byte byte) {
  return byte >= std::byte{0x20} && byte < std::byte{0x7F};
}

/// Appends a character as UTF-8.
void append(std::string& text, char32_t character) {
  std::array<std::byte, 4> encoded;
  const host::Codec& utf8 = *host::codecOf(RQ_ENCODING_UTF8);
  text.append(reinterpret_cast<const char*>(encoded.data()),
              utf8.encode({&character, 1}, encoded, true, true).produced);
}

/// A stretch of session text as UTF-8 for people: what cannot be shown stands as \xNN, long stretches are cut.
std::string shown(const host::Codec& codec, Bytes bytes) {
  std::string text;
  for (std::size_t at = 0, count = 0; at < bytes.size(); ++count) {
    if (count == shownCharacters) return text + "...";
    char32_t c = 0;
    const host::Step step = codec.decodeOne(bytes.subspan(at), c, true);
    const bool valid = step.produced == 1 && step.consumed > 0;
    if (valid && c >= 0x20 && c != 0x7F) {
      append(text, c);
    } else {
      std::array<char, 8> hexadecimal;
      std::snprintf(hexadecimal.data(), hexadecimal.size(), "\\x%02X", std::to_integer<unsigned>(bytes[at]));
      text += hexadecimal.data();
    }
    at += valid ? step.consumed : 1;
  }
  return text;
}

std::string head(bool withFile) {
  return std::string(withFile ? "file\t" : "") + "offset\tline\tcolumn\tsource\tcharacter\tfate\twhy\n";
}

/// A notation as a row shows it.
struct Row {
  const host::Position& position;
  std::uint64_t bytes;
  std::string_view source;
  const Finding& found;

  std::string_view fate() const { return found.decoded ? "decoded" : "kept"; }
};

/// Rows of text. There may be millions, so each is written into memory that is large enough for all of it.
class Rows {
 public:
  /// `file` is empty for rows without a file.
  void begin(bool json, const std::string& file) {
    json_ = json;
    end_ = begin_;
    file_ = file.empty() ? "" : file + "\t";
    if (!json) return;
    const std::string object = jsonLine({{"file", file}});
    file_ = file.empty() ? "{" : object.substr(0, object.rfind('}')) + ",";
  }
  void add(const Row& row) {
    makeRoom(row);
    put(file_);
    json_ ? addJson(row) : addColumns(row);
  }
  Bytes bytes() const { return std::as_bytes(std::span(begin_, end_)); }

 private:
  void makeRoom(const Row& row) {
    constexpr std::size_t keysAndNumbers = 256;
    const std::size_t most = keysAndNumbers + file_.size() + 2 * row.source.size() + row.found.why.size();
    if (static_cast<std::size_t>(limit_ - end_) >= most) return;
    const auto used = static_cast<std::size_t>(end_ - begin_);
    const MutableBytes room = memory_.atLeast(used + most, used);
    begin_ = reinterpret_cast<char*>(room.data());
    end_ = begin_ + used;
    limit_ = begin_ + room.size();
  }

  void put(std::string_view part) { end_ = std::copy(part.begin(), part.end(), end_); }
  void put(char part) { *end_++ = part; }
  template <std::size_t size>
  void put(const char (&literal)[size]) {
    end_ = std::copy_n(literal, size - 1, end_);
  }
  void put(std::uint64_t number) { end_ = std::to_chars(end_, limit_, number).ptr; }
  template <class... Parts>
  void putAll(const Parts&... parts) {
    (put(parts), ...);
  }
  void putCharacter(RQChar character) {
    put("U+");
    int digits = 4;
    while (digits < 8 && character >> 4 * digits != 0) ++digits;
    while (digits-- > 0) put("0123456789ABCDEF"[character >> 4 * digits & 0xF]);
  }
  /// What shown() makes of a text has no control characters.
  void putQuoted(std::string_view part) {
    put('"');
    for (const char c : part) {
      if (c == '"' || c == '\\') put('\\');
      put(c);
    }
    put('"');
  }
  void addColumns(const Row& row) {
    putAll(row.position.offset, '\t', row.position.line, '\t', row.position.column, '\t', row.source, '\t');
    if (row.found.character) putCharacter(*row.found.character);
    putAll('\t', row.fate(), '\t', row.found.why, '\n');
  }
  void addJson(const Row& row) {
    putAll("\"offset\":", row.position.offset, ",\"line\":", row.position.line, ",\"column\":", row.position.column,
           ",\"bytes\":", row.bytes, ",\"source\":");
    putQuoted(row.source);
    put(",\"character\":");
    if (row.found.character) {
      put('"');
      putCharacter(*row.found.character);
      put('"');
    } else {
      put("null");
    }
    putAll(",\"fate\":\"", row.fate(), "\",\"why\":\"", row.found.why, "\"}\n");
  }

  bool json_ = false;
  std::string file_;
  Buffer memory_;
  char *begin_ = nullptr, *end_ = nullptr, *limit_ = nullptr;
};

/// Positions in one text, from front to back.
class Places {
 public:
  Places(const Workbench& bench, const Text& text)
      : encoding_(bench.encoding()),
        bytes_(text.bytes),
        position_(text.start),
        tracker_(bench.codec(), text.bytes, text.start),
        // Then each byte but those that continue a character begins one.
        validUtf8_(bench.encoding().identifier == RQ_ENCODING_UTF8 && bench.checkValid(text)) {}

  const host::Position& advanceTo(std::size_t offset) {
    if (!validUtf8_) return tracker_.advanceTo(offset);
    const Bytes passed = bytes_.subspan(at_, offset - at_);
    at_ = offset;
    return position_ = host::positionBehind(encoding_, passed, position_);
  }

 private:
  const host::Encoding& encoding_;
  const Bytes bytes_;
  std::size_t at_ = 0;
  host::Position position_;
  host::PositionTracker tracker_;
  const bool validUtf8_;
};

/// Explains the notations of texts.
class Explainer {
 public:
  Explainer(const Job& job, std::shared_ptr<Workbench> bench) : job_(job), bench_(std::move(bench)) {}

  Result<Bytes> operator()(const Text& text) {
    rows_.begin(job_.json, fileColumn(job_, text));
    const std::size_t units = text.bytes.size() / (bench_->wide() ? sizeof(RQChar) : 1);
    if (bench_->wide()) {
      // Buffers of texts are aligned for any unit.
      explain<RQChar>(text, {reinterpret_cast<const RQChar*>(text.bytes.data()), units});
    } else {
      explain<unsigned char>(text, {reinterpret_cast<const unsigned char*>(text.bytes.data()), units});
    }
    return rows_.bytes();
  }

 private:
  template <class Unit>
  void explain(const Text& text, std::span<const Unit> units) {
    Places places(*bench_, text);
    const auto take = [&](const Finding& found) {
      const Bytes source = text.bytes.subspan(found.offset * sizeof(Unit), found.length * sizeof(Unit));
      rows_.add({places.advanceTo(found.offset * sizeof(Unit)), source.size(), show(source), found});
    };
    findNotations<Unit>(
        job_.notation, units, [this](RQChar character) { return carries(character); }, take);
  }

  std::string_view show(Bytes source) {
    // A session that carries notations has them in ASCII, but for the wide one.
    const bool plain =
        !bench_->wide() && source.size() <= shownCharacters && std::ranges::all_of(source, isShownAscii);
    if (plain && asciiCompatible_) return {reinterpret_cast<const char*>(source.data()), source.size()};
    return shown_ = shown(bench_->codec(), source);
  }

  /// Asks for a character that comes again and again only once.
  bool carries(RQChar character) {
    Known& known = known_[character % known_.size()];
    if (known.character != character || !known.asked) known = {character, true, bench_->carries(character)};
    return known.carried;
  }

  struct Known {
    RQChar character = 0;
    bool asked = false, carried = false;
  };

  const Job job_;
  const std::shared_ptr<Workbench> bench_;
  const bool asciiCompatible_ = host::isAsciiCompatible(bench_->codec());
  std::array<Known, 1024> known_;
  Rows rows_;
  std::string shown_;
};

}  // namespace

Result<TextOperation> explanation(const Job& job) {
  auto opened = Workbench::openForNotations(job);
  if (!opened) return opened.error();
  const std::shared_ptr<Workbench> bench = std::move(*opened);
  // A library without the decoder has nothing that could be explained.
  if (const Result<Bytes> probe = bench->decode(job.notation, {}); !probe) return probe.error();
  const host::Encoding& session = bench->encoding();
  TextOperation operation{&session, nullptr, cutBetween(cutForDecoding(job.notation, bench->wide()), session)};
  operation.pieceBytes = explainedBytes;
  operation.behind = [bench](Bytes piece) {
    Text text;
    text.bytes = piece;
    return Places(*bench, text).advanceTo(piece.size());
  };
  return sideBySide(std::move(operation), bench, [job](const std::shared_ptr<Workbench>& own) -> Work {
    const auto explainer = std::make_shared<Explainer>(job, own);
    return [explainer](const Text& text) { return (*explainer)(text); };
  });
}

Done explain(const Job& job, Progress& progress, Output& output) {
  const Result<TextOperation> operation = explanation(job);
  if (!operation) return operation.error();
  if (!job.json) {
    if (Done written = output.write(head(job.files.size() > 1)); !written) return written;
  }
  return runOverTexts(job, *operation, progress, output);
}

}  // namespace rq::cli
