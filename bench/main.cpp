// rq_bench: times the library beside its peers. bench/run calls it with the right options and makes the table.
#include <benchmark/benchmark.h>

#include <clocale>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "bench/families.h"
#include "bench/support/exchange.h"
#include "bench/support/library.h"
#include "bench/support/row.h"

namespace {

struct Options {
  const char* library = RQ_LIBRARY_PATH;
  const char* texts = nullptr;  // only write the texts for peers outside the process to this folder
  bool quick = false;
};

/// The value of an argument of the form --name=value, or null.
const char* valueOf(const char* argument, std::string_view name) {
  const std::string_view given = argument;
  return given.starts_with(name) && given.substr(name.size()).starts_with('=') ? argument + name.size() + 1 : nullptr;
}

/// Takes --library=PATH, --texts=FOLDER and --quick out of the arguments and leaves the rest to the benchmark
/// library.
Options takeOptions(int& count, char** arguments) {
  Options options;
  int kept = 1;
  for (int i = 1; i < count; ++i) {
    if (const char* library = valueOf(arguments[i], "--library"))
      options.library = library;
    else if (const char* texts = valueOf(arguments[i], "--texts"))
      options.texts = texts;
    else if (std::strcmp(arguments[i], "--quick") == 0)
      options.quick = true;
    else
      arguments[kept++] = arguments[i];
  }
  count = kept;
  return options;
}

}  // namespace

int main(int count, char** arguments) {
  if (!std::setlocale(LC_CTYPE, "C.UTF-8")) std::fputs("rq_bench: no locale C.UTF-8\n", stderr);
  const Options options = takeOptions(count, arguments);
  if (options.quick) rq::bench::quickly();
  if (options.texts) rq::bench::exchangeThrough(options.texts);
  rq::bench::loadLibrary(options.library);
  rq::bench::registerLimits();
  rq::bench::registerKit();
  rq::bench::registerWide();
  rq::bench::registerCodecs();
  rq::bench::registerMetrics();
  rq::bench::registerFrame();
  rq::bench::registerThreads();
  if (options.texts) return 0;
  benchmark::Initialize(&count, arguments);
  if (benchmark::ReportUnrecognizedArguments(count, arguments)) return 2;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
