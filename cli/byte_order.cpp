#include "cli/byte_order.h"

#include <algorithm>
#include <span>
#include <utility>

#include "host/encodings.h"
#include "host/text.h"

namespace rq::cli {
namespace {

bool beginsWith(host::Bytes text, const std::string& beginning) {
  const auto bytes = std::as_bytes(std::span(beginning));
  return text.size() >= bytes.size() && std::ranges::equal(text.first(bytes.size()), bytes);
}

}  // namespace

std::string byteOrderMark(RQForm form) {
  constexpr char32_t mark = U'\uFEFF';
  const host::Codec& characters = *host::codecOf(RQ_ENCODING_UTF32_LITTLE);
  return host::convertAll(characters, *host::codecOf(host::formEncodings[form]), std::as_bytes(std::span(&mark, 1)))
      .value_or("");
}

void reverseBytes(host::MutableBytes bytes, std::size_t unit) {
  for (std::size_t at = 0; at + unit <= bytes.size(); at += unit) {
    std::byte* const begin = &bytes[at];
    std::swap(begin[0], begin[unit - 1]);
    if (unit == 4) std::swap(begin[1], begin[2]);
  }
}

std::size_t MarkedReader::takeMark(host::MutableBytes front) {
  looked_ = true;
  std::string reversedMark(mark_.bytes.rbegin(), mark_.bytes.rend());
  reversed_ = mark_.choosesOrder && beginsWith(front, reversedMark);
  if (!reversed_ && !beginsWith(front, mark_.bytes)) return front.size();
  found_ = mark_.bytes.size();
  std::ranges::copy(front.subspan(found_), front.begin());
  return front.size() - found_;
}

std::size_t MarkedReader::reverseUnits(host::MutableBytes bytes) {
  const std::size_t unit = mark_.bytes.size();
  heldBytes_ = bytes.size() % unit;
  const std::size_t whole = bytes.size() - heldBytes_;
  std::ranges::copy(bytes.subspan(whole), held_.begin());
  reverseBytes(bytes.first(whole), unit);
  return whole;
}

host::Result<std::size_t> MarkedReader::read(host::MutableBytes room, const Read& read) {
  for (;;) {
    std::ranges::copy(std::span(held_).first(heldBytes_), room.begin());
    host::Result<std::size_t> count = read(room.subspan(heldBytes_));
    if (!count) return count;
    std::size_t bytes = std::exchange(heldBytes_, 0) + *count;
    if (*count == 0) return bytes;  // what was held is an incomplete unit
    if (!looked_ && bytes < mark_.bytes.size()) {
      heldBytes_ = bytes;
      std::ranges::copy(room.first(bytes), held_.begin());
      continue;
    }
    if (!looked_) bytes = takeMark(room.first(bytes));
    if (reversed_) bytes = reverseUnits(room.first(bytes));
    if (bytes > 0) return bytes;
  }
}

}  // namespace rq::cli
