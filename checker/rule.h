// The rules that a host keeps to, each with the check that tries it.
#ifndef RQUNI_CHECKER_RULE_H
#define RQUNI_CHECKER_RULE_H

#include <string>
#include <string_view>
#include <vector>

#include "frame/host_tables.h"
#include "host/library.h"

namespace rq::check {

enum class Verdict : char { ok = 'o', broken = 'b', notChecked = 'n' };

struct Finding {
  Verdict verdict;
  std::string seen;  // empty when there is nothing to add
};
inline Finding ok(std::string seen = "") {
  return {Verdict::ok, std::move(seen)};
}
inline Finding broken(std::string seen) {
  return {Verdict::broken, std::move(seen)};
}
inline Finding notChecked(std::string why) {
  return {Verdict::notChecked, std::move(why)};
}

/// What is checked, and with what.
struct Subject {
  RQKernel* kernel;
  RQContext* context;
  const host::Library& library;
  bool threads;  // the host lets several threads use one object
};

struct Rule {
  std::string_view name;                // the table and what it is about
  std::string_view statement;           // as frame/host_tables.h has it, in a line
  std::vector<std::string_view> needs;  // without these, the check would only see the same defect again
  Finding (*check)(const Subject& subject);
  std::string_view crash = {};  // what a crash during the check means
};

/// Table by table; each list relies only on lists before it.
std::vector<Rule> poolRules();
std::vector<Rule> sessionRules();
std::vector<Rule> transcoderRules();
std::vector<Rule> serviceRules();
std::vector<Rule> objectRules();

}  // namespace rq::check

#endif
