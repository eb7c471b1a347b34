// The checker's child processes. What it finds in hosts is tested through the tool.
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <thread>

#include "checker/checker.h"
#include "checker/sandbox.h"
#include "tests/host/support.h"

namespace rq::test {
namespace {

using checker::apart;
using checker::Finding;
using checker::Verdict;

TEST(SandboxTest, BringsFindingsBack) {
  for (const Finding& finding :
       {checker::ok(), checker::ok("seen"), checker::broken("it is"), checker::notChecked("for a reason")}) {
    const Finding found = apart([&] { return finding; });
    EXPECT_EQ(found.verdict, finding.verdict);
    EXPECT_EQ(found.seen, finding.seen);
  }
  EXPECT_EQ(apart([] { return checker::broken(std::string(100'000, 'x')); }).seen.substr(0, 100),
            std::string(100, 'x'));
}

TEST(SandboxTest, SurvivesWhateverEndsTheChild) {
  const Finding crash = apart([]() -> Finding { std::abort(); });
  EXPECT_EQ(crash.verdict, Verdict::broken);
  EXPECT_EQ(crash.seen, "it crashed with signal 6, Aborted");
  const Finding exit = apart([]() -> Finding { std::_Exit(7); });
  EXPECT_EQ(exit.verdict, Verdict::broken);
  EXPECT_EQ(exit.seen, "it ended the process with exit code 7");
  const Finding thrown = apart([]() -> Finding { throw std::runtime_error("a reason"); });
  EXPECT_EQ(thrown.verdict, Verdict::broken);
  EXPECT_EQ(thrown.seen, "it threw an exception: a reason");
}

TEST(SandboxTest, LeavesNoDescriptorsOpen) {
  const auto open = [] {
    const std::filesystem::directory_iterator descriptors("/proc/self/fd");
    return std::distance(begin(descriptors), end(descriptors));
  };
  const auto before = open();
  apart([] { return checker::ok(); });
  apart([]() -> Finding { std::_Exit(7); });
  EXPECT_EQ(open(), before);
}

TEST(SandboxTest, DoesNotWaitForEver) {
  const Finding slow = apart(
      []() -> Finding {
        for (;;) std::this_thread::sleep_for(std::chrono::seconds(1));
      },
      std::chrono::milliseconds(100));
  EXPECT_EQ(slow.verdict, Verdict::broken);
  EXPECT_EQ(slow.seen, "it did not return in time");
}

TEST(CheckTest, NeedsAHostThatCanBeLoaded) {
  const auto noRow = [](const checker::Row&) -> host::Done { throw std::logic_error("nothing is found"); };
  const host::Done checked = checker::checkHost(checker::entryOf(RQ_LIBRARY_PATH), loadLibrary(), false, noRow);
  ASSERT_FALSE(checked);
  EXPECT_NE(checked.error().text.find("undefined symbol: rquni_host"), std::string::npos) << checked.error().text;
}

}  // namespace
}  // namespace rq::test
