#include "codecs/comparison.h"

#include <algorithm>
#include <cstdio>

#include "codecs/twin.h"

namespace rq::test {
namespace {

struct Answer {
  Outcome outcome{};
  std::int64_t measured = 0;
  std::vector<std::uint64_t> questions;  // distinct conversions asked for
  std::uint64_t mistakes = 0, blocks = 0;
};

Answer ask(const RQOperations& operations, Session& session, const Setting& setting, unsigned operation,
           const std::vector<std::uint8_t>& units, std::uint64_t capacity) {
  MockHost& host = session.host;
  host.forget();
  host.behave();
  host.offer(setting.services);
  if (setting.refuseMemory) host.refuse(Service::allocate, 0);
  if (setting.refuseConversions) host.refuse(Service::convert, 0);
  Answer answer;
  if (operation < codecCount)
    answer.outcome = call(codecOf(operations, operation), session.object, setting.flavour, units, capacity);
  else
    answer.measured =
        measureOf(operations, operation)(session.object, units.data(), units.size() / unitBytes(setting.flavour));
  for (const Call& made : host.calls)
    if (made.service == Service::convert) answer.questions.push_back(made.digest);
  std::sort(answer.questions.begin(), answer.questions.end());
  answer.questions.erase(std::unique(answer.questions.begin(), answer.questions.end()), answer.questions.end());
  answer.mistakes = host.mistakes;
  answer.blocks = host.liveBlocks;
  return answer;
}

const char* differenceOf(const Answer& library, const Answer& twin, std::uint64_t capacityBytes) {
  if (library.mistakes || library.blocks != 1) return "pool balance";
  if (library.measured != twin.measured) return "count";
  if (library.outcome.status != twin.outcome.status) return "status";
  if (library.outcome.stored != twin.outcome.stored) return "whether the length is stored";
  if (library.outcome.length != twin.outcome.length) return "length";
  if (library.outcome.bytes != twin.outcome.bytes) return "bytes";
  if (library.outcome.reach > std::max(capacityBytes, twin.outcome.reach)) return "bytes past the capacity";
  if (!std::includes(twin.questions.begin(), twin.questions.end(), library.questions.begin(),
                     library.questions.end()))
    return "a conversion that the twin does not ask for";
  return nullptr;
}

void show(const char* who, const Answer& answer, Flavour flavour) {
  std::fprintf(stderr, "  %s: status %08X, %s length %llu, count %lld, reach %llu, conversions %zu, text \"%s\"\n",
               who, answer.outcome.status, answer.outcome.stored ? "stored" : "not stored",
               static_cast<unsigned long long>(answer.outcome.length), static_cast<long long>(answer.measured),
               static_cast<unsigned long long>(answer.outcome.reach), answer.questions.size(),
               shown(answer.outcome.bytes, flavour).c_str());
}

}  // namespace

const char* nameOfOperation(unsigned operation) {
  constexpr const char* names[] = {"getNCR",     "putNCR",    "getUEsc",          "putUEsc",        "getUParen",
                                   "getUParenP", "putUParen", "getUnicodeLength", "getUnicodeWidth"};
  static_assert(std::size(names) == operationCount);
  return names[operation];
}

RQCodec codecOf(const RQOperations& operations, unsigned operation) {
  const RQCodec codecs[] = {operations.getNCR,    operations.putNCR,     operations.getUEsc,  operations.putUEsc,
                            operations.getUParen, operations.getUParenP, operations.putUParen};
  return codecs[operation];
}

RQMeasure measureOf(const RQOperations& operations, unsigned operation) {
  return operation == codecCount ? operations.getUnicodeLength : operations.getUnicodeWidth;
}

Session& Comparison::sessionOf(std::uint32_t encoding) {
  Session* found = nullptr;
  for (const auto& session : sessions_)
    if (session->encoding == encoding) found = session.get();
  if (!found) {
    sessions_.push_back(std::make_unique<Session>(encoding));
    found = sessions_.back().get();
  }
  if (found != current_) {
    Library::get().rqextent(found->host.kernel());
    twin::setKernel(found->host.kernel());
    current_ = found;
  }
  return *found;
}

bool Comparison::operator()(const Setting& setting, unsigned operation, const std::vector<std::uint8_t>& units,
                            std::uint64_t capacity) {
  Session& session = sessionOf(setting.encoding);
  const Answer twin = ask(twin::operations(setting.flavour), session, setting, operation, units, capacity);
  const Answer library = ask(slotsOf(session.object, setting.flavour), session, setting, operation, units, capacity);
  ++cases;
  const char* difference = differenceOf(library, twin, capacity * unitBytes(setting.flavour));
  if (!difference) return true;
  std::fprintf(stderr, "DIFFERENCE in %s\n%s, %s flavour, session %s, capacity %llu\n", difference,
               nameOfOperation(operation), nameOf(setting.flavour), encodingOf(setting.encoding)->name,
               static_cast<unsigned long long>(capacity));
  std::fprintf(stderr,
               "  case service %d, charset cached %d, charset on look-up %d, memory refused %d, conversions "
               "refused %d\n",
               setting.services.caseService, setting.services.cachedCharset, setting.services.charsetOnLookUp,
               setting.refuseMemory, setting.refuseConversions);
  std::fprintf(stderr, "  input %zu bytes: \"%s\"\n", units.size(), shown(units, setting.flavour).c_str());
  show("library", library, setting.flavour);
  show("twin   ", twin, setting.flavour);
  return false;
}

}  // namespace rq::test
