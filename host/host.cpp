#include "host/host.h"

#include <algorithm>
#include <cstdio>
#include <string>

namespace rq::host {
namespace {

/// The last status that the journal got after its first `seen` entries, in words for a message.
std::string reportedSince(std::size_t seen, const Journal& journal) {
  const std::vector<JournalEntry> entries = journal.entries();
  if (entries.size() <= seen || entries.back().slot != JournalEntry::Slot::statusToJnl) return "";
  char text[64];
  std::snprintf(text, sizeof text, "; it reported status 0x%08llX at level %llu",
                static_cast<unsigned long long>(entries.back().fixed[1]),
                static_cast<unsigned long long>(entries.back().fixed[0]));
  return text;
}

}  // namespace

Host::Host(std::uint32_t sessionEncoding)
    : nls(sessionEncoding), kernel(&caseService), context(sessionEncoding, &journal, &nls) {}

Result<Session> Session::open(const Library& library, Host& host) {
  return open(library, host.kernel, host.context, host.journal);
}

Result<Session> Session::open(const Library& library, Host& host, std::uint32_t encoding) {
  Context context(encoding, &host.journal, &host.nls);
  return open(library, host.kernel, context, host.journal);
}

Result<Session> Session::open(const Library& library, RQKernel& kernel, RQContext& context, const Journal& journal) {
  std::uint64_t major = 0;
  std::uint64_t minor = 0;
  library.rqextver(&kernel, &major, &minor);
  if (major != 9 || minor < 1) {
    return Error{Error::Kind::system, library.path() + " speaks version " + std::to_string(major) + "." +
                                          std::to_string(minor) + " of the extension interface, the host 9.1"};
  }
  const std::size_t entriesBefore = journal.entries().size();
  Session session(library.rquni(&context, nullptr));
  if (!session.object()) {
    return Error{Error::Kind::system, "the library made no interface object" + reportedSince(entriesBefore, journal)};
  }
  const bool complete = std::ranges::all_of(
      session->transcoders, [](const RQTranscoderPair& pair) { return pair.toSession && pair.fromSession; });
  if (!complete) return Error{Error::Kind::system, "the host could not make all transcoders of the session"};
  return session;
}

}  // namespace rq::host
