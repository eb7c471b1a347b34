// What is proposed for a word that is none of the names.
#include "cli/suggestion.h"

#include <gtest/gtest.h>

namespace rq::cli {
namespace {

TEST(Suggestions, AreTheNearestNames) {
  const std::vector<std::string> names = {"decode", "encode", "--lines", "from", "to", "utf16be", "utf16le"};
  const std::pair<std::string, const char*> rows[] = {{"decod", "decode"},
                                                      {"decde", "decode"},
                                                      {"dacod", nullptr},
                                                      {"ancode", "encode"},
                                                      {"dacude", "decode"},
                                                      {"dacuda", nullptr},
                                                      {"--line", "--lines"},
                                                      {"--", nullptr},
                                                      {"fr", nullptr},
                                                      {"fro", "from"},
                                                      {"frm", "from"},
                                                      {"ftm", nullptr},
                                                      {"t", "to"},
                                                      {"tx", "to"},
                                                      {"xy", nullptr},
                                                      {"utf", "utf16be"},
                                                      {"utf16l", "utf16le"},
                                                      {"utf16xe", "utf16be"},
                                                      {"", nullptr},
                                                      {"--lines" + std::string(1, 'x'), "--lines"},
                                                      {std::string(40, 'q'), nullptr}};
  for (const auto& [word, meant] : rows)
    EXPECT_EQ(suggestion(word, names), meant ? ", did you mean " + std::string(meant) + "?" : "") << word;
  EXPECT_EQ(suggestion("decode", {}), "");
}

/// A word of forty characters is still compared, a longer one is not.
TEST(Suggestions, AreForWordsOfFortyCharacters) {
  const std::string name(42, 'x');
  EXPECT_NE(suggestion(std::string(40, 'x'), {name}), "");
  EXPECT_EQ(suggestion(std::string(41, 'x'), {name}), "");
}

}  // namespace
}  // namespace rq::cli
