#include <barrier>
#include <functional>
#include <thread>

#include "host/text_session.h"
#include "tests/host/support.h"
#include "tests/host/wrapping_host.h"

namespace rq::test {
namespace {

/// Several threads through the same object: every one must get what a single thread gets.
class SharedObject : public testing::TestWithParam<const char*> {};

TEST_P(SharedObject, ServesThreadsAtOnce) {
  const host::Library library = loadLibrary();
  host::Host host(identifierOf(GetParam()));
  const auto session = host::Session::open(library, host);
  ASSERT_TRUE(session);
  RQInterface* object = session->object();
  const auto roundTrip = [object](const std::string& text) {
    std::string inSession(512, '\0');
    std::string back(512, '\0');
    std::uint64_t length = 0;
    if (object->plain.getUTF8(object, text.data(), text.size(), inSession.data(), 500, &length) != 0) return false;
    std::uint64_t backLength = 0;
    if (object->plain.putUTF8(object, inSession.data(), length, back.data(), 500, &backLength) != 0) return false;
    return back.substr(0, backLength) == text;
  };
  std::array<int, 6> wrong{};
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < wrong.size(); ++i) {
    threads.emplace_back([&, i] {
      const std::string text = std::string(i + 1, static_cast<char>('a' + i)) + "\u65E5\u672C" + std::string(i, '!');
      for (int round = 0; round < 2000; ++round) wrong[i] += roundTrip(text) ? 0 : 1;
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong, (std::array<int, 6>{}));
}

INSTANTIATE_TEST_SUITE_P(Sessions, SharedObject, testing::Values("UTF-8", "Shift_JIS", "ISO-2022-JP", "UTF-7"));

/// Runs `work` in eight threads that begin at the same time.
void inThreads(const std::function<void(std::size_t number)>& work) {
  constexpr std::size_t count = 8;
  std::barrier start(count);
  std::vector<std::thread> threads;
  for (std::size_t number = 0; number < count; ++number) {
    threads.emplace_back([&, number] {
      start.arrive_and_wait();
      work(number);
    });
  }
  for (std::thread& thread : threads) thread.join();
}

TEST(ThreadsTest, MakeEachCodecOnce) {
  const std::vector<host::Encoding>& all = host::encodings();
  std::vector<std::array<const host::Codec*, 8>> made(all.size());
  inThreads([&](std::size_t number) {
    for (std::size_t i = 0; i < all.size(); ++i) made[i][number] = host::codecOf(all[i].identifier);
  });
  for (std::size_t i = 0; i < all.size(); ++i) {
    ASSERT_NE(made[i][0], nullptr) << all[i].name;
    for (const host::Codec* codec : made[i]) EXPECT_EQ(codec, made[i][0]) << all[i].name;
  }
}

/// The library does not lock: registration and making an object are the host's to keep apart.
TEST(ThreadsTest, RegisterOneAfterTheOther) {
  const auto library = host::Library::open(RQ_WATCHFUL_LIBRARY);
  ASSERT_TRUE(library) << library.error().text;
  inThreads([](std::size_t) {
    for (int round = 0; round < 3; ++round) EXPECT_FALSE(host::TextSession::open("UTF-8", RQ_WATCHFUL_LIBRARY));
  });
  EXPECT_EQ((*(*library).symbol<int()>("overlaps"))(), 0);
  EXPECT_EQ((*(*library).symbol<int()>("calls"))(), 8 * 3 * 2);
}

TEST(ThreadsTest, SessionsAndRecordsAtOnce) {
  const host::Library library = loadLibrary();
  host::Host host;
  WrappingHost watched(host.kernel, host.context);
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int round = 0; round < 50; ++round) {
        auto session = host::Session::open(library, watched.kernel(), watched.context(), host.journal);
        EXPECT_TRUE(session);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(watched.callsOf(WrappingHost::Service::createTranscoder), 4U * 50 * 14);
  EXPECT_EQ(watched.alive(), WrappingHost::Alive{});
}

}  // namespace
}  // namespace rq::test
