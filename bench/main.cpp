// rq_bench: times the library beside its peers. bench/run calls it with the right options and makes the table.
#include <benchmark/benchmark.h>

#include <clocale>
#include <cstdio>
#include <cstring>

#include "bench/families.h"
#include "bench/support/library.h"
#include "bench/support/row.h"

namespace {

struct Options {
  const char* library = RQ_LIBRARY_PATH;
  bool quick = false;
};

/// Takes --library=PATH and --quick out of the arguments and leaves the rest to the benchmark library.
Options takeOptions(int& count, char** arguments) {
  constexpr char library[] = "--library=";
  Options options;
  int kept = 1;
  for (int i = 1; i < count; ++i) {
    if (std::strncmp(arguments[i], library, sizeof library - 1) == 0)
      options.library = arguments[i] + sizeof library - 1;
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
  rq::bench::loadLibrary(options.library);
  rq::bench::registerLimits();
  rq::bench::registerKit();
  rq::bench::registerWide();
  rq::bench::registerCodecs();
  rq::bench::registerMetrics();
  rq::bench::registerFrame();
  benchmark::Initialize(&count, arguments);
  if (benchmark::ReportUnrecognizedArguments(count, arguments)) return 2;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
