// Hosts with one fault each: the rule that names the fault is broken, and no other.
#include <algorithm>
#include <cstdlib>
#include <ranges>
#include <regex>
#include <set>

#include "checker/checker.h"
#include "tests/host/support.h"
#include "tests/model/resident.h"

namespace rq::test {
namespace {

using checker::Finding;
using checker::Row;
using checker::Rule;
using checker::Verdict;

/// A fault of broken_host.c, whose name begins with the rule that it breaks, and part of what is seen.
struct Fault {
  std::string_view name, seen;
  bool endedBySanitizer = false;  // before the checker sees what the host does

  std::string_view rule() const { return name.substr(0, name.find(' ')); }
};

const Fault faults[] = {
    {"entry", "it returns status 5"},
    {"entry crash", "it crashed with signal 6, Aborted"},
    {"entry exit", "it ended the process with exit code 5"},
    {"entry null", "no kernel is stored"},
    {"entry context", "no context is stored"},
    {"kernel.words", "word 6 is null"},
    {"kernel.createPool", "two calls gave the same pool"},
    {"kernel.createPool second", "a pool is refused"},
    {"kernel.createPool kept", "it uses the parameter block after the call"},
    {"pool.words", "word 4 is null"},
    {"pool.words allocate", "word 3 is null"},
    {"pool.words destroy", "word 2 is null"},
    {"pool.alignment", "a block of 1 bytes lies 4 bytes beyond a multiple of 8", true},
    {"pool.blocks", "shares memory with another one"},
    {"pool.blocks first", "a block of 100 bytes shares memory with another one"},
    {"pool.blocks last", "a block of 100 bytes shares memory with another one"},
    {"pool.refusal", "a block of 18446744073709551615 bytes is granted"},
    {"pool.release", "128 MiB were released"},
    {"pool.destroy", "128 MiB were freed with their pools"},
    {"context.words", "word 27 is null"},
    {"context.words option", "word 14 is null"},
    {"context.name", "it reads beyond the name", true},
    {"context.name any", "an option named \"RQNLS.ZMX_SESSION_CE\" is found"},
    {"context.value", "it writes beyond the value"},
    {"context.value nothing", "it reports success and stores no value"},
    {"context.value length", "it stores 9 as the length of a value in 8 bytes"},
    {"nls.words", "word 78 is null"},
    {"nls.words create", "word 14 is null"},
    {"nls.querySession beyond", "it writes beyond the 4 bytes of the identifier"},
    {"nls.querySession before", "it writes beyond the 4 bytes of the identifier"},
    {"nls.querySession", "it returns 0x00000007"},
    {"nls.querySession nothing", "it reports success and stores no identifier"},
    {"nls.createTranscoder", "the transcoder from the session encoding to UTF-16BE is missing"},
    {"nls.createTranscoder first", "the transcoder from UTF-8 to the session encoding is missing"},
    {"transcoder.words", "word 2 is null in the transcoder from UTF-8 to the session encoding"},
    {"transcoder.words convert", "word 4 is null in the transcoder from the session encoding to UTF-32BE"},
    {"transcoder.length", "stores no length with a capacity of 0 bytes"},
    {"transcoder.capacity", "writes beyond a capacity of 0 bytes"},
    {"transcoder.capacity reported", "reports 1 bytes for a capacity of 0"},
    {"transcoder.input", "it reads beyond the input", true},
    {"transcoder.whole", "leaves part of a character"},
    {"transcoder.whole other",
     "from UTF-8 to the session encoding leaves part of a character in a capacity of 1 bytes"},
    {"transcoder.status", "reports success where 0 bytes cannot hold the text"},
    {"transcoder.status failure", "reports a failure where there is none"},
    {"transcoder.status full", "reports a failure at an exactly full output"},
    {"transcoder.status invalid", "reports success for bytes that are no UTF-8"},
    {"transcoder.answer", "answers the same input differently"},
    {"transcoder.answer status", "answers the same input differently"},
    {"transcoder.forms", "to UTF-16BE gives other characters"},
    {"transcoder.zero", "nothing is written for it"},
    {"transcoder.returns", "it crashed with signal 6, Aborted: an error must not leave the callback"},
    {"transcoder.destroy", "the transcoder from UTF-8 to the session encoding took another one with it"},
    {"transcoder.destroy leak", "100000 destroyed transcoders are still in memory"},
    {"transcoder.roundTrip", "U+00E0 becomes the bytes E1, and these U+00E1"},
    {"transcoder.roundTrip table", "U+00C0 becomes the bytes C1, and these U+00C1"},
    {"transcoder.roundTrip substitution", "U+0100 becomes the bytes 3F, and these U+003F"},
    {"transcoder.roundTrip half", "U+00F1 becomes the bytes 81, and these U+0081"},
    {"transcoder.roundTrip two", "U+00F1 becomes the bytes F1, and these no character"},
    {"transcoder.roundTrip abort", "Aborted: one character makes it crash"},
    {"transcoder.roundTrip one", "U+0001 becomes the bytes 41, and these U+0041"},
    {"transcoder.roundTrip D7FF", "U+D7FF becomes the bytes 41, and these U+0041"},
    {"transcoder.roundTrip F900", "U+F900 becomes the bytes 41, and these U+0041"},
    {"transcoder.roundTrip FFFD", "U+FFFD becomes the bytes 41, and these U+0041"},
    {"transcoder.roundTrip EFFFD", "U+EFFFD becomes the bytes 41, and these U+0041"},
    {"transcoder.roundTrip hang", "it did not return in time"},
    {"transcoder.bytes", "Aborted: some bytes make it crash"},
    {"transcoder.bytes private", "the bytes 80 become U+E000, and this the bytes 41, which do not"},
    {"transcoder.long", "converts a text of 1025 characters otherwise than a short one"},
    {"transcoder.long first",
     "the transcoder from UTF-8 to the session encoding converts a text of 4096 characters otherwise"},
    {"transcoder.long cut", "characters otherwise than a short one"},
    {"nls.identifiers", "the session has the identifier of UTF-8"},
    {"journal.status", "word 7 is null"},
    {"case.words", "word 31 is null"},
    {"case.words lower", "word 32 is null"},
    {"case.words look", "words 149 and 153 are both null"},
    {"case.any", "it crashed with signal 6, Aborted: a value that is no character makes it crash"},
    {"case.charset", "it reads beyond the name", true},
    {"case.charset null", "word 54 is null"},
    {"charset.length", "with a length of 0 it changes other bytes"},
    {"charset.letters", "\"abcdef09\" becomes \"abcdef09\""},
    {"object", "\"x&#65;\" does not become \"xA\""},
    {"threads", "of 1600 results differ", true},
};

class BrokenHost : public testing::TestWithParam<Fault> {
 protected:
  void SetUp() override {
    if (sanitized && GetParam().endedBySanitizer) GTEST_SKIP();
    ::setenv("RQ_BROKEN", std::string(GetParam().name).c_str(), 1);
  }
  void TearDown() override { ::unsetenv("RQ_BROKEN"); }

  bool threads() const { return GetParam().rule() == "threads"; }

  void expectFound(const Finding& finding) const {
    EXPECT_EQ(finding.verdict, Verdict::broken);
    if (threads() && finding.end == Finding::End::crashed) return;  // a race may also end the process
    EXPECT_NE(finding.seen.find(GetParam().seen), std::string::npos) << finding.seen;
  }

  const host::Library library = loadLibrary();
  const checker::Entry enter = checker::entryOf(RQ_BROKEN_HOST);
};

TEST_P(BrokenHost, IsSeenByTheRule) {
  const std::vector<Rule> rules = checker::allRules();
  const auto rule = std::ranges::find(rules, GetParam().rule(), &Rule::name);
  if (rule == rules.end()) GTEST_SKIP() << "the entry is no rule of the list";
  const auto patience = GetParam().name.ends_with("hang") ? std::chrono::milliseconds(200) : checker::longestPatience;
  expectFound(checker::tried(*rule, enter, library, threads(), patience));
}

/// A rule that is not checked says which other one keeps it from that, or that the library does not ask.
TEST_P(BrokenHost, BreaksNoOtherRule) {
  const std::regex reason("see [\\w.]+|the option is found: the library does not ask");
  const host::Done checked = checker::checkHost(enter, library, threads(), [&](const Row& row) -> host::Done {
    if (row.name == GetParam().rule()) {
      expectFound(row.finding);
    } else if (row.name != "threads") {
      EXPECT_NE(row.finding.verdict, Verdict::broken) << row.name << ": " << row.finding.seen;
      if (row.finding.verdict != Verdict::ok) {
        EXPECT_TRUE(std::regex_match(row.finding.seen, reason)) << row.name << ": " << row.finding.seen;
      }
    }
    return host::done();
  });
  EXPECT_TRUE(checked);
}

std::string testName(const testing::TestParamInfo<Fault>& fault) {
  std::string name(fault.param.name);
  std::ranges::replace_if(
      name, [](char c) { return c == '.' || c == ' '; }, '_');
  return name;
}
INSTANTIATE_TEST_SUITE_P(Faults, BrokenHost, testing::ValuesIn(faults), testName);

/// Without a fault; where private use and noncharacters each become the letter A; where U+0000 becomes a substitute;
/// where a substitute is written and the failure reported all the same.
TEST(SoundHosts, BreakNoRule) {
  const host::Library library = loadLibrary();
  for (const char* const how : {"", "private use", "zero substitute", "failing substitute"}) {
    ::setenv("RQ_BROKEN", how, 1);
    int kept = 0;
    const host::Done checked =
        checker::checkHost(checker::entryOf(RQ_BROKEN_HOST), library, false, [&](const Row& row) -> host::Done {
          kept += row.finding.verdict == Verdict::ok;
          EXPECT_TRUE(row.finding.verdict == Verdict::ok || row.name == "threads") << row.name << row.finding.seen;
          return host::done();
        });
    ::unsetenv("RQ_BROKEN");
    EXPECT_TRUE(checked);
    EXPECT_EQ(kept, checker::allRules().size());
  }
}

TEST(BrokenHosts, LeaveMemoryThatIsGivenInMebibytes) {
  const std::vector<Rule> rules = checker::allRules();
  for (const char* const name : {"pool.release", "pool.destroy"}) {
    ::setenv("RQ_BROKEN", name, 1);
    const Finding finding = checker::tried(*std::ranges::find(rules, name, &Rule::name),
                                           checker::entryOf(RQ_BROKEN_HOST), loadLibrary(), false);
    ::unsetenv("RQ_BROKEN");
    EXPECT_TRUE(std::regex_search(finding.seen, std::regex(", and 1\\d\\d MiB more are in use$"))) << finding.seen;
  }
}

TEST(BrokenHosts, EveryRuleHasOne) {
  std::set<std::string_view> rules = {"entry"}, broken;
  for (const Rule& rule : checker::allRules()) rules.insert(rule.name);
  for (const Fault& fault : faults) broken.insert(fault.rule());
  EXPECT_EQ(rules, broken);
}

}  // namespace
}  // namespace rq::test
