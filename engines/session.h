// A session as the library sees it: context, NLS services, journal and transcoders over the conversions of an engine.
#ifndef RQUNI_ENGINES_SESSION_H
#define RQUNI_ENGINES_SESSION_H

#include "engines/callbacks.h"
#include "engines/conversion.h"

namespace rq::engines {

/// The session encoding's identifier. It is none of the forms' identifiers: those are small numbers, and an engine's
/// own numbers of encodings would be taken for them.
inline constexpr std::int32_t sessionIdentifier = 0x10000;

/// What a transcoder answers when it did not convert all. It leaves the library through the transforms.
inline constexpr RQStatus conversionFailed = 2;

class Session;

struct Transcoder {
  RQTranscoder table;
  Session* session;
};

/// UTF-8, UTF-16 and UTF-32, each of the two in big-endian and in little-endian order.
inline constexpr int forms = 5;

/// The callbacks that convert to and from a session encoding, form by form.
struct Conversions {
  using Callback = decltype(RQTranscoder::convert);
  Callback toSession[forms];
  Callback fromSession[forms];
};

/// Serves one thread at a time. It must not move once an object is made of it.
class Session {
 public:
  /// `encoding` is what the conversions are made for.
  Session(const Conversions& conversions, const void* encoding);
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  /// What objects are made of. Its transcoders are the session's own: those of one form are one, and to end them does
  /// nothing.
  RQContext* context() { return &context_; }

  /// An interface object with all its transcoders, or null when the host refused something. Registration must have
  /// happened.
  RQInterface* makeObject();

  /// A transcoder's callback over `convert`, which takes (what `encoding` points to, Input, Output) and returns
  /// Moved.
  template <class Encoding, Moved (*convert)(const Encoding&, Input, Output)>
  static RQStatus callback(RQTranscoder* transcoder, const void* input, std::uint64_t inputBytes, void* output,
                           std::uint64_t capacityBytes, std::uint64_t* producedBytes, std::uint64_t flags);

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

  void prepare(Transcoder& transcoder, Conversions::Callback convert);

  RQContext context_ = {};
  Services services_ = {};
  RQJournal journal_ = {};
  Transcoder toSession_[forms] = {}, fromSession_[forms] = {};
  const void* const encoding_;
};

template <class Encoding, Moved (*convert)(const Encoding&, Input, Output)>
RQStatus Session::callback(RQTranscoder* transcoder, const void* input, std::uint64_t inputBytes, void* output,
                           std::uint64_t capacityBytes, std::uint64_t* producedBytes, std::uint64_t) {
  Session* const session = reinterpret_cast<Transcoder*>(transcoder)->session;
  Moved moved{.failure = Failure::unreadable};
  if (!callbackFails()) {
    moved = convert(*static_cast<const Encoding*>(session->encoding_),
                    {static_cast<const std::uint8_t*>(input), inputBytes},
                    {static_cast<std::uint8_t*>(output), capacityBytes});
  }
  *producedBytes = moved.written;
  if (moved.failure == Failure::none) return RQ_SUCCESS;
  if (session->firstFailure.failure == Failure::none) session->firstFailure = moved;
  return conversionFailed;
}

/// The conversions of a session encoding, given the two templates over a form that convert its texts.
template <class Encoding, template <class Form> class Way>
struct ConversionsBy {
  template <class Form>
  static constexpr auto to = Session::callback<Encoding, Way<Form>::toSession>;
  template <class Form>
  static constexpr auto from = Session::callback<Encoding, Way<Form>::fromSession>;

  static constexpr Conversions table = {
      {to<Utf8>, to<Utf16<std::endian::big>>, to<Utf16<std::endian::little>>, to<Utf32<std::endian::big>>,
       to<Utf32<std::endian::little>>},
      {from<Utf8>, from<Utf16<std::endian::big>>, from<Utf16<std::endian::little>>, from<Utf32<std::endian::big>>,
       from<Utf32<std::endian::little>>},
  };
};

/// The way of a session encoding that reads and writes as a form does.
template <class Encoding>
struct ByCharacter {
  template <class Form>
  struct Way {
    static Moved toSession(const Encoding& encoding, Input in, Output out) {
      return convert(Form{}, WithoutZero<Encoding>{encoding}, in, out);
    }
    static Moved fromSession(const Encoding& encoding, Input in, Output out) {
      return convert(encoding, Form{}, in, out);
    }
  };
};
template <class Encoding>
inline constexpr const Conversions& conversionsOf =
    ConversionsBy<Encoding, ByCharacter<Encoding>::template Way>::table;

}  // namespace rq::engines

#endif
