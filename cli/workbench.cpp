#include "cli/workbench.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <climits>

#include "host/host_file.h"
#include "host/pieces.h"

namespace rq::cli {
namespace {

std::string executableFolder() {
  std::array<char, PATH_MAX> path;
  const ssize_t length = ::readlink("/proc/self/exe", path.data(), path.size());
  if (length <= 0) return ".";
  const std::string file(path.data(), static_cast<std::size_t>(length));
  return file.substr(0, file.rfind('/'));
}

/// The session encoding of somebody else's host must be the one that the tool goes by.
Done checkSession(const Job& job, const host::Encoding& encoding, std::int64_t identifier) {
  const auto number = static_cast<std::uint32_t>(identifier);
  if (number == encoding.identifier) return host::done();
  const auto isForm = [](std::uint32_t each) {
    return std::ranges::find(host::formEncodings, each) != host::formEncodings.end();
  };
  if (isForm(number)) {
    return Error{Error::Kind::usage, "the session of the host " + shownName(job.host) + " is in " +
                                         host::findEncoding(number)->name + ": name it with --session"};
  }
  if (job.session && !isForm(encoding.identifier)) return host::done();
  return Error{Error::Kind::usage, "the session encoding of the host " + shownName(job.host) + " has the number " +
                                       std::to_string(number) + ", which is its own: name it with --session"};
}

}  // namespace

Result<host::Library> openLibrary(const Job& job) {
  if (job.library) return host::Library::open(*job.library);
  const std::string file = "librquni.so.1";
  for (const char* place : {"/../lib/", "/../lib/x86_64-linux-gnu/", "/../", "/"}) {
    const std::string path = executableFolder() + place + file;
    if (::access(path.c_str(), R_OK) == 0) return host::Library::open(path);
  }
  return host::Library::open(file);
}

Workbench::Place::Place(host::Library loaded, const host::Encoding& session, const Job& job)
    : library(std::move(loaded)),
      encoding(session),
      codec(*host::codecOf(session.identifier)),
      asciiCompatible(host::isAsciiCompatible(codec)),
      flavour(job.flavour),
      ownHost(job.host.empty()),
      host(session.identifier) {}

Workbench::Workbench(std::shared_ptr<Place> place, host::Session session)
    : place_(std::move(place)),
      session_(std::move(session)),
      work_(object(),
            wide()                               ? object()->wide
            : place_->flavour == Flavour::served ? object()->served
                                                 : object()->plain,
            encoding(), wide(), place_->ownHost) {}

Result<const host::Encoding*> sessionEncoding(const Job& job) {
  const bool wide = job.flavour == Flavour::wide;
  auto encoding = host::findEncoding(job.session.value_or(wide ? "UTF-32LE" : "UTF-8"));
  if (!encoding) return Error{encoding.error().kind, encoding.error().text + "; rqtext encodings lists all"};
  if (wide && (*encoding)->identifier != RQ_ENCODING_UTF32_LITTLE) {
    return Error{Error::Kind::usage,
                 "flavour t takes session text in units of 4 bytes: its session must be UTF-32LE"};
  }
  if (host::codecOf((*encoding)->identifier) == nullptr) {
    return Error{Error::Kind::system, "cannot open the encoding " + (*encoding)->name};
  }
  return encoding;
}

Result<std::unique_ptr<Workbench>> Workbench::open(const Job& job) {
  const auto encoding = sessionEncoding(job);
  if (!encoding) return encoding.error();
  Result<host::Library> library = openLibrary(job);
  if (!library) return library.error();
  const auto place = std::make_shared<Place>(std::move(*library), **encoding, job);
  Result<host::Session> session =
      place->ownHost ? host::Session::open(place->library, place->host) : openNamedHost(*place, job);
  if (!session) return session.error();
  return std::unique_ptr<Workbench>(new Workbench(place, std::move(*session)));
}

Result<std::unique_ptr<Workbench>> Workbench::another() const {
  Result<host::Session> session = host::Session::open(place_->library, place_->host);
  if (!session) return session.error();
  return std::unique_ptr<Workbench>(new Workbench(place_, std::move(*session)));
}

Result<host::Session> Workbench::openNamedHost(const Place& place, const Job& job) {
  const auto failed = [&job](const Error& error) {
    return Error{error.kind, "cannot work with the host " + shownName(job.host) + ": " + error.text};
  };
  const Result<host::HostEntry> entry = host::loadHost(job.host);
  if (!entry) return failed(entry.error());
  const Result<host::HostTables> tables = host::enterHost(*entry);
  if (!tables) return failed(tables.error());
  Result<host::Session> session =
      host::Session::open(place.library, *tables->kernel, *tables->context, place.host.journal);
  if (!session) return failed(session.error());
  const Done fits = checkSession(job, place.encoding, session->object()->sessionEncoding);
  return fits ? std::move(session) : fits.error();
}

Result<std::unique_ptr<Workbench>> Workbench::openForCharacters(const Job& job) {
  Job wide = job;
  wide.session.reset();
  wide.flavour = Flavour::wide;
  return open(wide);
}

Result<std::unique_ptr<Workbench>> Workbench::openForNotations(const Job& job) {
  Result<std::unique_ptr<Workbench>> bench = open(job);
  if (!bench || (*bench)->wide() || host::carriesNotations((*bench)->codec())) return bench;
  return host::noNotations((*bench)->encoding());
}

Done Workbench::checkValid(const Text& text) const {
  std::byte all{};  // no early end: this way the compiler makes vector code of it
  for (const std::byte byte : text.bytes) all |= byte;
  if (all < std::byte{0x80} && place_->asciiCompatible) return host::done();
  if (host::readCharacters(codec(), text.bytes, [](std::span<const char32_t>) {})) return host::done();
  const auto problem = host::findProblem(codec(), codec(), text.bytes, text.start);
  return inFile(text.file, {Error::Kind::data, problem ? describe(*problem, encoding(), encoding())
                                                       : "not valid in " + encoding().name});
}

Bytes Workbench::inSession(RQChar character) const {
  RQTranscoder* const outbound = object()->transcoders[RQ_FORM_UTF32_NATIVE].toSession;
  std::uint64_t length = 0;
  outbound->convert(outbound, &character, sizeof character, character_.data(), character_.size(), &length, 0);
  return Bytes(character_).first(std::min<std::uint64_t>(length, character_.size()));
}

bool Workbench::carries(RQChar character) const {
  const Bytes bytes = inSession(character);
  RQTranscoder* const inbound = object()->transcoders[RQ_FORM_UTF32_NATIVE].fromSession;
  RQChar back = 0;
  std::uint64_t length = 0;
  inbound->convert(inbound, bytes.data(), bytes.size(), &back, sizeof back, &length, 0);
  return back == character;
}

}  // namespace rq::cli
