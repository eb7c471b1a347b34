// Decodes, encodes and measures through the development host.
//
//   find_package(rquni COMPONENTS host REQUIRED)
//   target_link_libraries(text_session PRIVATE rquni::host)
//
//   text_session path/to/librquni.so
#include <rqhost/text_session.h>

#include <cstdio>

namespace {

using rq::host::Notation;
using rq::host::TextSession;

int report(const rq::host::Error& error) {
  std::fprintf(stderr, "%s\n", error.text.c_str());
  return 1;
}

int run(const char* library) {
  const auto session = TextSession::open("UTF-8", library);
  if (!session) return report(session.error());
  const auto decoded = session->decode(Notation::ncr, "caf&#233; &#x65E5;");
  if (!decoded) return report(decoded.error());
  const auto encoded = session->encode(Notation::uesc, *decoded);
  if (!encoded) return report(encoded.error());
  const auto width = session->width(*decoded);
  if (!width) return report(width.error());
  std::printf("%s takes %lld columns, in ASCII it is %s\n", decoded->c_str(), static_cast<long long>(*width),
              encoded->c_str());

  const auto characters = session->decode(Notation::uparen, U"na<U00EF>ve");
  if (!characters) return report(characters.error());
  std::printf("na<U00EF>ve has %zu characters, the third is U+%04X\n", characters->size(),
              static_cast<unsigned>((*characters)[2]));

  const auto invalid = session->toForm(rq::host::Form::utf16Big, "caf\xE9!");
  if (invalid) return 1;
  std::printf("no UTF-16: %s\n", invalid.error().text.c_str());
  const auto unknown = TextSession::open("no-such-encoding", library);
  if (unknown) return 1;
  std::printf("no session: %s\n", unknown.error().text.c_str());
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  return run(argc > 1 ? argv[1] : "librquni.so.1");
}
