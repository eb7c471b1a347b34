#include "host/host.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <string>

namespace rq::host {
namespace {

std::optional<std::int64_t> sessionOption(const HostOptions& options) {
  if (!options.sessionByOption) return std::nullopt;
  return options.session;
}

std::string reported(const std::vector<JournalEntry>& entries) {
  if (entries.empty() || entries.back().slot != Service::statusToJnl) return "";
  char text[64];
  std::snprintf(text, sizeof text, "; it reported status 0x%08llX at level %llu",
                static_cast<unsigned long long>(entries.back().fixed[1]),
                static_cast<unsigned long long>(entries.back().fixed[0]));
  return text;
}

}  // namespace

Host::Host(const HostOptions& options)
    : journal(instruments),
      nls(instruments, options.session, options.queryAnswer),
      caseService(instruments, options.charsetAtHand),
      kernel(instruments, options.offersCaseService ? &caseService : nullptr, options.blockFill),
      context(instruments, sessionOption(options), options.offersJournal ? &journal : nullptr,
              options.offersNls ? &nls : nullptr) {}

Result<Session> Session::open(const Library& library, Host& host) {
  return openIn(library, host, host.context);
}

Result<Session> Session::open(const Library& library, Host& host, std::uint32_t encoding) {
  Context context(host.instruments, encoding, &host.journal, &host.nls);
  return openIn(library, host, context);
}

Result<Session> Session::openIn(const Library& library, Host& host, RQContext& context) {
  std::uint64_t major = 0;
  std::uint64_t minor = 0;
  library.rqextver(&host.kernel, &major, &minor);
  if (major != 9 || minor < 1) {
    return Error{Error::Kind::system, library.path() + " speaks version " + std::to_string(major) + "." +
                                          std::to_string(minor) + " of the extension interface, the host 9.1"};
  }
  const std::size_t entriesBefore = host.journal.entries().size();
  Session session(library.rquni(&context, nullptr));
  if (session.object() == nullptr) {
    std::vector<JournalEntry> entries = host.journal.entries();
    entries.erase(entries.begin(), entries.begin() + static_cast<std::ptrdiff_t>(entriesBefore));
    return Error{Error::Kind::system, "the library made no interface object" + reported(entries)};
  }
  const bool complete = std::ranges::all_of(session->transcoders, [](const RQTranscoderPair& pair) {
    return pair.toSession != nullptr && pair.fromSession != nullptr;
  });
  if (!complete) return Error{Error::Kind::system, "the host could not make all transcoders of the session"};
  return session;
}

}  // namespace rq::host
