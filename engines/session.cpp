#include "engines/session.h"

#include "engines/callbacks.h"

namespace rq::engines {
namespace {

constexpr RQStatus notFound = 1;
constexpr RQStatus conversionFailed = 2;

/// The form with that identifier, or -1.
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
  transcoder.table.convert = convert;
  transcoder.session = this;
  transcoder.convert = (toSession ? conversions_.toSession : conversions_.fromSession)[form];
  return &transcoder.table;
}

RQStatus Session::convert(RQTranscoder* table, const void* input, std::uint64_t inputBytes, void* output,
                          std::uint64_t capacityBytes, std::uint64_t* producedBytes, std::uint64_t) {
  const auto* const transcoder = reinterpret_cast<Transcoder*>(table);
  Session* const session = transcoder->session;
  Moved moved{.failure = Failure::unreadable};
  if (!callbackFails()) {
    moved = transcoder->convert(session->encoding_, {static_cast<const std::uint8_t*>(input), inputBytes},
                                {static_cast<std::uint8_t*>(output), capacityBytes});
  }
  *producedBytes = moved.written;
  if (moved.failure == Failure::none) return RQ_SUCCESS;
  if (session->firstFailure.failure == Failure::none) session->firstFailure = moved;
  return conversionFailed;
}

}  // namespace rq::engines
