// The host as a whole: with the library at work.
#include <atomic>
#include <thread>

#include "checker/probes.h"

namespace rq::checker {
namespace {

/// The host and an object that the library made of it, null when it made none.
RQInterface* makeObject(const Subject& subject) {
  std::uint64_t major = 0;
  std::uint64_t minor = 0;
  subject.library.rqextver(subject.kernel, &major, &minor);
  return subject.library.rquni(subject.context, nullptr);
}

std::string run(RQCodec codec, RQInterface* object, const std::string& input) {
  std::string output(12 * input.size() + 64, '\0');
  std::uint64_t written = 0;
  const std::uint64_t capacity = output.size() - RQ_OUTPUT_SLACK_BYTES;
  const RQStatus status = codec(object, input.data(), input.size(), output.data(), capacity, &written);
  if (status != RQ_SUCCESS || written > capacity) return "status " + decimal(status);
  output.resize(written);
  return output;
}

std::string inSession(const Subject& subject, std::u32string_view text) {
  return convertAll(Transcoders(subject).toSession(RQ_FORM_UTF32_NATIVE), bytesOf(text)).bytes;
}

Finding object(const Subject& subject) {
  RQInterface* object = makeObject(subject);
  if (!object) {
    return subject.context->journal ? broken("the library makes no object")
                                    : notChecked("the context has no journal, so no object can be made");
  }
  const std::string reference = inSession(subject, U"x&#65;");
  const std::string characters = inSession(subject, U"xA");
  if (reference == "x&#65;" && run(object->plain.getNCR, object, reference) != characters) {
    return broken("\"x&#65;\" does not become \"xA\"");
  }
  object->destroy(object);
  return ok(reference == "x&#65;" ? "" : "made and ended; the session encoding cannot write the notations");
}

Finding threads(const Subject& subject) {
  if (!subject.threads) return notChecked("needs --threads: not every host lets several threads use one object");
  RQInterface* object = makeObject(subject);
  if (!object) return notChecked("the library makes no object");
  std::string longText;
  while (longText.size() < 2000) longText += "x&#65;&#x42; ";  // long enough for working buffers of the pool
  const auto work = [object, &longText] {
    std::string result = run(object->plain.getNCR, object, longText) + run(object->plain.putUParen, object, longText);
    return result + std::to_string(object->served.getUnicodeWidth(object, longText.data(), longText.size()));
  };
  const std::string alone = work();
  std::atomic<int> different = 0;
  std::vector<std::thread> all;
  all.reserve(8);
  for (int i = 0; i < 8; ++i) {
    all.emplace_back([&] {
      for (int round = 0; round < 200; ++round) different += work() == alone ? 0 : 1;
    });
  }
  for (std::thread& thread : all) thread.join();
  object->destroy(object);
  return different == 0
             ? ok()
             : broken(std::to_string(different.load()) + " of 1600 results differ from those of one thread");
}

}  // namespace

std::vector<Rule> objectRules() {
  const std::vector<std::string_view> all = {"pool.words", "transcoder.words"};
  return {
      {"object", "the library makes an object, decodes with it and ends it", all, object},
      {"threads", "several threads may use one object at once", {"object"}, threads},
  };
}

}  // namespace rq::checker
