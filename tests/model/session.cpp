#include "tests/model/session.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace rq::test {
namespace {

constexpr std::uint64_t notStored = 0x5EED5EED5EED5EED;
constexpr std::uint64_t slack = 64;
constexpr std::uint8_t fill = 0xCC;

}  // namespace

Session::Session(std::uint32_t sessionEncoding) : host(sessionEncoding), encoding(sessionEncoding) {
  const Library& library = Library::get();
  library.rqextent(host.kernel());
  object = library.rquni(host.context(), host.journal());
  if (!object) {
    std::fprintf(stderr, "no interface object\n");
    std::abort();
  }
  host.forget();
}

Session::~Session() {
  host.behave();
  if (object) object->destroy(object);
}

Outcome call(RQCodec codec, RQInterface* object, Flavour flavour, const std::vector<std::uint8_t>& units,
             std::uint64_t capacity) {
  const std::uint64_t size = unitBytes(flavour);
  std::vector<std::uint8_t> output(capacity * size + slack, fill);
  Outcome outcome{};
  outcome.length = notStored;
  outcome.status = codec(object, units.data(), units.size() / size, output.data(), capacity, &outcome.length);
  outcome.stored = outcome.length != notStored;
  outcome.reach = output.size();
  while (outcome.reach > 0 && output[outcome.reach - 1] == fill) --outcome.reach;
  if (outcome.stored && outcome.length <= output.size() / size) {
    output.resize(outcome.length * size);
    outcome.bytes = std::move(output);
  }
  return outcome;
}

}  // namespace rq::test
