#include "cli/workbench.h"

#include <unistd.h>

#include <array>
#include <climits>

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

Workbench::Workbench(host::Library library, const host::Encoding& encoding, const Job& job)
    : library_(std::move(library)),
      encoding_(&encoding),
      codec_(host::codecOf(encoding.identifier)),
      asciiCompatible_(host::isAsciiCompatible(*codec_)),
      host_(encoding.identifier),
      wide_(job.flavour == Flavour::wide) {}

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
  const bool wide = job.flavour == Flavour::wide;
  const auto encoding = sessionEncoding(job);
  if (!encoding) return encoding.error();
  Result<host::Library> library = openLibrary(job);
  if (!library) return library.error();
  std::unique_ptr<Workbench> bench(new Workbench(std::move(*library), **encoding, job));
  Result<host::Session> session = host::Session::open(bench->library_, bench->host_);
  if (!session) return session.error();
  bench->session_.emplace(std::move(*session));
  RQInterface* object = bench->object();
  const RQOperations& operations = wide                             ? object->wide
                                   : job.flavour == Flavour::served ? object->served
                                                                    : object->plain;
  bench->work_.emplace(object, operations, **encoding, wide);
  return bench;
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
  if (all < std::byte{0x80} && asciiCompatible_) return host::done();
  if (host::readCharacters(*codec_, text.bytes, [](std::span<const char32_t>) {})) return host::done();
  const auto problem = host::findProblem(*codec_, *codec_, text.bytes, text.start);
  return inFile(text.file, {Error::Kind::data, problem ? describe(*problem, *encoding_, *encoding_)
                                                       : "not valid in " + encoding_->name});
}

bool Workbench::carries(RQChar character) const {
  const RQTranscoderPair& pair = object()->transcoders[RQ_FORM_UTF32_NATIVE];
  std::array<std::byte, 80> bytes;
  std::uint64_t length = 0;
  pair.toSession->convert(pair.toSession, &character, sizeof character, bytes.data(), bytes.size(), &length, 0);
  RQChar back = 0;
  std::uint64_t backLength = 0;
  pair.fromSession->convert(pair.fromSession, bytes.data(), length, &back, sizeof back, &backLength, 0);
  return back == character;
}

}  // namespace rq::cli
