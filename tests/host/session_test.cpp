#include <unistd.h>

#include <array>
#include <filesystem>

#include "tests/host/support.h"
#include "tests/host/wrapping_host.h"

namespace rq::test {
namespace {

using host::Host;
using host::Library;
using host::Session;
using Alive = WrappingHost::Alive;
using Service = WrappingHost::Service;

TEST(LibraryTest, ReportsWhatCannotBeLoaded) {
  const auto missing = Library::open("/nonexistent/librquni.so");
  ASSERT_FALSE(missing);
  EXPECT_EQ(missing.error().kind, host::Error::Kind::system);
  EXPECT_NE(missing.error().text.find("cannot load the library /nonexistent/librquni.so"), std::string::npos);
  const auto stranger = Library::open("libc.so.6");
  ASSERT_FALSE(stranger);
  EXPECT_NE(stranger.error().text.find("lacks the symbol 'rqextver'"), std::string::npos) << stranger.error().text;
}

/// The loader knows a file by the name that it came with first.
TEST(LibraryTest, NamesTheFileThatTheLoaderTook) {
  const Library library = loadLibrary();
  EXPECT_EQ(library.path(), RQ_LIBRARY_PATH);
  const std::filesystem::path other = testing::TempDir() + "rq_other_name_" + std::to_string(::getpid()) + ".so";
  std::filesystem::create_symlink(RQ_LIBRARY_PATH, other);
  const auto again = Library::open(other);
  std::filesystem::remove(other);
  ASSERT_TRUE(again);
  EXPECT_EQ(again->path(), RQ_LIBRARY_PATH);
}

TEST(LibraryTest, FindsSymbolsByName) {
  const Library library = loadLibrary();
  EXPECT_TRUE(library.symbol<RQStatus(RQKernel*)>("rqextent"));
  const auto missing = library.symbol<void()>("rqnothing");
  ASSERT_FALSE(missing);
  EXPECT_NE(missing.error().text.find("rqnothing"), std::string::npos);
}

TEST(SessionTest, ConvertsThroughTheSlots) {
  const Library library = loadLibrary();
  Host host(identifierOf("ISO-8859-1"));
  WrappingHost watched(host.kernel, host.context);
  {
    const auto session = Session::open(library, watched.kernel(), watched.context(), host.journal);
    ASSERT_TRUE(session);
    RQInterface* object = session->object();
    EXPECT_EQ(object->sessionEncoding, identifierOf("ISO-8859-1"));
    std::string output(8 + RQ_OUTPUT_SLACK_BYTES, '\0');
    std::uint64_t written = 0;
    EXPECT_EQ(object->plain.getUTF8(object, "caf\u00E9", 5, output.data(), 8, &written), 0U);
    EXPECT_EQ(output.substr(0, written), "caf\xE9");
    EXPECT_EQ(object->plain.getUTF8(object, "\u20AC", 3, output.data(), 8, &written), host::unmappableStatus);
    EXPECT_EQ(watched.alive(), (Alive{.pools = 1, .blocks = 1, .transcoders = 14}));
  }
  EXPECT_EQ(watched.alive(), Alive{});
}

RQStatus findNoOption(RQContext*, const RQChar*, std::uint64_t, std::uint64_t, std::int64_t*, std::uint64_t*) {
  return 1;
}

RQStatus answerByDefault(RQNlsServices*, std::int32_t* encoding) {
  *encoding = RQ_ENCODING_UTF16_BIG;
  return RQ_SESSION_QUERY_DEFAULTED;
}

TEST(SessionTest, TakesTheEncodingFromTheQueryWithoutTheOption) {
  const Library library = loadLibrary();
  const std::uint32_t encoding = identifierOf("windows-1251");
  Host host(encoding);
  host.context.lookUpOption = findNoOption;
  const auto session = Session::open(library, host);
  ASSERT_TRUE(session);
  EXPECT_EQ((*session)->sessionEncoding, encoding);

  Host defaulting(encoding);
  defaulting.context.lookUpOption = findNoOption;
  defaulting.nls.querySession = answerByDefault;
  const auto defaulted = Session::open(library, defaulting);
  ASSERT_TRUE(defaulted);
  EXPECT_EQ((*defaulted)->sessionEncoding, RQ_ENCODING_UTF16_BIG);
}

TEST(SessionTest, OpensInEveryEncoding) {
  const Library library = loadLibrary();
  for (const host::Encoding& encoding : host::encodings()) {
    Host host(encoding.identifier);
    EXPECT_TRUE(Session::open(library, host)) << encoding.name;
  }
}

TEST(SessionTest, ExplainsFailedCreations) {
  const Library library = loadLibrary();
  const struct {
    Service service;
    const char* text;
  } rows[] = {{Service::createPool, "made no interface object; it reported status 0x803FC002 at level 4"},
              {Service::allocate, "made no interface object; it reported status 0x803FC002 at level 4"},
              {Service::createTranscoder, "could not make all transcoders"}};
  for (const auto& row : rows) {
    Host host;
    WrappingHost refusing(host.kernel, host.context);
    refusing.refuse(row.service);
    const auto session = Session::open(library, refusing.kernel(), refusing.context(), host.journal);
    ASSERT_FALSE(session);
    EXPECT_NE(session.error().text.find(row.text), std::string::npos) << session.error().text;
    EXPECT_EQ(refusing.alive(), Alive{});
  }
}

TEST(SessionTest, ExplainsMissingServices) {
  const Library library = loadLibrary();
  Host withoutJournal;
  withoutJournal.context.journal = nullptr;
  Host withoutNls;
  withoutNls.context.nls = nullptr;
  for (Host* host : {&withoutJournal, &withoutNls}) {
    const auto session = Session::open(library, *host);
    ASSERT_FALSE(session);
    EXPECT_EQ(session.error().text, "the library made no interface object");
  }
}

TEST(SessionTest, RecordsTheCallsOfCreation) {
  const Library library = loadLibrary();
  Host host;
  WrappingHost watched(host.kernel, host.context);
  { ASSERT_TRUE(Session::open(library, watched.kernel(), watched.context(), host.journal)); }
  const std::vector<WrappingHost::Call> calls = watched.calls();
  ASSERT_GE(calls.size(), 3U);
  EXPECT_EQ(calls[0].service, Service::createPool);
  EXPECT_EQ(calls[1].service, Service::allocate);
  EXPECT_EQ(calls[1].arguments, (std::array<std::uint64_t, 2>{sizeof(RQInterface), 0x80000000}));
  EXPECT_EQ(calls[2].service, Service::lookUpOption);
  EXPECT_EQ(watched.callsOf(Service::createTranscoder), 14U);
  EXPECT_EQ(watched.callsOf(Service::destroyTranscoder), 14U);
  EXPECT_EQ(calls.back().service, Service::destroyPool);
}

}  // namespace
}  // namespace rq::test
