// A stranger's C++17 program, linked against the installed library: prints the version and a folded word.
#include <rquni/rquni.h>

#include <cstdio>
#include <string>

int main() {
  RQVersionRecord record;
  rqvercn1(&record);
  std::string word = "Installed";
  skStrUp(word.data(), word.size());
  std::printf("%.10s %s\n", record.version, word.c_str());
}
