#include "tests/checker/in_process.h"

#include "checker/checker.h"

using namespace rq;

void checkHostInProcess(RQKernel* kernel, RQContext* context, const char* path, RowTaker* take, void* taker) {
  const host::Result<host::Library> library = host::Library::open(path);
  if (!library) return take(taker, "library", "not checked", library.error().text.c_str());
  const auto enter = [&](checker::Subject& subject) {
    subject.kernel = kernel;
    subject.context = context;
    return checker::ok();
  };
  const auto report = [&](const checker::Row& row) {
    take(taker, std::string(row.name).c_str(), std::string(checker::nameOf(row.finding.verdict)).c_str(),
         row.finding.seen.c_str());
    return host::done();
  };
  static_cast<void>(checker::checkHost(enter, *library, false, report, std::chrono::minutes(2)));
}
