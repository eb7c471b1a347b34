#include "tests/host/support.h"

namespace rq::test {
namespace {

using host::Fault;
using host::Host;
using host::Library;
using host::Service;
using host::Session;

TEST(LibraryTest, ReportsWhatCannotBeLoaded) {
  const auto missing = Library::open("/nonexistent/librquni.so");
  ASSERT_FALSE(missing);
  EXPECT_EQ(missing.error().kind, host::Error::Kind::system);
  EXPECT_NE(missing.error().text.find("cannot load the library /nonexistent/librquni.so"), std::string::npos);
  const auto stranger = Library::open("libc.so.6");
  ASSERT_FALSE(stranger);
  EXPECT_NE(stranger.error().text.find("lacks the symbol 'rqextver'"), std::string::npos) << stranger.error().text;
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
  Host host(sessionIn("ISO-8859-1"));
  {
    const auto session = Session::open(library, host);
    ASSERT_TRUE(session);
    RQInterface* object = session->object();
    EXPECT_EQ(object->sessionEncoding, (*host::findEncoding("ISO-8859-1"))->identifier);
    std::string output(8 + RQ_OUTPUT_SLACK_BYTES, '\0');
    std::uint64_t written = 0;
    EXPECT_EQ(object->plain.getUTF8(object, "caf\u00E9", 5, output.data(), 8, &written), 0U);
    EXPECT_EQ(output.substr(0, written), "caf\xE9");
    EXPECT_EQ(object->plain.getUTF8(object, "\u20AC", 3, output.data(), 8, &written), host::unmappableStatus);
    EXPECT_EQ(host.instruments.counts.transcoders, 14);
    EXPECT_EQ(host.instruments.counts.pools, 1);
  }
  EXPECT_EQ(host.instruments.counts.transcoders, 0);
  EXPECT_EQ(host.instruments.counts.pools, 0);
  EXPECT_EQ(host.instruments.counts.blocks, 0);
}

TEST(SessionTest, TakesTheEncodingFromTheQueryWithoutTheOption) {
  const Library library = loadLibrary();
  for (const RQStatus answer : {RQ_SUCCESS, RQ_SESSION_QUERY_DEFAULTED}) {
    host::HostOptions options = sessionIn("windows-1251");
    options.sessionByOption = false;
    options.queryAnswer = answer;
    Host host(options);
    const auto session = Session::open(library, host);
    ASSERT_TRUE(session);
    EXPECT_EQ((*session)->sessionEncoding, options.session);
  }
}

TEST(SessionTest, OpensInEveryEncoding) {
  const Library library = loadLibrary();
  for (const host::Encoding& encoding : host::encodings()) {
    host::HostOptions options;
    options.session = static_cast<std::int32_t>(encoding.identifier);
    Host host(options);
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
    host.instruments.set({.service = row.service});
    const auto session = Session::open(library, host);
    ASSERT_FALSE(session);
    EXPECT_NE(session.error().text.find(row.text), std::string::npos) << session.error().text;
    EXPECT_EQ(host.instruments.counts.pools, 0);
    EXPECT_EQ(host.instruments.counts.blocks, 0);
    EXPECT_EQ(host.instruments.counts.transcoders, 0);
  }
}

TEST(SessionTest, ExplainsMissingServices) {
  const Library library = loadLibrary();
  for (const bool journal : {false, true}) {
    host::HostOptions options;
    options.offersJournal = journal;
    options.offersNls = !journal;
    Host host(options);
    const auto session = Session::open(library, host);
    ASSERT_FALSE(session);
    EXPECT_EQ(session.error().text, "the library made no interface object");
  }
}

TEST(SessionTest, RecordsTheCallsOfCreation) {
  const Library library = loadLibrary();
  Host host;
  host.instruments.watch();
  { ASSERT_TRUE(Session::open(library, host)); }
  const std::vector<host::Call> calls = host.instruments.calls();
  ASSERT_GE(calls.size(), 3U);
  EXPECT_EQ(calls[0].service, Service::createPool);
  EXPECT_EQ(calls[1].service, Service::allocate);
  EXPECT_EQ(calls[1].arguments, (std::array<std::uint64_t, 3>{sizeof(RQInterface), 0x80000000, 0}));
  EXPECT_EQ(calls[2].service, Service::lookUpOption);
  EXPECT_EQ(host.instruments.callsOf(Service::createTranscoder), 14U);
  EXPECT_EQ(host.instruments.callsOf(Service::destroyTranscoder), 14U);
  EXPECT_EQ(calls.back().service, Service::destroyPool);
}

}  // namespace
}  // namespace rq::test
