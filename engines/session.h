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

  /// A transcoder's callback. `Way` has two functions that take (what `encoding` points to, Input, Output): convert()
  /// returns Moved; convertOne() is tried first and returns the bytes of a text of one character, or 0.
  template <class Encoding, class Way>
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

  template <class Encoding, class Way>
  [[gnu::noinline]] RQStatus convertText(Input in, Output out, std::uint64_t* producedBytes);
  RQStatus answer(const Moved& moved, std::uint64_t* producedBytes);

  RQContext context_ = {};
  Services services_ = {};
  RQJournal journal_ = {};
  Transcoder toSession_[forms] = {}, fromSession_[forms] = {};
  const void* const encoding_;
};

/// A decoder asks for one character at a time. That needs no stack frame, which would take as long as the conversion.
template <class Encoding, class Way>
RQStatus Session::callback(RQTranscoder* transcoder, const void* input, std::uint64_t inputBytes, void* output,
                           std::uint64_t capacityBytes, std::uint64_t* producedBytes, std::uint64_t) {
  Session* const session = reinterpret_cast<Transcoder*>(transcoder)->session;
  if (callbackFails()) return session->answer({.failure = Failure::unreadable}, producedBytes);
  const Input in = {static_cast<const std::uint8_t*>(input), inputBytes};
  const Output out = {static_cast<std::uint8_t*>(output), capacityBytes};
  const std::uint64_t one = Way::convertOne(*static_cast<const Encoding*>(session->encoding_), in, out);
  if (one == 0) return session->convertText<Encoding, Way>(in, out, producedBytes);
  *producedBytes = one;
  return RQ_SUCCESS;
}

template <class Encoding, class Way>
RQStatus Session::convertText(Input in, Output out, std::uint64_t* producedBytes) {
  return answer(Way::convert(*static_cast<const Encoding*>(encoding_), in, out), producedBytes);
}

/// The conversions of a session encoding, given the two templates over a form that convert its texts.
template <class Encoding, template <class Form> class ToSession, template <class Form> class FromSession>
struct ConversionsBy {
  template <class Form>
  static constexpr auto to = Session::callback<Encoding, ToSession<Form>>;
  template <class Form>
  static constexpr auto from = Session::callback<Encoding, FromSession<Form>>;

  static constexpr Conversions table = {
      {to<Utf8>, to<Utf16<std::endian::big>>, to<Utf16<std::endian::little>>, to<Utf32<std::endian::big>>,
       to<Utf32<std::endian::little>>},
      {from<Utf8>, from<Utf16<std::endian::big>>, from<Utf16<std::endian::little>>, from<Utf32<std::endian::big>>,
       from<Utf32<std::endian::little>>},
  };
};

/// The ways to and from a session encoding that reads and writes as a form does.
template <class Encoding>
struct ByCharacter {
  template <class Form>
  struct ToSession {
    static Moved convert(const Encoding& encoding, Input in, Output out) {
      return engines::convert(Form{}, WithoutZero<Encoding>{encoding}, in, out);
    }
    static std::uint64_t convertOne(const Encoding& encoding, Input in, Output out) {
      return engines::convertOne(Form{}, WithoutZero<Encoding>{encoding}, in, out);
    }
  };
  template <class Form>
  struct FromSession {
    static Moved convert(const Encoding& encoding, Input in, Output out) {
      return engines::convert(encoding, Form{}, in, out);
    }
    static std::uint64_t convertOne(const Encoding& encoding, Input in, Output out) {
      return engines::convertOne(encoding, Form{}, in, out);
    }
  };
};
template <class Encoding>
inline constexpr const Conversions& conversionsOf = ConversionsBy<Encoding, ByCharacter<Encoding>::template ToSession,
                                                                  ByCharacter<Encoding>::template FromSession>::table;

}  // namespace rq::engines

#endif
