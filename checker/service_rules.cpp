// Rules about the journal, the case service and its character-set service.
#include <cstdarg>

#include "checker/probes.h"

namespace rq::checker {
namespace {

constexpr std::u32string_view charsetName = U"ZQD";

std::uint64_t logStatus(RQJournal* journal, std::uint64_t level, std::uint64_t status, ...) {
  va_list list;
  va_start(list, status);
  const std::uint64_t result = journal->statusToJnl(journal, level, status, list);
  va_end(list);
  return result;
}

Finding journal(const Subject& subject) {
  RQJournal* journal = subject.context->journal;
  if (!journal) return notChecked("the context has no journal");
  const std::string null = nullWord(journal->statusToJnl, 7);
  if (!null.empty()) return broken(null);
  logStatus(journal, 4, RQ_NO_MEMORY);
  return ok();
}

const char* const noCaseService = "the kernel has no case service";

Finding caseWords(const Subject& subject) {
  const RQCaseService* service = subject.kernel->caseService;
  if (!service) return notChecked(noCaseService);
  for (const std::string& null : {nullWord(service->upper, 31), nullWord(service->lower, 32)}) {
    if (!null.empty()) return broken(null);
  }
  if (!service->charset && !service->lookUp) return broken("words 149 and 153 are both null");
  return ok();
}

Finding anyCharacter(const Subject& subject) {
  RQCaseService* service = subject.kernel->caseService;
  if (!service) return notChecked(noCaseService);
  const auto ask = [service](RQChar character) {
    service->upper(service, character, 1);
    service->lower(service, character, 1);
  };
  for (RQChar character = 0; character < 0x120000; ++character) ask(character);
  for (std::uint64_t character = 0x120000; character <= UINT32_MAX; character += 0xFFF1)
    ask(static_cast<RQChar>(character));
  ask(0x7FFFFFFF);
  ask(0x80000000);
  ask(UINT32_MAX);
  return ok();
}

/// The service "ZQD" as the library gets it, null when there is none.
RQCharsetService* charsetOf(const Subject& subject) {
  RQCaseService* service = subject.kernel->caseService;
  if (!service) return nullptr;
  if (service->charset) return service->charset;
  const Fenced name(bytesOf(charsetName));
  RQStatus status = 0;
  // cppcheck-suppress returnDanglingLifetime; the service is not made of the status
  return service->lookUp(service, static_cast<const RQChar*>(name.data()), charsetName.size(), &status);
}

const char* const noCharset = "there is no service \"ZQD\"";

Finding charsetFound(const Subject& subject) {
  if (!subject.kernel->caseService) return notChecked(noCaseService);
  const RQCharsetService* charset = charsetOf(subject);
  if (!charset) return ok(noCharset);
  const std::string null = nullWord(charset->upperCase, 54);
  return null.empty() ? ok() : broken(null + " in the character-set service");
}

Finding charsetLength(const Subject& subject) {
  RQCharsetService* charset = charsetOf(subject);
  if (!charset) return notChecked(noCharset);
  for (std::size_t length = 0; length <= 8; ++length) {
    std::string text = "--------aabbccddeeff----";
    charset->upperCase(charset, text.data() + 8, length, 0);
    const std::string beyond = std::string("aabbccddeeff----").substr(length);
    if (!text.starts_with("--------") || !text.ends_with(beyond)) {
      return broken("with a length of " + decimal(length) + " it changes other bytes");
    }
  }
  return ok();
}

Finding charsetLetters(const Subject& subject) {
  RQCharsetService* charset = charsetOf(subject);
  if (!charset) return notChecked(noCharset);
  std::string letters = "abcdef09";
  const Transcoders all(subject);
  const std::u32string_view characters = U"abcdef09";
  if (convertAll(all.toSession(RQ_FORM_UTF32_NATIVE), bytesOf(characters)).bytes != letters) {
    return notChecked("the session encoding cannot write the notations");
  }
  charset->upperCase(charset, letters.data(), letters.size(), 0);
  return letters == "ABCDEF09" ? ok() : broken("\"abcdef09\" becomes \"" + letters + "\"");
}

}  // namespace

std::vector<Rule> serviceRules() {
  return {
      {"journal.status", "word 7 of the journal takes a status and an empty list", {"context.words"}, journal},
      {"case.words", "words 31 and 32 of the case service are set, and 149 or 153", {}, caseWords},
      {"case.any",
       "takes any 32-bit value",
       {"case.words"},
       anyCharacter,
       "a value that is no character makes it crash"},
      {"case.charset",
       "\"ZQD\" is in word 149 or found by its name of 3 characters",
       {"case.words"},
       charsetFound,
       "it reads beyond the name"},
      {"charset.length", "changes no byte beyond the length", {"case.charset"}, charsetLength},
      {"charset.letters", "upper-cases hexadecimal digits", {"case.charset", "transcoder.words"}, charsetLetters},
  };
}

}  // namespace rq::checker
