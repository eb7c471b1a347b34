// Rules about the context and the session's encoding.
#include "checker/probes.h"
#include "host/transcoder.h"

namespace rq::checker {
namespace {

Finding contextWords(const Subject& subject) {
  for (const std::string& null : {nullWord(subject.context->lookUpOption, 14), nullWord(subject.context->nls, 27)}) {
    if (!null.empty()) return broken(null);
  }
  return ok();
}

Finding nlsWords(const Subject& subject) {
  const RQNlsServices* nls = subject.context->nls;
  for (const std::string& null : {nullWord(nls->createTranscoder, 14), nullWord(nls->querySession, 78)}) {
    if (!null.empty()) return broken(null);
  }
  return ok();
}

Finding optionName(const Subject& subject) {
  const std::u32string_view real = sessionOption;
  askOptionFenced(subject, real);
  for (const std::u32string_view name : {real.substr(0, 20), std::u32string_view(U"RQNLS.ZMX_SESSION_CEIX"),
                                         std::u32string_view(U"ZMX.NO_OPTION_OF_THAT"), std::u32string_view()}) {
    if (askOptionFenced(subject, name).status == 0) {
      std::string shown;
      for (const char32_t c : name) shown += static_cast<char>(c);
      return broken("an option named \"" + shown + "\" is found");
    }
  }
  return ok();
}

Finding optionValue(const Subject& subject) {
  const OptionAnswer answer = askOption(subject, sessionOption);
  if (answer.beyond) return broken("it writes beyond the value or its length");
  if (answer.status != 0) return ok("not found: the session query decides");
  if (answer.bytes > 8) return broken("it stores " + decimal(answer.bytes) + " as the length of a value in 8 bytes");
  if (answer.value == -1) return broken("it reports success and stores no value");
  return ok("encoding " + std::to_string(answer.value));
}

Finding sessionQuery(const Subject& subject) {
  if (askOption(subject, sessionOption).status == 0)
    return notChecked("the option is found: the library does not ask");
  const QueryAnswer answer = askSession(subject);
  if (answer.beyond) return broken("it writes beyond the 4 bytes of the identifier");
  if (answer.status != RQ_SUCCESS && answer.status != RQ_SESSION_QUERY_DEFAULTED) {
    return broken("it returns " + host::hexadecimal(answer.status));
  }
  if (answer.encoding == -1) return broken("it reports success and stores no identifier");
  return ok("encoding " + std::to_string(answer.encoding));
}

}  // namespace

std::vector<Rule> sessionRules() {
  return {
      {"context.words", "words 14 and 27 of the context are set", {}, contextWords},
      {"context.name",
       "option names are compared in full, and nothing is read beyond them",
       {"context.words"},
       optionName,
       "it reads beyond the name"},
      {"context.value", "the value of an option fills the 8 bytes given and no more", {"context.words"}, optionValue},
      {"nls.words", "words 14 and 78 of the NLS services are set", {"context.words"}, nlsWords},
      {"nls.querySession",
       "stores the session encoding and returns 0 or RQ_SESSION_QUERY_DEFAULTED",
       {"context.value", "nls.words"},
       sessionQuery},
  };
}

}  // namespace rq::checker
