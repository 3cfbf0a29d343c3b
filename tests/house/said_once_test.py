"""What is decided in one place only: words that no other source may have."""

import os
import re
import subprocess
import unittest

TOP = os.environ["LOFTBAY_SOURCE_DIR"]

# (word, the files that may have it, whom the others ask)
SAID_ONCE = [
    (r"\bNode::kHiddenFlag\b", {"jttk/graph/shown_children.cpp"}, "jttk/graph/shown_children.h"),
]


class SaidOnce(unittest.TestCase):
    def test_each_word_is_where_it_belongs(self):
        files = subprocess.run(["git", "-C", TOP, "ls-files", "*.h", "*.cpp"], capture_output=True, text=True, check=True)
        found = {word: set() for word, _, _ in SAID_ONCE}
        for path in files.stdout.split():
            with open(os.path.join(TOP, path), encoding="utf-8") as file:
                text = file.read()
            for word in found:
                if re.search(word, text):
                    found[word].add(path)
        for word, homes, instead in SAID_ONCE:
            self.assertTrue(homes & found[word], f"{word} is nowhere")
            self.assertEqual(sorted(found[word] - homes), [], f"these test {word} by hand; they should ask {instead}")


if __name__ == "__main__":
    unittest.main()
