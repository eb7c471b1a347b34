// Calls a host's tables as the library does, and sees what they write.
#ifndef RQUNI_CHECKER_PROBES_H
#define RQUNI_CHECKER_PROBES_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "checker/rule.h"
#include "frame/interface.h"

namespace rq::checker {

/// A copy of bytes that ends at an inaccessible page: a read or write beyond the end crashes.
class Fenced {
 public:
  explicit Fenced(std::string_view content);
  ~Fenced();
  Fenced(const Fenced&) = delete;
  Fenced& operator=(const Fenced&) = delete;

  void* data() const { return end_ - size_; }
  /// From now on any access to the bytes crashes as well.
  void close();

 private:
  std::size_t mapped_, size_;
  char *base_, *end_;
};

/// The bytes of an object.
template <class T>
std::string_view bytesOf(const T& object) {
  return {reinterpret_cast<const char*>(&object), sizeof object};
}
template <class C>
std::string_view bytesOf(std::basic_string_view<C> text) {
  return {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(C)};
}

/// This process's memory in use, in bytes.
std::size_t residentBytes();
/// Growth that repeated work may leave: less than a sixteenth of what it used.
inline constexpr std::size_t tolerableGrowth = std::size_t{8} << 20;

inline std::string decimal(std::uint64_t number) {
  return std::to_string(number);
}
/// "word 3 is null", or an empty string.
template <class Function>
std::string nullWord(Function* word, unsigned position) {
  return word ? std::string() : "word " + std::to_string(position) + " is null";
}

/// A new pool as the library asks for one; null when refused.
RQPool* makePool(const Subject& subject);

/// How the option lookup answers the library's question. `value` is -1 and `bytes` 8 where nothing was stored.
struct OptionAnswer {
  RQStatus status;
  std::int64_t value;
  std::uint64_t bytes;
  bool beyond;  // something was written beyond the two
};
OptionAnswer askOption(const Subject& subject, const std::u32string& name);
/// The same with a fenced name.
OptionAnswer askOptionFenced(const Subject& subject, std::u32string_view name);
inline constexpr const char32_t* sessionOption = U"RQNLS.ZMX_SESSION_CEI";

struct QueryAnswer {
  RQStatus status;
  std::int32_t encoding;  // -1 where nothing was stored
  bool beyond;
};
QueryAnswer askSession(const Subject& subject);

/// The session encoding as the library finds it.
std::uint64_t sessionEncoding(const Subject& subject);

/// The fourteen transcoders of a session.
class Transcoders {
 public:
  explicit Transcoders(const Subject& subject);
  RQTranscoder* toSession(int form) const { return pairs_[static_cast<std::size_t>(form)].toSession; }
  RQTranscoder* fromSession(int form) const { return pairs_[static_cast<std::size_t>(form)].fromSession; }
  /// "from UTF-8 to the session encoding", for instance, of number 0 to 13.
  static std::string nameOf(std::size_t number);
  RQTranscoder* at(std::size_t number) const {
    const RQTranscoderPair& pair = pairs_[number / 2];
    return number % 2 == 0 ? pair.toSession : pair.fromSession;
  }
  static constexpr std::size_t count = std::size_t{2} * RQ_FORMS;

 private:
  std::array<RQTranscoderPair, RQ_FORMS> pairs_;
};

/// A conversion with plenty of room behind the capacity.
struct Converted {
  RQStatus status;
  std::uint64_t produced;  // as reported; `unset` where nothing was
  std::string bytes;       // at most the capacity
  bool beyond;             // something was written beyond the capacity
  static constexpr std::uint64_t unset = 0xA5A5A5A5A5A5A5A5;
};
Converted convert(RQTranscoder* transcoder, std::string_view input, std::uint64_t capacity);
/// With more capacity than any encoding can need.
Converted convertAll(RQTranscoder* transcoder, std::string_view input);

/// Text that the session encoding holds, in the session encoding and in characters.
struct Sample {
  std::u32string characters;
  std::string session;
};
/// Made of characters that survive the way to the session encoding and back; nothing when none does.
std::optional<Sample> sampleOf(const Transcoders& transcoders);
/// Characters in a form, by its number.
std::string inForm(int form, std::u32string_view characters);
/// And back, as UTF-32 of this machine; empty when the bytes are not valid.
std::string toUtf32(int form, std::string_view bytes);
/// The sample as the transcoder of this number takes it, and as it should give it.
std::string inputOf(const Sample& sample, std::size_t number);
std::string outputOf(const Sample& sample, std::size_t number);

inline constexpr const char* noSample = "the session encoding holds none of the characters tried";

}  // namespace rq::checker

#endif
