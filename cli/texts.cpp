#include "cli/texts.h"

#include <algorithm>
#include <cstring>

#include "frame/types.h"

namespace rq::cli {
namespace {

/// An ASCII character in an encoding that can be cut; empty where there is none.
std::string inEncoding(char character, const host::Encoding& encoding) {
  const host::Codec& codec = *host::codecOf(encoding.identifier);
  const auto byte = static_cast<std::byte>(character);
  if (codec.stateful()) return "";
  return host::convertAll(*host::codecOf(RQ_ENCODING_UTF8), codec, {&byte, 1}).value_or("");
}

}  // namespace

Error inFile(std::string_view file, Error error) {
  error.text = shownName(std::string(file)) + ": " + error.text;
  return error;
}

std::string fileColumn(const Job& job, const Text& text) {
  if (job.files.size() < 2) return "";
  return text.file == "-" ? "-" : shownName(std::string(text.file));
}

std::string carriageReturnIn(const host::Encoding& encoding) {
  return inEncoding('\r', encoding);
}

Result<std::string> lineEndIn(const host::Encoding& encoding) {
  const std::string bytes = inEncoding('\n', encoding);
  if (!bytes.empty()) return bytes;
  return Error{Error::Kind::usage, "--lines cannot cut " + encoding.name + " text into lines"};
}

bool LineEnds::standsAt(Bytes text, std::size_t offset) const {
  return std::memcmp(text.data() + offset, lineEnd_.data(), length()) == 0;
}

std::size_t LineEnds::next(Bytes text, std::size_t from) const {
  if (from == text.size()) return from;
  if (length() == 1) {
    const void* found = std::memchr(text.data() + from, lineEnd_[0], text.size() - from);
    return found == nullptr ? text.size()
                            : static_cast<std::size_t>(static_cast<const std::byte*>(found) - text.data());
  }
  for (; text.size() - from >= length(); from += length())
    if (standsAt(text, from)) return from;
  return text.size();
}

std::uint64_t LineEnds::count(Bytes text) const {
  if (length() == 1) return static_cast<std::uint64_t>(std::ranges::count(text, static_cast<std::byte>(lineEnd_[0])));
  std::uint64_t count = 0;
  for (std::size_t at = 0; text.size() - at >= length(); at += length()) count += standsAt(text, at) ? 1U : 0U;
  return count;
}

std::size_t LineEnds::wholeLines(Bytes text) const {
  for (std::size_t end = text.size() - text.size() % length(); end > 0; end -= length())
    if (standsAt(text, end - length())) return end;
  return text.size() > longestLine ? text.size() : 0;
}

}  // namespace rq::cli
