#include "cli/explain.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <vector>

#include "cli/json_line.h"

namespace rq::cli {
namespace {

constexpr std::size_t shownCharacters = 48;

/// A stretch of session text as UTF-8 for people: what cannot be shown stands as \xNN, long stretches are cut.
std::string shown(const host::Codec& codec, Bytes bytes) {
  const host::Codec& utf8 = *host::codecOf(RQ_ENCODING_UTF8);
  std::string text;
  for (std::size_t at = 0, count = 0; at < bytes.size(); ++count) {
    if (count == shownCharacters) return text + "...";
    char32_t c = 0;
    const host::Step step = codec.decodeOne(bytes.subspan(at), c, true);
    const bool valid = step.produced == 1 && step.consumed > 0;
    if (valid && c >= 0x20 && c != 0x7F) {
      std::array<std::byte, 4> encoded;
      const host::Step written = utf8.encode({&c, 1}, encoded, true, true);
      text.append(reinterpret_cast<const char*>(encoded.data()), written.produced);
    } else {
      std::array<char, 8> hexadecimal;
      std::snprintf(hexadecimal.data(), hexadecimal.size(), "\\x%02X", std::to_integer<unsigned>(bytes[at]));
      text += hexadecimal.data();
    }
    at += valid ? step.consumed : 1;
  }
  return text;
}

std::string nameOf(const std::optional<RQChar>& character) {
  if (!character) return "";
  std::array<char, 16> name;
  std::snprintf(name.data(), name.size(), "U+%04X", *character);
  return name.data();
}

}  // namespace

std::string explanationHead(bool withFile) {
  return std::string(withFile ? "file\t" : "") + "offset\tline\tcolumn\tsource\tcharacter\tfate\twhy\n";
}

Done explain(const Workbench& bench, Notation notation, const Text& text, const std::string& file, bool json,
             Output& output) {
  host::PositionTracker tracker(bench.codec(), text.bytes, text.start);
  const std::size_t unit = bench.wide() ? sizeof(RQChar) : 1;
  Done result = host::done();
  const auto take = [&](const Finding& found) {
    if (!result) return;
    const host::Position& at = tracker.advanceTo(found.offset * unit);
    const std::string source = shown(bench.codec(), text.bytes.subspan(found.offset * unit, found.length * unit));
    const char* fate = found.decoded ? "decoded" : "kept";
    std::string row;
    if (json) {
      JsonMember character = {"character", {}};
      if (found.character) character.value = nameOf(found.character);
      std::vector<JsonMember> members = {
          {"offset", at.offset}, {"line", at.line}, {"column", at.column}, {"bytes", found.length * unit},
          {"source", source},    character,         {"fate", fate},        {"why", std::string(found.why)}};
      if (!file.empty()) members.insert(members.begin(), {"file", file});
      row = jsonLine(members);
    } else {
      row = (file.empty() ? "" : file + "\t") + std::to_string(at.offset) + "\t" + std::to_string(at.line) + "\t" +
            std::to_string(at.column) + "\t" + source + "\t" + nameOf(found.character) + "\t" + fate + "\t" +
            std::string(found.why) + "\n";
    }
    result = output.write(row);
  };
  const auto carries = [&bench](RQChar character) { return bench.carries(character); };
  const std::size_t units = text.bytes.size() / unit;
  if (bench.wide()) {
    std::vector<RQChar> characters(units);
    if (units > 0) std::memcpy(characters.data(), text.bytes.data(), units * unit);
    findNotations<RQChar>(notation, characters, carries, take);
  } else {
    findNotations<unsigned char>(notation, {reinterpret_cast<const unsigned char*>(text.bytes.data()), units},
                                 carries, take);
  }
  return result;
}

}  // namespace rq::cli
