// Decodes and encodes through the development host.
//
//   text_session path/to/librquni.so
#include "text_session.h"

#include <cstdio>

namespace {

using rq::example::TextSession;

int report(const rq::host::Error &error) {
  std::fprintf(stderr, "%s\n", error.text.c_str());
  return 1;
}

int run(const char *library) {
  const auto session = TextSession::open(library, "UTF-8");
  if (!session) return report(session.error());
  const auto decoded = session->run(&RQOperations::getNCR, "caf&#233; &#x65E5;");
  if (!decoded) return report(decoded.error());
  const auto encoded = session->run(&RQOperations::putUEsc, *decoded);
  if (!encoded) return report(encoded.error());
  std::printf("%s takes %lld columns, in ASCII it is %s\n", decoded->c_str(),
              static_cast<long long>(session->width(*decoded)), encoded->c_str());

  const auto wide = TextSession::open(library, "UTF-32LE");
  if (!wide) return report(wide.error());
  const auto characters = wide->run(&RQOperations::getUParen, U"na<U00EF>ve");
  if (!characters) return report(characters.error());
  std::printf("na<U00EF>ve has %zu characters, the third is U+%04X\n", characters->size(),
              unsigned((*characters)[2]));

  const auto unknown = TextSession::open(library, "no-such-encoding");
  if (unknown) return 1;
  std::printf("no session: %s\n", unknown.error().text.c_str());
  return 0;
}

}  // namespace

int main(int argc, char **argv) {
  return run(argc > 1 ? argv[1] : "librquni.so.1");
}
