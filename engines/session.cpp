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

/// Transcoders belong to their session and end with it.
RQStatus destroyTranscoder(RQTranscoder*) {
  return RQ_SUCCESS;
}

}  // namespace

Session::Session(const Conversions& conversions, const void* encoding)
    : conversions_(conversions), encoding_(encoding) {
  services_.table.createTranscoder = createTranscoder;
  services_.table.querySession = querySession;
  services_.session = this;
  journal_.statusToJnl = ignoreStatus;
  context_.lookUpOption = lookUpOption;
  context_.journal = &journal_;
  context_.nls = &services_.table;
}

RQInterface* Session::makeObject() {
  made_ = 0;
  RQInterface* const object = rquni(&context_, nullptr);
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
  return reinterpret_cast<Services*>(services)->session->createTranscoder(source, target);
}

RQTranscoder* Session::createTranscoder(std::uint64_t source, std::uint64_t target) {
  const bool toSession = target == sessionIdentifier;
  const int form = formOf(toSession ? source : target);
  if (form < 0 || made_ == 2 * RQ_FORMS || callbackFails()) return nullptr;
  Transcoder& transcoder = transcoders_[made_++];
  transcoder.table.destroy = destroyTranscoder;
  transcoder.session = this;
  transcoder.table.convert = (toSession ? conversions_.toSession : conversions_.fromSession)[form];
  return &transcoder.table;
}

}  // namespace rq::engines
