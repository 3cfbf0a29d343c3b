"""What is decided in one place only: words that no other source may have."""

import re
import unittest

from sources import texts

# (word, the files that may have it, whom the others ask)
SAID_ONCE = [
    (r"\bNode::kHiddenFlag\b", {"jttk/graph/shown_children.cpp"}, "jttk/graph/shown_children.h"),
]


class SaidOnce(unittest.TestCase):
    def test_each_word_is_where_it_belongs(self):
        found = {word: set() for word, _, _ in SAID_ONCE}
        for path, text in texts("*.h", "*.cpp"):
            for word in found:
                if re.search(word, text):
                    found[word].add(path)
        for word, homes, instead in SAID_ONCE:
            self.assertTrue(homes & found[word], f"{word} is nowhere")
            self.assertEqual(sorted(found[word] - homes), [], f"these test {word} by hand; they should ask {instead}")


if __name__ == "__main__":
    unittest.main()
