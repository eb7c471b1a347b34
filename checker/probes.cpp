#include "checker/probes.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <new>
#include <vector>

#include "host/encodings.h"
#include "host/text.h"

namespace rq::checker {
namespace {

constexpr char untouched = '\x5A';
constexpr std::size_t margin = 4096;

const std::size_t pageBytes = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));

/// A value between two others, to see whether they are hit.
template <class T>
struct Between {
  std::uint64_t before = 0x5A5A5A5A5A5A5A5A;
  T value;
  std::uint64_t after = 0x5A5A5A5A5A5A5A5A;
  explicit Between(T start) : value(start) {}
  bool hit() const { return before != 0x5A5A5A5A5A5A5A5A || after != 0x5A5A5A5A5A5A5A5A; }
};

OptionAnswer lookUp(const Subject& subject, const void* name, std::size_t length) {
  Between<std::int64_t> value(-1);
  Between<std::uint64_t> bytes(8);
  const RQStatus status = subject.context->lookUpOption(subject.context, static_cast<const RQChar*>(name), length, 3,
                                                        &value.value, &bytes.value);
  return {status, value.value, bytes.value, value.hit() || bytes.hit()};
}

const host::Codec& nativeUtf32() {
  return *host::codecOf(RQ_ENCODING_UTF32_LITTLE);
}

const host::Codec& codecOf(int form) {
  return *host::codecOf(host::formEncodings[static_cast<std::size_t>(form)]);
}

}  // namespace

Fenced::Fenced(std::string_view content)
    : mapped_((content.size() + pageBytes - 1) / pageBytes * pageBytes + pageBytes), size_(content.size()) {
  void* memory = ::mmap(nullptr, mapped_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) throw std::bad_alloc();
  base_ = static_cast<char*>(memory);
  end_ = base_ + mapped_ - pageBytes;
  ::mprotect(end_, pageBytes, PROT_NONE);
  content.copy(end_ - size_, size_);
}

Fenced::~Fenced() {
  ::munmap(base_, mapped_);
}

void Fenced::close() {
  ::mprotect(base_, mapped_, PROT_NONE);
}

std::size_t residentBytes() {
  std::size_t total = 0;
  std::size_t resident = 0;
  std::ifstream("/proc/self/statm") >> total >> resident;
  return resident * pageBytes;
}

RQPool* makePool(const Subject& subject) {
  // What the host gets for the call only is gone afterwards.
  const RQPoolParameters zeros{};
  Fenced parameters(bytesOf(zeros));
  constexpr char name[] = "RQUNI Extension";
  const Fenced description(bytesOf(name));
  RQPool* pool = subject.kernel->createPool(subject.kernel, static_cast<RQPoolParameters*>(parameters.data()),
                                            subject.context->journal, static_cast<const char*>(description.data()));
  parameters.close();
  return pool;
}

OptionAnswer askOption(const Subject& subject, const std::u32string& name) {
  return lookUp(subject, name.data(), name.size());
}

OptionAnswer askOptionFenced(const Subject& subject, std::u32string_view name) {
  const Fenced text(bytesOf(name));
  return lookUp(subject, text.data(), name.size());
}

QueryAnswer askSession(const Subject& subject) {
  RQNlsServices* nls = subject.context->nls;
  struct {
    std::uint32_t before = 0x5A5A5A5A;
    std::int32_t encoding = -1;
    std::uint32_t after = 0x5A5A5A5A;
  } answer;
  const RQStatus status = nls->querySession(nls, &answer.encoding);
  return {status, answer.encoding, answer.before != 0x5A5A5A5A || answer.after != 0x5A5A5A5A};
}

std::uint64_t sessionEncoding(const Subject& subject) {
  const OptionAnswer option = askOption(subject, sessionOption);
  return static_cast<std::uint32_t>(option.status == 0 ? option.value : askSession(subject).encoding);
}

Transcoders::Transcoders(const Subject& subject) {
  RQNlsServices* nls = subject.context->nls;
  const std::uint64_t session = sessionEncoding(subject);
  for (std::size_t form = 0; form < pairs_.size(); ++form) {
    pairs_[form].toSession = nls->createTranscoder(nls, host::formEncodings[form], session, 0, 0);
    pairs_[form].fromSession = nls->createTranscoder(nls, session, host::formEncodings[form], 0, 0);
  }
}

std::string Transcoders::nameOf(std::size_t number) {
  const std::string form = host::findEncoding(host::formEncodings[number / 2])->name;
  return number % 2 == 0 ? "from " + form + " to the session encoding" : "from the session encoding to " + form;
}

Converted convert(RQTranscoder* transcoder, std::string_view input, std::uint64_t capacity) {
  std::vector<char> output(capacity + margin, untouched);
  std::uint64_t produced = Converted::unset;
  const RQStatus status =
      transcoder->convert(transcoder, input.data(), input.size(), output.data(), capacity, &produced, 0);
  const bool beyond = std::any_of(output.begin() + static_cast<std::ptrdiff_t>(capacity), output.end(),
                                  [](char c) { return c != untouched; });
  const std::uint64_t reported = produced == Converted::unset ? 0 : produced;
  return {status, produced, {output.data(), std::min(reported, capacity)}, beyond};
}

Converted convertAll(RQTranscoder* transcoder, std::string_view input) {
  return convert(transcoder, input, 16 * input.size() + 256);
}

std::string inForm(int form, std::u32string_view characters) {
  const std::string_view bytes = bytesOf(characters);
  return host::convertAll(nativeUtf32(), codecOf(form), std::as_bytes(std::span(bytes))).value_or("");
}

std::string toUtf32(int form, std::string_view bytes) {
  return host::convertAll(codecOf(form), nativeUtf32(), std::as_bytes(std::span(bytes))).value_or("");
}

std::optional<Sample> sampleOf(const Transcoders& transcoders) {
  Sample sample;
  for (const char32_t character : std::u32string_view(U"Az 09é\u0416\u03BB\u65E5\uAC00\U0001F600;")) {
    const std::string_view bytes = bytesOf(character);
    const Converted there = convertAll(transcoders.toSession(RQ_FORM_UTF32_NATIVE), bytes);
    if (there.status != 0) continue;
    const Converted back = convertAll(transcoders.fromSession(RQ_FORM_UTF32_NATIVE), there.bytes);
    if (back.status == 0 && back.bytes == bytes) sample.characters += character;
  }
  if (sample.characters.empty()) return std::nullopt;
  sample.session =
      convertAll(transcoders.toSession(RQ_FORM_UTF32_NATIVE), bytesOf(std::u32string_view(sample.characters))).bytes;
  return sample;
}

std::string inputOf(const Sample& sample, std::size_t number) {
  return number % 2 == 0 ? inForm(static_cast<int>(number / 2), sample.characters) : sample.session;
}

std::string outputOf(const Sample& sample, std::size_t number) {
  return number % 2 == 0 ? sample.session : inForm(static_cast<int>(number / 2), sample.characters);
}

}  // namespace rq::checker
