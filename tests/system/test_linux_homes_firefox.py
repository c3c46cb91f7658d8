"""Firefox, as it is installed, in the home of an ordinary user."""

import os
import sys
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import linux_home  # noqa: E402
from installed_firefox import Firefox  # noqa: E402


class FirefoxInALinuxHome(linux_home.LinuxHome):
    browser_class = Firefox


if __name__ == "__main__":
    unittest.main(verbosity=2)
