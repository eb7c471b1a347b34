// Two builds of the library beside each other in one process: rq_against OLD NEW [SECONDS [FILTER]]. Their passes
// take turns, the fastest of each counts, and the rows where the new build does worst come first. "host" makes the
// transcoder calls of the operation again; "own" is the ratio without them.
#include <dlfcn.h>
#include <time.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "bench/support/codec_jobs.h"
#include "bench/support/host.h"

namespace rq::bench {
namespace {

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

 private:
  template <class Function>
  Function symbol(const char* name) const {
    return reinterpret_cast<Function>(dlsym(handle_, name));
  }
  void* handle_;
};

/// The columns of a row: what runs and returns its output, and the fastest pass so far in nanoseconds a call.
struct Column {
  std::string name;
  std::function<std::string_view()> call;
  double best = 1e300;
};

struct Row {
  std::string name;
  std::size_t bytes;
  std::vector<Column> columns;  // in the order of these names, then the peers
  enum { old, fresh, host, firstPeer };

  double time(std::size_t column) const { return columns[column].best; }
  double ratio() const { return time(fresh) / time(old); }
  double ownRatio() const { return (time(fresh) - time(host)) / (time(old) - time(host)); }
};

/// The processor time of this thread in nanoseconds: other work on the machine does not count.
double processorTime() {
  timespec time;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return 1e9 * static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec);
}

double nanoseconds(const Column& column, std::uint64_t calls) {
  const double begin = processorTime();
  for (std::uint64_t i = 0; i < calls; ++i) column.call();
  return (processorTime() - begin) / static_cast<double>(calls);
}

/// Long enough that what the column before left in caches and branch predictors does not count; rq_bench's are so
/// too.
constexpr double passNanoseconds = 2e6;

void measure(Row& row, double seconds) {
  const double once = std::min(nanoseconds(row.columns[0], 1), nanoseconds(row.columns[0], 1));
  const auto calls = static_cast<std::uint64_t>(std::max(1.0, passNanoseconds / once));
  const auto until = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
  do {
    for (Column& column : row.columns) column.best = std::min(column.best, nanoseconds(column, calls));
  } while (std::chrono::steady_clock::now() < until);
}

class Table {
 public:
  Table(const char* oldPath, const char* newPath, double seconds, std::string filter)
      : old_(oldPath), new_(newPath), seconds_(seconds), filter_(std::move(filter)) {}

  /// Measures an operation of both builds on a job, and the peers that make the same of it. A job without an output
  /// takes that of the old build.
  template <class Shape>
  void add(const Flavour& flavour, const std::string& name, Shape* RQOperations::*slot, const Job& job,
           const Peers& peers) {
    const std::string title = std::string(flavour.name) + ' ' + name + ' ' + job.name;
    if (title.find(filter_) == std::string::npos) return;
    const auto shared = std::make_shared<Job>(job);
    Row row{title, job.input.size(), {}};
    for (const auto& [build, column] : {std::pair{&old_, "old"}, {&new_, "new"}}) {
      RQInterface* const object = build->object(flavour.session);
      const auto function = (object->*flavour.operations).*slot;
      row.columns.push_back({column, calling(function, object, shared, flavour.unitBytes)});
    }
    record();
    row.columns[Row::fresh].call();
    row.columns.push_back({"host", [calls = recorded()] { return std::string_view(output(), replay(calls)); }});
    for (const auto& [column, peer] : peers)
      row.columns.push_back({column, [=] { return std::string_view(output(), peer(shared->input, output())); }});
    if (shared->output.empty()) shared->output = row.columns[Row::old].call();
    demand(row, shared->output);
    measure(row, seconds_);
    rows_.push_back(std::move(row));
  }

  void print() {
    std::sort(rows_.begin(), rows_.end(), [](const Row& a, const Row& b) { return a.ratio() > b.ratio(); });
    std::printf("%-44s %9s %9s %9s %6s %6s %7s\n", "row", "old ns", "new ns", "host ns", "ratio", "own", "GB/s");
    for (const Row& row : rows_) {
      const double fresh = row.time(Row::fresh);
      std::printf("%-44s %9.0f %9.0f %9.0f %6.2f %6.2f %7.2f", row.name.c_str(), row.time(Row::old), fresh,
                  row.time(Row::host), row.ratio(), row.ownRatio(), static_cast<double>(row.bytes) / fresh);
      for (std::size_t i = Row::firstPeer; i < row.columns.size(); ++i)
        std::printf("   %.2f of %s", fresh / row.time(i), row.columns[i].name.c_str());
      std::printf("\n");
    }
  }

 private:
  /// Ends the program when a build gives a wrong answer, and drops the peers that give another one.
  static void demand(Row& row, std::string_view expected) {
    for (const std::size_t build : {Row::old, Row::fresh}) {
      if (row.columns[build].call() == expected) continue;
      std::printf("%s: %s gives a wrong answer\n", row.name.c_str(), row.columns[build].name.c_str());
      std::exit(1);
    }
    const auto peers = row.columns.begin() + Row::firstPeer;
    row.columns.erase(std::remove_if(peers, row.columns.end(), [&](Column& peer) { return peer.call() != expected; }),
                      row.columns.end());
  }

  static auto calling(RQCodec function, RQInterface* object, const std::shared_ptr<Job>& job, std::size_t unitBytes) {
    return [job, call = CodecCall(function, object, *job, unitBytes)] {
      return std::string_view(output(), call().second);
    };
  }
  static auto calling(RQMeasure function, RQInterface* object, const std::shared_ptr<Job>& job,
                      std::size_t unitBytes) {
    return [=, units = job->input.size() / unitBytes] {
      const std::int64_t count = function(object, job->input.data(), units);
      std::memcpy(output(), &count, sizeof count);
      return std::string_view(output(), sizeof count);
    };
  }

  Build old_, new_;
  double seconds_;
  std::string filter_;
  std::vector<Row> rows_;
};

/// Of the curves, only the sizes that differ most.
bool isWanted(const Job& job) {
  constexpr const char* sizes[] = {"-9B", "-64B", "-4KiB", "-1MiB"};
  return std::any_of(std::begin(sizes), std::end(sizes), [&](const char* size) { return job.name.ends_with(size); });
}

void addDecoding(Table& table, const Codec& codec, const Job& job) {
  const std::string name = std::string("Get") + codec.name;
  table.add(plain, name, codec.decode, job, codec.decoders);
  table.add(served, name, codec.decode, job, {});
  table.add(wide, name, codec.decode, widened(job), {});
}

void addEncoding(Table& table, const Codec& codec, const Job& job) {
  const std::string name = std::string("Put") + codec.name;
  table.add(plain, name, codec.encode, job, codec.encoders);
  table.add(wide, name, codec.encode, widened(job), {});
}

void addCodec(Table& table, const Codec& codec) {
  for (const Job& job : decodingJobs(codec))
    if (isWanted(job)) addDecoding(table, codec, job);
  if (codec.notation == Notation::decimal)
    addDecoding(table, codec,
                decoding("dense-hex-1MiB", text(Script::cyrillic, (1 << 20) / 6), Notation::hexadecimal));
  for (const char* unit : codec.odd)
    table.add(plain, std::string("Get") + codec.name, codec.decode, {unit, repeated(unit, 64 << 10), "", 0}, {});
  for (const Job& job : encodingJobs(codec))
    if (isWanted(job)) addEncoding(table, codec, job);
}

void addMeasures(Table& table) {
  for (const std::size_t count : {16U, 64U, 4096U})
    for (const auto& [name, slot] :
         {std::pair{"Length", &RQOperations::getUnicodeLength}, {"Width", &RQOperations::getUnicodeWidth}})
      for (const auto& [script, kind] : {std::pair{Script::ascii, "ascii-"}, {Script::cjk, "cjk-"}})
        table.add(plain, name, slot, {kind + std::to_string(count), utf8(text(script, count)), "", 0}, {});
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
  for (const rq::bench::Codec& codec : rq::bench::codecs) rq::bench::addCodec(table, codec);
  rq::bench::addMeasures(table);
  table.print();
}
