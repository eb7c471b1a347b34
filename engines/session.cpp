#include "engines/session.h"

namespace rq::engines {
namespace {

constexpr RQStatus notFound = 1;

/// The place of the form with that identifier in the arrays of Conversions, or -1.
int formOf(std::uint64_t identifier) {
  constexpr std::uint64_t identifiers[forms] = {RQ_ENCODING_UTF8, RQ_ENCODING_UTF16_BIG, RQ_ENCODING_UTF16_LITTLE,
                                                RQ_ENCODING_UTF32_BIG, RQ_ENCODING_UTF32_LITTLE};
  for (int form = 0; form < forms; ++form)
    if (identifiers[form] == identifier) return form;
  return -1;
}

/// The library logs a failed creation, which its caller sees as well.
std::uint64_t ignoreStatus(RQJournal*, std::uint64_t, std::uint64_t, va_list) {
  return 0;
}

RQStatus destroyTranscoder(RQTranscoder*) {
  return RQ_SUCCESS;
}

}  // namespace

Session::Session(const Conversions& conversions, const void* encoding) : encoding_(encoding) {
  for (int form = 0; form < forms; ++form) {
    prepare(toSession_[form], conversions.toSession[form]);
    prepare(fromSession_[form], conversions.fromSession[form]);
  }
  services_.table.createTranscoder = createTranscoder;
  services_.table.querySession = querySession;
  services_.session = this;
  journal_.statusToJnl = ignoreStatus;
  context_.lookUpOption = lookUpOption;
  context_.journal = &journal_;
  context_.nls = &services_.table;
}

void Session::prepare(Transcoder& transcoder, Conversions::Callback convert) {
  transcoder.table.destroy = destroyTranscoder;
  transcoder.table.convert = convert;
  transcoder.session = this;
}

RQStatus Session::answer(const Moved& moved, std::uint64_t* producedBytes) {
  *producedBytes = moved.written;
  if (moved.failure == Failure::none) return RQ_SUCCESS;
  if (firstFailure.failure == Failure::none) firstFailure = moved;
  return conversionFailed;
}

RQInterface* Session::makeObject() {
  RQInterface* const object = rquni(context(), nullptr);
  if (!object) return nullptr;
  for (const RQTranscoderPair& pair : object->transcoders) {
    if (pair.toSession && pair.fromSession) continue;
    object->destroy(object);
    return nullptr;
  }
  return object;
}

RQStatus Session::lookUpOption(RQContext*, const RQChar*, std::uint64_t, std::uint64_t, std::int64_t*,
                               std::uint64_t*) {
  return notFound;  // there are no options: the session query answers
}

RQStatus Session::querySession(RQNlsServices*, std::int32_t* encoding) {
  *encoding = sessionIdentifier;
  return RQ_SUCCESS;
}

RQTranscoder* Session::createTranscoder(RQNlsServices* services, std::uint64_t source, std::uint64_t target,
                                        std::uint64_t, std::uint64_t) {
  Session* const session = reinterpret_cast<Services*>(services)->session;
  const bool toSession = target == sessionIdentifier;
  const int form = formOf(toSession ? source : target);
  if (form < 0 || callbackFails()) return nullptr;
  return &(toSession ? session->toSession_ : session->fromSession_)[form].table;
}

}  // namespace rq::engines
