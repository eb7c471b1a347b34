// What the rules ask of a host: a sound one writes down each request.
#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <set>

#include "checker/checker.h"
#include "checker/probes.h"
#include "tests/host/support.h"

namespace rq::test {
namespace {

using checker::Finding;
using checker::Rule;
using checker::Subject;
using checker::Verdict;

/// A request of a pool: a block of so many bytes with these flags, or the release of one.
struct PoolRequest {
  enum { allocate, release, destroy } kind;
  std::uint64_t bytes = 0, flags = 0;
  friend bool operator==(const PoolRequest&, const PoolRequest&) = default;
};

/// The development host, which writes down what it is asked. One at a time.
class RecordingHost {
 public:
  RecordingHost() : host(identifierOf("KOI8-R")) {
    current = this;
    forward_.createPool = host.kernel.createPool;
    host.kernel.createPool = createPool;
    forward_.upper = host.caseService.upper;
    forward_.lower = host.caseService.lower;
    host.caseService.upper = upper;
    host.caseService.lower = lower;
    forward_.createTranscoder = host.nls.createTranscoder;
    host.nls.createTranscoder = createTranscoder;
    host.context.lookUpOption = lookUpOption;
    charset.upperCase = upperCase;
    host.caseService.charset = &charset;
  }
  ~RecordingHost() { current = nullptr; }

  Finding check(std::string_view name) {
    const std::vector<Rule> rules = checker::allRules();
    return std::ranges::find(rules, name, &Rule::name)->check({&host.kernel, &host.context, library, false});
  }

  host::Host host;
  const host::Library library = loadLibrary();
  RQCharsetService charset = {};
  std::vector<PoolRequest> pools;
  std::vector<RQChar> uppers, lowers;
  std::vector<std::u32string> options;
  std::vector<std::string> charsetTexts;
  /// What each transcoder, numbered as they were made, converted with which capacity.
  std::vector<std::vector<std::pair<std::string, std::uint64_t>>> conversions;

 private:
  static inline RecordingHost* current = nullptr;

  struct Forward {
    decltype(RQKernel::createPool) createPool;
    decltype(RQCaseService::upper) upper, lower;
    decltype(RQNlsServices::createTranscoder) createTranscoder;
    decltype(RQPool::allocate) allocate;
    decltype(RQPool::release) release;
    decltype(RQPool::destroy) destroy;
    decltype(RQTranscoder::convert) convert;
  };
  Forward forward_ = {};
  std::map<RQTranscoder*, std::size_t> numbers_;

  static RQPool* createPool(RQKernel* kernel, RQPoolParameters* parameters, RQJournal* journal, const char* name) {
    EXPECT_STREQ(name, "RQUNI Extension");
    RQPool* const pool = current->forward_.createPool(kernel, parameters, journal, name);
    current->forward_.allocate = pool->allocate;
    current->forward_.release = pool->release;
    current->forward_.destroy = pool->destroy;
    pool->allocate = allocate;
    pool->release = release;
    pool->destroy = destroy;
    return pool;
  }
  static void* allocate(RQPool* pool, std::uint64_t bytes, std::uint64_t flags) {
    current->pools.push_back({PoolRequest::allocate, bytes, flags});
    return current->forward_.allocate(pool, bytes, flags);
  }
  static void release(RQPool* pool, void* block) {
    current->pools.push_back({PoolRequest::release});
    current->forward_.release(pool, block);
  }
  static RQStatus destroy(RQPool* pool) {
    current->pools.push_back({PoolRequest::destroy});
    return current->forward_.destroy(pool);
  }
  static RQChar upper(RQCaseService* service, RQChar character, std::uint64_t one) {
    current->uppers.push_back(character);
    return current->forward_.upper(service, character, one);
  }
  static RQChar lower(RQCaseService* service, RQChar character, std::uint64_t one) {
    current->lowers.push_back(character);
    return current->forward_.lower(service, character, one);
  }
  static void upperCase(RQCharsetService*, void* text, std::uint64_t length, std::uint64_t) {
    current->charsetTexts.emplace_back(static_cast<const char*>(text), length);
  }
  static RQStatus lookUpOption(RQContext*, const RQChar* name, std::uint64_t length, std::uint64_t, std::int64_t*,
                               std::uint64_t* bytes) {
    EXPECT_EQ(*bytes, 8U);
    current->options.emplace_back(name, name + length);
    return 1;
  }
  static RQTranscoder* createTranscoder(RQNlsServices* nls, std::uint64_t source, std::uint64_t target,
                                        std::uint64_t zero1, std::uint64_t zero2) {
    RQTranscoder* const made = current->forward_.createTranscoder(nls, source, target, zero1, zero2);
    current->numbers_[made] = current->conversions.size();
    current->conversions.emplace_back();
    current->forward_.convert = made->convert;
    made->convert = convert;
    return made;
  }
  static RQStatus convert(RQTranscoder* transcoder, const void* input, std::uint64_t inputBytes, void* output,
                          std::uint64_t capacity, std::uint64_t* produced, std::uint64_t flags) {
    current->conversions[current->numbers_[transcoder]].emplace_back(
        std::string(static_cast<const char*>(input), inputBytes), capacity);
    return current->forward_.convert(transcoder, input, inputBytes, output, capacity, produced, flags);
  }
};

std::vector<PoolRequest> allocations(std::initializer_list<std::uint64_t> sizes, std::uint64_t flags = 0) {
  std::vector<PoolRequest> requests;
  for (const std::uint64_t bytes : sizes) requests.push_back({PoolRequest::allocate, bytes, flags});
  return requests;
}

TEST(RulesAskPools, ForAFirstBlockOfEach) {
  RecordingHost recorder;
  EXPECT_EQ(recorder.check("kernel.createPool").verdict, Verdict::ok);
  EXPECT_EQ(recorder.pools, allocations({8}));
}

TEST(RulesAskPools, ForEverySmallSizeAndSomeLarger) {
  RecordingHost recorder;
  EXPECT_EQ(recorder.check("pool.alignment").verdict, Verdict::ok);
  std::vector<PoolRequest> expected;
  for (std::uint64_t bytes = 1; bytes <= 64; ++bytes) expected.push_back({PoolRequest::allocate, bytes});
  for (std::uint64_t bytes = 185; bytes < 2048; bytes += 121) expected.push_back({PoolRequest::allocate, bytes});
  EXPECT_EQ(recorder.pools, expected);
}

TEST(RulesAskPools, ForTheObjectAndFourBlocksOfASize) {
  RecordingHost recorder;
  EXPECT_EQ(recorder.check("pool.blocks").verdict, Verdict::ok);
  std::vector<PoolRequest> expected = allocations({1032}, 0x80000000);
  std::vector<std::uint64_t> sizes;
  for (const std::uint64_t bytes : {1U, 7U, 8U, 9U, 100U, 1024U, 1025U, 4096U, 100'000U})
    sizes.insert(sizes.end(), 4, bytes);
  for (const std::uint64_t bytes : sizes) expected.push_back({PoolRequest::allocate, bytes});
  for (std::size_t i = 0; i < sizes.size(); i += 2) {
    expected.push_back({PoolRequest::release});
    expected.push_back({PoolRequest::allocate, sizes[i]});
  }
  EXPECT_EQ(recorder.pools, expected);
}

TEST(RulesAskPools, ForMoreThanThereIs) {
  RecordingHost recorder;
  EXPECT_EQ(recorder.check("pool.refusal").verdict, Verdict::ok);
  EXPECT_EQ(recorder.pools, allocations({UINT64_MAX, UINT64_MAX - 7, UINT64_MAX - 64, INT64_MAX, INT64_MAX / 2, 8}));
}

TEST(RulesAskPools, For128MebibytesPieceByPiece) {
  constexpr std::uint64_t mebibyte = 1 << 20;
  RecordingHost recorder;
  EXPECT_EQ(recorder.check("pool.release").verdict, Verdict::ok);
  ASSERT_EQ(recorder.pools.size(), 2 * 128);
  EXPECT_EQ(recorder.pools[254], PoolRequest({PoolRequest::allocate, mebibyte}));
  EXPECT_EQ(recorder.pools[255], PoolRequest({PoolRequest::release}));

  recorder.pools.clear();
  EXPECT_EQ(recorder.check("pool.destroy").verdict, Verdict::ok);
  const auto destroyed = std::ranges::count(recorder.pools, PoolRequest({PoolRequest::destroy}));
  EXPECT_EQ(destroyed, 128);
  EXPECT_EQ(std::ranges::count(recorder.pools, PoolRequest({PoolRequest::allocate, mebibyte / 2})), 2 * destroyed);
}

TEST(RulesAskCases, ForEveryCodePointAndManyOtherValues) {
  RecordingHost recorder;
  EXPECT_EQ(recorder.check("case.any").verdict, Verdict::ok);
  EXPECT_EQ(recorder.uppers, recorder.lowers);
  const std::vector<RQChar>& asked = recorder.uppers;
  ASSERT_GT(asked.size(), 0x120000U);
  for (RQChar character = 0; character < 0x120000; ++character) ASSERT_EQ(asked[character], character);
  // Beyond, one in each 64 Ki, and never at the same place of it; then the last ones of either sign.
  std::vector<RQChar> beyond;
  for (std::uint64_t value = 0x120000; value <= UINT32_MAX; value += 0x10000 - 15)
    beyond.push_back(static_cast<RQChar>(value));
  for (const RQChar last : {0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) beyond.push_back(last);
  EXPECT_EQ(std::vector<RQChar>(asked.begin() + 0x120000, asked.end()), beyond);
}

TEST(RulesAskCases, ForEveryLengthThatTheLibraryPasses) {
  RecordingHost recorder;
  EXPECT_EQ(recorder.check("charset.length").verdict, Verdict::ok);
  EXPECT_EQ(recorder.charsetTexts,
            (std::vector<std::string>{"", "a", "aa", "aab", "aabb", "aabbc", "aabbcc", "aabbccd", "aabbccdd"}));
}

TEST(RulesAskTheContext, ForNamesThatBeginAlikeOrAreAsLong) {
  RecordingHost recorder;
  EXPECT_EQ(recorder.check("context.name").verdict, Verdict::ok);
  EXPECT_EQ(recorder.options,
            (std::vector<std::u32string>{U"RQNLS.ZMX_SESSION_CEI", U"RQNLS.ZMX_SESSION_CE", U"RQNLS.ZMX_SESSION_CEIX",
                                         U"ZMX.NO_OPTION_OF_THAT", U""}));
}

TEST(RulesAskTheJournal, ToTakeALackOfMemory) {
  RecordingHost recorder;
  EXPECT_EQ(recorder.check("journal.status").verdict, Verdict::ok);
  const std::vector<host::JournalEntry> entries = recorder.host.journal.entries();
  ASSERT_EQ(entries.size(), 1U);
  EXPECT_EQ(entries[0].slot, host::JournalEntry::Slot::statusToJnl);
  EXPECT_EQ(entries[0].fixed[0], 4U);
  EXPECT_EQ(entries[0].fixed[1], RQ_NO_MEMORY);
}

TEST(Probes, NameTranscodersByTheirWay) {
  const char* const forms[] = {"UTF-8", "UTF-16LE", "UTF-16BE", "UTF-16LE", "UTF-32LE", "UTF-32BE", "UTF-32LE"};
  for (std::size_t form = 0; form < std::size(forms); ++form) {
    EXPECT_EQ(checker::Transcoders::nameOf(2 * form),
              std::string("from ") + forms[form] + " to the session encoding");
    EXPECT_EQ(checker::Transcoders::nameOf(2 * form + 1), std::string("from the session encoding to ") + forms[form]);
  }
}

/// Each transcoder is asked alike; what was asked first, of a rule that has no other way to know the host.
using Inputs = std::vector<std::pair<std::string, std::uint64_t>>;

class RulesAskTranscoders : public testing::Test {
 protected:
  /// The requests of the transcoder of a number, in the rule's own set of fourteen.
  Inputs asked(std::string_view rule, std::size_t number) {
    EXPECT_EQ(recorder.check(rule).verdict, Verdict::ok);
    EXPECT_EQ(recorder.conversions.size() % 14, 0);
    return recorder.conversions.at(number);
  }
  RecordingHost recorder;
};

std::set<std::string> textsOf(const Inputs& inputs) {
  std::set<std::string> texts;
  for (const auto& [text, capacity] : inputs) texts.insert(text);
  return texts;
}

const std::set<std::string> oddTexts = {"",
                                        "A",
                                        "\xFF",
                                        "\xE2\x82",
                                        {"\xD8\0\0", 3},
                                        {"\0\0\x11\0", 4},
                                        "\xFF\xFF\xFF\x7F",
                                        "\xC3\xC3\xC3\xC3\xC3\xC3\xC3"};

/// Both ways of UTF-8: what KOI8-R holds of the sample, as the rules make it.
const std::string inUtf8 = "Az 09\u0416;", inKoi8 = "Az 09\xF6;";

TEST_F(RulesAskTranscoders, ForLengthsOfOddTextsInAnyRoom) {
  const Inputs inputs = asked("transcoder.length", 0);
  std::set<std::string> expected = oddTexts;
  expected.insert(inUtf8);
  for (const std::uint64_t room : {0U, 1U, 4096U}) {
    std::set<std::string> texts;
    for (const auto& [text, capacity] : inputs)
      if (capacity == room) texts.insert(text);
    EXPECT_EQ(texts, expected) << room;
  }
}

TEST_F(RulesAskTranscoders, ForEveryCapacityBelow80) {
  std::map<std::string, std::vector<std::uint64_t>> capacities;
  for (const auto& [text, capacity] : asked("transcoder.capacity", 0)) capacities[text].push_back(capacity);
  std::vector<std::uint64_t> all(80);
  for (std::size_t i = 0; i < all.size(); ++i) all[i] = i;
  std::set<std::string> texts;
  for (const auto& [text, asked] : capacities) {
    EXPECT_EQ(asked, all);
    texts.insert(text);
  }
  std::set<std::string> expected = oddTexts;
  expected.insert(inUtf8);
  EXPECT_EQ(texts, expected);
}

TEST_F(RulesAskTranscoders, ForEveryBeginningOfAText) {
  std::set<std::string> expected = oddTexts;
  for (std::size_t length = 0; length <= inUtf8.size(); ++length) expected.insert(inUtf8.substr(0, length));
  EXPECT_EQ(textsOf(asked("transcoder.input", 0)), expected);
}

TEST_F(RulesAskTranscoders, ForEveryRoomThatIsTooShort) {
  for (const std::string_view rule : {"transcoder.whole", "transcoder.status"}) {
    std::set<std::uint64_t> rooms;
    for (const auto& [text, capacity] : asked(rule, 0))
      if (text == inUtf8 && capacity < inKoi8.size()) rooms.insert(capacity);
    EXPECT_EQ(rooms, (std::set<std::uint64_t>{0, 1, 2, 3, 4, 5, 6})) << rule;
    recorder.conversions.clear();
  }
}

TEST_F(RulesAskTranscoders, ForStrangeBytes) {
  std::set<std::string> expected;
  for (int lead = 0; lead < 256; ++lead) {
    const auto byte = static_cast<char>(lead);
    expected.insert({byte});
    for (const char trail : {' ', '\x80', '\xFF'}) expected.insert({byte, trail});
  }
  for (const std::string_view value : {"\0\0\xD8\0", "\0\0\xDB\xFF", "\0\0\xDC\0", "\0\0\xDF\xFF", "\0\x10\xFF\xFF",
                                       "\0\x11\0\0", "\xFF\xFF\xFF\xFF"}) {
    const std::string big(value.data(), 4);
    expected.insert(big);
    expected.insert({big.rbegin(), big.rend()});
  }
  for (std::size_t number = 0; number < 14; ++number) {
    recorder.conversions.clear();
    EXPECT_EQ(textsOf(asked("transcoder.returns", number)), expected) << number;
  }
}

TEST_F(RulesAskTranscoders, ForEveryCharacter) {
  const Inputs inputs = asked("transcoder.roundTrip", 2 * RQ_FORM_UTF32_NATIVE);
  std::size_t at = 0;
  for (char32_t character = 1; character <= 0x10FFFF; ++character) {
    if (character == 0xD800) character = 0xE000;
    char32_t asked = 0;
    ASSERT_LT(at, inputs.size());
    std::memcpy(&asked, inputs[at++].first.data(), sizeof asked);
    ASSERT_EQ(asked, character);
  }
  EXPECT_EQ(at, inputs.size());
}

TEST_F(RulesAskTranscoders, ForEveryOneAndTwoBytes) {
  const Inputs inputs = asked("transcoder.bytes", 2 * RQ_FORM_UTF32_NATIVE + 1);
  const std::set<std::string> texts = textsOf(inputs);
  EXPECT_EQ(texts.size(), 256U + 65536U);
  EXPECT_EQ(std::ranges::count_if(texts, [](const std::string& text) { return text.size() == 1; }), 256);
}

}  // namespace
}  // namespace rq::test
