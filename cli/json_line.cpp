#include "cli/json_line.h"

#include <nlohmann/json.hpp>

namespace rq::cli {
namespace {

using Json = nlohmann::ordered_json;

Json jsonOf(std::monostate) {
  return {};
}

template <class T>
Json jsonOf(const T& value) {
  return value;
}

}  // namespace

std::string jsonLine(const std::vector<JsonMember>& members) {
  Json object;
  for (const JsonMember& member : members)
    object[member.name] = std::visit([](const auto& value) { return jsonOf(value); }, member.value);
  return object.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace rq::cli
