"""Chores at a shell: real pipelines of bash, with what stands before and behind the tool in them."""

import os
import pathlib
import shutil
import subprocess
import unittest

from tool import CORPUS, LIBRARY, TOOL, ToolTest


@unittest.skipUnless(shutil.which("bash"), "bash is not installed")
class Chores(ToolTest):
    def shell(self, script, *arguments):
        """What a script prints; `rqtext` is the tool with its library. Ends the script at the first problem."""
        functions = f'set -o pipefail\nrqtext() {{ "{TOOL}" "$@" --library "{LIBRARY}"; }}\n'
        result = subprocess.run(["bash", "-c", functions + script, "bash", *arguments], cwd=self.folder, capture_output=True,
                                stdin=subprocess.DEVNULL, timeout=120, env={**os.environ, "LC_ALL": "C.UTF-8"})
        return result.returncode, result.stdout.decode(), result.stderr.decode()

    def test_a_slow_producer_and_a_reader_of_lines(self):
        # The producer writes a line when the reader has got the one before: what the tool kept back would stop both.
        code, output, _ = self.shell('''
mkfifo asked
{ echo "line 0 &#65;"; while read -r number; do echo "line $number &#x42;"; done < asked; } | rqtext decode ncr |
{ exec 3> asked
  for number in 1 2 3 4; do read -r -t 20 line || exit 9; echo "got $line"; echo "$number" >&3; done; exec 3>&-; cat; }''')
        self.assertEqual((code, output), (0, "got line 0 A\ngot line 1 B\ngot line 2 B\ngot line 3 B\nline 4 B\n"))

    def test_a_reader_that_leaves_early(self):
        code, output, errors = self.shell('''
yes 'caf&#233; and more' | rqtext decode ncr | head -n 2
echo "${PIPESTATUS[1]} ${PIPESTATUS[2]}"''')
        self.assertEqual((code, output), (0, "café and more\n" * 2 + "3 0\n"))
        self.assertNotIn("rqtext", errors)

    def test_there_and_back(self):
        for path in sorted(CORPUS.glob("*.txt")):
            for there, back in (("encode uesc", "decode uesc"), ("to utf16 --bom", "from utf16"), ("to utf32be", "from utf32be")):
                if there == "encode uesc" and b"\\" in path.read_bytes():
                    continue
                code, _, errors = self.shell(f'rqtext {there} "$1" | rqtext {back} -j 2 | cmp - "$1"', path)
                self.assertEqual((code, errors), (0, ""), (path, there))

    def test_a_folder_of_files_in_old_encodings(self):
        texts = {"brief.koi8": ("Все счастливые семьи\n", "koi8-r"), "menu.sjis": ("日本語 ラーメン\n", "shift_jis"),
                 "a letter.latin1": ("Grüße, café\n", "latin1")}
        for name, (text, encoding) in texts.items():
            self.file(name, text.encode(encoding) * 500)
        code, _, errors = self.shell('''
declare -A sessions=([koi8]=KOI8-R [sjis]=Shift_JIS [latin1]=ISO-8859-1)
for file in *; do rqtext to utf8 -s "${sessions[${file##*.}]}" -i.bak "$file" || exit; done
find . -name '*.bak' -prune -o -type f -print0 | xargs -0 -n 1 iconv -f UTF-8 -t UTF-8 > /dev/null''')
        self.assertEqual((code, errors), (0, ""))
        for name, (text, encoding) in texts.items():
            self.assertEqual(pathlib.Path(self.folder / name).read_text(encoding="utf-8"), text * 500)
            self.assertEqual(pathlib.Path(self.folder / (name + ".bak")).read_bytes(), text.encode(encoding) * 500)

    def test_a_file_in_another_encoding_than_thought(self):
        old = "Счастье &#33;\n".encode("cp1251")
        path = self.file("page", old)
        code, output, errors = self.shell('rqtext decode ncr -i page && echo "never said"')
        self.assertEqual((code, output), (1, ""))
        self.assertIn("page: invalid bytes", errors)
        self.assertEqual(pathlib.Path(path).read_bytes(), old)

    def test_wrong_usage_ends_a_script(self):
        for words, meant in (("decde ncr", "did you mean decode?"), ("decode ncrr", "ncr"), ("decode ncr --line", "--lines"),
                             ("to utf8 -s KOI9-R", "KOI8-R")):
            code, output, errors = self.shell(f'set -e\necho "&#65;" | rqtext {words} > out\necho "never said"')
            self.assertEqual((code, output), (2, ""), words)
            self.assertIn(meant, errors)

    def test_a_full_disk_is_told_to_the_script(self):
        code, output, errors = self.shell('yes | head -c 3000000 | rqtext encode uesc > /dev/full && echo "never said"')
        self.assertEqual((code, output), (3, ""))
        self.assertIn("cannot write standard output: No space left on device", errors)


if __name__ == "__main__":
    unittest.main()
