"""Chromium, as it is installed, in the home of an ordinary user."""

import os
import sys
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import linux_home  # noqa: E402
from installed_chromium import Chromium  # noqa: E402


class ChromiumInALinuxHome(linux_home.LinuxHome):
    browser_class = Chromium


if __name__ == "__main__":
    unittest.main(verbosity=2)
