#include "tests/codecs/rows.h"

namespace rq::test {
namespace {

std::vector<std::uint32_t> sessionsOf(Where where, Flavour flavour) {
  const bool wide = flavour == Flavour::wide;
  switch (where) {
    case Where::everywhere:
      if (wide) return {utf32};
      return {latin1, ascii, cyrillic, doubleByte, shifted, utf8, substituting};
    case Where::latin:
      return wide ? std::vector<std::uint32_t>{utf32, laxUnits} : std::vector<std::uint32_t>{latin1, utf8};
    case Where::unicode:
      return {wide ? utf32 : utf8};
    case Where::lax:
      return {wide ? laxUnits : laxBytes};
    case Where::cyrillic:
      if (wide) return {};
      return {cyrillic};
    case Where::narrow:
      if (wide) return {};
      return {latin1};
    case Where::plain:
      if (flavour != Flavour::plain) return {};
      return {latin1};
    case Where::served:
      if (flavour != Flavour::served) return {};
      return {latin1};
    case Where::wide:
      if (!wide) return {};
      return {utf32};
    case Where::wideLax:
      if (!wide) return {};
      return {laxUnits};
    case Where::expanding:
      return {wide ? expandingUnits : expanding};
  }
  return {};
}

void checkAnswer(const CodecRow& row, const RQOperations& operations, RQInterface* object, Flavour flavour,
                 std::uint32_t encoding) {
  const auto input = unitsOf(flavour, encoding, row.input);
  const auto expected = unitsOf(flavour, encoding, row.output);
  const CodecResult result = call(operations.*row.codec, object, flavour, input, row.capacity);
  EXPECT_EQ(result.status, row.status);
  EXPECT_EQ(result.stored, row.stored);
  if (!row.stored) return;
  EXPECT_EQ(result.length, expected.size() / unitBytes(flavour));
  EXPECT_EQ(shown(result.bytes, flavour), shown(expected, flavour));
}

}  // namespace

void check(const CodecRow& row) {
  for (Flavour flavour : allFlavours)
    for (const std::uint32_t encoding : sessionsOf(row.where, flavour)) {
      SCOPED_TRACE(std::string(nameOf(flavour)) + " flavour, session " + encodingOf(encoding)->name);
      Session session(encoding);
      session.host.offer(row.services);
      twin::setKernel(session.host.kernel());
      {
        SCOPED_TRACE("library");
        checkAnswer(row, slotsOf(session.object, flavour), session.object, flavour, encoding);
      }
      {
        SCOPED_TRACE("twin");
        checkAnswer(row, twin::operations(flavour), session.object, flavour, encoding);
      }
      EXPECT_EQ(session.host.liveBlocks, 1U);
      EXPECT_EQ(session.host.mistakes, 0U);
    }
}

std::u32string times(std::u32string_view piece, unsigned count) {
  std::u32string text;
  for (unsigned i = 0; i < count; ++i) text += piece;
  return text;
}

}  // namespace rq::test
