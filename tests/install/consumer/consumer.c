/* A stranger's C11 program, linked against the installed library: prints the version and a folded word. */
#include <rquni/rquni.h>
#include <stdio.h>

int main(void) {
  RQVersionRecord record;
  rqvercn1(&record);
  char word[] = "Installed";
  skStrUp(word, skStrLen(word));
  printf("%.10s %s\n", record.version, word);
  return 0;
}
