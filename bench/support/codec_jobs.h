// The jobs of the codecs: operations, texts, and the peers that do the same. rq_bench and rq_against time them.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "bench/support/texts.h"
#include "frame/rquni.h"

namespace rq::bench {

struct Flavour {
  const char* name;
  const char* prefix;  // of its functions
  RQOperations RQInterface::*operations;
  std::uint32_t session;
  std::size_t unitBytes;
};
inline constexpr Flavour plain = {"plain", "ul", &RQInterface::plain, RQ_ENCODING_UTF8, 1};
inline constexpr Flavour served = {"served", "S_ul", &RQInterface::served, RQ_ENCODING_UTF8, 1};
inline constexpr Flavour wide = {"wide", "T_ul", &RQInterface::wide, RQ_ENCODING_UTF32_LITTLE, 4};

/// A text, what the operation must make of it, and its characters that the goals count.
struct Job {
  std::string name;
  std::string input;
  std::string output;
  std::size_t characters = 0;
};

/// Another way to do the job: returns the bytes that it wrote to `out`.
using Peer = std::size_t (*)(std::string_view text, char* out);
using Peers = std::vector<std::pair<const char*, Peer>>;

/// A notation with its two codecs.
struct Codec {
  const char* name;
  RQCodec RQOperations::*decode;
  RQCodec RQOperations::*encode;
  Notation notation;
  bool escapesAll;   // the encoder escapes ASCII too
  const char* nine;  // 9 bytes, one notation
  const char* nineDecoded;
  std::string_view endless;      // begins a notation that never ends
  std::vector<const char*> odd;  // notations of a rare shape
  Peers decoders, encoders;
};
extern const std::vector<Codec> codecs;

/// The sizes of a curve. Goals speak of some of them.
struct Size {
  const char* name;
  std::size_t bytes;
};
extern const std::vector<Size> curve;

/// What a decoder reads and an encoder writes for a text.
Job decoding(const std::string& name, const std::u32string& text, Notation notation);
Job encoding(const std::string& name, const std::u32string& text, const Codec& codec);

/// The jobs of plain bytes: the curve of plain and dense text; prose, sparse and mixed text of 1 MiB; short ones.
std::vector<Job> decodingJobs(const Codec& codec);
std::vector<Job> encodingJobs(const Codec& codec);

/// The same job in units of 4 bytes, of text that is UTF-8.
Job widened(const Job& job);

/// Where all calls and peers write to. Has room for every job.
char* output();

/// A call of a codec on a job's text, which must outlive it. What a host knows beforehand is worked out here: a
/// division takes a tenth of the shortest calls.
class CodecCall {
 public:
  CodecCall(RQCodec function, RQInterface* object, const Job& job, std::size_t unitBytes);

  /// The status and the bytes written.
  std::pair<RQStatus, std::size_t> operator()() const {
    std::uint64_t written = 0;
    const RQStatus status = function_(object_, input_, units_, output_, capacity_, &written);
    return {status, written * unitBytes_};
  }

 private:
  RQCodec function_;
  RQInterface* object_;
  const void* input_;
  std::uint64_t units_;
  void* output_;
  std::uint64_t capacity_;
  std::size_t unitBytes_;
};

}  // namespace rq::bench
