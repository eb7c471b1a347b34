// Transcoders between any two encodings of the host.
#ifndef RQUNI_HOST_TRANSCODER_H
#define RQUNI_HOST_TRANSCODER_H

#include <cstdint>
#include <string>
#include <string_view>

#include "frame/host_tables.h"
#include "host/codec.h"
#include "host/guarded.h"

namespace rq::host {

/// The statuses that this host's transcoders report, one for each way to end.
inline constexpr RQStatus outputFullStatus = 0x80410001;
inline constexpr RQStatus truncatedStatus = 0x80410002;
inline constexpr RQStatus malformedStatus = 0x80410003;
inline constexpr RQStatus unmappableStatus = 0x80410004;
inline constexpr RQStatus unavailableStatus = 0x80410005;
RQStatus statusOf(Outcome outcome);
/// In words, for messages; an empty string when the status is none of these.
std::string_view describe(RQStatus status);
/// For statuses without words.
std::string hexadecimal(RQStatus status);

/// A conversion's end.
struct Conversion {
  std::size_t produced;
  Outcome outcome;
};

/// Converts as much of `input` as is right and fits: whole characters only, and with a stateful target including
/// what ends its text. Any number of threads at once.
Conversion convert(const Codec& source, const Codec& target, Bytes input, MutableBytes output);

/// The NLS services make it with new; its destroy slot deletes it. Holds no state: several threads may convert with
/// it at once.
class Transcoder final : public Guarded<RQTranscoder, "transcoder"> {
 public:
  Transcoder(const Codec& source, const Codec& target);

 private:
  static RQStatus destroySlot(RQTranscoder* transcoder) noexcept;
  static RQStatus convertSlot(RQTranscoder* transcoder, const void* input, std::uint64_t inputBytes, void* output,
                              std::uint64_t capacityBytes, std::uint64_t* producedBytes,
                              std::uint64_t flags) noexcept;

  const Codec& source_;
  const Codec& target_;
};

}  // namespace rq::host

#endif
