// A session as the library sees it: context, NLS services, journal and transcoders over the conversions of an engine.
#ifndef RQUNI_ENGINES_SESSION_H
#define RQUNI_ENGINES_SESSION_H

#include "engines/conversion.h"

namespace rq::engines {

/// The session encoding's identifier. It is none of the forms' identifiers: those are small numbers, and an engine's
/// own numbers of encodings would be taken for them.
inline constexpr std::int32_t sessionIdentifier = 0x10000;

class Session;

struct Transcoder {
  RQTranscoder table;
  Session* session;
  Convert convert;
};

/// Serves one thread at a time. It must not move once an object is made of it.
class Session {
 public:
  /// `encoding` goes to each conversion as it is.
  Session(const Conversions& conversions, const void* encoding);
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  /// An interface object with all its transcoders, or null when the host refused something. Registration must have
  /// happened.
  RQInterface* makeObject();

  /// How far the first conversion came that failed. Encoders and measures take what a conversion gives and do not see
  /// that it failed: clear this before an operation and look at it afterwards.
  Moved firstFailure;

 private:
  struct Services {
    RQNlsServices table;
    Session* session;
  };

  static RQStatus lookUpOption(RQContext* context, const RQChar* name, std::uint64_t length, std::uint64_t three,
                               std::int64_t* value, std::uint64_t* valueBytes);
  static RQStatus querySession(RQNlsServices* services, std::int32_t* encoding);
  static RQTranscoder* createTranscoder(RQNlsServices* services, std::uint64_t source, std::uint64_t target,
                                        std::uint64_t zero1, std::uint64_t zero2);
  static RQStatus convert(RQTranscoder* transcoder, const void* input, std::uint64_t inputBytes, void* output,
                          std::uint64_t capacityBytes, std::uint64_t* producedBytes, std::uint64_t flags);

  RQTranscoder* createTranscoder(std::uint64_t source, std::uint64_t target);

  RQContext context_ = {};
  Services services_ = {};
  RQJournal journal_ = {};
  Transcoder transcoders_[2 * RQ_FORMS] = {};
  int made_ = 0;
  const Conversions& conversions_;
  const void* const encoding_;
};

}  // namespace rq::engines

#endif
