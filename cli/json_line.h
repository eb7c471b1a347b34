// Rows for programs.
#ifndef RQUNI_CLI_JSON_LINE_H
#define RQUNI_CLI_JSON_LINE_H

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace rq::cli {

/// A member of a JSON object; without a value it is null.
struct JsonMember {
  std::string name;
  std::variant<std::monostate, std::int64_t, std::uint64_t, std::string, std::vector<std::string>> value;
};

/// The object as one line, its members in the order given. Bytes that are not UTF-8 become U+FFFD.
std::string jsonLine(const std::vector<JsonMember>& members);

}  // namespace rq::cli

#endif
