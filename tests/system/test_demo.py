"""What scripts/demo shows, with the programs of this build."""

import os
import subprocess
import sys
import unittest

PROGRAMS = os.environ["TIDEWELL_PROGRAMS"]
SCRIPTS = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../../scripts")


class Demo(unittest.TestCase):
    def show(self, name):
        """Runs the demo; returns what it prints. The demo checks its results itself, and reports by its exit status."""
        shown = subprocess.run([sys.executable, "-B", os.path.join(SCRIPTS, name), PROGRAMS], stdin=subprocess.DEVNULL,
                               capture_output=True, text=True)
        self.assertEqual((shown.returncode, shown.stderr), (0, ""), shown.stdout)
        return shown.stdout

    def test_of_a_linux_home_shows_that_what_sites_have_left_goes_and_all_else_stays(self):
        shown = self.show("demo.py")
        self.assertRegex(shown, r"✗ +cookies +29 +0")
        self.assertRegex(shown, r"✓ +bookmarks +6 +6")
        self.assertRegex(shown, r"Notification: Firefox: \d+ items removed, [\d.]+ MB")
        self.assertNotIn("can't be shown", shown)

    def test_of_a_home_with_a_library_comes_to_its_end(self):
        self.assertIn("85 of 156 files are gone", self.show("demo_library.py"))


if __name__ == "__main__":
    unittest.main(verbosity=2)
