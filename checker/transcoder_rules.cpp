// Rules about transcoders.
#include <algorithm>

#include "checker/probes.h"
#include "host/encodings.h"

namespace rq::checker {
namespace {

Finding creation(const Subject& subject) {
  const Transcoders all(subject);
  for (std::size_t number = 0; number < Transcoders::count; ++number) {
    if (!all.at(number)) return broken("the transcoder " + Transcoders::nameOf(number) + " is missing");
  }
  return ok();
}

Finding words(const Subject& subject) {
  const Transcoders all(subject);
  for (std::size_t number = 0; number < Transcoders::count; ++number) {
    for (const std::string& null : {nullWord(all.at(number)->destroy, 2), nullWord(all.at(number)->convert, 4)}) {
      if (!null.empty()) return broken(null + " in the transcoder " + Transcoders::nameOf(number));
    }
  }
  return ok();
}

/// Texts that are short, cut, invalid or not there.
const std::vector<std::string>& oddInputs() {
  static const std::vector<std::string> inputs = {"",
                                                  "A",
                                                  "\xFF",
                                                  "\xE2\x82",
                                                  std::string("\xD8\0\0", 3),
                                                  std::string("\0\0\x11\0", 4),
                                                  "\xFF\xFF\xFF\x7F",
                                                  std::string(7, '\xC3')};
  return inputs;
}

/// Tries `look` on every transcoder; the first complaint breaks the rule.
template <class Look>
Finding eachTranscoder(const Subject& subject, const Look& look) {
  const Transcoders all(subject);
  const std::optional<Sample> sample = sampleOf(all);
  if (!sample) return notChecked(noSample);
  for (std::size_t number = 0; number < Transcoders::count; ++number) {
    const std::string complaint = look(all, *sample, number);
    if (!complaint.empty()) return broken("the transcoder " + Transcoders::nameOf(number) + " " + complaint);
  }
  return ok();
}

Finding length(const Subject& subject) {
  return eachTranscoder(subject, [](const Transcoders& all, const Sample& sample, std::size_t number) {
    const std::string input = inputOf(sample, number);
    for (const std::uint64_t capacity : {std::uint64_t{0}, std::uint64_t{1}, std::uint64_t{4096}}) {
      if (convert(all.at(number), input, capacity).produced == Converted::unset) {
        return "stores no length with a capacity of " + decimal(capacity) + " bytes";
      }
      for (const std::string& odd : oddInputs()) {
        if (convert(all.at(number), odd, capacity).produced == Converted::unset) {
          return "stores no length for " + decimal(odd.size()) + " bytes that are no text";
        }
      }
    }
    return std::string();
  });
}

Finding capacity(const Subject& subject) {
  return eachTranscoder(subject, [](const Transcoders& all, const Sample& sample, std::size_t number) {
    std::vector<std::string> inputs = oddInputs();
    inputs.push_back(inputOf(sample, number));
    for (const std::string& input : inputs) {
      for (std::uint64_t room = 0; room < 80; ++room) {
        const Converted result = convert(all.at(number), input, room);
        if (result.beyond) return "writes beyond a capacity of " + decimal(room) + " bytes";
        if (result.produced != Converted::unset && result.produced > room) {
          return "reports " + decimal(result.produced) + " bytes for a capacity of " + decimal(room);
        }
      }
    }
    return std::string();
  });
}

Finding input(const Subject& subject) {
  return eachTranscoder(subject, [](const Transcoders& all, const Sample& sample, std::size_t number) {
    std::vector<std::string> inputs = oddInputs();
    const std::string text = inputOf(sample, number);
    for (std::size_t length = 0; length <= text.size(); ++length) inputs.push_back(text.substr(0, length));
    for (const std::string& each : inputs) {
      const Fenced fenced(each);
      const auto* begin = static_cast<const char*>(fenced.data());
      const Converted inside = convertAll(all.at(number), {begin, each.size()});
      const Converted free = convertAll(all.at(number), each);
      if (inside.bytes != free.bytes)
        return "converts " + decimal(each.size()) + " bytes differently when other bytes follow";
    }
    return std::string();
  });
}

/// True when the bytes are the beginning of the sample, cut between two characters.
bool wholeCharacters(const Transcoders& all, const Sample& sample, std::size_t number, const std::string& bytes) {
  std::string characters = bytes;
  const int form = static_cast<int>(number / 2);
  if (number % 2 == 0) {
    const Converted back = convertAll(all.fromSession(RQ_FORM_UTF32_NATIVE), bytes);
    if (back.status != 0) return false;
    characters = back.bytes;
    return characters.size() % 4 == 0 && bytesOf(std::u32string_view(sample.characters)).starts_with(characters);
  }
  for (std::size_t count = 0; count <= sample.characters.size(); ++count) {
    if (inForm(form, sample.characters.substr(0, count)) == bytes) return true;
  }
  return false;
}

Finding whole(const Subject& subject) {
  return eachTranscoder(subject, [](const Transcoders& all, const Sample& sample, std::size_t number) {
    const std::string text = inputOf(sample, number);
    const std::size_t full = outputOf(sample, number).size();
    for (std::uint64_t room = 0; room < full; ++room) {
      const Converted cut = convert(all.at(number), text, room);
      if (!wholeCharacters(all, sample, number, cut.bytes)) {
        return "leaves part of a character in a capacity of " + decimal(room) + " bytes";
      }
    }
    return std::string();
  });
}

Finding status(const Subject& subject) {
  return eachTranscoder(subject, [](const Transcoders& all, const Sample& sample, std::size_t number) {
    const std::string text = inputOf(sample, number);
    const std::size_t full = outputOf(sample, number).size();
    if (convertAll(all.at(number), text).status != 0) return std::string("reports a failure where there is none");
    if (convert(all.at(number), text, full).status != 0)
      return std::string("reports a failure at an exactly full output");
    for (std::uint64_t room = 0; room < full; ++room) {
      if (convert(all.at(number), text, room).status == 0) {
        return "reports success where " + decimal(room) + " bytes cannot hold the text";
      }
    }
    const bool fromUtf8 = number == 2 * RQ_FORM_UTF8;
    if (fromUtf8 && convertAll(all.at(number), "A\xFF").status == 0) {
      return std::string("reports success for bytes that are no UTF-8");
    }
    if (number % 2 == 0 && !fromUtf8 && convertAll(all.at(number), text.substr(1)).status == 0) {
      return std::string("reports success for part of a character");
    }
    return std::string();
  });
}

Finding answer(const Subject& subject) {
  return eachTranscoder(subject, [](const Transcoders& all, const Sample& sample, std::size_t number) {
    const std::string text = inputOf(sample, number);
    const Converted first = convertAll(all.at(number), text);
    for (const std::string& odd : oddInputs()) {
      convertAll(all.at(number), odd);
      convert(all.at(number), text, 1);
      const Converted again = convertAll(all.at(number), text);
      if (again.bytes != first.bytes || again.status != first.status) {
        return std::string("answers the same input differently the second time");
      }
    }
    return std::string();
  });
}

Finding forms(const Subject& subject) {
  return eachTranscoder(subject, [](const Transcoders& all, const Sample& sample, std::size_t number) {
    const Converted result = convertAll(all.at(number), inputOf(sample, number));
    return result.bytes == outputOf(sample, number) ? std::string()
                                                    : std::string("gives other characters than UTF-32");
  });
}

/// A session may have the identifier of a form, and then it is that form to the library.
Finding identifiers(const Subject& subject) {
  const auto& forms = host::formEncodings;
  const auto* form = std::ranges::find(forms, sessionEncoding(subject));
  if (form == forms.end()) return ok();
  const std::optional<Sample> sample = sampleOf(Transcoders(subject));
  if (!sample) return notChecked(noSample);
  if (sample->session == inForm(static_cast<int>(form - forms.begin()), sample->characters)) return ok();
  return broken("the session has the identifier of " + std::string(host::findEncoding(*form)->name) +
                " and holds other bytes");
}

/// What reads back from nothing is 0, so a decoder would take nothing for U+0000.
Finding zero(const Subject& subject) {
  const Transcoders all(subject);
  const RQChar zero = 0;
  const Converted result = convertAll(all.toSession(RQ_FORM_UTF32_NATIVE), bytesOf(zero));
  return result.bytes.empty() ? broken("nothing is written for it: notations that name it vanish") : ok();
}

/// Bytes of all kinds: every byte, alone and before another one; surrogates and what lies about the last code point,
/// in both orders.
std::vector<std::string> strangeInputs() {
  std::vector<std::string> inputs;
  for (unsigned lead = 0; lead < 0x100; ++lead) {
    const auto byte = static_cast<char>(lead);
    for (const char trail : {' ', '\x80', '\xFF'}) inputs.push_back({byte, trail});
    inputs.emplace_back(1, byte);
  }
  for (const RQChar value : {0xD800U, 0xDBFFU, 0xDC00U, 0xDFFFU, 0x10FFFFU, 0x110000U, 0xFFFFFFFFU}) {
    inputs.emplace_back(bytesOf(value));
    inputs.emplace_back(inputs.back().rbegin(), inputs.back().rend());
  }
  return inputs;
}

Finding returns(const Subject& subject) {
  const Transcoders all(subject);
  const std::vector<std::string> inputs = strangeInputs();
  try {
    for (std::size_t number = 0; number < Transcoders::count; ++number) {
      for (const std::string& each : inputs) convertAll(all.at(number), each);
    }
  } catch (...) {
    return broken("it throws an exception, which would jump over the library");
  }
  return ok();
}

Finding destruction(const Subject& subject) {
  const Transcoders all(subject);
  const std::optional<Sample> sample = sampleOf(all);
  if (!sample) return notChecked(noSample);
  constexpr std::size_t last = Transcoders::count - 1;
  for (std::size_t number = 0; number < last; ++number) {
    all.at(number)->destroy(all.at(number));
    if (convertAll(all.at(last), inputOf(*sample, last)).bytes != outputOf(*sample, last)) {
      return broken("the transcoder " + Transcoders::nameOf(number) + " took another one with it");
    }
  }
  RQNlsServices* nls = subject.context->nls;
  const std::uint64_t session = sessionEncoding(subject);
  const std::size_t before = residentBytes();
  constexpr int rounds = 100'000;
  for (int i = 0; i < rounds; ++i) {
    RQTranscoder* one = nls->createTranscoder(nls, RQ_ENCODING_UTF8, session, 0, 0);
    if (!one)
      return broken("after " + decimal(static_cast<std::uint64_t>(i)) + " destroyed transcoders no new one is made");
    one->destroy(one);
  }
  const std::size_t after = residentBytes();
  if (after > before + tolerableGrowth / 4)
    return broken(decimal(rounds) + " destroyed transcoders are still in memory");
  return ok();
}

}  // namespace

std::vector<Rule> transcoderRules() {
  return {
      {"nls.createTranscoder",
       "the session has all fourteen transcoders",
       {"nls.words", "nls.querySession"},
       creation},
      {"transcoder.words", "words 2 and 4 of a transcoder are set", {"nls.createTranscoder"}, words},
      {"transcoder.length", "the length is always stored, also on failure", {"transcoder.words"}, length},
      {"transcoder.capacity",
       "nothing is written beyond the capacity, and no larger length is reported",
       {"transcoder.words"},
       capacity},
      {"transcoder.input",
       "nothing is read beyond the input",
       {"transcoder.words"},
       input,
       "it reads beyond the input"},
      {"transcoder.forms", "all forms give the same characters", {"transcoder.words"}, forms},
      {"transcoder.whole", "only whole characters are written", {"transcoder.capacity", "transcoder.forms"}, whole},
      {"transcoder.status", "status 0 means that all of the input is converted", {"transcoder.forms"}, status},
      {"transcoder.answer", "the answer depends on the input alone", {"transcoder.words"}, answer},
      {"transcoder.zero", "something is written for U+0000, itself or a substitute", {"transcoder.length"}, zero},
      {"transcoder.returns",
       "returns from every input, and reports what it cannot convert",
       {"transcoder.words"},
       returns,
       "an error must not leave the callback"},
      {"nls.identifiers",
       "a session with the identifier of a form holds that form",
       {"transcoder.forms"},
       identifiers},
      {"transcoder.destroy", "frees this transcoder and no other", {"transcoder.words"}, destruction},
  };
}

}  // namespace rq::checker
