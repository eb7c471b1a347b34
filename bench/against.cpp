// Two builds of the library beside each other in one process: rq_against OLD NEW [SECONDS [FILTER]]. Their passes
// take turns, the fastest of each counts, and the rows where the new build does worst come first.
#include <dlfcn.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "bench/peers/hand.h"
#include "bench/peers/text_libraries.h"
#include "bench/support/host.h"
#include "bench/support/texts.h"

namespace rq::bench {
namespace {

constexpr std::size_t MiB = std::size_t{1} << 20;

class Build {
 public:
  explicit Build(const char* path) : handle_(dlopen(path, RTLD_NOW | RTLD_LOCAL)) {
    if (!handle_) {
      std::fprintf(stderr, "rq_against: %s\n", dlerror());
      std::exit(2);
    }
    std::uint64_t major = 0, minor = 0;
    symbol<decltype(&::rqextver)>("rqextver")(kernel(), &major, &minor);
  }
  RQInterface* object(std::uint32_t encoding) const {
    setSession(encoding);
    return symbol<decltype(&::rquni)>("rquni")(context(), nullptr);
  }
  template <class Function>
  Function symbol(const char* name) const {
    return reinterpret_cast<Function>(dlsym(handle_, name));
  }

 private:
  void* handle_;
};

struct Flavour {
  const char* name;
  RQOperations RQInterface::*operations;
  std::uint32_t session;
  std::size_t unitBytes;
};
constexpr Flavour plain = {"plain", &RQInterface::plain, RQ_ENCODING_UTF8, 1};
constexpr Flavour served = {"served", &RQInterface::served, RQ_ENCODING_UTF8, 1};
constexpr Flavour wide = {"wide", &RQInterface::wide, RQ_ENCODING_UTF32_LITTLE, 4};

/// The columns of a row: what runs, and the fastest pass so far in nanoseconds a call.
struct Column {
  std::string name;
  std::function<std::string_view()> call;
  double best = 1e300;
};

struct Row {
  std::string name;
  std::size_t bytes;
  std::vector<Column> columns;  // old, new, peers
  double ratio() const { return columns[1].best / columns[0].best; }
};

char* output() {
  static std::vector<char> room(64 * MiB);
  return room.data();
}

double nanoseconds(const Column& column, std::uint64_t calls) {
  const auto begin = std::chrono::steady_clock::now();
  for (std::uint64_t i = 0; i < calls; ++i) column.call();
  const std::chrono::duration<double, std::nano> taken = std::chrono::steady_clock::now() - begin;
  return taken.count() / static_cast<double>(calls);
}

void measure(Row& row, double seconds) {
  const double once = std::min(nanoseconds(row.columns[0], 1), nanoseconds(row.columns[0], 1));
  const auto calls = static_cast<std::uint64_t>(std::max(1.0, 100e3 / once));
  const auto until = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
  do {
    for (Column& column : row.columns) column.best = std::min(column.best, nanoseconds(column, calls));
  } while (std::chrono::steady_clock::now() < until);
}

class Table {
 public:
  Table(const char* oldPath, const char* newPath, double seconds, std::string filter)
      : old_(oldPath), new_(newPath), seconds_(seconds), filter_(std::move(filter)) {}

  /// Measures an operation of both builds over `input`, and the peers that make the same of it.
  template <class Shape>
  void add(const Flavour& flavour, const std::string& name, Shape* RQOperations::*slot, const std::string& input,
           const std::string& expected,
           const std::vector<std::pair<const char*, std::size_t (*)(std::string_view, char*)>>& peers) {
    const std::string title = std::string(flavour.name) + ' ' + name;
    if (title.find(filter_) == std::string::npos) return;
    Row row{title, input.size(), {}};
    const auto text = std::make_shared<std::string>(input);
    for (const auto& [build, column] : {std::pair{&old_, "old"}, {&new_, "new"}}) {
      RQInterface* const object = build->object(flavour.session);
      row.columns.push_back({column, [=, function = (object->*flavour.operations).*slot, unit = flavour.unitBytes] {
                               return call(function, object, *text, unit);
                             }});
    }
    for (const auto& [column, function] : peers)
      row.columns.push_back({column, [=] { return std::string_view(output(), function(*text, output())); }});
    for (std::size_t i = row.columns.size(); i-- > 0;) {
      if (expected.empty() || row.columns[i].call() == expected) continue;
      if (i < 2) {
        std::printf("%s: %s gives a wrong answer\n", title.c_str(), row.columns[i].name.c_str());
        std::exit(1);
      }
      row.columns.erase(row.columns.begin() + static_cast<std::ptrdiff_t>(i));
    }
    measure(row, seconds_);
    rows_.push_back(std::move(row));
  }

  void print() {
    std::sort(rows_.begin(), rows_.end(), [](const Row& a, const Row& b) { return a.ratio() > b.ratio(); });
    std::printf("%-44s %9s %9s %6s %7s\n", "row", "old ns", "new ns", "ratio", "GB/s");
    for (const Row& row : rows_) {
      const double fresh = row.columns[1].best;
      std::printf("%-44s %9.0f %9.0f %6.2f %7.2f", row.name.c_str(), row.columns[0].best, fresh, row.ratio(),
                  static_cast<double>(row.bytes) / fresh);
      for (std::size_t i = 2; i < row.columns.size(); ++i)
        std::printf("   %.2f of %s", fresh / row.columns[i].best, row.columns[i].name.c_str());
      std::printf("\n");
    }
  }

 private:
  static std::string_view call(RQCodec function, RQInterface* object, const std::string& text, std::size_t unit) {
    std::uint64_t written = 0;
    function(object, text.data(), text.size() / unit, output(), 12 * text.size() / unit + 64, &written);
    return {output(), written * unit};
  }
  static std::string_view call(RQMeasure function, RQInterface* object, const std::string& text, std::size_t unit) {
    const std::int64_t count = function(object, text.data(), text.size() / unit);
    std::memcpy(output(), &count, sizeof count);
    return {output(), sizeof count};
  }

  Build old_, new_;
  double seconds_;
  std::string filter_;
  std::vector<Row> rows_;
};

std::string bytesOf(const std::u32string& text) {
  return {reinterpret_cast<const char*>(text.data()), 4 * text.size()};
}
std::string widened(const std::string& ascii) {
  return bytesOf(std::u32string(ascii.begin(), ascii.end()));
}

struct Text {
  std::string name;
  std::u32string characters;
};

std::vector<Text> texts() {
  std::vector<Text> made;
  for (const char* language : {"french", "german", "polish", "vietnamese"})
    made.push_back({std::string("prose-") + language, prose(language, MiB * 5 / 6)});
  made.push_back({"plain", text(Script::ascii, MiB)});
  made.push_back({"sparse", text(Script::sparse, MiB)});
  made.push_back({"dense", text(Script::cyrillic, MiB / 6)});
  made.push_back({"dense-mixed", text(Script::mixed, MiB / 6)});
  return made;
}

using Peers = std::vector<std::pair<const char*, std::size_t (*)(std::string_view, char*)>>;

struct Codec {
  const char* name;
  RQCodec RQOperations::*decode;
  RQCodec RQOperations::*encode;
  Notation notation;
  const char* nine;
  std::vector<const char*> odd;  // notations of a shape that is rare
  Peers decoders, encoders;
};

const Codec codecs[] = {
    {"NCR",
     &RQOperations::getNCR,
     &RQOperations::putNCR,
     Notation::decimal,
     "a&#1078;b",
     {"&#;", "&#xD83D;&#xDE00;", "&#6 5;", "&#x"},
     {{"hand", hand::decodeReferences}, {"libxml2", libxmlDecodeReferences}},
     {{"hand", hand::encodeReferences}, {"icu", icuEncodeReferences}}},
    {"NCR-hex",
     &RQOperations::getNCR,
     nullptr,
     Notation::hexadecimal,
     "a&#x436;b",
     {},
     {{"hand", hand::decodeReferences}, {"libxml2", libxmlDecodeReferences}},
     {}},
    {"UEsc",
     &RQOperations::getUEsc,
     &RQOperations::putUEsc,
     Notation::uEscape,
     "a\\u0436bc",
     {"\\u12", "\\uD83D\\uDE00", "\\u0001F600", "\\uu"},
     {{"hand", hand::decodeEscapes}, {"simdjson", simdjsonDecodeEscapes}, {"absl", abslDecodeEscapes}},
     {{"hand", hand::encodeEscapes}, {"icu", icuEncodeEscapes}}},
    {"UParen",
     &RQOperations::getUParen,
     &RQOperations::putUParen,
     Notation::uParen,
     "a<U0436>b",
     {"<U>", "<U0001F600>", "<U41>", "<U"},
     {{"hand", hand::decodeParens}},
     {{"hand", hand::encodeParens}}},
};

void addCodecs(Table& table) {
  for (const Text& text : texts())
    for (const Codec& codec : codecs) {
      const std::string notations = escaped(text.characters, codec.notation), session = utf8(text.characters);
      const std::string name = std::string("Get") + codec.name + ' ' + text.name;
      table.add(plain, name, codec.decode, notations, session, codec.decoders);
      table.add(served, name, codec.decode, notations, session, {});
      table.add(wide, name, codec.decode, widened(notations), bytesOf(text.characters), {});
      if (!codec.encode) continue;
      const std::string putName = std::string("Put") + codec.name + ' ' + text.name;
      const std::string all = escaped(text.characters, codec.notation, codec.notation == Notation::uParen);
      table.add(plain, putName, codec.encode, session, all, codec.encoders);
      table.add(wide, putName, codec.encode, bytesOf(text.characters), widened(all), {});
    }
  for (const Codec& codec : codecs) {
    for (const char* unit : codec.odd)
      table.add(plain, std::string("Get") + codec.name + ' ' + unit, codec.decode, repeated(unit, 64 << 10), "", {});
    const std::string rest = repeated("lorem ipsum ", 55).substr(0, 55);
    const std::string get = std::string("Get") + codec.name, put = std::string("Put") + codec.name;
    table.add(plain, get + " 9B", codec.decode, codec.nine, "", codec.decoders);
    table.add(plain, get + " 64B", codec.decode, rest + codec.nine, "", codec.decoders);
    table.add(plain, get + " dense 256B", codec.decode, escaped(text(Script::cyrillic, 43), codec.notation), "",
              codec.decoders);
    if (!codec.encode) continue;
    table.add(plain, put + " 9B", codec.encode, "caf\u00E9 au ", "", codec.encoders);
    table.add(plain, put + " ascii 64B", codec.encode, rest + "lorem ips", "", codec.encoders);
    table.add(plain, put + " ascii 4KiB", codec.encode, utf8(text(Script::ascii, 4096)), "", codec.encoders);
    table.add(wide, put + " ascii 4KiB", codec.encode, bytesOf(text(Script::ascii, 4096)), "", {});
  }
}

void addMeasures(Table& table) {
  for (const std::size_t count : {16U, 64U, 4096U})
    for (const auto& [name, slot] :
         {std::pair{"Length ", &RQOperations::getUnicodeLength}, {"Width ", &RQOperations::getUnicodeWidth}})
      for (const auto& [script, kind] : {std::pair{Script::ascii, "ascii"}, {Script::cjk, "cjk"}})
        table.add(plain, name + std::to_string(count) + ' ' + kind, slot, utf8(text(script, count)), "", {});
}

}  // namespace
}  // namespace rq::bench

int main(int count, char** arguments) {
  if (count < 3 || count > 5) {
    std::fprintf(stderr, "usage: rq_against OLD.so NEW.so [SECONDS [FILTER]]\n");
    return 2;
  }
  rq::bench::offerCaseService(true);
  rq::bench::Table table(arguments[1], arguments[2], count > 3 ? std::atof(arguments[3]) : 0.2,
                         count > 4 ? arguments[4] : "");
  rq::bench::addCodecs(table);
  rq::bench::addMeasures(table);
  table.print();
}
