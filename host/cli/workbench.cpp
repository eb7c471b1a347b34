#include "host/cli/workbench.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstdio>

#include "host/transcoder.h"

namespace rq::cli {
namespace {

std::string executableFolder() {
  std::array<char, PATH_MAX> path;
  const ssize_t length = ::readlink("/proc/self/exe", path.data(), path.size());
  if (length <= 0) return ".";
  const std::string file(path.data(), static_cast<std::size_t>(length));
  return file.substr(0, file.rfind('/'));
}

std::string hexadecimal(RQStatus status) {
  std::array<char, 16> text;
  std::snprintf(text.data(), text.size(), "0x%08x", status);
  return text.data();
}

host::HostOptions hostOptions(const host::Encoding &encoding) {
  host::HostOptions options;
  options.session = static_cast<std::int32_t>(encoding.identifier);
  return options;
}

const Error notSupported = {Error::Kind::system, "not supported by this library"};

}  // namespace

Result<host::Library> openLibrary(const Options &options) {
  if (options.library) return host::Library::open(*options.library);
  const std::string file = "librquni.so.1";
  for (const char *place : {"/../lib/", "/../lib/x86_64-linux-gnu/", "/../", "/"}) {
    const std::string path = executableFolder() + place + file;
    if (::access(path.c_str(), R_OK) == 0) return host::Library::open(path);
  }
  return host::Library::open(file);
}

const host::Encoding &encodingOf(RQForm form) {
  constexpr std::array<std::uint32_t, RQ_FORMS> identifiers = {
      RQ_ENCODING_UTF8,         RQ_ENCODING_UTF16_LITTLE, RQ_ENCODING_UTF16_BIG,   RQ_ENCODING_UTF16_LITTLE,
      RQ_ENCODING_UTF32_LITTLE, RQ_ENCODING_UTF32_BIG,    RQ_ENCODING_UTF32_LITTLE};
  return *host::findEncoding(identifiers[form]);
}

RQForm formNamed(const std::string &name) {
  if (name == "utf16be") return RQ_FORM_UTF16_BIG;
  if (name == "utf16le") return RQ_FORM_UTF16_LITTLE;
  if (name == "utf32be") return RQ_FORM_UTF32_BIG;
  if (name == "utf32le") return RQ_FORM_UTF32_LITTLE;
  return RQ_FORM_UTF8;
}

Workbench::Workbench(host::Library library, const host::Encoding &encoding, const Options &options)
    : library_(std::move(library)),
      encoding_(&encoding),
      codec_(host::codecOf(encoding.identifier)),
      host_(hostOptions(encoding)),
      wide_(options.flavour == Flavour::wide) {}

Result<std::unique_ptr<Workbench>> Workbench::open(const Options &options) {
  const bool wide = options.flavour == Flavour::wide;
  const auto encoding = host::findEncoding(options.session.value_or(wide ? "UTF-32LE" : "UTF-8"));
  if (!encoding) return encoding.error();
  if (wide && (*encoding)->identifier != RQ_ENCODING_UTF32_LITTLE) {
    return Error{Error::Kind::usage,
                 "flavour t takes session text in units of 4 bytes: its session must be UTF-32LE"};
  }
  Result<host::Library> library = openLibrary(options);
  if (!library) return library.error();
  std::unique_ptr<Workbench> bench(new Workbench(std::move(*library), **encoding, options));
  if (bench->codec_ == nullptr) {
    return Error{Error::Kind::system, "cannot open the encoding " + (*encoding)->name};
  }
  Result<host::Session> session = host::Session::open(bench->library_, bench->host_);
  if (!session) return session.error();
  bench->session_.emplace(std::move(*session));
  const RQInterface *object = bench->object();
  bench->operations_ = wide ? &object->wide : options.flavour == Flavour::served ? &object->served : &object->plain;
  return bench;
}

Error Workbench::failure(RQStatus status, const Text &text, const host::Encoding &source,
                         const host::Encoding &target) const {
  if (status == RQ_UNSUPPORTED) return notSupported;
  if (status == RQ_NO_MEMORY) return {Error::Kind::system, aboutWhole(text, "not enough memory")};
  const host::Codec &from = *host::codecOf(source.identifier);
  const host::Codec &to = *host::codecOf(target.identifier);
  if (const auto problem = host::findProblem(from, to, text.bytes, text.start)) {
    return {Error::Kind::data, about(text, host::describe(*problem, source, target))};
  }
  if (status == host::outputFullStatus) {
    return {Error::Kind::data, aboutWhole(text, "the text does not fit into the field")};
  }
  const std::string_view meaning = host::describe(status);
  return {Error::Kind::system,
          aboutWhole(text, "the operation failed with status " + hexadecimal(status) + " at this text" +
                               (meaning.empty() ? "" : " (" + std::string(meaning) + ")"))};
}

Done Workbench::needWholeUnits(const Text &text) const {
  if (text.bytes.size() % unit() == 0) return host::done();
  return failure(host::truncatedStatus, text, *encoding_, *encoding_);
}

Done Workbench::needNotations() const {
  if (wide_ || host::carriesNotations(*codec_)) return host::done();
  return Error{Error::Kind::usage, "the notations are ASCII text, and in " + encoding_->name +
                                       " ASCII characters are not single bytes of their own"};
}

Result<Bytes> Workbench::fromForm(RQForm form, const Text &text) {
  const RQTransform transform = form == RQ_FORM_UTF8           ? operations_->getUTF8
                                : form == RQ_FORM_UTF16_BIG    ? operations_->getUTF16B
                                : form == RQ_FORM_UTF16_LITTLE ? operations_->getUTF16L
                                : form == RQ_FORM_UTF32_BIG    ? operations_->getUTF32B
                                                               : operations_->getUTF32L;
  for (std::uint64_t capacity = text.bytes.size() + 64;; capacity *= 2) {
    const MutableBytes room = output_.atLeast(capacity * unit() + RQ_OUTPUT_SLACK_BYTES);
    std::uint64_t written = 0;
    const RQStatus status =
        transform(object(), text.bytes.data(), text.bytes.size(), room.data(), capacity, &written);
    if (status == RQ_SUCCESS) return Bytes(room.first(written * unit()));
    if (status != host::outputFullStatus) return failure(status, text, encodingOf(form), *encoding_);
  }
}

Result<Bytes> Workbench::toForm(RQForm form, const Text &text, std::optional<std::uint64_t> padBytes) {
  if (Done whole = needWholeUnits(text); !whole) return whole.error();
  const RQPaddedTransform padded = form == RQ_FORM_UTF16_BIG      ? operations_->putUTF16B
                                   : form == RQ_FORM_UTF16_LITTLE ? operations_->putUTF16L
                                   : form == RQ_FORM_UTF32_BIG    ? operations_->putUTF32B
                                                                  : operations_->putUTF32L;
  const std::uint64_t units = text.bytes.size() / unit();
  for (std::uint64_t capacity = padBytes ? *padBytes / unit() : 2 * units + 64;; capacity *= 2) {
    const MutableBytes room = output_.atLeast(capacity * unit() + RQ_OUTPUT_SLACK_BYTES);
    std::uint64_t written = 0;  // of a wide operation too this counts bytes, but for padded fields
    const RQStatus status =
        form == RQ_FORM_UTF8
            ? operations_->putUTF8(object(), text.bytes.data(), units, room.data(), capacity, &written)
            : padded(object(), text.bytes.data(), units, room.data(), capacity, &written, padBytes ? 1 : 0);
    if (status == RQ_SUCCESS) return Bytes(room.first(padBytes ? written * unit() : written));
    if (status != host::outputFullStatus || padBytes) return failure(status, text, *encoding_, encodingOf(form));
  }
}

Result<Bytes> Workbench::decode(RQCodec decoder, const Text &text) {
  if (Done whole = needWholeUnits(text); !whole) return whole.error();
  const std::uint64_t units = text.bytes.size() / unit();
  // A decoder stops silently at a full output: only room to spare shows that it came to the end.
  for (std::uint64_t capacity = units + 64;; capacity *= 2) {
    const MutableBytes room = output_.atLeast(capacity * unit() + RQ_OUTPUT_SLACK_BYTES);
    std::uint64_t written = 0;
    const RQStatus status = decoder(object(), text.bytes.data(), units, room.data(), capacity, &written);
    if (status == RQ_SUCCESS && written < capacity) return Bytes(room.first(written * unit()));
    const bool tooSmall =
        status == RQ_SUCCESS || status == RQ_OUTPUT_TOO_SMALL || status == RQ_REPLACEMENT_DOES_NOT_FIT;
    if (!tooSmall || capacity > 64 * units + 4096) return failure(status, text, *encoding_, *encoding_);
  }
}

Result<std::uint64_t> Workbench::encodedBound(const Text &text) const {
  std::uint64_t characters = 0;
  std::uint64_t bound = 0;
  const bool valid = host::readCharacters(*codec_, text.bytes, [&](std::span<const char32_t> piece) {
    characters += piece.size();
    for (const char32_t c : piece) bound += c < 0x7F && c != U'<' && c != U'\\' ? 7 : 11;
  });
  if (!valid) return failure(host::malformedStatus, text, *encoding_, *encoding_);
  // The library's working buffer has room for one character per unit.
  if (characters > std::max<std::uint64_t>(text.bytes.size() / unit(), 256)) {
    return Error{Error::Kind::data,
                 aboutWhole(text, "the text has more characters than bytes, which the library cannot encode")};
  }
  return bound;
}

Result<Bytes> Workbench::encode(RQCodec encoder, const Text &text) {
  if (Done whole = needWholeUnits(text); !whole) return whole.error();
  // An encoder drops what it cannot read or place, partly without a sign: so check first, and give room for all.
  const Result<std::uint64_t> bound = encodedBound(text);
  if (!bound) return bound.error();
  const std::uint64_t capacity = *bound + 64;
  const MutableBytes room = output_.atLeast(capacity * unit() + RQ_OUTPUT_SLACK_BYTES);
  std::uint64_t written = 0;
  const RQStatus status =
      encoder(object(), text.bytes.data(), text.bytes.size() / unit(), room.data(), capacity, &written);
  if (status != RQ_SUCCESS) return failure(status, text, *encoding_, *encoding_);
  return Bytes(room.first(written * unit()));
}

Result<std::int64_t> Workbench::measure(RQMeasure slot, const Text &text) {
  if (Done whole = needWholeUnits(text); !whole) return whole.error();
  if (const Result<std::uint64_t> valid = encodedBound(text); !valid) return valid.error();
  const std::uint64_t units = text.bytes.size() / unit();
  const std::int64_t count = slot(object(), text.bytes.data(), units);
  if (count < 0) return failure(RQ_NO_MEMORY, text, *encoding_, *encoding_);
  // No text has more than two columns per unit: then it is the status of an operation that is not there.
  if (count == RQ_UNSUPPORTED && static_cast<std::uint64_t>(count) > 2 * units) return notSupported;
  return count;
}

bool Workbench::carries(RQChar character) const {
  const RQTranscoderPair &pair = object()->transcoders[RQ_FORM_UTF32_NATIVE];
  std::array<std::byte, 80> bytes;
  std::uint64_t length = 0;
  pair.toSession->convert(pair.toSession, &character, sizeof character, bytes.data(), bytes.size(), &length, 0);
  RQChar back = 0;
  std::uint64_t backLength = 0;
  pair.fromSession->convert(pair.fromSession, bytes.data(), length, &back, sizeof back, &backLength, 0);
  return back == character;
}

}  // namespace rq::cli
