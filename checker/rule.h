// The rules that a host must keep, each with the check that tries it.
#ifndef RQUNI_CHECKER_RULE_H
#define RQUNI_CHECKER_RULE_H

#include <string>
#include <string_view>
#include <vector>

#include "frame/host_tables.h"
#include "host/library.h"

namespace rq::checker {

enum class Verdict {
  ok,
  broken,
  notChecked,
  blocked,  // not checked either: a rule that it needs is broken or blocked
};

struct Finding {
  Verdict verdict;
  std::string seen;  // empty when there is nothing to add
  enum class End { returned, crashed, hung } end = End::returned;
};
inline Finding ok(std::string seen = "") {
  return {Verdict::ok, std::move(seen), {}};
}
inline Finding broken(std::string seen) {
  return {Verdict::broken, std::move(seen), {}};
}
inline Finding notChecked(std::string why) {
  return {Verdict::notChecked, std::move(why), {}};
}
inline Finding blockedBy(std::string_view rule) {
  return {Verdict::blocked, "see " + std::string(rule), {}};
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
  std::vector<std::string_view> needs;  // earlier rules; where one is broken this check would see the same defect
  Finding (*check)(const Subject& subject);
  std::string_view crash = {};  // what a crash during the check means
};

/// Table by table; each list relies only on lists before it.
std::vector<Rule> poolRules();
std::vector<Rule> sessionRules();
std::vector<Rule> transcoderRules();
std::vector<Rule> characterRules();
std::vector<Rule> serviceRules();
std::vector<Rule> objectRules();

}  // namespace rq::checker

#endif
